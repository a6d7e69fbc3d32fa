#include "engine/composition.h"

#include "engine/kernels/rows.h"
#include "engine/linear_read.h"

#include <algorithm>

namespace veil {

namespace {

// Where pixel `p` of the image plane reads the glow, local to its buffer.
LinearRead glowRead(int p, int imageSize, int workSize, int glowFirst, int glowSize) {
    return linearRead(mapCentre(p, imageSize, workSize) - static_cast<float>(glowFirst), glowSize);
}

// The last two glow rows, enlarged along x. About four image rows lie between two glow rows, so that most
// rows find theirs here.
struct EnlargedRows {
    const std::vector<BilinearColumn>& columns;
    std::vector<float> buffers[2], scratch;
    int held[2] = {-1, -1};
    const int firstRow;
    const std::size_t rowLength;
    const float* const rows;

    EnlargedRows(const GlowRows& glow, int first, int end, const std::vector<BilinearColumn>& table)
        : columns(table),
          firstRow(first),
          rowLength(static_cast<std::size_t>(glow.rect.width()) * 3),
          rows(glow.read(first, end, scratch)) {
        for (auto& buffer : buffers) buffer.resize(table.size() * 3);
    }

    // Row `y`; the row `keep`, if it is held, stays valid.
    GlowRow row(int y, int keep) {
        for (int slot = 0; slot < 2; ++slot)
            if (held[slot] == y) return planesOf(slot);
        const int slot = held[0] == keep ? 1 : 0;
        float* planes = buffers[slot].data();
        const std::size_t width = columns.size();
        expandRowToPlanes(rows + rowLength * static_cast<std::size_t>(y - firstRow), columns.data(), planes,
                          planes + width, planes + 2 * width, static_cast<int>(width));
        held[slot] = y;
        return planesOf(slot);
    }

    GlowRow planesOf(int slot) const {
        const float* planes = buffers[slot].data();
        return {planes, planes + columns.size(), planes + 2 * columns.size()};
    }
};

// The source under the columns of the output; its edge pixels repeat where it does not hold all of them.
class PictureRows {
  public:
    PictureRows(const SourceRows& rows, const Rect& outputRect) : source(rows), output(outputRect) {
        first = source.rect.x0 + clampIndex(output.x0 - source.rect.x0, source.rect.width());
        count = source.rect.x0 + clampIndex(output.x1 - 1 - source.rect.x0, source.rect.width()) + 1 - first;
        scratch.resize(static_cast<std::size_t>(count) * 3);
        if (count < output.width()) widened.resize(static_cast<std::size_t>(output.width()) * 3);
    }

    const float* row(int y) {
        const int held = source.rect.y0 + clampIndex(y - source.rect.y0, source.rect.height());
        const float* row = source.read(first, held, count, scratch.data());
        if (widened.empty()) return row;
        for (int x = 0; x < output.width(); ++x) {
            const float* pixel = row + clampIndex(output.x0 + x - first, count) * 3;
            std::copy(pixel, pixel + 3, widened.begin() + x * 3);
        }
        return widened.data();
    }

  private:
    const SourceRows& source;
    const Rect output;
    int first, count;
    std::vector<float> scratch, widened;
};

}  // namespace

GlowRows glowRows(const FloatImage& glow) {
    return {glow.rect, [&glow](int first, int, std::vector<float>&) { return glow.row(first); }};
}

bool readsSource(const RenderSettings& settings) {
    return settings.shadowProtect > 0.0f || !settings.outputGlowOnly;
}

void composeOutput(const SourceRows& source, const GlowRows& glow, const Rect& outputRect, int imageWidth,
                   int imageHeight, int workWidth, int workHeight, const RenderSettings& settings,
                   const OutputRows& store, WorkerPool* pool) {
    if (outputRect.isEmpty()) return;
    const int width = outputRect.width();
    std::vector<BilinearColumn> columns(static_cast<std::size_t>(width));
    for (int x = 0; x < width; ++x) {
        const LinearRead read =
            glowRead(outputRect.x0 + x, imageWidth, workWidth, glow.rect.x0, glow.rect.width());
        columns[static_cast<std::size_t>(x)] = {read.low * 3, read.high * 3, read.fraction};
    }
    const ComposeConstants constants{settings.glowSaturation, settings.strength, settings.shadowProtect,
                                     settings.tintR,          settings.tintG,    settings.tintB,
                                     settings.outputGlowOnly};
    const bool reads = readsSource(settings);
    const auto readAt = [&](int y) {
        return glowRead(y, imageHeight, workHeight, glow.rect.y0, glow.rect.height());
    };
    runRows(pool, outputRect.y0, outputRect.y1, [&](int first, int end) {
        EnlargedRows enlarged(glow, readAt(first).low, readAt(end - 1).high + 1, columns);
        PictureRows picture(source, outputRect);
        std::vector<float> out(static_cast<std::size_t>(width) * 3);
        for (int y = first; y < end; ++y) {
            const LinearRead read = readAt(y);
            const GlowRow top = enlarged.row(read.low, read.high);
            const GlowRow bottom = enlarged.row(read.high, read.low);
            composeRow(top, bottom, read.fraction, reads ? picture.row(y) : nullptr, constants, out.data(),
                       width);
            store(y, out.data());
        }
    });
}

}  // namespace veil
