#include "engine/composition.h"

#include "engine/kernels/rows.h"
#include "engine/linear_read.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace veil {

namespace {

// Where pixel `p` of the image plane reads the glow, local to its buffer.
LinearRead glowRead(int p, int imageSize, int workSize, int glowFirst, int glowSize) {
    return linearRead(mapCentre(p, imageSize, workSize) - static_cast<float>(glowFirst), glowSize);
}

// Rows of a chunk, which pass from cache to cache.
int chunkRows(std::size_t rowBytes) {
    constexpr std::size_t kChunkBytes = std::size_t{48} << 10;
    return static_cast<int>(std::clamp(kChunkBytes / rowBytes, std::size_t{4}, std::size_t{64}));
}

// Between planes, in samples: tiles are powers of two wide, and planes as far apart would share few sets of
// the cache.
constexpr std::size_t kPlaneGap = 11 * 16;

// The last two glow rows, enlarged along x. About four image rows lie between two glow rows, so that most
// rows find theirs here.
struct EnlargedRows {
    const GlowRows& glow;
    const std::vector<BilinearColumn>& columns;
    const std::size_t planeLength;
    Samples buffer;
    int held[2] = {-1, -1};
    bool isBounded[2] = {};

    EnlargedRows(const GlowRows& source, const std::vector<BilinearColumn>& table)
        : glow(source),
          columns(table),
          planeLength(paddedLength(table.size()) + kPlaneGap),
          buffer(planeLength * 6) {}

    // Row `y`; the row `keep`, if it is held, stays valid.
    GlowRow row(int y, int keep) {
        for (int slot = 0; slot < 2; ++slot)
            if (held[slot] == y) return planesOf(slot);
        const int slot = held[0] == keep ? 1 : 0;
        float* planes = planesAt(slot);
        const float* samples = glow.samples + glow.rowLength * static_cast<std::size_t>(y);
        expandRowToPlanes(samples, columns.data(), planes, planes + planeLength, planes + 2 * planeLength,
                          static_cast<int>(columns.size()));
        isBounded[slot] = areBounded(samples, glow.rect.width() * 3);
        held[slot] = y;
        return planesOf(slot);
    }

    float* planesAt(int slot) { return buffer.data() + planeLength * 3 * static_cast<std::size_t>(slot); }
    GlowRow planesOf(int slot) {
        const float* planes = planesAt(slot);
        return {planes, planes + planeLength, planes + 2 * planeLength, isBounded[slot]};
    }
};

// The source under the columns of the output; its edge pixels repeat where it does not hold all of them.
class PictureRows {
  public:
    PictureRows(const SourceRows& rows, const Rect& outputRect)
        : source(rows), output(outputRect), pixelBytes(3 * sampleBytes(rows.kind)) {
        first = source.rect.x0 + clampIndex(output.x0 - source.rect.x0, source.rect.width());
        count = source.rect.x0 + clampIndex(output.x1 - 1 - source.rect.x0, source.rect.width()) + 1 - first;
        if (count < output.width()) widened.resize(static_cast<std::size_t>(output.width()) * pixelBytes);
    }

    // The row as the source has it.
    const void* held(int y) const { return source.at(first, heldRow(source, y), count); }

    const void* row(int y) {
        const void* row = held(y);
        if (widened.empty()) return row;
        for (int x = 0; x < output.width(); ++x) {
            const auto held = static_cast<std::size_t>(clampIndex(output.x0 + x - first, count));
            std::memcpy(widened.data() + static_cast<std::size_t>(x) * pixelBytes,
                        static_cast<const unsigned char*>(row) + held * pixelBytes, pixelBytes);
        }
        return widened.data();
    }

    static int heldRow(const SourceRows& source, int y) {
        return source.rect.y0 + clampIndex(y - source.rect.y0, source.rect.height());
    }

  private:
    const SourceRows& source;
    const Rect output;
    const std::size_t pixelBytes;
    int first, count;
    std::vector<unsigned char> widened;
};

}  // namespace

bool readsSource(const RenderSettings& settings) {
    return settings.shadowProtect > 0.0f || !settings.outputGlowOnly;
}

void composeOutput(const SourceRows& source, const GlowRows& glow, const Rect& outputRect, int imageWidth,
                   int imageHeight, int workWidth, int workHeight, const RenderSettings& settings,
                   const OutputRows& output, WorkerPool* pool) {
    if (outputRect.isEmpty()) return;
    assert(output.kind == source.kind);
    const int width = outputRect.width();
    std::vector<BilinearColumn> columns(static_cast<std::size_t>(width));
    for (int x = 0; x < width; ++x) {
        const LinearRead read =
            glowRead(outputRect.x0 + x, imageWidth, workWidth, glow.rect.x0, glow.rect.width());
        columns[static_cast<std::size_t>(x)] = {read.low * 3, read.high * 3, read.fraction};
    }
    const ComposeConstants constants{settings.glowSaturation, settings.strength, settings.shadowProtect,
                                     settings.tintR,          settings.tintG,    settings.tintB,
                                     settings.outputGlowOnly};
    const bool reads = readsSource(settings);
    const auto readAt = [&](int y) {
        return glowRead(y, imageHeight, workHeight, glow.rect.y0, glow.rect.height());
    };
    const auto makeJob = [&]() -> WorkerPool::Job {
        return [&, enlarged = EnlargedRows(glow, columns), picture = PictureRows(source, outputRect)](
                   int first, int end) mutable {
            void* to = output.at(first);
            for (int y = first; y < end; ++y) {
                const LinearRead read = readAt(y);
                const GlowRow top = enlarged.row(read.low, read.high);
                const GlowRow bottom = enlarged.row(read.high, read.low);
                RowAhead ahead;
                if (y + 1 < end) ahead = {reads ? picture.held(y + 1) : nullptr, output.at(y + 1)};
                composeRow(output.kind, top, bottom, read.fraction, reads ? picture.row(y) : nullptr,
                           constants, to, width, ahead);
                to = ahead.out;
            }
        };
    };
    const auto bring = [&](int first, int end) {
        if (output.prepare) output.prepare(first, end);
        if (source.bring && reads)
            source.bring(PictureRows::heldRow(source, first), PictureRows::heldRow(source, end - 1) + 1);
    };
    runChunks(pool, outputRect.y0, outputRect.y1,
              chunkRows(static_cast<std::size_t>(width) * 3 * sampleBytes(output.kind)), makeJob,
              {bring, output.collect});
}

}  // namespace veil
