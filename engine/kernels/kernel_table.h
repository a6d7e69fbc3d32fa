#pragma once

// Row kernels: the hot loops of the engine over plain pointers and a count, as a table a set of instructions.
// They know no images, edges or threads; the passes that call them own those. Buffers may be unaligned;
// unless a kernel says otherwise its output does not overlap its inputs. `pixels` counts RGB triples (or
// samples of a plane), `count` single samples. All tables give the same bits, a NaN's sign and payload aside.

#include <cstddef>

namespace veil {

/// One column of a bilinear read: the sample indices of the two pixels' first channel, and the right one's
/// weight.
struct BilinearColumn {
    int left, right;
    float fraction;
};

/// The reads of one pair of mirror taps: each of the two is the linear read between pixels of a line and the
/// ones behind them; the first pixel stands that many samples from the centre.
struct TapReads {
    int minus, plus;
    float minusFraction, plusFraction;
    float weight;
};

/// The same where the linear reads are lines already.
struct TapPair {
    const float *minus, *plus;
    float weight;
};

/// Samples of a pixel of a line: the Gaussian runs along as many rows, or columns, at once.
constexpr int kLineLanes = 16;

/// How the samples of a source or a result are stored: floats from 0 to 1; bytes of which 255 is white;
/// 16-bit words, at any address, of which 32768 is white.
enum class SampleKind { floats, bytes, words };
constexpr int kSampleKinds = 3;

constexpr std::size_t sampleBytes(SampleKind kind) {
    return kind == SampleKind::bytes ? 1 : kind == SampleKind::words ? 2 : sizeof(float);
}

constexpr int kBoxHeight = 5;

/// Rows of one kind, from the top.
struct FiveRows {
    const void* row[kBoxHeight];
    const void* ahead[kBoxHeight] = {};  ///< rows that come next, which are fetched meanwhile; null for none
};

constexpr int kBoxRows = 4;  // that a box blur sums side by side

/// 1 to kBoxRows rows, `rowLength` samples apart.
struct BoxSource {
    const float* rows;
    int rowCount, rowLength;
};

/// What the boost reads beside the row that it rewrites.
struct BoostRows {
    const float *base, *surround, *wideBlur;  // RGB
    const float* rimColor;                    // RGB
    const float *coreSpread, *rimWeight;      // planes
};

struct ComposeConstants {
    float saturation, strength, shadowProtect;
    float tintR, tintG, tintB;
    bool glowOnly;
};

/// A row of the glow in three rows of one channel each. One that areBounded is composed faster, if that is
/// known.
struct GlowRow {
    const float *r, *g, *b;
    bool isBounded = false;
};

/// Rows of a host's picture that a kernel fetches while it works on those before them, since the processor
/// does not see by itself where the next row begins; null for none.
struct RowAhead {
    const void* source = nullptr;
    void* out = nullptr;
};

struct KernelTable {
    // Resampling.

    /// out = the sum of the five samples as floats, from the top row on; an entry for each kind.
    void (*sumFiveRows[kSampleKinds])(const FiveRows& rows, float* out, int count);
    /// Mean of 25 samples from sums over five rows: each output pixel adds the columns centre - 2 to centre +
    /// 2 of `sums`, all of which must lie inside.
    void (*boxRow)(const float* sums, const int* centres, float* out, int pixels);
    /// The same where columns may lie outside: indices are limited to 0 to width - 1.
    void (*boxRowClamped)(const float* sums, int width, const int* centres, float* out, int pixels);
    /// Linear reads along a row of RGB or of a plane.
    void (*expandRow)(const float* row, const BilinearColumn* columns, float* out, int pixels);
    /// The same into three rows of one channel each.
    void (*expandRowToPlanes)(const float* row, const BilinearColumn* columns, float* r, float* g, float* b,
                              int pixels);
    void (*expandPlaneRow)(const float* row, const BilinearColumn* columns, float* out, int pixels);
    /// out = (1 - fraction) * top + fraction * bottom.
    void (*lerpRows)(const float* top, const float* bottom, float fraction, float* out, int count);

    // Blurs.

