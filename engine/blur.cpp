#include "engine/blur.h"

#include "engine/kernels/rows.h"
#include "engine/linear_read.h"
#include "engine/prefetch.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace veil {

namespace {

// A read at `position`, whose pixel is `low`.
struct AxisRead {
    int low;
    float fraction;
};

// Near the ends of the axis a read's position is rounded as a whole: its fraction can differ from the table's
// in the last bits, or the read be the next pixel's, without a fraction.
AxisRead readAt(float position, int expectedLow) {
    const int low = floorToInt(position);
    const AxisRead read{low, position - static_cast<float>(low)};
    assert(low == expectedLow || (low == expectedLow + 1 && read.fraction == 0.0f));
    (void)expectedLow;
    return read;
}

// The reads of `tap` from pixel `p` of the axis.
struct AxisReads {
    AxisRead minus, plus;
};

AxisReads readsOf(const TapTable& table, int tap, int p) {
    const float distance = static_cast<float>(tap + 1) * table.step, position = static_cast<float>(p);
    return {readAt(position - distance, p + table.taps[tap].negOffset),
            readAt(position + distance, p + table.taps[tap].offset)};
}

int lineOfFraction(std::vector<float>& fractions, float fraction) {
    const auto found = std::find(fractions.begin(), fractions.end(), fraction);
    const int line = static_cast<int>(found - fractions.begin());
    if (found == fractions.end()) fractions.push_back(fraction);
    return line;
}

// Whether all reads of pixel `p` have the fractions of the table, as inside.
bool isEven(const TapTable& table, int p) {
    for (int k = 0; k < table.count; ++k) {
        const Tap& tap = table.taps[k];
        const auto [minus, plus] = readsOf(table, k, p);
        if (minus.low != p + tap.negOffset || minus.fraction != tap.negFrac || plus.low != p + tap.offset ||
            plus.fraction != tap.frac)
            return false;
    }
    return true;
}

// The pixels of the axis that a line of `plan` has, not repeated ones, as indices of the line's own pixels.
Span ownPixels(const LinePlan& plan) {
    const int first = plan.begin - plan.reach, end = plan.end + plan.reach;
    return {std::max(first, 0) - first, std::min(end, plan.size) - first};
}

void fillTaps(LinePlan& plan) {
    const TapTable& table = plan.table;
    for (int k = 0; k < table.count; ++k) {
        const Tap& tap = table.taps[k];
        plan.taps[k] = {tap.negOffset * kLineLanes, tap.offset * kLineLanes, tap.negFrac, tap.frac,
                        tap.weight};
        plan.minusLines[k] = lineOfFraction(plan.fractions, tap.negFrac);
        plan.plusLines[k] = lineOfFraction(plan.fractions, tap.frac);
    }
    plan.edgeTaps.reserve(static_cast<std::size_t>(plan.edgeCount() * table.count));
    for (int i = 0; i < plan.edgeCount(); ++i)
        for (int k = 0; k < table.count; ++k) {
            const int p = plan.edgePixel(i);
            const auto [minus, plus] = readsOf(table, k, p);
            plan.edgeTaps.push_back({(minus.low - p) * kLineLanes, (plus.low - p) * kLineLanes,
                                     minus.fraction, plus.fraction, table.taps[k].weight});
        }
}

// `count` samples in `buffer`, from an address where a line of the cache begins: no pixel of a line straddles
// two.
float* alignedIn(Samples& buffer, std::size_t count) {
    constexpr std::size_t kLine = 64;
    growTo(buffer, count + kLine / sizeof(float));
    const auto past = reinterpret_cast<std::uintptr_t>(buffer.data()) % kLine;
    return buffer.data() + (kLine - past) % kLine / sizeof(float);
}

// `count` samples of a pixel, mostly all of them: then the copy is a few instructions.
void copySamples(const float* from, int count, float* to) {
    if (count == kLineLanes)
        std::memcpy(to, from, kLineLanes * sizeof(float));
    else
        std::copy(from, from + count, to);
}

// Repeats the first and last of a line's own pixels to its ends.
void padLine(const LinePlan& plan, float* line) {
    const float *first = line + plan.own.begin * kLineLanes, *last = line + (plan.own.end - 1) * kLineLanes;
    for (int i = 0; i < plan.own.begin; ++i) copySamples(first, kLineLanes, line + i * kLineLanes);
    for (int i = plan.own.end; i < plan.length(); ++i) copySamples(last, kLineLanes, line + i * kLineLanes);
}

std::size_t samplesOf(int pixels) { return static_cast<std::size_t>(pixels) * kLineLanes; }

// How far apart the pixels are that read most of the same lerped lines, as the first taps of one fraction
// are; of few pixels no group would be full.
int spacingOf(const LinePlan& plan, int pixels) {
    constexpr int kGroup = 4;
    for (int k = 1; k < plan.table.count; ++k)
        if (plan.plusLines[k] == plan.plusLines[0]) {
            const int spacing = plan.table.taps[k].offset - plan.table.taps[0].offset;
            return pixels >= kGroup * spacing ? spacing : 1;
        }
    return 1;
}

// The pixels of `line` that have the table's fractions. Taps often share fractions (all of them up to a
// radius of 24): then each linear read is done once for all.
void blurInside(const LinePlan& plan, const float* line, LineScratch& scratch, float* out) {
    const TapTable& table = plan.table;
    const int pixels = plan.insideEnd - plan.insideBegin;
    const float* centre = line + (plan.insideBegin - plan.begin + plan.reach) * kLineLanes;
    out += (plan.insideBegin - plan.begin) * kLineLanes;
    if (static_cast<int>(plan.fractions.size()) * 2 > table.count) {
        tapLine(centre, plan.taps, table.count, table.norm, out, pixels);
        return;
    }
    const int lerpedPixels = pixels + 2 * table.edge, lerpedCount = lerpedPixels * kLineLanes;
    const float* first = centre - table.edge * kLineLanes;
    float* const lerped =
        alignedIn(scratch.lerped, static_cast<std::size_t>(lerpedCount) * plan.fractions.size());
    const float* lines[2 * kMaxTaps];
    float fractions[2 * kMaxTaps];
    int lineCount = 0;
    for (std::size_t i = 0; i < plan.fractions.size(); ++i) {
        lines[i] = first;  // a read of a whole pixel is the pixel
        if (plan.fractions[i] == 0.0f) continue;
        fractions[lineCount] = plan.fractions[i];
        lines[i] = lerped + static_cast<std::ptrdiff_t>(lerpedCount) * lineCount++;
    }
    lerpLines(first, fractions, lineCount, lerped, lerpedPixels);
    const auto readOf = [&](int lerpedLine, int offset) {
        return lines[lerpedLine] + (table.edge + offset) * kLineLanes;
    };
    TapPair taps[kMaxTaps];
    for (int k = 0; k < table.count; ++k)
        taps[k] = {readOf(plan.minusLines[k], table.taps[k].negOffset),
                   readOf(plan.plusLines[k], table.taps[k].offset), table.taps[k].weight};
    pairLine(centre, taps, table.count, spacingOf(plan, pixels), table.norm, out, pixels);
}

// The pixels near the ends.
void blurEdges(const LinePlan& plan, const float* line, float* out) {
    const TapReads* taps = plan.edgeTaps.data();
    for (int i = 0; i < plan.edgeCount(); ++i, taps += plan.table.count) {
        const int at = plan.edgePixel(i) - plan.begin;
        tapLine(line + (at + plan.reach) * kLineLanes, taps, plan.table.count, plan.table.norm,
                out + at * kLineLanes, 1);
    }
}

// A line whose own pixels are there, to the blurred ones.
void blurLine(const LinePlan& plan, float* line, LineScratch& scratch, float* out) {
    padLine(plan, line);
    blurEdges(plan, line, out);
    blurInside(plan, line, scratch, out);
}

// Nothing blooms in most rows of a night scene. Ends early where the samples aren't all zeros.
bool areZeros(const float* samples, int count) {
    constexpr int kChunk = 64;
    for (int i = 0; i < count; i += kChunk) {
        std::uint32_t bits = 0;
        for (int j = i; j < std::min(i + kChunk, count); ++j)
            bits |= std::bit_cast<std::uint32_t>(samples[j]);
        if (bits != 0) return false;
    }
    return true;
}

constexpr int kStripsAJob = 1;

int stripsOf(int count) { return (count + kLineLanes - 1) / kLineLanes; }

// One strip of `count` columns; the callables give the address of a row of the source and of the result.
template <class RowAt, class OutAt>
void blurStrip(const LinePlan& plan, int strip, int count, RowAt rowAt, OutAt outAt, LineScratch& scratch) {
    const int column = strip * kLineLanes, width = std::min(kLineLanes, count - column);
    float* line = alignedIn(scratch.line, samplesOf(plan.length()));
    float* blurred = alignedIn(scratch.blurred, samplesOf(plan.count()));
    const auto at = [&](int i) { return rowAt(plan.firstOwn() + i - plan.own.begin) + column; };
    for (int i = plan.own.begin; i < plan.own.end; ++i) {
        float* pixel = line + i * kLineLanes;
        copySamples(at(i), width, pixel);
        std::fill(pixel + width, pixel + kLineLanes, 0.0f);
    }
    // The next strip comes while this one is summed.
    if (column + width < count)
        for (int i = plan.own.begin; i < plan.own.end; ++i) expect(at(i) + width, kLineLanes * sizeof(float));
    blurLine(plan, line, scratch, blurred);
    for (int y = 0; y < plan.count(); ++y, blurred += kLineLanes)
        copySamples(blurred, width, outAt(y) + column);
}

}  // namespace

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

