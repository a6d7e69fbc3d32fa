#pragma once

// How rows of the image plane come into the engine and leave it. A tile is never held as floats: rows are
// made where they are needed and used while they are in the cache, and the depth of the samples stays
// outside.

#include <functional>
#include <utility>

#include "engine/image.h"

namespace veil {

/// Pixels of the image plane to read.
struct SourceRows {
    /// `count` interleaved RGB pixels of row `y` from column `x` on, all inside `rect`: the address of
    /// samples that stay put, or `scratch`, filled. Any thread of a pool, several at once. What it throws
    /// leaves the pass.
    using Read = std::function<const float*(int x, int y, int count, float* scratch)>;
    /// Called for rows `first` up to `end` before another thread than the pass's own reads them, on that one
    /// and from the top on; rows may come twice. May be empty.
    using Bring = std::function<void(int first, int end)>;

    Rect rect;
    Read read;
    Bring bring;

    SourceRows() = default;
    SourceRows(const Rect& r, Read reader, Bring bringer = {})
        : rect(r), read(std::move(reader)), bring(std::move(bringer)) {}
    /// Interleaved samples of `r` in memory.
    SourceRows(const Rect& r, const float* pixels)
        : rect(r), read([r, pixels](int x, int y, int, float*) {
              const auto width = static_cast<std::size_t>(r.width());
              return pixels +
                     (static_cast<std::size_t>(y - r.y0) * width + static_cast<std::size_t>(x - r.x0)) * 3;
          }) {}
};

/// Where finished rows go.
struct OutputRows {
    /// Takes row `y`, interleaved RGB of the output rectangle's columns, which it must copy. Each row comes
    /// once, on any thread of the pool.
    using Store = std::function<void(int y, const float* pixels)>;
    /// Called for rows that another thread than the pass's own has stored, on that one. May be empty.
    using Collect = std::function<void(int first, int end)>;

    Store store;
    Collect collect;

    template <class Callable>
    OutputRows(Callable storer, Collect collector = {})
        : store(std::move(storer)), collect(std::move(collector)) {}
};

}  // namespace veil
