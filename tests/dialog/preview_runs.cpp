#include "tests/dialog/preview_runs.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "dialog/run_main_dialog.h"
#include "host/plugin_main.h"
#include "host/plugin_state.h"

namespace {
previewtest::Dialog gDialog;
}  // namespace

bool veil::runMainDialog() { return gDialog(); }

const standin::Plugin& hosttest::plugin() {
    static const standin::Plugin linked(PluginMain);
    return linked;
}

namespace previewtest {

using standin::Sampling;

void setDialog(Dialog dialog) { gDialog = std::move(dialog); }

Difference differenceOf(const std::vector<std::uint8_t>& a, const std::vector<std::uint8_t>& b) {
    if (a.size() != b.size() || a.empty()) throw std::runtime_error("pictures of different sizes");
    Difference difference;
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const int distance = std::abs(a[i] - b[i]);  // the fourth bytes are 0 in both
        difference.greatest = std::max(difference.greatest, distance);
        sum += distance;
    }
    difference.mean = sum / (static_cast<double>(a.size()) * 0.75);
    return difference;
}

std::vector<float> hostsSamples(const standin::Image& image, const standin::HostOptions& o,
                                const standin::PixelRect& rect, int scale) {
    std::vector<float> samples;
    const int step = o.sampling == Sampling::ignored ? 1 : scale;
    const int side = o.sampling == Sampling::averaged ? scale : 1, count = side * side;
    for (int y = rect.top; y < rect.bottom; ++y)
        for (int x = rect.left; x < rect.right; ++x)
            for (int c = 0; c < 3; ++c) {
                int sum = 0;
                for (int k = 0; k < count; ++k)
                    sum += image.at(std::clamp(x * step - o.originX + k % side, 0, image.width - 1),
                                    std::clamp(y * step - o.originY + k / side, 0, image.height - 1), c);
                const int mean = (2 * sum + count) / (2 * count);
                samples.push_back(static_cast<float>(mean) / (image.depth == 16 ? 32768.0f : 255.0f));
            }
    return samples;
}

std::vector<std::uint8_t> displayPixels(const std::vector<float>& samples) {
    std::vector<std::uint8_t> pixels(samples.size() / 3 * 4);
    for (std::size_t i = 0; i < samples.size(); ++i)
        pixels[i / 3 * 4 + 2 - i % 3] = static_cast<std::uint8_t>(samples[i] * 255.0f + 0.5f);
    return pixels;
}

Comparison comparePreview(const standin::Image& image, const veil::VeilParams& params, std::int32_t widthPx,
                          std::int32_t heightPx) {
    // What the preview shows is its own toggle's business, so it is handed a block that says the opposite.
    veil::VeilParams opposite = params;
    opposite.outputGlowOnly = params.outputGlowOnly == 0;
    standin::HostSession session(hosttest::plugin(), image, {.poisonsBuffers = false});
    veil::PreviewState preview;
    const auto previewFrom = [&](Sampling sampling) {
        session.options().sampling = sampling;
        computePreviewScale(preview, widthPx, heightPx);
        if (!fetchPreviewSource(preview)) throw std::runtime_error("no preview");
        renderPreview(preview, opposite, params.outputGlowOnly != 0);
        return preview.displayPixels;
    };
    std::vector<std::uint8_t> everyNth, averaged;
    setDialog([&] {
        preview.pool = std::make_unique<veil::WorkerPool>(veil::defaultWorkerCount());
        everyNth = previewFrom(Sampling::everyNth);
        averaged = previewFrom(Sampling::averaged);
        *veil::gParams = params;
        return true;
    });
    if (session.runFromMenu().result != photoshop::noErr) throw std::runtime_error("the run failed");
    const auto fromResult = [&](const std::vector<std::uint8_t>& pixels, Sampling sampling) {
        const std::vector<float> reduced = hostsSamples(session.image(), {.sampling = sampling},
                                                        {0, 0, preview.width, preview.height}, preview.scale);
        return differenceOf(pixels, displayPixels(reduced));
    };
    return {preview.scale, fromResult(everyNth, Sampling::everyNth),
            fromResult(averaged, Sampling::averaged)};
}

}  // namespace previewtest