LinePlan makeLinePlan(float radius, int size, int begin, int end) {
    const TapTable table = makeTapTable(radius);
    LinePlan plan{radius, size, table, begin, end, 0, 0, table.reach(), {}, {}, {}, {}, {}, {}};
    plan.own = ownPixels(plan);
    const int insideFirst = std::min(size, table.edge);
    plan.insideBegin = std::clamp(insideFirst, begin, end);
    plan.insideEnd = std::clamp(std::max(insideFirst, size - table.edge), begin, end);
    while (plan.insideBegin > begin && isEven(table, plan.insideBegin - 1)) --plan.insideBegin;
    while (plan.insideEnd < end && isEven(table, plan.insideEnd)) ++plan.insideEnd;
    fillTaps(plan);
    return plan;
}

std::shared_ptr<const LinePlan> LinePlans::find(float radius, int size, int begin, int end) {
    constexpr std::size_t kMostPlans = 64;
    for (const auto& plan : plans)
        if (plan->radius == radius && plan->size == size && plan->begin == begin && plan->end == end)
            return plan;
    if (plans.size() == kMostPlans) plans.clear();
    return plans.emplace_back(std::make_shared<const LinePlan>(makeLinePlan(radius, size, begin, end)));
}

RowBlur makeRowBlur(LinePlans& plans, float radius, int width, int begin, int end, int channels) {
    return {plans.find(radius, width, begin, end), channels};
}

