// Every row kernel, and the table of them. This source is compiled once a set of instructions. The kernels
// are included here, each of them static, and nothing comes from the library: if two sets shared an inline
// function, the linker would keep one set's copy for all.

#include "engine/kernels/kernel_table.h"

#include "engine/kernels/blur_rows.inl"
#include "engine/kernels/boost_rows.inl"
#include "engine/kernels/compose_rows.inl"
#include "engine/kernels/host_rows.inl"
#include "engine/kernels/resample_rows.inl"
#include "engine/kernels/tone_rows.inl"

namespace veil {

const KernelTable VEIL_KERNEL_TABLE = {
    .sumFiveRows = {sumFiveRows<FloatSamples>, sumFiveRows<ByteSamples>, sumFiveWordRows},
    .boxRow = boxRow,
    .boxRowClamped = boxRowClamped,
    .expandRow = expandRow,
    .expandRowToPlanes = expandRowToPlanes,
    .expandPlaneRow = expandPlaneRow,
    .lerpRows = lerpRows,
    .lerpLines = lerpLines,
    .tapLine = tapLine,
    .pairLine = pairLine,
    .rowsToLines = rowsToLines,
    .linesToRows = linesToRows,
    .boxBlurRows = boxBlurRows,
    .thresholdRow = thresholdRow,
    .thresholdFogRow = thresholdFogRow,
    .veilMixRow = veilMixRow,
    .litSpan = litSpan,
    .coreMaskRow = coreMaskRow,
    .rimRow = rimRow,
    .boostRow = boostRow,
    .areBounded = areBounded,
    .composeRow = {composeRow<FloatSamples>, composeRow<ByteSamples>, composeRow<WordSamples>},
    .bytesToFloats = toFloats<ByteSamples>,
    .wordsToFloats = toFloats<WordSamples>,
    .floatsToBytes = fromFloats<ByteSamples>,
    .floatsToWords = fromFloats<WordSamples>,
};

}  // namespace veil
