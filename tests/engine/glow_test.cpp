#include "engine/glow.h"

#include <doctest/doctest.h>

#include <cmath>

#include "engine/composition.h"
#include "tests/engine/passes.h"
#include "tests/engine/pictures.h"

using namespace veil;
using pictures::largestDifference;
using pictures::noiseImage;
using pictures::Picture;
using Slow = reference::Picture;

namespace {

struct Colour {
    float r, g, b;
};

constexpr Colour kBlack{0.0f, 0.0f, 0.0f};
constexpr Rect kPlane{0, 0, 80, 60};

RenderSettings glowSettings(float radius, float threshold, float fog, float wideScale) {
    return {.threshold = threshold, .radius = radius, .fog = fog, .wideScale = wideScale};
}

FloatImage glowOf(const Picture& p, const RenderSettings& settings) {
    const Rect work{0, 0, p.width / 4, p.height / 4};
    return pictures::plainGlow(p, p.rect(), work, work, settings);
}

void paint(FloatImage& image, const Rect& r, const Colour& colour) {
    for (int y = r.y0; y < r.y1; ++y)
        for (int x = r.x0; x < r.x1; ++x) std::copy_n(&colour.r, 3, image.row(y) + x * 3);
}

/// The middle of a white square in a ring of colour, boosted by 0.8. Both start at even pixels, so that the
/// half plane does not mix them.
Colour boostedCore(const Colour& surroundings, const Colour& ring) {
    FloatImage base(kPlane), wideBlur(kPlane);
    paint(base, kPlane, surroundings);
    paint(wideBlur, kPlane, surroundings);
    paint(base, {34, 24, 46, 36}, ring);
    paint(base, {38, 28, 42, 32}, {1.0f, 1.0f, 1.0f});
    FloatImage bright = base;
    passes::boostHighlights(base, wideBlur, bright, {.radius = 80.0f, .highlightBoost = 0.8f});
    const float* pixel = bright.row(30) + 40 * 3;
    return {pixel[0], pixel[1], pixel[2]};
}

float luma(const Colour& c) { return 0.2126f * c.r + 0.7152f * c.g + 0.0722f * c.b; }

bool isNeutral(const Colour& c) { return std::fabs(c.r - c.g) < 1e-4f && std::fabs(c.b - c.g) < 1e-4f; }

/// One pixel of an even source of grey under an even glow.
Colour composePixel(float grey, const Colour& glow, const RenderSettings& settings) {
    FloatImage light({0, 0, 8, 8});
    paint(light, light.rect, glow);
    const Picture source = pictures::even(32, 32, grey);
    FloatImage out(source.rect());
    composeOutput({source.rect(), source.samples.data()}, light, out.rect, 32, 32, 8, 8, settings,
                  pictures::into(out), nullptr);
    return {out.pixels.at(0), out.pixels.at(1), out.pixels.at(2)};
}

bool isNear(const Colour& a, const Colour& b) {
    return std::fabs(a.r - b.r) < 1e-6f && std::fabs(a.g - b.g) < 1e-6f && std::fabs(a.b - b.b) < 1e-6f;
}

}  // namespace

TEST_CASE("the threshold curve has its knee, and a threshold of 0 or below is a step, on both routes") {
    const struct {
        float threshold, luma, weight;
    } table[] = {{0.5f, 0.2f, 0.0f},     {0.5f, 0.275f, 0.0f}, {0.5f, 0.3875f, 0.5f}, {0.5f, 0.5f, 1.0f},
                 {0.5f, 0.9f, 1.0f},     {0.0f, 0.0f, 1.0f},   {0.0f, 0.3f, 1.0f},    {-1.0f, 0.3f, 1.0f},
                 {-0.1f, -0.5f, 0.0f},   {0.0f, -0.5f, 0.0f},  {-0.1f, -0.05f, 1.0f}, {2.0f, 1.0f, 0.0f},
                 {1.2f, 1.0f, 0.69009f}, {1.0f, 1.0f, 1.0f}};
    for (const auto& t : table) {
        for (const float fog : {0.0f, 0.25f, 1.0f}) {
            for (const float wideScale : {1.0f, 2.4f}) {
                INFO("threshold ", t.threshold, ", luma ", t.luma, ", fog ", fog, ", wide scale ", wideScale);
                const RenderSettings settings = glowSettings(20.0f, t.threshold, fog, wideScale);
                const double expected = t.luma * ((1.0 - fog) * t.weight + fog);
                CHECK(largestDifference(glowOf(pictures::even(40, 36, t.luma), settings).pixels,
                                        std::vector<double>(10 * 9 * 3, expected)) < 4e-6);
            }
        }
    }
}

TEST_CASE("the routes agree at equal radii, a boost takes the full one, and fog 0 or 1 leaves one blur") {
    const Picture night = pictures::nightScene(240, 120);
    for (const bool anamorphic : {false, true}) {
        INFO("anamorphic ", anamorphic);
        // The next float after 1 takes the full route without a visible change of the radius.
        RenderSettings folded = glowSettings(50.0f, 0.4f, 0.3f, 1.0f);
        folded.anamorphic = anamorphic;
        RenderSettings full = folded, boost = folded;
        full.wideScale = std::nextafter(1.0f, 2.0f);
        boost.highlightBoost = 0.5f;
        const FloatImage glow = glowOf(night, folded);
        CHECK(largestDifference(glowOf(night, full), Slow(glow)) < 2e-6);
        CHECK(largestDifference(
                  glowOf(night, boost),
                  reference::makeGlow({night.rect(), 3, night.samples}, glow.rect, 240, 120, boost)) < 4e-6);
    }
    CHECK(glowOf(night, glowSettings(30.0f, 0.5f, 0.0f, 2.4f)).pixels ==
          glowOf(night, glowSettings(30.0f, 0.5f, 0.0f, 5.0f)).pixels);
    CHECK(glowOf(night, glowSettings(30.0f, 0.9f, 1.0f, 2.4f)).pixels ==
          glowOf(night, glowSettings(30.0f, 0.1f, 1.0f, 2.4f)).pixels);
}

