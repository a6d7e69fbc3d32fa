#include "standin/veil/scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace standin {
namespace {

/// Coded values as the picture holds them, 0 to 1; above 1 is blown out.
struct Colour {
    float r = 0.0f, g = 0.0f, b = 0.0f;
};

Colour operator+(Colour a, Colour b) { return {a.r + b.r, a.g + b.g, a.b + b.b}; }
Colour operator*(Colour a, float k) { return {a.r * k, a.g * k, a.b * k}; }
Colour mix(Colour a, Colour b, float t) { return a * (1.0f - t) + b * t; }

// Lengths are in picture heights, y grows downwards; `aspect` is the picture's width and `pixel` one pixel.
struct Frame {
    float aspect = 1.5f;
    float pixel = 0.001f;
    std::uint32_t seed = 1;
};

constexpr float kHorizon = 0.66f;  // where the street begins
constexpr Colour kWarmWindow{1.0f, 0.72f, 0.36f}, kPaleWindow{1.0f, 0.88f, 0.66f},
    kCoolWindow{0.62f, 0.82f, 1.0f};

std::uint32_t hash(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    std::uint32_t h = a * 0x9e3779b1u ^ b * 0x85ebca77u ^ c * 0xc2b2ae3du;
    h ^= h >> 15;
    h *= 0x2c1b3c6du;
    h ^= h >> 12;
    h *= 0x297a2d39u;
    return h ^ h >> 15;
}

/// 0 to 1, the same for the same cell.
float chance(int a, int b, std::uint32_t salt) {
    const std::uint32_t h = hash(static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b), salt);
    return static_cast<float>(h >> 8) / 16777216.0f;
}

float clamp01(float v) { return std::min(std::max(v, 0.0f), 1.0f); }

float smooth(float from, float to, float v) {
    const float t = clamp01((v - from) / (to - from));
    return t * t * (3.0f - 2.0f * t);
}

/// Smooth noise of 0 to 1 with cells of size 1.
float noise(float x, float y, std::uint32_t salt) {
    const float fx = std::floor(x), fy = std::floor(y);
    const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
    const float tx = smooth(0.0f, 1.0f, x - fx), ty = smooth(0.0f, 1.0f, y - fy);
    const float top = chance(ix, iy, salt) * (1.0f - tx) + chance(ix + 1, iy, salt) * tx;
    const float bottom = chance(ix, iy + 1, salt) * (1.0f - tx) + chance(ix + 1, iy + 1, salt) * tx;
    return top * (1.0f - ty) + bottom * ty;
}

/// How much of a pixel at signed distance `d` from an edge lies inside (negative is inside).
float coverage(float d, float pixel) { return clamp01(0.5f - d / pixel); }

float length(float x, float y) { return std::sqrt(x * x + y * y); }

/// Signed distance to a box with half sides (w, h) round the origin.
float boxDistance(float x, float y, float w, float h) {
    const float dx = std::fabs(x) - w, dy = std::fabs(y) - h;
    return std::max(dx, dy) > 0.0f ? length(std::max(dx, 0.0f), std::max(dy, 0.0f)) : std::max(dx, dy);
}

Colour sky(float y) {
    constexpr Colour kTop{0.016f, 0.027f, 0.085f}, kMiddle{0.065f, 0.085f, 0.225f}, kLow{0.30f, 0.19f, 0.29f},
        kGlow{0.78f, 0.42f, 0.24f};
    const float t = clamp01(y / kHorizon);
    const Colour upper = mix(kTop, kMiddle, smooth(0.0f, 0.62f, t));
    return mix(mix(upper, kLow, smooth(0.45f, 0.86f, t)), kGlow, smooth(0.74f, 1.06f, t));
}

