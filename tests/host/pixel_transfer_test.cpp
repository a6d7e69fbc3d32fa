#include "host/pixel_transfer.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <limits>
#include <tuple>

namespace {

using Bytes = std::vector<std::byte>;

Bytes hostSamples(const std::vector<int>& values, int depth) {
    Bytes bytes;
    for (const int value : values) {
        bytes.push_back(static_cast<std::byte>(value & 255));
        if (depth == 16) bytes.push_back(static_cast<std::byte>(value >> 8));
    }
    return bytes;
}

}  // namespace

TEST_CASE("every host sample survives reading and writing, and reads as its share of white") {
    for (const int depth : {8, 16}) {
        const int white = depth == 8 ? 255 : 32768;
        std::vector<int> values((white + 3) / 3 * 3);
        for (int i = 0; i <= white; ++i) values[i] = i;
        const Bytes row = hostSamples(values, depth);
        const int width = static_cast<int>(values.size()) / 3, rowBytes = static_cast<int>(row.size());
        std::vector<float> floats, expected;
        for (const int value : values) expected.push_back(static_cast<float>(value / double(white)));
        veil::readPixels(row.data(), rowBytes, {0, 0, width, 1}, depth, floats);
        CHECK((floats == expected));
        Bytes back(row.size());
        veil::writePixels(floats, back.data(), rowBytes, width, 1, depth);
        CHECK((back == row));
    }
}

TEST_CASE("widths, odd row lengths and shifted starts read and write the right bytes and no other") {
    for (int i = 0; i < 2 * 3 * 18; ++i) {
        const int depth = i % 2 == 0 ? 8 : 16, width = i / 6, pixelBytes = width * 3 * depth / 8;
        const int rowBytes = pixelBytes + i / 2 % 3 * 5 + 1;
        INFO("depth ", depth, " width ", width, " row of ", rowBytes, " bytes");
        constexpr std::byte kGuard{0xA5};  // above the bytes of the picture
        Bytes host(1 + 3 * rowBytes, kGuard), written = host;
        for (int k = 0; k < 3 * pixelBytes; ++k)
            host[1 + k / pixelBytes * rowBytes + k % pixelBytes] = std::byte(k * 7 % 127);
        std::vector<float> floats(4000, 9.0f);  // leftovers of a larger tile
        veil::readPixels(host.data() + 1, rowBytes, {2, 5, 2 + width, 8}, depth, floats);
        REQUIRE(static_cast<int>(floats.size()) == width * 3 * 3);
        veil::writePixels(floats, written.data() + 1, rowBytes, width, 3, depth);
        CHECK((written == host));
    }
}

TEST_CASE("floats are limited, rounded to nearest, and NaN is black") {
    const float nan = std::numeric_limits<float>::quiet_NaN(),
                infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> floats{1.0000001f, -0.2f, -0.0f,    0.5f,      0.0019f, 0.002f,
                                    nan,        -nan,  infinity, -infinity, 3e30f,   0.998f};
    const std::vector<int> at8{255, 0, 0, 128, 0, 1, 0, 0, 255, 0, 255, 254};
    const std::vector<int> at16{32768, 0, 0, 16384, 62, 66, 0, 0, 32768, 0, 32768, 32702};
    for (const int depth : {8, 16}) {
        const Bytes expected = hostSamples(depth == 8 ? at8 : at16, depth);
        Bytes actual(expected.size());
        veil::writePixels(floats, actual.data(), static_cast<int>(actual.size()), 4, 1, depth);
        CHECK((actual == expected));
    }
    std::vector<float> read;  // what a host writes above its white is not cut off
    veil::readPixels(hostSamples({65535, 32769, 40000}, 16).data(), 6, {0, 0, 1, 1}, 16, read);
    CHECK(read == std::vector<float>{65535 / 32768.0f, 32769 / 32768.0f, 40000 / 32768.0f});
}

TEST_CASE("a missing buffer or an empty size reads black and writes nothing") {
    const std::vector<float> ink(12, 0.5f);
    Bytes pixels(12, std::byte{1});
    const std::tuple<void*, int, int, int> table[] = {{nullptr, 6, 2, 2},
                                                      {pixels.data(), 0, 2, 2},
                                                      {pixels.data(), -6, 2, 2},
                                                      {pixels.data(), 6, 0, 2},
                                                      {pixels.data(), 6, 2, -1}};
    for (const auto& [buffer, rowBytes, width, height] : table) {
        std::vector<float> floats(7, 9.0f);
        veil::readPixels(buffer, rowBytes, {4, 4, 4 + width, 4 + height}, 8, floats);
        CHECK(floats == std::vector<float>(width > 0 && height > 0 ? 12 : 0));
        veil::writePixels(ink, buffer, rowBytes, width, height, 8);
    }
    CHECK((pixels == Bytes(12, std::byte{1})));
}

TEST_CASE("ferried rows come whole, go where they belong in any order, and make room for others") {
    // Tiles of 11 and 6 rows inside a picture, in chunks of 4.
    constexpr int kWidth = 23, kHeight = 20, kRowBytes = kWidth * 3 + 2, kChunk = 4;
    std::vector<unsigned char> source(kRowBytes * kHeight), result(source.size(), 7), expected = result;
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<unsigned char>(i * 31);
    veil::FerriedRows ferried;
    for (const veil::Rect& tile : {veil::Rect{-2, 3, 7, 14}, veil::Rect{7, 3, 19, 9}}) {
        constexpr veil::Rect kPicture{-3, 1, kWidth - 3, kHeight + 1};
        const veil::HostBuffer from(kPicture, 3, source.data(), kRowBytes);
        const veil::HostBuffer to(tile, 3, result.data() + (tile.y0 - 1) * kRowBytes + (tile.x0 + 3) * 3,
                                  kRowBytes);
        const int bytes = tile.width() * 3;
        const auto end = [&](int first) { return std::min(first + kChunk, tile.y1); };
        const auto come = [&](int first) {
            ferried.prepare(first, end(first));
            ferried.bring(from, first, end(first));
        };
        const auto go = [&](int first) {
            for (int y = first; y < end(first); ++y) {
                REQUIRE(std::equal(ferried.read(y), ferried.read(y) + bytes, from.at(tile.x0, y)));
                for (int i = 0; i < bytes; ++i) {
                    ferried.written(y)[i] = static_cast<unsigned char>(ferried.read(y)[i] + y);
                    expected[static_cast<std::size_t>((y - 1) * kRowBytes + (tile.x0 + 3) * 3 + i)] =
                        ferried.written(y)[i];
                }
            }
            ferried.collect(first, end(first), to);
        };
        ferried.begin(tile, 3, 2);
        come(tile.y0);
        come(tile.y0 + kChunk);
        go(tile.y0 + kChunk);
        if (tile.height() > 2 * kChunk) come(tile.y0 + 2 * kChunk);
        go(tile.y0);
        if (tile.height() > 2 * kChunk) go(tile.y0 + 2 * kChunk);
        CHECK((result == expected));
    }
}
