// What tiles of one image share, and what passes do joined, must not show in any bit.

#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <stdexcept>
#include <thread>

#include "engine/composition.h"
#include "engine/geometry.h"
#include "engine/render.h"
#include "tests/engine/pictures.h"

using namespace veil;
using pictures::Picture;

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr int kRounds = 20;  // most of the time goes into the plain passes, which run on one thread
#else
constexpr int kRounds = 60;
#endif

struct Layout {
    Picture picture;
    int tileWidth, tileHeight;
    RenderSettings settings;

    std::vector<Rect> tiles() const {
        std::vector<Rect> result;
        for (int y = 0; y < picture.height; y += tileHeight)
            for (int x = 0; x < picture.width; x += tileWidth)
                result.push_back(
                    {x, y, std::min(x + tileWidth, picture.width), std::min(y + tileHeight, picture.height)});
        return result;
    }
};

Layout randomLayout(std::mt19937& random) {
    const auto upTo = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    RenderSettings s{.threshold = static_cast<float>(upTo(3)) * 0.3f,
                     .radius = static_cast<float>(upTo(120)),
                     .strength = 0.9f,
                     .anamorphic = upTo(4) == 0,
                     .fog = 0.2f,
                     .wideScale = upTo(3) == 0 ? 2.3f : 1.0f,
                     .highlightBoost = upTo(4) == 0 ? 4.0f : 0.0f,
                     .shadowProtect = static_cast<float>(upTo(2)) * 0.3f,
                     .outputGlowOnly = upTo(3) == 0};
    return {pictures::nightScene(1 + upTo(700), 1 + upTo(500)), 16 + upTo(200), 16 + upTo(200), s};
}

/// Only the pixels of `allowed` may be read; the others are not copied from a host.
SourceRows guarded(const Picture& p, const Rect& rect, const Rect& allowed, std::atomic<int>& strayReads) {
    return {rect, SampleKind::floats, [&p, allowed, &strayReads](int x, int y, int count) -> const void* {
                strayReads += x < allowed.x0 || x + count > allowed.x1 || y < allowed.y0 || y >= allowed.y1;
                return p.samples.data() + (y * p.width + x) * 3;
            }};
}

/// Only the calling thread may read.
SourceRows callersOwn(SourceRows rows, std::atomic<int>& strayReads) {
    rows.at = [at = rows.at, caller = std::this_thread::get_id(), &strayReads](int x, int y, int count) {
        strayReads += std::this_thread::get_id() != caller;
        return at(x, y, count);
    };
    return rows;
}

FloatImage plainTile(const Layout& l, const Rect& tile) {
    const Picture& p = l.picture;
    const Rect input = requiredInputRect(tile, p.width, p.height, l.settings);
    const Rect work = workingRect(tile, p.width, p.height, l.settings);
    const FloatImage glow =
        pictures::plainGlow(p, input, work, visibleGlowRect(tile, work, p.width, p.height), l.settings);
    FloatImage out(tile);
    composeOutput({p.rect(), p.samples.data()}, glow, tile, p.width, p.height, workingSize(p.width),
                  workingSize(p.height), l.settings, pictures::into(out), nullptr);
    return out;
}

FloatImage renderedTile(ImageRenderer& renderer, const Layout& l, const Rect& tile, WorkerPool* pool) {
    const Rect input = requiredInputRect(tile, l.picture.width, l.picture.height, l.settings);
    std::atomic<int> strayReads = 0;
    FloatImage out(tile);
    renderer.render(tile,
                    {callersOwn(guarded(l.picture, input, input, strayReads), strayReads),
                     guarded(l.picture, input, renderer.pictureReads(input, tile), strayReads)},
                    pictures::into(out), pool);
    CHECK(strayReads == 0);
    return out;
}

}  // namespace

TEST_CASE(
    "tiles that share their work, in any order on any threads, are those of passes that share nothing") {
    std::mt19937 random(7);
    for (int round = 0; round < kRounds; ++round) {
        const Layout l = randomLayout(random);
        INFO("round ", round, ": ", l.picture.width, " by ", l.picture.height, " in tiles of ", l.tileWidth,
             " by ", l.tileHeight, ", radius ", l.settings.radius);
        WorkerPool pool(round % 4);
        ImageRenderer renderer(l.picture.width, l.picture.height, l.settings);
        std::vector<Rect> tiles = l.tiles();
        if (round % 3 == 1) std::shuffle(tiles.begin(), tiles.end(), random);
        if (round % 3 == 2) tiles.resize((tiles.size() + 1) / 2);
        std::size_t different = 0;
        for (const Rect& tile : tiles)
            different += renderedTile(renderer, l, tile, &pool).pixels != plainTile(l, tile).pixels;
        CHECK(different == 0);
    }
}

