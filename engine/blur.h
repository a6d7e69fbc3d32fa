#pragma once

// The blurs: a Gaussian along one axis with at most 24 taps a side, and a triple box for the streak. Radii
// are in pixels of the image's own plane. Results have the source's rectangle; reads outside repeat the edge
// pixel. All run on `pool`, or on the calling thread if it is null, and throw std::bad_alloc only.

#include <vector>

#include "engine/image.h"
#include "engine/worker_pool.h"

namespace veil {

enum class Axis { horizontal, vertical };

constexpr int kMaxTaps = 24;  // a side; beyond it the taps spread out, so the cost stays flat

/// One pair of mirror taps, each of them two neighbouring pixels with linear weights.
struct Tap {
    int offset;     ///< floor of the tap's distance d
    float frac;     ///< d - offset
    int negOffset;  ///< floor of -d
    float negFrac;  ///< -d - negOffset
    float weight;   ///< not yet normalised
};

/// The taps of a Gaussian of sigma = radius / 2 (at least 0.5), cut at `radius`.
struct TapTable {
    Tap taps[kMaxTaps];
    int count = 0;
    float step = 1.0f;  ///< tap i (from 0) stands for the distance d = (i + 1) * step
    float norm = 1.0f;  ///< 1 / sum of all weights, the centre's 1 among them
    int edge = 0;       ///< pixels at each end of an axis whose taps may leave it
};

TapTable makeTapTable(float radius);

/// Blurs along one axis with makeTapTable(radius); with `radius` below 1 the result is a copy.
FloatImage gaussianPass(const FloatImage& source, float radius, Axis axis, WorkerPool* pool);
FloatPlane gaussianPassPlane(const FloatPlane& source, float radius, Axis axis, WorkerPool* pool);

/// The same for the pixels of `wanted` alone, which must lie inside the source's rectangle and is the
/// result's.
FloatImage gaussianPass(const FloatImage& source, float radius, Axis axis, const Rect& wanted,
                        WorkerPool* pool);

/// Means over 2 * `halfWidth` + 1 pixels of the row, by running sums in 32-bit floats, `times` times over
/// (at least once). A half width below 1 or an image narrower than 2 gives a copy.
FloatImage boxPass(const FloatImage& source, int halfWidth, int times, WorkerPool* pool);

/// Both axes by the Gaussian, or the horizontal triple box with `anamorphic`.
FloatImage blurImage(const FloatImage& source, float radius, bool anamorphic, WorkerPool* pool);

/// The same where nobody looks at more than `wanted`: the result's rectangle holds it and lies inside the
/// source's. Most of a tile is margin, so this saves half of a Gaussian.
FloatImage blurImage(const FloatImage& source, float radius, bool anamorphic, const Rect& wanted,
                     WorkerPool* pool);

/// The same for a plane, but never boxed: with `anamorphic` the horizontal Gaussian alone.
FloatPlane blurPlane(const FloatPlane& source, float radius, bool anamorphic, WorkerPool* pool);

/// How one pass runs along its axis. A line is what it works on: the pixels of the axis from `begin` -
/// `reach` to `end` + `reach`, with the edge pixels repeated where there are none, each of `step` samples.
/// That is a padded row of the image, or a strip of its columns, whose rows are the pixels then.
struct LinePlan {
    struct Range {
        int first, end;
    };

    TapTable table;
    int begin, end;              // the pixels that are blurred
    int insideBegin, insideEnd;  // of them, those whose reads have the table's fractions
    int reach;
    std::vector<float> fractions;                   // the distinct ones of the table
    int minusLines[kMaxTaps], plusLines[kMaxTaps];  // of each tap, as indices of `fractions`
    std::vector<float> edgeFractions;  // for each tap those of the minus reads at either end, then plus

    Range own;  // the pixels of the axis that a line has, not repeated ones, as indices of the line's pixels

    int firstOwn() const { return begin - reach + own.first; }  // their first, as a pixel of the axis
    int edgeCount() const { return end - begin - (insideEnd - insideBegin); }
    const float* edgeFractionsOf(int tap, bool isPlus) const {
        return edgeFractions.data() + static_cast<std::size_t>((tap * 2 + (isPlus ? 1 : 0)) * edgeCount());
    }
    /// The pixel that stands at `index` in the edge's tables.
    int edgePixel(int index) const {
        return index < insideBegin - begin ? begin + index : end - edgeCount() + index;
    }
};

/// What a thread needs beside a line; grows once.
struct LineScratch {
    std::vector<float> line, lerped, blurred;

    float* lineOf(const LinePlan& plan, int step);
};

/// The horizontal Gaussian of single rows, for passes that blur a row while it is in the cache: what
/// gaussianPass makes of the columns `begin` up to `end` of rows of `width` RGB pixels.
struct RowBlur {
    LinePlan plan;
    std::vector<float> fractions;  ///< of the edges, one for each sample
};

RowBlur makeRowBlur(float radius, int width, int begin, int end);
void blurRow(const RowBlur& blur, const float* row, LineScratch& scratch, float* out);

/// Rows `begin` up to `end` of the vertical Gaussian over rows of `count` samples at the addresses `rows`,
/// to `out` without gaps. On the calling thread.
void blurAcrossRows(float radius, const std::vector<const float*>& rows, int begin, int end, int count,
                    float* out);

}  // namespace veil
