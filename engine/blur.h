#pragma once

// The blurs: a Gaussian along one axis with at most 24 taps a side, and a triple box along the row for the
// streak. Radii are in pixels of the image's own plane; reads outside repeat the edge pixel. Rows are blurred
// along x where a pass has them in the cache, and across when somebody asks for the result. All work on the
// calling thread, or on a pool that is handed in, and throw std::bad_alloc only.

#include <cstddef>
#include <memory>
#include <vector>

#include "engine/image.h"
#include "engine/kernels/kernel_table.h"
#include "engine/worker_pool.h"

namespace veil {

constexpr int kMaxTaps = 24;  // a side; beyond it the taps spread out, so the cost stays flat

/// A run of rows or columns.
struct Span {
    int begin, end;
};

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

    int reach() const { return edge + 2; }  ///< pixels to either side that a line needs
};

TapTable makeTapTable(float radius);

/// How one pass runs along its axis of `size` pixels. A line is what it works on: the pixels of the axis from
/// `begin` - `reach` to `end` + `reach`, with the edge pixels repeated where there are none, each of
/// kLineLanes samples. Its samples stand for as many rows of the image, or columns, that are blurred side by
/// side.
struct LinePlan {
    float radius;
    int size;
    TapTable table;
    int begin, end;              // the pixels that are blurred
    int insideBegin, insideEnd;  // of them, those whose reads have the table's fractions
    int reach;
    Span own;  // the pixels of the axis that a line has, not repeated ones, as indices of the line's pixels
    TapReads taps[kMaxTaps];                        // of the pixels inside
    std::vector<float> fractions;                   // the distinct ones of the table
    int minusLines[kMaxTaps], plusLines[kMaxTaps];  // of each tap, as indices of `fractions`
    std::vector<TapReads> edgeTaps;                 // of the other pixels, one after the other

    int count() const { return end - begin; }                   // of pixels that are blurred
    int length() const { return count() + 2 * reach; }          // of those of a line
    int firstOwn() const { return begin - reach + own.begin; }  // their first, as a pixel of the axis
    int edgeCount() const { return end - begin - (insideEnd - insideBegin); }
    /// The pixel of the axis that is number `index` of them.
    int edgePixel(int index) const {
        return index < insideBegin - begin ? begin + index : end - edgeCount() + index;
    }
};

/// The plan for the pixels `begin` up to `end`.
LinePlan makeLinePlan(float radius, int size, int begin, int end);

/// Plans that have been made, as most tiles of an image need the same ones. [one thread at a time]
class LinePlans {
  public:
    std::shared_ptr<const LinePlan> find(float radius, int size, int begin, int end);

  private:
    std::vector<std::shared_ptr<const LinePlan>> plans;
};

/// What a thread needs beside a line; grows once.
struct LineScratch {
    Samples line, lerped, blurred;
    Samples sums, boxed;
};

/// The horizontal Gaussian of rows, for passes that blur rows while they are in the cache: the columns
/// `begin` up to `end` of rows of `width` pixels of `channels` samples.
struct RowBlur {
    std::shared_ptr<const LinePlan> plan;
    int channels;
};

RowBlur makeRowBlur(LinePlans& plans, float radius, int width, int begin, int end, int channels = 3);
/// `rowCount` rows, at most kLineLanes, each to a row of `out`. It takes as long for one as for all of them.
void blurRows(const RowBlur& blur, const float* const* rows, int rowCount, LineScratch& scratch,
              float* const* out);
/// The same for rows `rowLength` samples apart, to rows `outLength` apart.
void blurRows(const RowBlur& blur, const float* rows, int rowCount, std::size_t rowLength,
              LineScratch& scratch, float* out, std::size_t outLength);

/// The vertical Gaussian of `plan` over rows of `count` samples at the addresses `rows`, to rows `outLength`
/// samples apart. Rows beyond the reach of the wanted ones may be null.
void blurAcrossRows(const LinePlan& plan, const float* const* rows, int count, float* out,
                    std::size_t outLength, WorkerPool* pool);

/// Either blur along rows of RGB.
struct AlongBlur {
    RowBlur gaussian;
    int boxHalfWidth = 0;  ///< 0: the Gaussian
    int width;
    Span wanted;
    Span reads;      ///< the columns of a row that matter
    int boxEnds[2];  ///< up to where the first and the second box are needed
};

constexpr int kRowGroup = kLineLanes;  ///< most rows that are blurred together

/// How many are best blurred together.
constexpr int rowGroup(bool anamorphic) { return anamorphic ? kBoxRows : kRowGroup; }

/// The columns `begin` up to `end` of rows of `width` pixels; with `anamorphic` the triple box.
AlongBlur makeAlongBlur(LinePlans& plans, float radius, bool anamorphic, int width, int begin, int end);

/// Up to kRowGroup rows, `rowLength` samples apart, to rows of the wanted columns, `outLength` apart.
void blurAlong(const AlongBlur& blur, const float* rows, int rowCount, std::size_t rowLength,
               LineScratch& scratch, float* out, std::size_t outLength);

/// The pixels of `axis` that its Gaussian reads for `wanted`.
Span gaussianReads(float radius, Span axis, Span wanted);

/// An image that was blurred along its rows, and is blurred across them a part at a time. It keeps its memory
/// from tile to tile.
template <class Image>
class AcrossBlur {
  public:
    /// Begins an image whose axis has the rows `axis` of its plane, of which those of `wanted` are asked for,
    /// in the columns `columns`. With `anamorphic` nothing is blurred across. Rows of `kept`, of the same
    /// columns in the image before, stay if the new one begins among them. The first row that has to be
    /// filled.
    int begin(float radius, bool anamorphic, Span axis, Span wanted, Span columns, Span kept = {0, 0});

    /// All rows that are needed, and the columns.
    const Rect& held() const { return rect; }
    float* row(int y) { return image.row(y - image.rect.y0); }
    std::size_t rowLength() const { return image.rowLength(); }
    std::size_t bytes() const { return image.pixels.size() * sizeof(float); }

    /// Makes the plan for the rows `wanted`, so that parts of them take none of their own.
    void planRows(LinePlans& plans, Span wanted);
    /// The result over `wanted`, to rows `outLength` samples apart. [any thread]
    void make(const Rect& wanted, LineScratch& scratch, float* out, std::size_t outLength) const;

  private:
    float radius = 0.0f;
    bool isAcross = false;
    int axisBegin = 0, axisEnd = 0;
    std::shared_ptr<const LinePlan> planned;
    Rect rect;
    Image image;  // of `rect` and some columns more
};

}  // namespace veil