Colour stars(const Frame& f, float x, float y) {
    constexpr float kCell = 0.026f;
    const int cx = static_cast<int>(std::floor(x / kCell)), cy = static_cast<int>(std::floor(y / kCell));
    if (chance(cx, cy, 11) > 0.16f) return {};
    const float sx = (static_cast<float>(cx) + 0.2f + 0.6f * chance(cx, cy, 12)) * kCell;
    const float sy = (static_cast<float>(cy) + 0.2f + 0.6f * chance(cx, cy, 13)) * kCell;
    const float size = std::max(0.0007f, 0.6f * f.pixel);
    const float d = length(x - sx, y - sy) / size;
    const float light =
        (0.15f + 0.6f * chance(cx, cy, 14)) * (1.0f - smooth(0.0f, 0.38f, y)) / (1.0f + d * d * d * d);
    return Colour{0.85f, 0.9f, 1.0f} * light;
}

/// The moon over what is behind it.
Colour moon(const Frame& f, Colour behind, float x, float y) {
    constexpr float kRadius = 0.036f;
    const float mx = x - f.aspect * 0.385f, my = y - 0.125f, d = length(mx, my);
    const Colour halo = Colour{0.10f, 0.12f, 0.17f} * (1.0f / (1.0f + d * d * 220.0f));
    const float seas = noise(mx * 62.0f + 40.0f, my * 62.0f + 40.0f, 21);
    const Colour disc = Colour{1.04f, 1.01f, 0.93f} * (1.0f - 0.17f * smooth(0.45f, 0.85f, seas));
    return mix(behind + halo, disc, coverage(d - kRadius, 1.5f * f.pixel));
}

struct Layer {
    float buildingWidth, low, high;  // heights above the horizon
    float floorHeight, windowWidth;
    float lit;    // share of windows
    float light;  // of a window
    Colour wall;
    std::uint32_t salt;
};

Colour windowColour(int column, int row, std::uint32_t salt) {
    const float kind = chance(column, row, salt + 3);
    const Colour colour = kind < 0.55f ? kWarmWindow : kind < 0.82f ? kPaleWindow : kCoolWindow;
    return colour * (0.35f + 0.75f * chance(column, row, salt + 4));
}

/// One row of buildings over what is behind it.
Colour buildings(const Frame& f, const Layer& layer, Colour behind, float x, float y) {
    const int index = static_cast<int>(std::floor(x / layer.buildingWidth));
    const float height = layer.low + (layer.high - layer.low) * chance(index, 0, layer.salt);
    const float roof = kHorizon - height;
    const float inside = coverage(roof - y, f.pixel);
    if (inside <= 0.0f) return behind;
    const float shade = 0.75f + 0.5f * chance(index, 1, layer.salt);
    Colour wall = layer.wall * (shade * (0.8f + 0.35f * smooth(roof, kHorizon, y)));
    const float left = static_cast<float>(index) * layer.buildingWidth;
    const int column = static_cast<int>(std::floor((x - left) / layer.windowWidth));
    const int row = static_cast<int>(std::floor((y - roof) / layer.floorHeight));
    const float wx = (x - left) / layer.windowWidth - static_cast<float>(column) - 0.5f;
    const float wy = (y - roof) / layer.floorHeight - static_cast<float>(row) - 0.5f;
    const float frame = boxDistance(wx * layer.windowWidth, wy * layer.floorHeight, 0.29f * layer.windowWidth,
                                    0.27f * layer.floorHeight);
    const bool margin = x - left < 0.4f * layer.windowWidth ||
                        left + layer.buildingWidth - x < 0.8f * layer.windowWidth || row < 1;
    const int cell = index * 64 + column;
    if (!margin && chance(cell, row, layer.salt + 2) < layer.lit) {
        const float curtain = 0.8f + 0.3f * wy;
        wall = mix(wall, windowColour(cell, row, layer.salt) * (layer.light * curtain),
                   coverage(frame, f.pixel));
    } else if (!margin) {
        wall = mix(wall, wall * 0.6f, coverage(frame, f.pixel));
    }
    return mix(behind, wall, inside);
}

struct Lamp {
    float x, y, scale;  // of the bulb; 1 is the nearest lamp
};

