#include <doctest/doctest.h>

#include <cmath>

#include "engine/averaged_window.h"
#include "engine/blur.h"
#include "engine/resample.h"
#include "tests/engine/passes.h"
#include "tests/engine/pictures.h"

using namespace veil;
using passes::Axis;
using pictures::largestDifference;
using pictures::noiseImage;
using Slow = reference::Picture;

namespace {

// Weights that sum to 1, each operation rounded to 6e-8; the roundings hardly add up.
constexpr double kTolerance = 1e-6;

/// Whether a part of `source`, blurred alone and from no more rows than it needs, has the bits of `whole`.
bool isPartOf(const FloatImage& whole, const FloatImage& source, float radius, bool anamorphic) {
    const Rect& r = source.rect;
    const Rect part{r.x0 + r.width() / 2, r.y0 + 1, r.x1 - r.width() / 4, r.y1};
    AcrossBlur<FloatImage> blur;
    blur.begin(radius, anamorphic, {r.y0, r.y1}, {part.y0, part.y1}, {part.x0, part.x1});
    LinePlans plans;
    const AlongBlur along =
        makeAlongBlur(plans, radius, anamorphic, r.width(), part.x0 - r.x0, part.x1 - r.x0);
    LineScratch scratch;
    for (int y = blur.held().y0; y < blur.held().y1; y += kRowGroup)
        blurAlong(along, source.row(y - r.y0), std::min(kRowGroup, blur.held().y1 - y), source.rowLength(),
                  scratch, blur.row(y), blur.rowLength());
    FloatImage result(part);
    if (r.width() % 2 == 0) blur.planRows(plans, {part.y0, part.y1});
    blur.make(part, scratch, result.row(0), result.rowLength());
    for (int y = part.y0; y < part.y1; ++y) {
        const float* row = result.row(y - part.y0);
        if (!std::equal(row, row + result.rowLength(), whole.row(y - r.y0) + (part.x0 - r.x0) * 3))
            return false;
    }
    return true;
}

}  // namespace

TEST_CASE("the box takes the nearest 5 by 5 pixels at each ratio of the planes, then transforms whole rows") {
    const RowTransform negate = [](float* row, int count) {
        for (int i = 0; i < count * 3; ++i) row[i] = -row[i];
    };
    WorkerPool pool(2);
    for (const int width : {1, 3, 9, 17, 31, 32, 33, 130, 5099, 5267, 30001}) {
        // The whole, and a tile: the box is local to what came.
        for (const Rect& from : {Rect{0, 0, width, 37}, Rect{width / 3, 9, width, 37}}) {
            INFO("image of width ", width, ", tile from ", from.x0);
            FloatImage source = noiseImage<FloatImage>(from, width);
            const int workWidth = std::max(8, width / 4);
            const Rect work{workWidth * 2 / 5, 3, workWidth, 9};
            AveragedWindow window;
            const FloatImage& actual = window.advance(work, {from, source.pixels.data()},
                                                      {width, 37, workWidth, 9}, negate, nullptr, &pool);
            for (float& v : source.pixels) v = -v;
            CHECK(largestDifference(actual, reference::downsample(Slow(source), work, width, 37)) <
                  kTolerance);
        }
    }
}

TEST_CASE("a reduced rectangle sticks out of its source by its formulas") {
    const Rect table[][2] = {{{0, 0, 10, 7}, {-2, -2, 7, 5}},
                             {{3, 5, 4, 6}, {0, 1, 4, 5}},
                             {{0, 0, 1, 1}, {-2, -2, 2, 2}},
                             {{80, 126, 114, 258}, {38, 61, 59, 131}}};
    for (const auto& [rect, reduced] : table) CHECK(reducedRect(rect, 2) == reduced);
}