TEST_CASE("a source or an output that throws in any row leaves nothing wrong behind for the next tiles") {
    for (const float wideScale : {1.0f, 2.0f}) {
        const Layout l{pictures::nightScene(230, 320),
                       100,
                       64,
                       {.radius = 40.0f, .strength = 0.8f, .fog = 0.3f, .wideScale = wideScale}};
        WorkerPool pool(2);
        ImageRenderer renderer(230, 320, l.settings);
        const SourceRows good(l.picture.rect(), l.picture.samples.data());
        int failingRow = 0;
        for (const Rect& tile : l.tiles()) {
            const Rect input = requiredInputRect(tile, 230, 320, l.settings);
            const SourceRows broken(input, SampleKind::floats, [&](int x, int y, int count) {
                if (y % 60 == failingRow) throw std::runtime_error("row");
                return good.at(x, y, count);
            });
            FloatImage out(tile);
            for (failingRow = 0; failingRow < 60; failingRow += 13) {
                CHECK_THROWS_AS(renderer.render(tile, {broken, broken}, pictures::into(out), &pool),
                                std::runtime_error);
            }
            OutputRows full = pictures::into(out);
            full.at = [&, at = full.at](int y) {
                if (y == tile.y1 - 1) throw std::length_error("full");
                return at(y);
            };
            CHECK_THROWS_AS(renderer.render(tile, {good, good}, full, &pool), std::length_error);
            CHECK(renderedTile(renderer, l, tile, &pool).pixels == plainTile(l, tile).pixels);
        }
    }
}

TEST_CASE("a picture whose rows are too long to be kept whole gives the bits of a narrow one") {
    // Between powers of two positions are exact, so the left ends of both pictures are the same.
    const Picture lights = pictures::nightScene(1 << 11, 64);
    const SourceRows::At at = [&](int x, int y, int) {
        return lights.samples.data() + (y * lights.width + x) * 3;
    };
    const RenderSettings settings{
        .radius = 60.0f, .strength = 0.8f, .fog = 0.3f, .wideScale = 2.3f, .highlightBoost = 4.0f};
    std::vector<float> narrow;
    for (const int width : {1 << 12, 1 << 21}) {
        ImageRenderer renderer(width, 64, settings);
        std::vector<float> samples;
        for (const int y : {0, 32}) {
            for (const int x : {0, 150, 300}) {
                const Rect tile{x, y, x + 150, y + 32};
                const SourceRows source(requiredInputRect(tile, width, 64, settings), SampleKind::floats, at);
                FloatImage out(tile);
                renderer.render(tile, {source, source}, pictures::into(out), nullptr);
                samples.insert(samples.end(), out.pixels.begin(), out.pixels.end());
            }
        }
        if (narrow.empty()) narrow = samples;
        CHECK((samples == narrow));
    }
}

TEST_CASE("on a side so long that positions are rounded past a tile's input, pixels outside of it are read") {
    std::mt19937 random(3);
    int outside = 0;
    for (int round = 0; round < 3000; ++round) {
        const int side = (1 << 26) + static_cast<int>(random() % ((1u << 30) - (1u << 26)));
        const int first = static_cast<int>(random() % static_cast<unsigned>(side));
        const Rect tile{first, 0, std::min(first + 1 + static_cast<int>(random() % 512), side), 1};
        const RenderSettings settings{.radius = 2.0f, .strength = 1.0f};
        const Rect input = requiredInputRect(tile, side, 1, settings);
        outside += tile.x0 < input.x0 || tile.x1 > input.x1;
        const Rect read = ImageRenderer(side, 1, settings).pictureReads(input, tile);
        INFO("side ", side, " tile ", tile.x0, " to ", tile.x1);
        CHECK((read.x0 >= input.x0 && read.x1 <= input.x1 && read.width() > 0 && read.height() == 1));
    }
    CHECK(outside > 0);
}
