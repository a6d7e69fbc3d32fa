#pragma once

// How rows of the image plane come into the engine and leave it. A tile is never held as floats: samples stay
// as the host has them, and the kernels that read and write rows convert them.

#include <functional>
#include <utility>

#include "engine/image.h"
#include "engine/kernels/kernel_table.h"

namespace veil {

/// Pixels of the image plane to read.
struct SourceRows {
    /// The address of `count` interleaved RGB pixels of row `y` from column `x` on, all inside `rect`; they
    /// stay put. Any thread of a pool, several at once. What it throws leaves the pass.
    using At = std::function<const void*(int x, int y, int count)>;
    /// Called for rows `first` up to `end` before another thread than the pass's own reads them, on that one
    /// and from the top on; rows may come twice. May be empty.
    using Bring = std::function<void(int first, int end)>;

    Rect rect;
    SampleKind kind = SampleKind::floats;
    At at;
    Bring bring;

    SourceRows() = default;
    SourceRows(const Rect& r, SampleKind sampleKind, At address, Bring bringer = {})
        : rect(r), kind(sampleKind), at(std::move(address)), bring(std::move(bringer)) {}
    /// Interleaved floats of `r` in memory.
    SourceRows(const Rect& r, const float* pixels)
        : rect(r), at([r, pixels](int x, int y, int) {
              const auto width = static_cast<std::size_t>(r.width());
              return pixels +
                     (static_cast<std::size_t>(y - r.y0) * width + static_cast<std::size_t>(x - r.x0)) * 3;
          }) {}
};

/// Where finished rows go.
struct OutputRows {
    /// The address that row `y` is written to, interleaved RGB of the output rectangle's columns. Each row is
    /// asked for once, on any thread of the pool.
    using At = std::function<void*(int y)>;
    /// Called for rows before another thread than the pass's own writes them and after it has, on that one.
    /// May be empty.
    using Event = std::function<void(int first, int end)>;

    SampleKind kind = SampleKind::floats;
    At at;
    Event prepare = {}, collect = {};
};

}  // namespace veil