    /// All linear reads between the pixels of a line and the ones behind them, for each of the fractions:
    /// lines of as many pixels, one behind the other.
    void (*lerpLines)(const float* line, const float* fractions, int lineCount, float* out, int pixels);
    /// out = norm * (centre + the sum over the taps of weight * (minus read + plus read)), summed in their
    /// order, for `pixels` pixels of a line.
    void (*tapLine)(const float* centre, const TapReads* taps, int tapCount, float norm, float* out,
                    int pixels);
    /// The same where the linear reads are lines. Pixels that lie `spacing` apart are summed together: where
    /// taps share lines at that distance, most of what one of them reads is still in the cache from the
    /// others.
    void (*pairLine)(const float* centre, const TapPair* taps, int tapCount, int spacing, float norm,
                     float* out, int pixels);
    /// `pixels` pixels of `channels` samples of kLineLanes rows, to one line a channel, `lineLength` samples
    /// apart.
    void (*rowsToLines)(const float* const* rows, int channels, float* lines, int lineLength, int pixels);
    /// The other way, to `rowCount` rows of the lines' first ones.
    void (*linesToRows)(const float* lines, int lineLength, int channels, float* const* rows, int rowCount,
                        int pixels);
    /// Means over 2 * halfWidth + 1 pixels by running sums: the columns `begin` up to `end` of rows of
    /// `pixels`, of which those up to end + halfWidth are read, to rows `outLength` samples apart; may work
    /// in place. `sums` holds kBoxRows * ((end + 2 * halfWidth + 1) * 3 + 1) samples.
    void (*boxBlurRows)(const BoxSource& source, int pixels, int halfWidth, int begin, int end, float* sums,
                        float* out, int outLength);

    // Tone.

    /// out = in * w, w the threshold curve of the pixel's luma.
    void (*thresholdRow)(const float* in, float threshold, float* out, int pixels);
    /// In place: the same with the fog as a floor under the weight.
    void (*thresholdFogRow)(float* row, float threshold, float fog, int pixels);
    /// out = (1 - fog) * narrow + fog * wide; may work in place.
    void (*veilMixRow)(const float* narrow, const float* wide, float fog, float* out, int count);

    // Highlight boost.

    /// The run of pixels of `base` that holds all those the boost changes, which are those above a luma; an
    /// empty run is 0 to 0.
    void (*litSpan)(const float* base, int pixels, int* begin, int* end);
    /// How blown-out each pixel is, 0 to 1.
    void (*coreMaskRow)(const float* base, float* mask, int pixels);
    /// The colour and weight of coloured rims near blown-out areas; `core` is the blurred mask.
    void (*rimRow)(const float* base, const float* core, float* rimColor, float* rimWeight, int pixels);
    /// In place: gain and rim colour on the row of what blooms.
    void (*boostRow)(const BoostRows& rows, float highlightBoost, float* bright, int pixels);

    // Composition.

    /// Whether all samples are from 0 up to, but not including, 2^60; -0 is not.
    bool (*areBounded)(const float* samples, int count);
    /// Shapes the glow (the lerp of `top` and `bottom` by `fraction`) and lays it over `source`, or writes it
    /// alone; source and result are of one kind. What is stored as an integer is limited to 0 to 1 and
    /// rounded to nearest; NaN becomes 0. May work in place, on all of the source.
    void (*composeRow[kSampleKinds])(const GlowRow& top, const GlowRow& bottom, float fraction,
                                     const void* source, const ComposeConstants& constants, void* out,
                                     int pixels, const RowAhead& ahead);

    // Samples of a host.

    /// out = in / 255, correctly rounded.
    void (*bytesToFloats)(const unsigned char* in, float* out, int count);
    /// 16-bit samples at any address, of which 32768 is white: out = in / 32768.
    void (*wordsToFloats)(const unsigned char* in, float* out, int count);
    /// The other way: limited to 0 to 1, rounded to nearest; NaN becomes 0.
    void (*floatsToBytes)(const float* in, unsigned char* out, int count);
    void (*floatsToWords)(const float* in, unsigned char* out, int count);
};

// Each is defined by a build of kernel_set.cpp for its instructions, and must not be touched where the
// machine lacks them.
extern const KernelTable kBaselineKernels;
#if defined(__x86_64__)
extern const KernelTable kAvx2Kernels;
extern const KernelTable kAvx512Kernels;
#endif

}  // namespace veil