void blurRows(const RowBlur& blur, const float* const* rows, int rowCount, LineScratch& scratch,
              float* const* out) {
    const LinePlan& plan = *blur.plan;
    const int ownPixels = plan.own.end - plan.own.begin, pixels = plan.count();
    // Rows that are missing are stood for by the last one.
    const float* from[kLineLanes];
    bool isZero = true;
    for (int k = 0; k < kLineLanes; ++k) {
        from[k] = rows[std::min(k, rowCount - 1)] + plan.firstOwn() * blur.channels;
        isZero = isZero && (k >= rowCount || areZeros(from[k], ownPixels * blur.channels));
    }
    if (isZero) {
        for (int k = 0; k < rowCount; ++k) std::fill(out[k], out[k] + pixels * blur.channels, 0.0f);
        return;
    }
    const int lineLength = plan.length() * kLineLanes, outLength = pixels * kLineLanes;
    const auto channels = static_cast<std::size_t>(blur.channels);
    float* lines = alignedIn(scratch.line, channels * samplesOf(plan.length()));
    float* blurred = alignedIn(scratch.blurred, channels * samplesOf(pixels));
    rowsToLines(from, blur.channels, lines + plan.own.begin * kLineLanes, lineLength, ownPixels);
    for (int c = 0; c < blur.channels; ++c)
        blurLine(plan, lines + c * lineLength, scratch, blurred + c * outLength);
    linesToRows(blurred, outLength, blur.channels, out, rowCount, pixels);
}

