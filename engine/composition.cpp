#include "engine/composition.h"

#include "engine/kernels/rows.h"
#include "engine/linear_read.h"

#include <algorithm>

namespace veil {

namespace {

// Where pixel `p` of the image plane reads the glow, local to its buffer.
LinearRead glowRead(int p, int imageSize, int workSize, int glowFirst, int glowSize) {
    return linearRead(mapCentre(p, imageSize, workSize) - static_cast<float>(glowFirst), glowSize);
}

constexpr int kChunkRows = 32;  // some 50 KB of an 8-bit tile, which pass from cache to cache

// The last two glow rows, enlarged along x. About four image rows lie between two glow rows, so that most
// rows find theirs here.
struct EnlargedRows {
    const GlowRows& glow;
    const std::vector<BilinearColumn>& columns;
    std::vector<float> buffers[2];
    int held[2] = {-1, -1};

    EnlargedRows(const GlowRows& source, const std::vector<BilinearColumn>& table)
        : glow(source), columns(table) {
        for (auto& buffer : buffers) buffer.resize(table.size() * 3);
    }

    // Row `y`; the row `keep`, if it is held, stays valid.
    GlowRow row(int y, int keep) {
        for (int slot = 0; slot < 2; ++slot)
            if (held[slot] == y) return planesOf(slot);
        const int slot = held[0] == keep ? 1 : 0;
        float* planes = buffers[slot].data();
        const std::size_t width = columns.size();
        const auto rowLength = static_cast<std::ptrdiff_t>(glow.rect.width()) * 3;
        expandRowToPlanes(glow.samples + rowLength * y, columns.data(), planes, planes + width,
                          planes + 2 * width, static_cast<int>(width));
        held[slot] = y;
        return planesOf(slot);
    }

    GlowRow planesOf(int slot) const {
        const float* planes = buffers[slot].data();
        return {planes, planes + columns.size(), planes + 2 * columns.size()};
    }
};

// The source under the columns of the output; its edge pixels repeat where it does not hold all of them.
class PictureRows {
  public:
    PictureRows(const SourceRows& rows, const Rect& outputRect) : source(rows), output(outputRect) {
        first = source.rect.x0 + clampIndex(output.x0 - source.rect.x0, source.rect.width());
        count = source.rect.x0 + clampIndex(output.x1 - 1 - source.rect.x0, source.rect.width()) + 1 - first;
        scratch.resize(static_cast<std::size_t>(count) * 3);
        if (count < output.width()) widened.resize(static_cast<std::size_t>(output.width()) * 3);
    }

    const float* row(int y) {
        const float* row = source.read(first, heldRow(source, y), count, scratch.data());
        if (widened.empty()) return row;
        for (int x = 0; x < output.width(); ++x) {
            const float* pixel = row + clampIndex(output.x0 + x - first, count) * 3;
            std::copy(pixel, pixel + 3, widened.begin() + x * 3);
        }
        return widened.data();
    }

    static int heldRow(const SourceRows& source, int y) {
        return source.rect.y0 + clampIndex(y - source.rect.y0, source.rect.height());
    }

  private:
    const SourceRows& source;
    const Rect output;
    int first, count;
    std::vector<float> scratch, widened;
};

}  // namespace

bool readsSource(const RenderSettings& settings) {
    return settings.shadowProtect > 0.0f || !settings.outputGlowOnly;
}

void composeOutput(const SourceRows& source, const GlowRows& glow, const Rect& outputRect, int imageWidth,
                   int imageHeight, int workWidth, int workHeight, const RenderSettings& settings,
                   const OutputRows& output, WorkerPool* pool) {
    if (outputRect.isEmpty()) return;
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
        return [&, enlarged = EnlargedRows(glow, columns), picture = PictureRows(source, outputRect),
                out = std::vector<float>(static_cast<std::size_t>(width) * 3)](int first, int end) mutable {
            for (int y = first; y < end; ++y) {
                const LinearRead read = readAt(y);
                const GlowRow top = enlarged.row(read.low, read.high);
                const GlowRow bottom = enlarged.row(read.high, read.low);
                composeRow(top, bottom, read.fraction, reads ? picture.row(y) : nullptr, constants,
                           out.data(), width);
                output.store(y, out.data());
            }
        };
    };
    WorkerPool::Ferry ferry{{}, output.collect};
    if (source.bring && reads)
        ferry.bring = [&](int first, int end) {
            source.bring(PictureRows::heldRow(source, first), PictureRows::heldRow(source, end - 1) + 1);
        };
    runChunks(pool, outputRect.y0, outputRect.y1, kChunkRows, makeJob, ferry);
}

}  // namespace veil
