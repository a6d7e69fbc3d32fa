#include "tests/reference/reference_engine.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace veil {
namespace reference {
namespace {

double saturate(double v) { return std::min(std::max(v, 0.0), 1.0); }
double smooth(double t) { return t * t * (3.0 - 2.0 * t); }
double luma(const Pixel& p) { return 0.2126 * p[0] + 0.7152 * p[1] + 0.0722 * p[2]; }

Pixel operator+(const Pixel& a, const Pixel& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Pixel operator*(double k, const Pixel& a) { return {k * a[0], k * a[1], k * a[2]}; }
Pixel mix(const Pixel& a, const Pixel& b, float share) { return (1.0f - share) * a + share * b; }

int floorInt(float v) { return static_cast<int>(std::floor(v)); }
int ceilInt(float v) { return static_cast<int>(std::ceil(v)); }

int workingSize(int imageSize) { return std::max(imageSize / 4, 8); }

/// Where pixel `p` of a plane of `from` pixels lies in one of `to` pixels.
float centre(int p, int from, int to) {
    return (static_cast<float>(p) + 0.5f) / static_cast<float>(from) * static_cast<float>(to) - 0.5f;
}

/// A picture of pixel(x, y), local to the rectangle.
template <typename Source>
Picture fill(const Rect& rect, int channels, Source pixel) {
    Picture result(rect, channels, {});
    for (int y = 0; y < rect.height(); ++y)
        for (int x = 0; x < rect.width(); ++x) {
            const Pixel p = pixel(x, y);
            result.samples.insert(result.samples.end(), p.begin(), p.begin() + channels);
        }
    return result;
}

/// The read at column `x` and row `y` of the source's plane.
Pixel bilinear(const Picture& p, float x, float y) {
    x -= static_cast<float>(p.rect.x0);
    y -= static_cast<float>(p.rect.y0);
    const int left = floorInt(x), top = floorInt(y);
    const float fx = x - static_cast<float>(left), fy = y - static_cast<float>(top);
    return mix(mix(p.read(left, top), p.read(left + 1, top), fx),
               mix(p.read(left, top + 1), p.read(left + 1, top + 1), fx), fy);
}

float limitedRadius(const RenderSettings& s) {
    return s.radius < 2.0f ? 2.0f : s.radius > 600.0f ? 600.0f : s.radius;
}
float workingRadius(const RenderSettings& s) { return limitedRadius(s) * 0.25f; }

float effectMargin(const RenderSettings& s) {
    const bool boosts = s.highlightBoost > 0.0f;
    const float scale = std::max({s.wideScale, 1.0f, boosts ? 2.0f : 1.0f});
    return std::min(scale * limitedRadius(s), s.anamorphic ? 6000.0f : 768.0f) + (boosts ? 16.0f : 0.0f);
}

/// First and last working pixel that the image pixels from `low` up to `high` need.
std::pair<int, int> workingRange(int low, int high, int imageSize, const RenderSettings& settings,
                                 bool expand) {
    const int workSize = workingSize(imageSize), reach = ceilInt(effectMargin(settings) * 0.25f);
    const int a = floorInt(centre(low, imageSize, workSize)) - (expand ? 1 + reach : 0);
    const int b = ceilInt(centre(high - 1, imageSize, workSize)) + (expand ? 2 + reach : 1);
    return {std::max(0, std::min(a - 1, workSize - 1)), std::max(0, std::min(b, workSize - 1))};
}

double thresholdWeight(double l, float threshold) {
    const float low = threshold * 0.55f;
    if (!(low < threshold)) return threshold > l ? 0.0 : 1.0;
    return smooth(saturate((l - low) / (threshold - low)));
}

/// The distances on one side of a Gaussian, with their weights before `norm`.
struct Taps {
    std::vector<float> distance, weight;
    float norm = 1.0f;
    int edge = 0;
};

Taps makeTaps(float radius) {
    Taps taps;
    const float step = std::max(1.0f, radius / 24.0f), sigma = std::max(0.5f, radius * 0.5f);
    float sum = 1.0f;
    for (int i = 1; i <= 24; ++i) {
        const float d = static_cast<float>(i) * step;
        if (d > radius) break;
        taps.distance.push_back(d);
        taps.weight.push_back(std::exp(d * d * -0.5f / (sigma * sigma)));
        taps.edge = floorInt(d) + 1;
        sum += 2.0f * taps.weight.back();
    }
    taps.norm = 1.0f / sum;
    return taps;
}

/// Pixel `p` of a blurred line of `n`, of which line(i) reads number i, at any i.
template <typename Line>
Pixel gaussianPixel(Line line, int p, int n, const Taps& taps) {
    const int first = std::min(n, taps.edge), last = std::max(first, n - taps.edge) - 1;
    // Near the ends the positions themselves are rounded, which moves the fractions a little.
    const int origin = p >= first && p <= last ? p : 0;
    Pixel sum = line(p);
    for (std::size_t i = 0; i < taps.distance.size(); ++i)
        for (const float d : {taps.distance[i], -taps.distance[i]}) {
            const float t = static_cast<float>(p - origin) + d;
            const int whole = floorInt(t);
            const float fraction = t - static_cast<float>(whole);
            sum = sum + taps.weight[i] * mix(line(origin + whole), line(origin + whole + 1), fraction);
        }
    return taps.norm * sum;
}

/// How much the light of a pixel counts as the rim of a blown-out area; `core` is the nearness to one.
double rimWeight(const Pixel& p, double core) {
    const double high = std::max({p[0], p[1], p[2]}), low = std::min({p[0], p[1], p[2]}), l = luma(p);
    const double green = smooth(saturate(std::min(p[1] - p[0], p[1] - p[2]) / std::max(l, 1e-6) / 0.3));
    const double clipped = smooth(saturate((high - 0.92) / 0.08));
    const double sat = (high - low) / std::max(high, 1e-6) * l;
    return (1.0 - clipped) * sat * sat * sat * core * (1.0 - green);
}

/// `pixel` at its own luma in the colour that the rim's light has on average.
Pixel recoloured(const Pixel& pixel, const Pixel& rimColor, double weight) {
    Pixel ratio = 1.0 / (weight + 0.0001) * (rimColor + Pixel{0.0001, 0.0001, 0.0001});
    ratio = 1.0 / std::max(luma(ratio), 1e-6) * ratio;
    for (double& r : ratio) r = std::max(0.0, (r - 1.0) * 4.0 + 1.0);
    return luma(pixel) / std::max(luma(ratio), 1e-6) * ratio;
}

Picture reduce(const Picture& source, int factor) {
    const float f = static_cast<float>(factor);
    const auto reduced = [f](int p) { return (static_cast<float>(p) + 0.5f) / f - 0.5f; };
    const auto enlarged = [f](int p) { return (static_cast<float>(p) + 0.5f) * f - 0.5f; };
    const Rect& s = source.rect;
    const Rect rect{floorInt(reduced(s.x0)) - 1, floorInt(reduced(s.y0)) - 1, ceilInt(reduced(s.x1 - 1)) + 2,
                    ceilInt(reduced(s.y1 - 1)) + 2};
    return fill(rect, source.channels,
                [&](int x, int y) { return bilinear(source, enlarged(rect.x0 + x), enlarged(rect.y0 + y)); });
}

Picture enlarge(const Picture& source, const Rect& target, int factor) {
    const float f = static_cast<float>(factor);
    const auto reduced = [f](int p) { return (static_cast<float>(p) + 0.5f) / f - 0.5f; };
    return fill(target, source.channels, [&](int x, int y) {
        return bilinear(source, reduced(target.x0 + x), reduced(target.y0 + y));
    });
}

Picture box(const Picture& source, int halfWidth) {
    if (halfWidth < 1 || source.rect.width() < 2) return source;
    const float inverse = 1.0f / static_cast<float>(2 * halfWidth + 1);
    Pixel sum{};  // of the window round the pixel before
    return fill(source.rect, 3, [&](int x, int y) {
        if (x == 0) sum = {};
        for (int i = x == 0 ? -halfWidth : halfWidth; i <= halfWidth; ++i) sum = sum + source.read(x + i, y);
        if (x > 0) sum = sum + -1.0 * source.read(x - halfWidth - 1, y);
        return inverse * sum;
    });
}

/// `bright` with the halos.
Picture boosted(const Picture& base, const Picture& wideBlur, const Picture& bright,
                const RenderSettings& settings) {
    const float radius = workingRadius(settings) * 0.5f;
    const auto blurred = [&](const Picture& half) { return blur(half, radius, settings.anamorphic); };
    const auto spread = [&](const Picture& half) { return enlarge(half, base.rect, 2); };
    const auto darkness = [](const Pixel& p) { return 1.0 - smooth(saturate((luma(p) - 0.25) * 4.0)); };

    const Picture half = reduce(base, 2);
    const Picture core = blurred(fill(half.rect, 1, [&](int x, int y) {
        return Pixel{smooth(saturate((luma(half.read(x, y)) - 0.95) / 0.050000012f))};
    }));
    const Picture weight = fill(
        half.rect, 1, [&](int x, int y) { return Pixel{rimWeight(half.read(x, y), core.read(x, y)[0])}; });
    const Picture color =
        fill(half.rect, 3, [&](int x, int y) { return weight.read(x, y)[0] * half.read(x, y); });
    const Picture surround = spread(blurred(half)), coreSpread = spread(core);
    const Picture rimColor = spread(blurred(color)), rimWeights = spread(blurred(weight));

    return fill(base.rect, 3, [&](int x, int y) {
        const double knee = smooth(saturate((luma(base.read(x, y)) - 0.9) / 0.1));
        const double nearCore = smooth(saturate((coreSpread.read(x, y)[0] - 0.05) / 0.35));
        const double isolation = darkness(surround.read(x, y)) + darkness(wideBlur.read(x, y)) * nearCore;
        const Pixel lit = (1.0 + isolation * knee * settings.highlightBoost) * bright.read(x, y);
        return (1.0 - knee) * lit + knee * recoloured(lit, rimColor.read(x, y), rimWeights.read(x, y)[0]);
    });
}

Picture compose(const Picture& source, const Picture& glow, const Rect& output, int imageWidth,
                int imageHeight, const RenderSettings& settings) {
    const float tint[3] = {settings.tintR, settings.tintG, settings.tintB}, s = settings.glowSaturation;
    return fill(output, 3, [&](int column, int row) {
        const int x = output.x0 + column, y = output.y0 + row;
        Pixel light = bilinear(glow, centre(x, imageWidth, workingSize(imageWidth)),
                               centre(y, imageHeight, workingSize(imageHeight)));
        const double l = luma(light);
        for (double& v : light) v = std::max(0.0, v * s + (1.0f - s) * l);
        if (luma(light) > 1e-6) light = l / luma(light) * light;
        const Pixel below = source.read(x - source.rect.x0, y - source.rect.y0);
        const double dark = 1.0 - smooth(saturate(luma(below) / 0.35));
        for (int c = 0; c < 3; ++c) {
            light[c] = saturate(light[c] * tint[c] * settings.strength);
            if (settings.shadowProtect > 0.0f) light[c] *= 1.0 - dark * settings.shadowProtect;
            if (!settings.outputGlowOnly) light[c] = saturate(1.0 - (1.0 - light[c]) * (1.0 - below[c]));
        }
        return light;
    });
}

}  // namespace

Pixel Picture::read(int x, int y) const {
    const int inX = std::max(0, std::min(x, rect.width() - 1)),
              inY = std::max(0, std::min(y, rect.height() - 1));
    const double* p = samples.data() + (static_cast<std::size_t>(inY) * rect.width() + inX) * channels;
    return channels == 1 ? Pixel{p[0], 0.0, 0.0} : Pixel{p[0], p[1], p[2]};
}

Rect workingRect(const Rect& output, int imageWidth, int imageHeight, const RenderSettings& settings) {
    const auto [x0, x1] = workingRange(output.x0, output.x1, imageWidth, settings, true);
    const auto [y0, y1] = workingRange(output.y0, output.y1, imageHeight, settings, !settings.anamorphic);
    return {x0, y0, x1 + 1, y1 + 1};
}

Rect requiredInputRect(const Rect& tile, int imageWidth, int imageHeight, const RenderSettings& settings) {
    const Rect work = workingRect(tile, imageWidth, imageHeight, settings);
    const auto image = [](int p, int size) { return centre(p, workingSize(size), size); };
    return {std::clamp(floorInt(image(work.x0, imageWidth)) - 2, 0, imageWidth - 1),
            std::clamp(floorInt(image(work.y0, imageHeight)) - 2, 0, imageHeight - 1),
            std::clamp(ceilInt(image(work.x1 - 1, imageWidth)) + 2, 0, imageWidth - 1) + 1,
            std::clamp(ceilInt(image(work.y1 - 1, imageHeight)) + 2, 0, imageHeight - 1) + 1};
}

Picture downsample(const Picture& source, const Rect& workRect, int imageWidth, int imageHeight) {
    return fill(workRect, 3, [&](int x, int y) {
        const float px = centre(workRect.x0 + x, workingSize(imageWidth), imageWidth);
        const float py = centre(workRect.y0 + y, workingSize(imageHeight), imageHeight);
        const int cx = floorInt(px - static_cast<float>(source.rect.x0));
        const int cy = floorInt(py - static_cast<float>(source.rect.y0));
        Pixel sum{};
        for (int i = 0; i < 25; ++i) sum = sum + source.read(cx + i % 5 - 2, cy + i / 5 - 2);
        return 1.0 / 25.0 * sum;
    });
}

Picture gaussian(const Picture& source, float radius, bool horizontal) {
    const Taps taps = makeTaps(radius);
    return fill(source.rect, source.channels, [&](int x, int y) {
        if (horizontal)
            return gaussianPixel([&](int i) { return source.read(i, y); }, x, source.rect.width(), taps);
        return gaussianPixel([&](int i) { return source.read(x, i); }, y, source.rect.height(), taps);
    });
}

Picture blur(const Picture& source, float radius, bool anamorphic) {
    if (anamorphic && source.channels == 3) {
        const int n = std::max(1, static_cast<int>(std::round(radius / 3.0f)));
        return box(box(box(source, n), n), n);
    }
    const Picture rows = gaussian(source, radius, true);
    return anamorphic ? rows : gaussian(rows, radius, false);
}

Picture makeGlow(const Picture& source, const Rect& workRect, int imageWidth, int imageHeight,
                 const RenderSettings& settings) {
    const Picture base = downsample(source, workRect, imageWidth, imageHeight);
    const float radius = workingRadius(settings), fog = settings.fog;
    const bool boosts = settings.highlightBoost > 0.0f, folded = settings.wideScale == 1.0f && !boosts;

    const Picture bright = fill(workRect, 3, [&](int x, int y) {
        const Pixel p = base.read(x, y);
        const double weight = thresholdWeight(luma(p), settings.threshold);
        return (folded ? (1.0f - fog) * weight + fog : weight) * p;
    });
    if (folded) return blur(bright, radius, settings.anamorphic);

    const Picture wide = blur(base, radius * settings.wideScale, settings.anamorphic);
    const Picture narrow =
        blur(boosts ? boosted(base, wide, bright, settings) : bright, radius, settings.anamorphic);
    return fill(workRect, 3, [&](int x, int y) { return mix(narrow.read(x, y), wide.read(x, y), fog); });
}

}  // namespace reference

std::vector<double> referenceRender(const std::vector<float>& input, const Rect& inputRect,
                                    const Rect& outputRect, int imageWidth, int imageHeight,
                                    const RenderSettings& settings) {
    const reference::Picture source(inputRect, 3, input);
    const Rect workRect = reference::workingRect(outputRect, imageWidth, imageHeight, settings);
    const reference::Picture glow = reference::makeGlow(source, workRect, imageWidth, imageHeight, settings);
    return reference::compose(source, glow, outputRect, imageWidth, imageHeight, settings).samples;
}

}  // namespace veil
