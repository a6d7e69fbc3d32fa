#include "engine/blur.h"

#include "engine/kernels/rows.h"
#include "engine/linear_read.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace veil {

namespace {

float tapDistance(const TapTable& table, int tap) { return static_cast<float>(tap + 1) * table.step; }

// Near the ends of the axis a read's position is rounded as a whole: its fraction can differ from the table's
// in the last bits, or the read be the next pixel's, without a fraction, which a negative zero stands for.
float edgeFraction(float position, int expectedLow) {
    const float low = std::floor(position);
    if (static_cast<int>(low) == expectedLow) return position - low;
    assert(static_cast<int>(low) == expectedLow + 1 && position == low);
    return -0.0f;
}

int lineOfFraction(std::vector<float>& fractions, float fraction) {
    const auto found = std::find(fractions.begin(), fractions.end(), fraction);
    const int line = static_cast<int>(found - fractions.begin());
    if (found == fractions.end()) fractions.push_back(fraction);
    return line;
}

void fillEdges(LinePlan& plan) {
    const TapTable& table = plan.table;
    for (int k = 0; k < table.count; ++k) {
        const float distance = tapDistance(table, k);
        for (int i = 0; i < plan.edgeCount(); ++i) {
            const int p = plan.edgePixel(i);
            plan.edgeFractions.push_back(
                edgeFraction(static_cast<float>(p) - distance, p + table.taps[k].negOffset));
        }
        for (int i = 0; i < plan.edgeCount(); ++i) {
            const int p = plan.edgePixel(i);
            plan.edgeFractions.push_back(
                edgeFraction(static_cast<float>(p) + distance, p + table.taps[k].offset));
        }
    }
}

// Whether every edge read has the fraction of its tap, so that the edge is like the inside.
bool isEven(const LinePlan& plan) {
    const auto isAll = [&](int tap, bool isPlus, float fraction) {
        const float* first = plan.edgeFractionsOf(tap, isPlus);
        return std::all_of(first, first + plan.edgeCount(),
                           [=](float f) { return f == fraction && !std::signbit(f); });
    };
    for (int k = 0; k < plan.table.count; ++k)
        if (!isAll(k, false, plan.table.taps[k].negFrac) || !isAll(k, true, plan.table.taps[k].frac))
            return false;
    return true;
}

// The pixels of the axis that a line of `plan` has, not repeated ones, as indices of the line's own pixels.
LinePlan::Range ownPixels(const LinePlan& plan, int size) {
    const int first = plan.begin - plan.reach, end = plan.end + plan.reach;
    return {std::max(first, 0) - first, std::min(end, size) - first};
}

LinePlan planLines(const TapTable& table, int size, int begin, int end) {
    LinePlan plan{table, begin, end, 0, 0, table.edge + 2, {}, {}, {}, {}, {}};
    plan.own = ownPixels(plan, size);
    const int insideFirst = std::min(size, table.edge);
    plan.insideBegin = std::clamp(insideFirst, begin, end);
    plan.insideEnd = std::clamp(std::max(insideFirst, size - table.edge), begin, end);
    for (int k = 0; k < table.count; ++k) {
        plan.minusLines[k] = lineOfFraction(plan.fractions, table.taps[k].negFrac);
        plan.plusLines[k] = lineOfFraction(plan.fractions, table.taps[k].frac);
    }
    fillEdges(plan);
    if (isEven(plan)) {
        plan.insideBegin = begin;
        plan.insideEnd = end;
    }
    return plan;
}

// `count` samples in `buffer`, from an address where a line of the cache begins: rows of a strip then never
// straddle two.
float* alignedIn(std::vector<float>& buffer, std::size_t count) {
    constexpr std::size_t kLine = 64;
    buffer.resize(count + kLine / sizeof(float));
    const auto past = reinterpret_cast<std::uintptr_t>(buffer.data()) % kLine;
    return buffer.data() + (kLine - past) % kLine / sizeof(float);
}

// The pixels of `line` that have the table's fractions. Taps often share fractions (all of them up to a
// radius of 24): then each linear read is done once for all.
void blurInside(const LinePlan& plan, const float* line, int step, LineScratch& scratch, float* out) {
    const TapTable& table = plan.table;
    const int count = (plan.insideEnd - plan.insideBegin) * step;
    const float* centre = line + (plan.insideBegin - plan.begin + plan.reach) * step;
    out += (plan.insideBegin - plan.begin) * step;
    if (static_cast<int>(plan.fractions.size()) * 2 > table.count) {
        TapReads taps[kMaxTaps];
        for (int k = 0; k < table.count; ++k) {
            const Tap& tap = table.taps[k];
            taps[k] = {centre + tap.negOffset * step, centre + tap.offset * step, tap.negFrac, tap.frac,
                       tap.weight};
        }
        tapRow(centre, taps, table.count, step, table.norm, out, count);
        return;
    }
    const int lerpedCount = count + 2 * table.edge * step;
    const float* first = centre - table.edge * step;
    float* const lerped =
        alignedIn(scratch.lerped, static_cast<std::size_t>(lerpedCount) * plan.fractions.size());
    float* nextLine = lerped;
    for (const float fraction : plan.fractions) {
        lerpRows(first, first + step, fraction, nextLine, lerpedCount);
        nextLine += lerpedCount;
    }
    const auto readOf = [&](int lerpedLine, int offset) {
        return lerped + static_cast<std::ptrdiff_t>(lerpedLine) * lerpedCount + (table.edge + offset) * step;
    };
    TapPair taps[kMaxTaps];
    for (int k = 0; k < table.count; ++k)
        taps[k] = {readOf(plan.minusLines[k], table.taps[k].negOffset),
                   readOf(plan.plusLines[k], table.taps[k].offset), table.taps[k].weight};
    pairRow(centre, taps, table.count, table.norm, out, count);
}

// The pixels near the ends of a row.
template <int kChannels>
void blurRowEdges(const LinePlan& plan, const std::vector<float>& fractions, const float* line, float* out) {
    const int edgeCount = plan.edgeCount(), left = plan.insideBegin - plan.begin;
    const auto blurRun = [&](int first, int end) {
        if (first == end) return;
        const int atPixel = plan.edgePixel(first) - plan.begin;
        const float* centre = line + (atPixel + plan.reach) * kChannels;
        EdgeReads taps[kMaxTaps];
        for (int k = 0; k < plan.table.count; ++k) {
            const Tap& tap = plan.table.taps[k];
            const float* tapFractions = fractions.data() + (k * 2 * edgeCount + first) * kChannels;
            taps[k] = {centre + tap.negOffset * kChannels, centre + tap.offset * kChannels, tapFractions,
                       tapFractions + edgeCount * kChannels, tap.weight};
        }
        edgeRow(centre, taps, plan.table.count, kChannels, plan.table.norm, out + atPixel * kChannels,
                (end - first) * kChannels);
    };
    blurRun(0, left);
    blurRun(left, edgeCount);
}

// The rows near the ends of a strip: a fraction is the same all along a row.
void blurStripEdges(const LinePlan& plan, const float* line, int step, float* out) {
    for (int i = 0; i < plan.edgeCount(); ++i) {
        const int atPixel = plan.edgePixel(i) - plan.begin;
        const float* centre = line + (atPixel + plan.reach) * step;
        const auto read = [&](int offset, float fraction) {
            return centre + (offset + (std::signbit(fraction) ? 1 : 0)) * step;
        };
        TapReads taps[kMaxTaps];
        for (int k = 0; k < plan.table.count; ++k) {
            const Tap& tap = plan.table.taps[k];
            const float minus = plan.edgeFractionsOf(k, false)[i], plus = plan.edgeFractionsOf(k, true)[i];
            taps[k] = {read(tap.negOffset, minus), read(tap.offset, plus), std::fabs(minus), std::fabs(plus),
                       tap.weight};
        }
        tapRow(centre, taps, plan.table.count, step, plan.table.norm, out + atPixel * step, step);
    }
}

// Repeats the first and last of the `own` pixels to the ends of a line.
void padLine(const LinePlan& plan, const LinePlan::Range& own, int step, float* line) {
    const int length = plan.end - plan.begin + 2 * plan.reach;
    const float *first = line + own.first * step, *last = line + (own.end - 1) * step;
    for (int i = 0; i < own.first; ++i) std::copy(first, first + step, line + i * step);
    for (int i = own.end; i < length; ++i) std::copy(last, last + step, line + i * step);
}

template <int kChannels>
RowBlur planRows(const TapTable& table, int size, int begin, int end) {
    RowBlur blur{planLines(table, size, begin, end), {}};
    for (const float fraction : blur.plan.edgeFractions)
        blur.fractions.insert(blur.fractions.end(), kChannels, fraction);
    return blur;
}

template <int kChannels>
void blurOneRow(const RowBlur& blur, const float* row, LineScratch& scratch, float* out) {
    const LinePlan& plan = blur.plan;
    const float* from = row + plan.firstOwn() * kChannels;
    float* line = scratch.lineOf(plan, kChannels);
    std::copy(from, from + (plan.own.end - plan.own.first) * kChannels, line + plan.own.first * kChannels);
    padLine(plan, plan.own, kChannels, line);
    blurRowEdges<kChannels>(plan, blur.fractions, line, out);
    blurInside(plan, line, kChannels, scratch, out);
}

template <class Image>
Image blurRows(const Image& source, const TapTable& table, const Rect& wanted, WorkerPool* pool) {
    Image result(wanted);
    const RowBlur blur = planRows<Image::kChannels>(table, source.width(), wanted.x0 - source.rect.x0,
                                                    wanted.x1 - source.rect.x0);
    const int firstRow = wanted.y0 - source.rect.y0;
    runRows(pool, 0, wanted.height(), [&](int first, int last) {
        LineScratch scratch;
        for (int y = first; y < last; ++y)
            blurOneRow<Image::kChannels>(blur, source.row(firstRow + y), scratch, result.row(y));
    });
    return result;
}

// Samples; narrow, so that the rows which the taps of a strip reach stay in the cache.
constexpr int kStripWidth = 64;

int stripsOf(int count) { return (count + kStripWidth - 1) / kStripWidth; }

// One strip of `count` columns; the callables give the address of a row of the source and of the result.
template <class RowAt, class OutAt>
void blurStrip(const LinePlan& plan, int strip, int count, RowAt rowAt, OutAt outAt, LineScratch& scratch) {
    const int column = strip * kStripWidth, step = std::min(kStripWidth, count - column);
    float* line = scratch.lineOf(plan, step);
    for (int i = plan.own.first; i < plan.own.end; ++i) {
        const float* from = rowAt(plan.firstOwn() + i - plan.own.first) + column;
        std::copy(from, from + step, line + i * step);
    }
    padLine(plan, plan.own, step, line);
    scratch.blurred.resize(static_cast<std::size_t>((plan.end - plan.begin) * step));
    float* blurred = scratch.blurred.data();
    blurStripEdges(plan, line, step, blurred);
    blurInside(plan, line, step, scratch, blurred);
    for (int y = 0; y < plan.end - plan.begin; ++y, blurred += step)
        std::copy(blurred, blurred + step, outAt(y) + column);
}

template <class Image>
Image blurColumns(const Image& source, const TapTable& table, const Rect& wanted, WorkerPool* pool) {
    Image result(wanted);
    const LinePlan plan =
        planLines(table, source.height(), wanted.y0 - source.rect.y0, wanted.y1 - source.rect.y0);
    const int count = static_cast<int>(result.rowLength());
    const int firstColumn = (wanted.x0 - source.rect.x0) * Image::kChannels;
    runRows(pool, 0, stripsOf(count), [&](int first, int last) {
        LineScratch scratch;
        for (int strip = first; strip < last; ++strip)
            blurStrip(
                plan, strip, count, [&](int y) { return source.row(y) + firstColumn; },
                [&](int y) { return result.row(y); }, scratch);
    });
    return result;
}

template <class Image>
Image crop(const Image& source, const Rect& wanted) {
    Image result(wanted);
    const int firstColumn = (wanted.x0 - source.rect.x0) * Image::kChannels;
    for (int y = 0; y < wanted.height(); ++y) {
        const float* row = source.row(y + wanted.y0 - source.rect.y0) + firstColumn;
        std::copy(row, row + result.rowLength(), result.row(y));
    }
    return result;
}

template <class Image>
Image blurAxis(const Image& source, float radius, Axis axis, const Rect& wanted, WorkerPool* pool) {
    const TapTable table = makeTapTable(radius);
    if (table.count == 0 || wanted.isEmpty()) return crop(source, wanted);
    return axis == Axis::horizontal ? blurRows(source, table, wanted, pool)
                                    : blurColumns(source, table, wanted, pool);
}

}  // namespace