void blurRows(const RowBlur& blur, const float* rows, int rowCount, std::size_t rowLength,
              LineScratch& scratch, float* out, std::size_t outLength) {
    const float* from[kLineLanes];
    float* to[kLineLanes];
    for (int k = 0; k < rowCount; ++k, rows += rowLength, out += outLength) {
        from[k] = rows;
        to[k] = out;
    }
    blurRows(blur, from, rowCount, scratch, to);
}

void blurAcrossRows(const LinePlan& plan, const float* const* rows, int count, float* out,
                    std::size_t outLength, WorkerPool* pool) {
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, scratch = LineScratch()](int first, int last) mutable {
            for (int strip = first; strip < last; ++strip)
                blurStrip(
                    plan, strip, count, [&](int y) { return rows[y]; },
                    [&](int y) { return out + static_cast<std::size_t>(y) * outLength; }, scratch);
        };
    };
    runChunks(pool, 0, stripsOf(count), kStripsAJob, makeJob, {});
}

AlongBlur makeAlongBlur(LinePlans& plans, float radius, bool anamorphic, int width, int begin, int end) {
    AlongBlur blur{{}, 0, width, {begin, end}, {}, {}};
    if (!anamorphic) {
        blur.gaussian = makeRowBlur(plans, radius, width, begin, end);
        blur.reads = gaussianReads(radius, {0, width}, {begin, end});
        return blur;
    }
    // A row of one pixel stays as it is, which the Gaussian without taps does too.
    if (width < 2) return makeAlongBlur(plans, 0.0f, false, width, begin, end);
    blur.boxHalfWidth = std::max(1, static_cast<int>(std::round(radius / 3.0f)));
    const auto reached = [&](int to) {
        return to < width - blur.boxHalfWidth ? to + blur.boxHalfWidth : width;
    };
    blur.boxEnds[1] = reached(end);
    blur.boxEnds[0] = reached(blur.boxEnds[1]);
    // The sums run from the row's first pixel on.
    blur.reads = {0, reached(blur.boxEnds[0])};
    return blur;
}

namespace {

// Up to kBoxRows rows.
void boxBlurAlong(const AlongBlur& blur, const float* rows, int rowCount, std::size_t rowLength,
                  LineScratch& scratch, float* out, std::size_t outLength) {
    const auto width = static_cast<std::size_t>(blur.width);
    const auto isZeroRow = [&](int k) {
        return areZeros(rows + static_cast<std::size_t>(k) * rowLength, blur.reads.end * 3);
    };
    int zeroRows = 0;
    while (zeroRows < rowCount && isZeroRow(zeroRows)) ++zeroRows;
    if (zeroRows == rowCount) {
        const auto count = static_cast<std::size_t>(blur.wanted.end - blur.wanted.begin) * 3;
        for (int k = 0; k < rowCount; ++k, out += outLength) std::fill(out, out + count, 0.0f);
        return;
    }
    const int n = blur.boxHalfWidth, boxedLength = blur.width * 3;
    growTo(scratch.sums, ((width + 2 * static_cast<std::size_t>(n) + 1) * 3 + 1) * kBoxRows);
    growTo(scratch.boxed, width * 3 * kBoxRows);
    float *boxed = scratch.boxed.data(), *sums = scratch.sums.data();
    const BoxSource source{rows, rowCount, static_cast<int>(rowLength)}, again{boxed, rowCount, boxedLength};
    boxBlurRows(source, blur.width, n, 0, blur.boxEnds[0], sums, boxed, boxedLength);
    boxBlurRows(again, blur.width, n, 0, blur.boxEnds[1], sums, boxed, boxedLength);
    boxBlurRows(again, blur.width, n, blur.wanted.begin, blur.wanted.end, sums, out,
                static_cast<int>(outLength));
}

}  // namespace

