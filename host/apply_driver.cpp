#include "host/apply_driver.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <thread>

#include "engine/geometry.h"
#include "engine/memory.h"
#include "engine/render.h"
#include "engine/worker_pool.h"
#include "host/host_support.h"
#include "host/pixel_transfer.h"
#include "host/plugin_state.h"
#include "host/progress.h"

namespace veil {

namespace {

using namespace photoshop;

// As many that the caches have mostly lost a row before its place is taken again: to take it from another
// core that still holds it would take longer.
constexpr int kFerriedChunks = 16;

constexpr std::int16_t kFirstPlane = 0, kLastPlane = 2;  // red to blue; transparency is the host's business

std::int32_t divideUp(std::int32_t a, std::int32_t b) { return (a + b - 1) / b; }

// Closes the progress window on every way out of a run.
struct ProgressScope {
    ProgressDialog* dialog = openProgress();

    ProgressScope() = default;
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;
    ~ProgressScope() { close(); }
    void close() {
        closeProgress(dialog);
        dialog = nullptr;
    }
};

// What one run works with; the buffers keep their memory from tile to tile.
struct Run {
    HostRect bounds;
    TilePlan plan;
    RenderSettings settings;
    std::optional<ImageRenderer> renderer;
    FerriedRows ferried;

    HostRect toHostRect(const Rect& r) const {
        return {r.y0 + bounds.top, r.x0 + bounds.left, r.y1 + bounds.top, r.x1 + bounds.left};
    }
};

// False with filterBadParameters for a host without tile size or an empty filter rectangle.
bool prepareRun(Run& run) {
    FilterRecord& r = *gFilterRecord;
    run.bounds = getFilterRect();
    const std::int64_t width = widthOf(run.bounds), height = heightOf(run.bounds);
    if (r.outTileWidth < 1 || r.outTileHeight < 1 || width < 1 || height < 1 || width > kLargestSide ||
        height > kLargestSide) {
        *gResult = filterBadParameters;
        return false;
    }
    run.settings = makeRenderSettings(*gParams);
    run.plan = planTiles(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), r.outTileWidth,
                         r.outTileHeight, run.settings);
    run.renderer.emplace(run.plan.imageWidth, run.plan.imageHeight, run.settings);
    r.inputRate = kFullRate;
    r.maskRate = kFullRate;
    if (r.supportsPadding) r.inputPadding = r.outputPadding = r.maskPadding = plugInWantsEdgeReplication;
    return true;
}

// Asks the host for the pixels of a tile and its margin; the host's answer stands in the result location.
bool requestTile(const Run& run, const Rect& need, const Rect& tile) {
    FilterRecord& r = *gFilterRecord;
    setInRect(run.toHostRect(need));
    r.inLoPlane = kFirstPlane;
    r.inHiPlane = kLastPlane;
    setOutRect(run.toHostRect(tile));
    r.outLoPlane = kFirstPlane;
    r.outHiPlane = kLastPlane;
    if (r.haveMask) setMaskRect(run.toHostRect(tile));
    // A host that can't serve pixels has no buffers that match either.
    *gResult = r.advanceState ? r.advanceState() : filterBadParameters;
    if (*gResult != noErr) return false;
    if (hostBuffersMatch(need, tile)) return true;
    *gResult = filterBadParameters;
    return false;
}

bool isHostsThread(std::thread::id hostsThread) { return std::this_thread::get_id() == hostsThread; }

// Rows of `buffer` for the host's own thread alone.
SourceRows rowsFrom(const HostBuffer& buffer, SampleKind kind) {
    return {buffer.rect, kind, [&](int x, int y, int) -> const void* { return buffer.at(x, y); }};
}

// The same for the pool's threads too, which see the rows that were brought.
SourceRows rowsFrom(const HostBuffer& buffer, FerriedRows& ferried, const Rect& tile, SampleKind kind) {
    const auto at = [&, tile, host = std::this_thread::get_id()](int x, int y, int) -> const void* {
        if (isHostsThread(host)) return buffer.at(x, y);
        return ferried.read(y) + static_cast<std::size_t>(x - tile.x0) * buffer.pixelBytes;
    };
    return {buffer.rect, kind, at, [&](int first, int end) { ferried.bring(buffer, first, end); }};
}

OutputRows rowsTo(const HostBuffer& buffer, FerriedRows& ferried, SampleKind kind) {
    const auto at = [&, host = std::this_thread::get_id()](int y) -> void* {
        return isHostsThread(host) ? buffer.at(buffer.rect.x0, y) : ferried.written(y);
    };
    return {kind, at, [&](int first, int end) { ferried.prepare(first, end); },
            [&](int first, int end) { ferried.collect(first, end, buffer); }};
}

void renderTile(Run& run, const Rect& need, const Rect& tile, WorkerPool& pool) {
    const FilterRecord& r = *gFilterRecord;
    const SampleKind kind = sampleKind(r.depth);
    const std::size_t pixelBytes = 3 * sampleBytes(kind);
    const HostBuffer in(need, pixelBytes, r.inData, r.inRowBytes);
    const HostBuffer out(tile, pixelBytes, r.outData, r.outRowBytes);
    run.ferried.begin(tile, pixelBytes, std::max(kFerriedChunks, pool.mostUnderWay()));
    // Rows that other ones stand for can't be brought by their number.
    const Rect reads = run.renderer->pictureReads(need, tile);
    const bool isFerried = reads.isEmpty() || reads == tile;
    run.renderer->render(tile, {rowsFrom(in, kind), rowsFrom(in, run.ferried, tile, kind)},
                         rowsTo(out, run.ferried, kind), isFerried ? &pool : nullptr);
}

std::int32_t progressCount(std::int64_t tiles) {
    return static_cast<std::int32_t>(std::min<std::int64_t>(tiles, std::numeric_limits<std::int32_t>::max()));
}

// Tells host and user how far the run is; false if one of them wants it to end.
bool reportTile(const Run& run, std::int64_t tilesDone, ProgressDialog* progress) {
    const std::int32_t done = progressCount(tilesDone), total = progressCount(run.plan.count());
    if (gFilterRecord->progressProc) gFilterRecord->progressProc(done, total);
    setProgress(progress, done, total);
    const bool aborted = gFilterRecord->abortProc && gFilterRecord->abortProc();
    if (!aborted && pumpProgress(progress)) return true;
    *gResult = userCanceledErr;
    return false;
}

// Every tile in turn, row by row from the top; false once the result location holds an error.
bool runTiles(Run& run, ProgressDialog* progress, WorkerPool& pool) {
    std::int64_t tilesDone = 0;
    for (std::int32_t row = 0; row < run.plan.rows; ++row) {
        for (std::int32_t column = 0; column < run.plan.columns; ++column) {
            const Rect tile = run.plan.tile(column, row);
            const Rect need =
                requiredInputRect(tile, run.plan.imageWidth, run.plan.imageHeight, run.settings);
            if (!requestTile(run, need, tile)) return false;
            renderTile(run, need, tile, pool);
            if (!reportTile(run, ++tilesDone, progress)) return false;
        }
    }
    return true;
}

}  // namespace