float* LineScratch::lineOf(const LinePlan& plan, int step) {
    return alignedIn(line, static_cast<std::size_t>((plan.end - plan.begin + 2 * plan.reach) * step));
}

TapTable makeTapTable(float radius) {
    TapTable table;
    table.step = std::max(1.0f, radius / static_cast<float>(kMaxTaps));
    const float sigma = std::max(0.5f, radius * 0.5f);
    float sum = 1.0f;
    for (int i = 1; i <= kMaxTaps; ++i) {
        const float d = static_cast<float>(i) * table.step;
        if (d > radius) break;
        Tap& tap = table.taps[table.count++];
        tap.offset = static_cast<int>(std::floor(d));
        tap.frac = d - static_cast<float>(tap.offset);
        tap.negOffset = tap.frac > 0.0f ? -tap.offset - 1 : -tap.offset;
        tap.negFrac = tap.frac > 0.0f ? 1.0f - tap.frac : 0.0f;
        tap.weight = std::exp(d * d * -0.5f / (sigma * sigma));
        sum += 2.0f * tap.weight;
    }
    table.norm = 1.0f / sum;
    table.edge = table.count > 0 ? table.taps[table.count - 1].offset + 1 : 0;
    return table;
}

FloatImage gaussianPass(const FloatImage& source, float radius, Axis axis, WorkerPool* pool) {
    return blurAxis(source, radius, axis, source.rect, pool);
}

