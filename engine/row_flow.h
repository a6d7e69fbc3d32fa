#pragma once

// How rows of the image plane come into the engine and leave it. A tile is never held as floats: rows are
// made where they are needed and used while they are in the cache, and the depth of the samples stays
// outside.

#include <functional>

#include "engine/image.h"

namespace veil {

/// Pixels of the image plane to read.
struct SourceRows {
    /// `count` interleaved RGB pixels of row `y` from column `x` on, all inside `rect`: the address of
    /// samples that stay put, or `scratch`, filled. Any thread of a pool, several at once. What it throws
    /// leaves the pass.
    using Read = std::function<const float*(int x, int y, int count, float* scratch)>;

    Rect rect;
    Read read;

    SourceRows() = default;
    SourceRows(const Rect& r, Read reader) : rect(r), read(std::move(reader)) {}
    /// Interleaved samples of `r` in memory.
    SourceRows(const Rect& r, const float* pixels)
        : rect(r), read([r, pixels](int x, int y, int, float*) {
              const auto width = static_cast<std::size_t>(r.width());
              return pixels +
                     (static_cast<std::size_t>(y - r.y0) * width + static_cast<std::size_t>(x - r.x0)) * 3;
          }) {}
};

/// Takes the finished row `y`, interleaved RGB of the output rectangle's columns, which it must copy. Each
/// row comes once, on any thread of the pool.
using OutputRows = std::function<void(int y, const float* pixels)>;

}  // namespace veil