Rect TilePlan::tile(std::int32_t column, std::int32_t row) const {
    const std::int32_t x0 = column * tileWidth, y0 = row * tileHeight;
    return {x0, y0, std::min(x0 + tileWidth, imageWidth), std::min(y0 + tileHeight, imageHeight)};
}

TilePlan planTiles(std::int32_t imageWidth, std::int32_t imageHeight, std::int32_t hostTileWidth,
                   std::int32_t hostTileHeight, const RenderSettings& settings) {
    const float margin = effectMargin(settings);
    const std::int32_t cap = margin > 640.0f ? 2048 : margin > 256.0f ? 1024 : 512;
    TilePlan plan;
    plan.imageWidth = imageWidth;
    plan.imageHeight = imageHeight;
    plan.tileWidth = std::min(hostTileWidth, cap);
    plan.tileHeight = std::min(hostTileHeight, cap);
    plan.columns = divideUp(imageWidth, plan.tileWidth);
    plan.rows = divideUp(imageHeight, plan.tileHeight);
    return plan;
}

bool hostBuffersMatch(const Rect& needRect, const Rect& tileRect) {
    const FilterRecord& r = *gFilterRecord;
    if ((r.depth != 8 && r.depth != 16) || !r.inData || !r.outData) return false;
    const std::int64_t pixelBytes = r.depth == 16 ? 6 : 3;
    const HostRect in = getInRect(), out = getOutRect();
    return widthOf(in) >= needRect.width() && heightOf(in) >= needRect.height() &&
           widthOf(out) >= tileRect.width() && heightOf(out) >= tileRect.height() &&
           r.inRowBytes >= needRect.width() * pixelBytes && r.outRowBytes >= tileRect.width() * pixelBytes;
}

void applyFilter() {
    const ReservedBlocksScope memory;
    Run run;
    if (!prepareRun(run)) return;
    ProgressScope progress;
    setProgress(progress.dialog, 0, progressCount(run.plan.count()));
    WorkerPool pool(defaultWorkerCount());
    const bool complete = runTiles(run, progress.dialog, pool);
    progress.close();
    if (!complete) return;
    setInRect({});
    setOutRect({});
    // maskRect stays: with a selection the host comes back with one Continue call, which empties it.
}

}  // namespace veil