FloatImage gaussianPass(const FloatImage& source, float radius, Axis axis, const Rect& wanted,
                        WorkerPool* pool) {
    return blurAxis(source, radius, axis, wanted, pool);
}

FloatPlane gaussianPassPlane(const FloatPlane& source, float radius, Axis axis, WorkerPool* pool) {
    return blurAxis(source, radius, axis, source.rect, pool);
}

FloatImage boxPass(const FloatImage& source, int halfWidth, int times, WorkerPool* pool) {
    if (halfWidth < 1 || source.width() < 2) return crop(source, source.rect);
    FloatImage result(source.rect);
    const int width = source.width(), rowLength = width * FloatImage::kChannels;
    runRows(pool, 0, source.height(), [&](int first, int end) {
        std::vector<float> sums((static_cast<std::size_t>(width + 2 * halfWidth + 1) * 3 + 1) * kBoxRows);
        for (int y = first; y < end; y += kBoxRows) {
            const int rows = std::min(kBoxRows, end - y);
            for (int i = 0; i < times; ++i)
                boxBlurRows(i == 0 ? source.row(y) : result.row(y), rows, rowLength, width, halfWidth,
                            sums.data(), result.row(y));
        }
    });
    return result;
}

FloatImage blurImage(const FloatImage& source, float radius, bool anamorphic, WorkerPool* pool) {
    return blurImage(source, radius, anamorphic, source.rect, pool);
}