TEST_CASE("a picture without a luma above 0.9 passes the boost unchanged") {
    FloatImage base = noiseImage<FloatImage>(kPlane, 1);
    for (float& v : base.pixels) v *= 0.9f;
    const FloatImage before = noiseImage<FloatImage>(kPlane, 2);
    FloatImage bright = before;
    passes::boostHighlights(base, base, bright, {.radius = 80.0f, .highlightBoost = 5.0f});
    CHECK(bright.pixels == before.pixels);
}

TEST_CASE("a small clipped light gains in the dark and takes its rim's colour, but not a green one's") {
    const Colour grey{0.6f, 0.6f, 0.6f}, inDark = boostedCore(kBlack, kBlack),
                                         inLight = boostedCore(grey, grey);
    CHECK(isNeutral(inDark));
    CHECK(inDark.g > 1.8f - 1e-4f);
    CHECK(inDark.g < 2.6f);
    CHECK(isNeutral(inLight));
    CHECK(std::fabs(inLight.g - 1.0f) < 1e-4f);
    const Colour orange = boostedCore(kBlack, {0.9f, 0.45f, 0.1f});
    CHECK(orange.r > 1.3f * orange.g);
    CHECK(orange.g > 1.3f * orange.b);
    CHECK(luma(orange) > 1.7f);
    CHECK(isNeutral(boostedCore(kBlack, {0.1f, 0.8f, 0.1f})));
}

TEST_CASE("saturation keeps the luma, then come tint, strength and the limit of 1") {
    const Colour glow{0.8f, 0.2f, 0.1f};
    const float l = 0.32034f;
    RenderSettings s{.strength = 0.5f, .outputGlowOnly = true};
    CHECK(isNear(composePixel(0.5f, glow, s), {0.4f, 0.1f, 0.05f}));
    s.glowSaturation = 2.0f;
    // Blue falls to 0, and what the clip added in luma is taken off again.
    const Colour clipped{2.0f * 0.8f - l, 2.0f * 0.2f - l, 0.0f};
    const float back = 0.5f * l / luma(clipped);
    CHECK(isNear(composePixel(0.5f, glow, s), {back * clipped.r, back * clipped.g, 0.0f}));
    s.glowSaturation = 0.0f;
    s.strength = 4.0f;
    s.tintR = 0.5f;
    s.tintB = 0.25f;
    CHECK(isNear(composePixel(0.5f, glow, s), {2.0f * l, 1.0f, l}));
    s.outputGlowOnly = false;
    CHECK(composePixel(0.5f, glow, s).g == 1.0f);
    s.strength = 0.0f;
    for (const float grey : {-0.2f, 0.0f, 0.3f, 1.0f, 1.4f}) {
        const float limited = std::clamp(grey, 0.0f, 1.0f);
        CHECK(isNear(composePixel(grey, glow, s), {limited, limited, limited}));
        CHECK(isNear(composePixel(grey, kBlack, RenderSettings{.strength = 1.0f}),
                     {limited, limited, limited}));
    }
}

TEST_CASE("shadow protection follows the source's luma; only above 1 does a glow alone fall below 0") {
    const struct {
        float protect, grey, kept;
    } table[] = {{1.0f, 0.0f, 0.0f},   {0.2f, 0.0f, 0.8f},  {0.2f, 0.175f, 0.9f}, {0.2f, 0.36f, 1.0f},
                 {1.0f, 0.175f, 0.5f}, {1.5f, 0.0f, -0.5f}, {0.0f, 0.0f, 1.0f},   {-1.0f, 0.0f, 1.0f}};
    for (const auto& t : table) {
        INFO("shadow protection ", t.protect, ", source ", t.grey);
        RenderSettings s{.strength = 1.0f, .shadowProtect = t.protect, .outputGlowOnly = true};
        const Colour alone = composePixel(t.grey, {0.4f, 0.5f, 0.6f}, s);
        CHECK(isNear(alone, {0.4f * t.kept, 0.5f * t.kept, 0.6f * t.kept}));
        s.outputGlowOnly = false;
        const auto screen = [&](float v) { return std::max(0.0f, 1.0f - (1.0f - v) * (1.0f - t.grey)); };
        CHECK(isNear(composePixel(t.grey, {0.4f, 0.5f, 0.6f}, s),
                     {screen(alone.r), screen(alone.g), screen(alone.b)}));
    }
}

TEST_CASE("a source smaller than the output repeats its edge pixels") {
    const FloatImage source = noiseImage<FloatImage>({3, 2, 8, 6}, 1);
    for (const int left : {0, 4}) {
        FloatImage out({left, 0, left + 7, 9});
        const FloatImage dark({0, 0, 8, 8});
        composeOutput({source.rect, source.pixels.data()}, dark, out.rect, 32, 32, 8, 8, {},
                      pictures::into(out), nullptr);
        std::vector<double> expected;
        for (int i = 0; i < 7 * 9; ++i)
            for (const double v : Slow(source).read(left + i % 7 - 3, i / 7 - 2)) expected.push_back(v);
        CHECK(largestDifference(out.pixels, expected) < 1e-6);
    }
}