/// Two rows that run to the vanishing point; `i` from 0 is the nearest.
Lamp lamp(const Frame& f, int i) {
    const int step = i / 2;
    const float distance = 1.0f + 0.62f * static_cast<float>(step) + 0.16f * static_cast<float>(step * step);
    const float side = i % 2 == 0 ? -1.0f : 1.0f;
    return {f.aspect * 0.53f + side * f.aspect * 0.40f / distance, kHorizon - 0.40f / distance,
            1.0f / distance};
}
constexpr int kLamps = 12;

/// A light that is white and blown out at its core and coloured at its rim.
Colour lightSource(Colour rim, float d, float radius) {
    const float t = d / radius;
    const Colour core = Colour{1.6f, 1.5f, 1.35f} * (1.0f - smooth(0.75f, 1.15f, t));
    const Colour ring = rim * (1.0f - smooth(1.0f, 1.75f, t));
    return core + ring + rim * (0.30f / (1.0f + t * t * 0.55f)) + rim * (0.05f / (1.0f + t * 0.3f));
}

Colour lamps(const Frame& f, Colour behind, float x, float y) {
    constexpr Colour kSodium{1.0f, 0.50f, 0.13f}, kPole{0.020f, 0.021f, 0.030f};
    Colour result = behind;
    for (int i = kLamps - 1; i >= 0; --i) {
        const Lamp l = lamp(f, i);
        const float half = 0.0032f * l.scale, top = l.y - 0.012f * l.scale;
        const float post = boxDistance(x - l.x, y - (top + kHorizon + 0.02f * l.scale) / 2.0f, half,
                                       (kHorizon + 0.02f * l.scale - top) / 2.0f);
        result = mix(result, kPole, coverage(post, f.pixel));
        const float dx = x - l.x, dy = y - l.y;
        result = result + lightSource(kSodium, length(dx, dy * 1.15f), 0.0200f * l.scale);
    }
    return result;
}

struct Sign {
    float x, y, halfWidth, halfHeight;  // x as a share of the width
    Colour colour;
    int columns, rows;  // of characters
    std::uint32_t salt;
};

constexpr std::array<Sign, 6> kSigns{{{0.090f, 0.335f, 0.024f, 0.105f, {1.0f, 0.10f, 0.55f}, 1, 4, 101},
                                      {0.215f, 0.470f, 0.062f, 0.022f, {0.10f, 0.90f, 1.0f}, 5, 1, 102},
                                      {0.905f, 0.300f, 0.026f, 0.112f, {0.15f, 1.0f, 0.42f}, 1, 4, 103},
                                      {0.800f, 0.455f, 0.070f, 0.024f, {1.0f, 0.22f, 0.12f}, 5, 1, 104},
                                      {0.330f, 0.560f, 0.040f, 0.014f, {1.0f, 0.62f, 0.08f}, 5, 1, 105},
                                      {0.700f, 0.565f, 0.036f, 0.013f, {0.50f, 0.32f, 1.0f}, 5, 1, 106}}};

/// Distance to the strokes of an invented character in a cell of 1 by 1: a stem, and bars that a hash picks.
float glyphDistance(float x, float y, int which, std::uint32_t salt) {
    const float stem = (chance(which, 1, salt) - 0.5f) * 0.5f;
    float d = boxDistance(x - stem, y, 0.0f, 0.36f);
    for (int bar = 0; bar < 3; ++bar) {
        if (chance(which, 10 + bar, salt) > 0.72f) continue;
        const float width = 0.2f + 0.16f * chance(which, 20 + bar, salt);
        d = std::min(d, boxDistance(x, y + 0.34f - 0.34f * static_cast<float>(bar), width, 0.0f));
    }
    if (chance(which, 2, salt) < 0.5f) d = std::min(d, boxDistance(x - 0.32f, y - 0.1f, 0.0f, 0.26f));
    return d;
}

Colour neonTube(const Frame& f, Colour colour, float d, float radius) {
    const float t = std::max(d, 0.0f) / std::max(radius, 0.6f * f.pixel);
    const Colour core = mix(colour, {1.0f, 1.0f, 1.0f}, 0.72f) * (1.15f * (1.0f - smooth(0.4f, 1.0f, t)));
    return core + colour * (0.95f * (1.0f - smooth(0.6f, 2.4f, t))) +
           colour * (0.16f / (1.0f + t * t * 0.05f));
}

