#pragma once

// Pictures for the tests of the engine, made by formula, and how to compare them.

#include <algorithm>
#include <span>
#include <vector>

#include "engine/image.h"
#include "engine/row_flow.h"
#include "engine/settings.h"
#include "tests/reference/reference_engine.h"

namespace pictures {

/// Interleaved RGB of a whole image plane.
struct Picture {
    int width = 0, height = 0;
    std::vector<float> samples;

    veil::Rect rect() const { return {0, 0, width, height}; }
    /// The samples of `r`, which lies inside.
    std::vector<float> crop(const veil::Rect& r) const;
};

/// Points of coloured light with clipped cores on a dark gradient. Each pixel has noise of its own, so that a
/// read of a wrong neighbour shows.
Picture nightScene(int width, int height);
/// A bright sky that gets darker upwards and to the right.
Picture skyGradient(int width, int height);
Picture even(int width, int height, float value);
/// Black, with a bright pixel in each corner and some inside.
Picture singleLights(int width, int height);

/// A value of 0 to 1 that looks random; the same for the same three numbers.
float noise(int x, int y, int seed);

/// Noise over `rect`, for the stages of the engine.
template <typename Image>
Image noiseImage(const veil::Rect& rect, int seed) {
    Image image(rect);
    for (int y = 0; y < image.height(); ++y)
        for (int i = 0; i < image.width() * Image::kChannels; ++i) image.row(y)[i] = noise(i, y, seed);
    return image;
}

/// Keeps the finished rows.
veil::OutputRows into(veil::FloatImage& image);

/// The glow over `visible` pass by pass, with nothing joined or kept, from the pixels of `input`.
veil::FloatImage plainGlow(const Picture& p, const veil::Rect& input, const veil::Rect& work,
                           const veil::Rect& visible, const veil::RenderSettings& settings);

/// The largest difference of two samples; infinite if the sizes differ or a NaN is among them.
double largestDifference(std::span<const float> actual, const std::vector<double>& expected);

/// The same, infinite also if the rectangles differ.
template <typename Image>
double largestDifference(const Image& actual, const veil::reference::Picture& expected) {
    return largestDifference(
        actual.rect == expected.rect ? std::span<const float>(actual.pixels) : std::span<const float>(),
        expected.samples);
}

}  // namespace pictures