void blurAlong(const AlongBlur& blur, const float* rows, int rowCount, std::size_t rowLength,
               LineScratch& scratch, float* out, std::size_t outLength) {
    if (blur.boxHalfWidth > 0) {
        for (int k = 0; k < rowCount;
             k += kBoxRows, rows += kBoxRows * rowLength, out += kBoxRows * outLength)
            boxBlurAlong(blur, rows, std::min(kBoxRows, rowCount - k), rowLength, scratch, out, outLength);
        return;
    }
    blurRows(blur.gaussian, rows, rowCount, rowLength, scratch, out, outLength);
}

Span gaussianReads(float radius, Span axis, Span wanted) {
    const int reach = makeTapTable(radius).reach();
    return {std::max(axis.begin, wanted.begin - reach), std::min(axis.end, wanted.end + reach)};
}

template <class Image>
int AcrossBlur<Image>::begin(float blurRadius, bool anamorphic, Span axis, Span wanted, Span columns,
                             Span kept) {
    radius = blurRadius;
    isAcross = !anamorphic;
    axisBegin = axis.begin;
    axisEnd = axis.end;
    planned.reset();
    const Span rows = isAcross ? gaussianReads(radius, axis, wanted) : wanted;
    rect = {columns.begin, rows.begin, columns.end, rows.end};
    // Rows begin with a line of the cache, so that a strip takes one of each.
    const Rect padded{rect.x0, rect.y0,
                      rect.x0 + static_cast<int>(paddedLength(static_cast<std::size_t>(rect.width()))),
                      rect.y1};
    if (rows.begin < kept.begin || rows.begin >= kept.end) {
        // Tiles at the picture's edge are lower than those inside.
        image.reshape(padded, rect.height());
        return rows.begin;
    }
    const int keptEnd = std::min(kept.end, rows.end);
    image.moveRows(rows.begin - image.rect.y0, keptEnd - rows.begin, padded);
    return keptEnd;
}

template <class Image>
void AcrossBlur<Image>::planRows(LinePlans& plans, Span wanted) {
    if (isAcross)
        planned = plans.find(radius, axisEnd - axisBegin, wanted.begin - axisBegin, wanted.end - axisBegin);
}

template <class Image>
void AcrossBlur<Image>::make(const Rect& wanted, LineScratch& scratch, float* out,
                             std::size_t outLength) const {
    const int count = wanted.width() * Image::kChannels;
    const int firstSample = (wanted.x0 - image.rect.x0) * Image::kChannels;
    const auto rowAt = [&](int y) { return image.row(y + axisBegin - image.rect.y0) + firstSample; };
    const auto outAt = [&](int y) { return out + static_cast<std::size_t>(y) * outLength; };
    const int begin = wanted.y0 - axisBegin, end = wanted.y1 - axisBegin;
    if (!isAcross) {
        for (int y = begin; y < end; ++y) std::copy(rowAt(y), rowAt(y) + count, outAt(y - begin));
        return;
    }
    const auto blurStrips = [&](const LinePlan& plan) {
        for (int strip = 0; strip < stripsOf(count); ++strip)
            blurStrip(plan, strip, count, rowAt, outAt, scratch);
    };
    if (planned && planned->begin == begin && planned->end == end)
        blurStrips(*planned);
    else
        blurStrips(makeLinePlan(radius, axisEnd - axisBegin, begin, end));
}

template class AcrossBlur<FloatImage>;
template class AcrossBlur<FloatPlane>;

}  // namespace veil