Colour signs(const Frame& f, Colour behind, float x, float y) {
    Colour result = behind;
    for (const Sign& s : kSigns) {
        const float sx = x - s.x * f.aspect, sy = y - s.y;
        const float box = boxDistance(sx, sy, s.halfWidth, s.halfHeight);
        if (box > 0.08f) continue;
        result =
            mix(result, Colour{0.02f, 0.018f, 0.03f} + s.colour * 0.05f, coverage(box - 0.006f, f.pixel));
        const float cellWidth = 2.0f * s.halfWidth / static_cast<float>(s.columns);
        const float cellHeight = 2.0f * s.halfHeight / static_cast<float>(s.rows);
        const float gx = (sx + s.halfWidth) / cellWidth, gy = (sy + s.halfHeight) / cellHeight;
        const int column = std::clamp(static_cast<int>(std::floor(gx)), 0, s.columns - 1);
        const int row = std::clamp(static_cast<int>(std::floor(gy)), 0, s.rows - 1);
        const float size = std::min(cellWidth, cellHeight);
        const float glyph = size * glyphDistance((gx - static_cast<float>(column) - 0.5f) * cellWidth / size,
                                                 (gy - static_cast<float>(row) - 0.5f) * cellHeight / size,
                                                 column * 8 + row, s.salt);
        const float fade = 1.0f - smooth(0.03f, 0.08f, box);
        result = result + neonTube(f, s.colour, glyph, 0.0025f) * fade;
        result =
            result + neonTube(f, mix(s.colour, {1.0f, 0.8f, 0.6f}, 0.25f), std::fabs(box - 0.003f), 0.0017f) *
                         (0.7f * fade);
    }
    return result;
}

/// Everything above the street; the street mirrors it.
Colour town(const Frame& f, float x, float y) {
    static constexpr Layer kFar{
        0.052f, 0.10f, 0.25f, 0.0095f, 0.0075f, 0.40f, 0.75f, {0.135f, 0.105f, 0.175f}, 201};
    static constexpr Layer kMiddle{
        0.105f, 0.13f, 0.36f, 0.0185f, 0.0150f, 0.44f, 1.0f, {0.062f, 0.058f, 0.105f}, 303};
    static constexpr Layer kNear{
        0.190f, 0.34f, 0.56f, 0.0330f, 0.0270f, 0.46f, 1.2f, {0.030f, 0.030f, 0.052f}, 421};
    Colour c = moon(f, sky(y) + stars(f, x, y), x, y);
    c = buildings(f, kFar, c, x, y);
    c = mix(c, {0.42f, 0.25f, 0.24f},
            0.30f * smooth(kHorizon - 0.22f, kHorizon, y));  // haze before the far row
    const float off = std::fabs(x / f.aspect - 0.53f);
    if (off > 0.13f) c = buildings(f, kMiddle, c, x, y);
    if (off > 0.29f) c = buildings(f, kNear, c, x, y);
    return lamps(f, signs(f, c, x, y), x, y);
}

struct Car {
    float x, y, halfGap, radius;  // x as a share of the width
    Colour colour;
};

Colour carLights(const Frame& f, float x, float y) {
    static constexpr std::array<Car, 4> kCars{{{0.475f, 0.705f, 0.020f, 0.0060f, {1.0f, 0.90f, 0.62f}},
                                               {0.505f, 0.676f, 0.007f, 0.0026f, {1.0f, 0.88f, 0.60f}},
                                               {0.595f, 0.695f, 0.016f, 0.0046f, {1.0f, 0.05f, 0.04f}},
                                               {0.555f, 0.673f, 0.006f, 0.0022f, {1.0f, 0.06f, 0.04f}}}};
    Colour sum;
    for (const Car& car : kCars) {
        const bool isTail = car.colour.g < 0.5f;
        for (const float side : {-1.0f, 1.0f}) {
            const float dx = x - car.x * f.aspect - side * car.halfGap, dy = y - car.y;
            const float d = length(dx, dy);
            if (isTail) {
                const float t = d / car.radius;
                sum = sum + car.colour * (1.1f * (1.0f - smooth(0.7f, 1.3f, t)) + 0.25f / (1.0f + t * t));
            } else {
                sum = sum + lightSource(car.colour, d, car.radius);
            }
            // The light's own streak on the wet road, towards the viewer.
            if (dy <= 0.0f) continue;
            const float across = dx / (car.radius * (1.0f + 6.0f * dy));
            const float ripple = 0.6f + 0.8f * noise(x * 60.0f, y * 260.0f, 31);
            sum = sum + car.colour * (0.34f * ripple / (1.0f + across * across * 2.0f) / (1.0f + dy * 16.0f));
        }
    }
    return sum;
}