TEST_CASE("a tap table is cut at the radius, by floats, and spreads beyond 24 taps") {
    const struct {
        float radius;
        int count, edge;
        float lastOffset, lastWeight;
    } table[] = {{0.25f, 0, 0, 0.0f, 0.0f},
                 {0.999f, 0, 0, 0.0f, 0.0f},
                 {1.0f, 1, 2, 1.0f, 0.135335f},
                 {1.999f, 1, 2, 1.0f, 0.606228f},
                 {24.0f, 24, 25, 24.0f, 0.135335f},
                 {25.0f, 24, 26, 25.0f, 0.135335f},
                 {150.0f, 24, 151, 150.0f, 0.135335f},
                 {45.0f * 2.4f, 23, 104, 103.5f, 0.159326f}};
    for (const auto& t : table) {
        INFO("radius ", t.radius);
        const TapTable actual = makeTapTable(t.radius);
        REQUIRE(actual.count == t.count);
        CHECK(actual.edge == t.edge);
        if (t.count == 0) continue;
        const Tap& last = actual.taps[t.count - 1];
        CHECK(static_cast<float>(last.offset) + last.frac == doctest::Approx(t.lastOffset));
        CHECK(static_cast<float>(last.negOffset) + last.negFrac == doctest::Approx(-t.lastOffset));
        CHECK(last.negFrac < 1.0f);
        CHECK(last.weight == doctest::Approx(t.lastWeight).epsilon(1e-5));
    }
}

TEST_CASE("every blur reads the right neighbours, inside and at both ends, at every size") {
    for (const float radius : {0.5f, 0.999f, 1.0f, 2.6f, 4.5f, 7.9f, 25.0f, 45.7f, 108.000008f, 150.0f}) {
        for (const int size : {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 67, 420}) {
            INFO("radius ", radius, ", size ", size);
            const FloatImage wide = noiseImage<FloatImage>({3, 1, 3 + size, 4}, size);
            const FloatImage tall = noiseImage<FloatImage>({3, 1, 6, 1 + size}, size);
            const FloatPlane mask = noiseImage<FloatPlane>({0, 0, size, 19}, size);
            CHECK(largestDifference(passes::gaussian(wide, radius, Axis::horizontal),
                                    reference::gaussian(Slow(wide), radius, true)) < kTolerance);
            CHECK(largestDifference(passes::gaussian(tall, radius, Axis::vertical),
                                    reference::gaussian(Slow(tall), radius, false)) < kTolerance);
            for (const bool anamorphic : {false, true}) {
                CHECK(largestDifference(passes::blur(mask, radius, anamorphic),
                                        reference::blur(Slow(mask), radius, anamorphic)) < kTolerance);
            }
            // Three passes of running sums below 256, each addition rounded by up to 7.6e-6.
            CHECK(largestDifference(passes::blur(wide, radius, true),
                                    reference::blur(Slow(wide), radius, true)) < 2.3e-5);
            if (radius < 1.0f) CHECK(passes::gaussian(wide, radius, Axis::horizontal).pixels == wide.pixels);
            for (const bool anamorphic : {false, true})
                CHECK(isPartOf(passes::blur(wide, radius, anamorphic), wide, radius, anamorphic));
        }
    }
}

TEST_CASE("an even colour stays even in every blur, at the edge too") {
    for (const float radius : {0.5f, 1.0f, 9.7f, 108.000008f, 400.0f}) {
        for (const Rect& rect : {Rect{0, 0, 5, 5}, Rect{0, 0, 1200, 3}, Rect{0, 0, 3, 1200}}) {
            FloatImage image(rect);
            std::fill(image.pixels.begin(), image.pixels.end(), 0.7f);
            for (const bool anamorphic : {false, true}) {
                INFO("radius ", radius, ", width ", rect.x1, ", anamorphic ", anamorphic);
                // The running sums reach 1000 here, in steps of 6e-5, and an even colour rounds to one side.
                CHECK(largestDifference(passes::blur(image, radius, anamorphic), Slow(image)) <
                      (anamorphic ? 1e-4 : kTolerance));
            }
        }
    }
}
