#include "tests/engine/pictures.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "engine/averaged_window.h"
#include "engine/glow.h"
#include "engine/kernels/rows.h"
#include "tests/engine/passes.h"

namespace pictures {
namespace {

template <typename Sample>
Picture fill(int width, int height, Sample sample) {
    Picture p{width, height, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c) p.samples.push_back(sample(x, y, c));
    return p;
}

}  // namespace

std::vector<float> Picture::crop(const veil::Rect& r) const {
    std::vector<float> result;
    for (int y = r.y0; y < r.y1; ++y) {
        const auto row = samples.begin() + static_cast<std::ptrdiff_t>(y) * width * 3;
        result.insert(result.end(), row + r.x0 * 3, row + r.x1 * 3);
    }
    return result;
}

float noise(int x, int y, int seed) {
    std::uint32_t h = static_cast<std::uint32_t>(x) * 0x9E3779B1u ^
                      static_cast<std::uint32_t>(y) * 0x85EBCA77u ^
                      static_cast<std::uint32_t>(seed) * 0xC2B2AE3Du;
    h = (h ^ h >> 15) * 0x2C1B3C6Du;
    h = (h ^ h >> 12) * 0x297A2D39u;
    return static_cast<float>((h ^ h >> 15) >> 8) / 16777215.0f;
}

Picture nightScene(int width, int height) {
    constexpr float kRims[4][3] = {
        {0.9f, 0.45f, 0.1f}, {0.2f, 0.4f, 0.88f}, {0.15f, 0.85f, 0.2f}, {0.9f, 0.1f, 0.3f}};
    constexpr int kCell = 36;
    return fill(width, height, [&](int x, int y, int c) {
        // One disc a cell, somewhere in it, white inside and coloured outside.
        const int column = x / kCell, row = y / kCell;
        const float dx = static_cast<float>(x % kCell) - 8.0f - 20.0f * noise(column, row, 7);
        const float dy = static_cast<float>(y % kCell) - 8.0f - 20.0f * noise(column, row, 8);
        const float distance = std::hypot(dx, dy) / (2.0f + 10.0f * noise(column, row, 9));
        if (distance < 1.0f) return distance < 0.6f ? 1.0f : kRims[(column + 3 * row) % 4][c];
        const float depth = static_cast<float>(y) / static_cast<float>(height);
        return 0.02f + 0.1f * depth + 0.12f * noise(x, y, c);
    });
}

Picture skyGradient(int width, int height) {
    return fill(width, height, [&](int x, int y, int c) {
        const float u = static_cast<float>(x) / static_cast<float>(width);
        const float v = static_cast<float>(y) / static_cast<float>(height);
        return 0.3f + 0.5f * v - 0.1f * u + 0.09f * static_cast<float>(c);
    });
}

Picture even(int width, int height, float value) {
    return fill(width, height, [value](int, int, int) { return value; });
}

Picture singleLights(int width, int height) {
    return fill(width, height, [&](int x, int y, int) {
        const bool corner = (x == 0 || x == width - 1) && (y == 0 || y == height - 1);
        return corner || (x % 23 == 11 && y % 17 == 8) ? 1.0f : 0.0f;
    });
}

veil::OutputRows into(veil::FloatImage& image) {
    return {veil::SampleKind::floats, [&image](int y) -> void* { return image.row(y - image.rect.y0); }};
}

veil::FloatImage plainGlow(const Picture& p, const veil::Rect& input, const veil::Rect& work,
                           const veil::Rect& visible, const veil::RenderSettings& settings) {
    const std::vector<float> pixels = p.crop(input);
    const veil::RowTransform fold = [&](float* row, int count) {
        veil::thresholdFogRow(row, settings.threshold, settings.fog, count);
    };
    veil::AveragedWindow window;
    const veil::FloatImage glow =
        passes::makeGlow(window.advance(work, {input, pixels.data()}, veil::planeSizes(p.width, p.height),
                                        veil::isFolded(settings) ? fold : nullptr, nullptr, nullptr),
                         settings);
    veil::FloatImage seen(visible);
    for (int y = 0; y < seen.height(); ++y)
        std::copy_n(glow.row(y + visible.y0 - work.y0) + (visible.x0 - work.x0) * 3, seen.rowLength(),
                    seen.row(y));
    return seen;
}

double largestDifference(std::span<const float> actual, const std::vector<double>& expected) {
    double largest = actual.size() == expected.size() ? 0.0 : std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < actual.size() && i < expected.size(); ++i) {
        const double difference = std::fabs(actual[i] - expected[i]);
        largest =
            std::max(largest, std::isnan(difference) ? std::numeric_limits<double>::infinity() : difference);
    }
    return largest;
}

}  // namespace pictures