/// The wet road: dark asphalt under a mirror image that ripples spread along the line of sight.
Colour street(const Frame& f, float x, float y) {
    constexpr int kTaps = 12;
    const float depth = y - kHorizon;
    const float near = depth / (1.0f - kHorizon);
    const float wobble =
        (noise(x * 6.0f / (0.3f + near), y * 90.0f / (0.3f + near), 41) - 0.5f) * 0.020f * (0.15f + near);
    Colour mirror;
    for (int i = 0; i < kTaps; ++i) {
        const float t = (static_cast<float>(i) + chance(static_cast<int>(x / f.pixel), i, 42)) / kTaps - 0.5f;
        const float at = kHorizon - depth * 1.25f - t * (0.03f + 0.62f * depth);
        const Colour seen = town(f, x + wobble * (1.0f + t), std::min(at, kHorizon));
        mirror = mirror + Colour{std::min(seen.r, 1.5f), std::min(seen.g, 1.5f), std::min(seen.b, 1.5f)};
    }
    mirror = mirror * (1.0f / kTaps);
    const float puddle = smooth(0.32f, 0.68f, noise(x * 3.2f + 7.0f, depth * 26.0f, 43));
    const float grain = noise(x / f.pixel * 0.45f, y / f.pixel * 0.45f, 44) - 0.5f;
    const Colour asphalt =
        Colour{0.034f, 0.034f, 0.050f} * (1.0f + 0.7f * grain) + Colour{0.05f, 0.03f, 0.02f} * (1.0f - near);
    return asphalt + mirror * (0.34f + 0.42f * puddle);
}

Colour nightColour(const Frame& f, float x, float y) {
    const Colour scene = y < kHorizon ? town(f, x, y) : street(f, x, y);
    return scene + carLights(f, x, y);
}

Colour skyGradientColour(const Frame& f, float x, float y) {
    const float tilt = 0.06f * (x / f.aspect - 0.5f);
    return sky((y + tilt) * kHorizon) * 1.15f;
}

/// `shade` per pixel, with a little sensor noise of strength `grain`, clipped and rounded.
template <typename Shade>
Image render(int width, int height, int depth, float grain, Shade shade) {
    Image image = makeImage(width, height, 3, depth);
    const float white = depth == 8 ? 255.0f : 32768.0f;
    const Frame frame{static_cast<float>(width) / static_cast<float>(height),
                      1.0f / static_cast<float>(height), 1};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Colour c = shade(frame, (static_cast<float>(x) + 0.5f) * frame.pixel,
                                   (static_cast<float>(y) + 0.5f) * frame.pixel);
            const float values[3] = {c.r, c.g, c.b};
            for (int plane = 0; plane < 3; ++plane) {
                const float speck = (chance(x, y * 3 + plane, 51) - 0.5f) * grain;
                image.set(x, y, plane, static_cast<int>(clamp01(values[plane] + speck) * white + 0.5f));
            }
        }
    }
    return image;
}

}  // namespace

Image renderNightScene(int width, int height, int depth) {
    return render(width, height, depth, 0.014f, nightColour);
}

Image renderSkyGradient(int width, int height, int depth) {
    return render(width, height, depth, 0.0f, skyGradientColour);
}

}  // namespace standin
