#pragma once

// The row kernels of the table that this machine runs; kernel_table.h says what each does.

#include "engine/kernels/kernels.h"

namespace veil {

inline void sumFiveRows(SampleKind kind, const FiveRows& rows, float* out, int count) {
    kernels().sumFiveRows[static_cast<int>(kind)](rows, out, count);
}
inline void boxRow(const float* sums, const int* centres, float* out, int pixels) {
    kernels().boxRow(sums, centres, out, pixels);
}
inline void boxRowClamped(const float* sums, int width, const int* centres, float* out, int pixels) {
    kernels().boxRowClamped(sums, width, centres, out, pixels);
}
inline void expandRow(const float* row, const BilinearColumn* columns, float* out, int pixels) {
    kernels().expandRow(row, columns, out, pixels);
}
inline void expandRowToPlanes(const float* row, const BilinearColumn* columns, float* r, float* g, float* b,
                              int pixels) {
    kernels().expandRowToPlanes(row, columns, r, g, b, pixels);
}
inline void expandPlaneRow(const float* row, const BilinearColumn* columns, float* out, int pixels) {
    kernels().expandPlaneRow(row, columns, out, pixels);
}
inline void lerpRows(const float* top, const float* bottom, float fraction, float* out, int count) {
    kernels().lerpRows(top, bottom, fraction, out, count);
}
inline void lerpLines(const float* line, const float* fractions, int lineCount, float* out, int pixels) {
    kernels().lerpLines(line, fractions, lineCount, out, pixels);
}
inline void tapLine(const float* centre, const TapReads* taps, int tapCount, float norm, float* out,
                    int pixels) {
    kernels().tapLine(centre, taps, tapCount, norm, out, pixels);
}
inline void pairLine(const float* centre, const TapPair* taps, int tapCount, int spacing, float norm,
                     float* out, int pixels) {
    kernels().pairLine(centre, taps, tapCount, spacing, norm, out, pixels);
}
inline void rowsToLines(const float* const* rows, int channels, float* lines, int lineLength, int pixels) {
    kernels().rowsToLines(rows, channels, lines, lineLength, pixels);
}
inline void linesToRows(const float* lines, int lineLength, int channels, float* const* rows, int rowCount,
                        int pixels) {
    kernels().linesToRows(lines, lineLength, channels, rows, rowCount, pixels);
}
inline void boxBlurRows(const BoxSource& source, int pixels, int halfWidth, int begin, int end, float* sums,
                        float* out, int outLength) {
    kernels().boxBlurRows(source, pixels, halfWidth, begin, end, sums, out, outLength);
}
inline void thresholdRow(const float* in, float threshold, float* out, int pixels) {
    kernels().thresholdRow(in, threshold, out, pixels);
}
inline void thresholdFogRow(float* row, float threshold, float fog, int pixels) {
    kernels().thresholdFogRow(row, threshold, fog, pixels);
}
inline void veilMixRow(const float* narrow, const float* wide, float fog, float* out, int count) {
    kernels().veilMixRow(narrow, wide, fog, out, count);
}
inline void litSpan(const float* base, int pixels, int* begin, int* end) {
    kernels().litSpan(base, pixels, begin, end);
}
inline void coreMaskRow(const float* base, float* mask, int pixels) {
    kernels().coreMaskRow(base, mask, pixels);
}
inline void rimRow(const float* base, const float* core, float* rimColor, float* rimWeight, int pixels) {
    kernels().rimRow(base, core, rimColor, rimWeight, pixels);
}
inline void boostRow(const BoostRows& rows, float highlightBoost, float* bright, int pixels) {
    kernels().boostRow(rows, highlightBoost, bright, pixels);
}
inline bool areBounded(const float* samples, int count) { return kernels().areBounded(samples, count); }
inline void composeRow(SampleKind kind, const GlowRow& top, const GlowRow& bottom, float fraction,
                       const void* source, const ComposeConstants& constants, void* out, int pixels,
                       const RowAhead& ahead) {
    kernels().composeRow[static_cast<int>(kind)](top, bottom, fraction, source, constants, out, pixels,
                                                 ahead);
}
inline void bytesToFloats(const unsigned char* in, float* out, int count) {
    kernels().bytesToFloats(in, out, count);
}
inline void wordsToFloats(const unsigned char* in, float* out, int count) {
    kernels().wordsToFloats(in, out, count);
}
inline void floatsToBytes(const float* in, unsigned char* out, int count) {
    kernels().floatsToBytes(in, out, count);
}
inline void floatsToWords(const float* in, unsigned char* out, int count) {
    kernels().floatsToWords(in, out, count);
}

}  // namespace veil
