#pragma once

// Asks the processor for memory before it is needed, where it can't see by itself what comes next, as at the
// begin of each row; above all for what another core holds, which takes longer than memory does.

#include <cstddef>

namespace veil {

enum class Access { read, write };

/// `bytes` from `memory` on; they need not exist. What is read comes as far as the second level, which waits
/// for more lines at once than the first.
template <Access access = Access::read>
inline void expect(const void* memory, std::size_t bytes) {
    constexpr std::size_t kLine = 64;
    const auto* from = static_cast<const unsigned char*>(memory);
    for (std::size_t i = 0; i < bytes; i += kLine)
        __builtin_prefetch(from + i, access == Access::write ? 1 : 0, access == Access::write ? 3 : 2);
}

}  // namespace veil