FloatImage blurImage(const FloatImage& source, float radius, bool anamorphic, const Rect& wanted,
                     WorkerPool* pool) {
    if (anamorphic) {
        const int halfWidth = std::max(1, static_cast<int>(std::round(radius / 3.0f)));
        return boxPass(source, halfWidth, 3, pool);
    }
    const Rect columns{wanted.x0, source.rect.y0, wanted.x1, source.rect.y1};
    const FloatImage rows = gaussianPass(source, radius, Axis::horizontal, columns, pool);
    return gaussianPass(rows, radius, Axis::vertical, wanted, pool);
}

FloatPlane blurPlane(const FloatPlane& source, float radius, bool anamorphic, WorkerPool* pool) {
    FloatPlane rows = gaussianPassPlane(source, radius, Axis::horizontal, pool);
    if (anamorphic) return rows;
    return gaussianPassPlane(rows, radius, Axis::vertical, pool);
}

RowBlur makeRowBlur(float radius, int width, int begin, int end) {
    return planRows<FloatImage::kChannels>(makeTapTable(radius), width, begin, end);
}

void blurRow(const RowBlur& blur, const float* row, LineScratch& scratch, float* out) {
    blurOneRow<FloatImage::kChannels>(blur, row, scratch, out);
}

void blurAcrossRows(float radius, const std::vector<const float*>& rows, int begin, int end, int count,
                    float* out) {
    const LinePlan plan = planLines(makeTapTable(radius), static_cast<int>(rows.size()), begin, end);
    LineScratch scratch;
    for (int strip = 0; strip < stripsOf(count); ++strip)
        blurStrip(
            plan, strip, count, [&](int y) { return rows[static_cast<std::size_t>(y)]; },
            [&](int y) { return out + static_cast<std::ptrdiff_t>(y) * count; }, scratch);
}

}  // namespace veil
