#include "engine/kernels/samples.h"

// Rows of a host's samples from and to floats.

namespace veil {

template <class Kind>
static void toFloats(const unsigned char* in, float* out, int count) {
    forLanes(count, [&](int i, int n) VEIL_ALWAYS_INLINE { store(out + i, Kind::load(in, i, n), n); });
}

template <class Kind>
static void fromFloats(const float* in, unsigned char* out, int count) {
    forLanes(count, [&](int i, int n) VEIL_ALWAYS_INLINE { Kind::store(out, i, load(in + i, n), n); });
}

}  // namespace veil
