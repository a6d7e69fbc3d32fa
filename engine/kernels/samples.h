#pragma once

// Vectors of samples from and to the ways in which they are stored. As in lanes.h everything is static and
// inlined.

#include "engine/kernels/lanes.h"

namespace veil {

/// Fetches `bytes` of a row from `first` on, where all parts of the row are fetched in turn: lines of the
/// cache that lie across parts come with one of them. What is read comes as far as the second level, which
/// waits for more lines at once than the first.
template <bool isWritten, int bytes>
VEIL_ALWAYS_INLINE static inline void fetchPart(const void* row, int first) {
    constexpr int kLine = 64;
    if (bytes < kLine / 2 && first % kLine >= bytes) return;
    for (int i = 0; i < bytes; i += kLine)
        __builtin_prefetch(static_cast<const char*>(row) + first + i, isWritten ? 1 : 0, isWritten ? 3 : 2);
}

// 1 / 255 as a part of 16 bits, whose product with a byte is exact, and the rest: the sum of the two products
// is in / 255.0f for every byte, without the division.
constexpr float kByteHigh = 0x1.0101p-8f, kByteLow = 0x1.010102p-32f;

// Integers of 8 or 16 bits, at any address, to and from lanes; those that are stored must fit.

VEIL_ALWAYS_INLINE static inline Ints widenBytes(const unsigned char* from) {
#if defined(__AVX512F__)
    return reinterpret_cast<Ints>(
        _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
#elif defined(__AVX2__)
    return reinterpret_cast<Ints>(
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
#elif defined(__x86_64__)
    int four;
    __builtin_memcpy(&four, from, sizeof(four));
    const __m128i zero = _mm_setzero_si128();
    return reinterpret_cast<Ints>(_mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(four), zero), zero));
#else
    Ints v;
    for (int k = 0; k < kLanes; ++k) v[k] = from[k];
    return v;
#endif
}

VEIL_ALWAYS_INLINE static inline void narrowToBytes(Ints v, unsigned char* to) {
#if defined(__AVX512F__)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm512_cvtepi32_epi8(reinterpret_cast<__m512i>(v)));
#elif defined(__AVX2__)
    const __m256i all = reinterpret_cast<__m256i>(v);
    const __m128i words = _mm_packus_epi32(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(words, words));
#elif defined(__x86_64__)
    const __m128i words = _mm_packs_epi32(reinterpret_cast<__m128i>(v), reinterpret_cast<__m128i>(v));
    const int four = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    __builtin_memcpy(to, &four, sizeof(four));
#else
    for (int k = 0; k < kLanes; ++k) to[k] = static_cast<unsigned char>(v[k]);
#endif
}

VEIL_ALWAYS_INLINE static inline Ints widenWords(const unsigned char* from) {
#if defined(__AVX512F__)
    return reinterpret_cast<Ints>(
        _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))));
#elif defined(__AVX2__)
    return reinterpret_cast<Ints>(
        _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
#elif defined(__x86_64__)
    return reinterpret_cast<Ints>(
        _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)), _mm_setzero_si128()));
#else
    Ints v;
    for (int k = 0; k < kLanes; ++k) {
        unsigned short word;
        __builtin_memcpy(&word, from + k * 2, sizeof(word));
        v[k] = word;
    }
    return v;
#endif
}

VEIL_ALWAYS_INLINE static inline void narrowToWords(Ints v, unsigned char* to) {
#if defined(__AVX512F__)
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtepi32_epi16(reinterpret_cast<__m512i>(v)));
#elif defined(__AVX2__)
    const __m256i all = reinterpret_cast<__m256i>(v);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                     _mm_packus_epi32(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1)));
#elif defined(__x86_64__)
    // This set packs signed words only.
    const __m128i low = reinterpret_cast<__m128i>(v - 0x8000);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to),
                     _mm_xor_si128(_mm_packs_epi32(low, low), _mm_set1_epi16(-0x8000)));
#else
    for (int k = 0; k < kLanes; ++k) {
        const auto word = static_cast<unsigned short>(v[k]);
        __builtin_memcpy(to + k * 2, &word, sizeof(word));
    }
#endif
}

/// The first `lanes` integers of `size` bytes, zeros in the lanes behind them.
template <int size, class Widen>
VEIL_ALWAYS_INLINE static inline Ints loadIntegers(const void* row, int i, int lanes, Widen widen) {
    const unsigned char* from = static_cast<const unsigned char*>(row) + i * size;
    if (lanes >= kLanes) return widen(from);
    unsigned char copy[kLanes * size] = {};
    for (int k = 0; k < lanes * size; ++k) copy[k] = from[k];
    return widen(copy);
}

template <int size, class Narrow>
VEIL_ALWAYS_INLINE static inline void storeIntegers(void* row, int i, Ints v, int lanes, Narrow narrow) {
    unsigned char* to = static_cast<unsigned char*>(row) + i * size;
    if (lanes >= kLanes) {
        narrow(v, to);
        return;
    }
    unsigned char copy[kLanes * size];
    narrow(v, copy);
    for (int k = 0; k < lanes * size; ++k) to[k] = copy[k];
}

/// Limited to 0 to 1; NaN becomes 0, since its conversion to an integer has no defined result.
VEIL_ALWAYS_INLINE static inline Floats storable(Floats v) {
    return smaller(larger(v, all(0.0f)), all(1.0f));
}

/// The pixels from `i` on, of samples that `Kind::load` gives.
template <class Kind>
VEIL_ALWAYS_INLINE static inline Pixels splitOf(const void* row, int i, int lanes) {
    const int samples = lanes * 3;
    return split(Kind::load(row, i * 3, lanesFrom(samples, 0)),
                 Kind::load(row, i * 3 + kLanes, lanesFrom(samples, kLanes)),
                 Kind::load(row, i * 3 + 2 * kLanes, lanesFrom(samples, 2 * kLanes)));
}

/// The other way; `put` stores a vector of samples at an index of the row.
template <class Put>
VEIL_ALWAYS_INLINE static inline void joinTo(const Pixels& p, int i, int lanes, Put put) {
    const int samples = lanes * 3;
    Floats v0, v1, v2;
    join(p, v0, v1, v2);
    put(i * 3, v0, lanesFrom(samples, 0));
    put(i * 3 + kLanes, v1, lanesFrom(samples, kLanes));
    put(i * 3 + 2 * kLanes, v2, lanesFrom(samples, 2 * kLanes));
}

// The kinds. `load` gives samples from `i` on, and `store` takes anything. `loadUnits` gives samples,
// `pixels` a vector of pixels, in a unit of the kind's own, a power of two, so that nothing is rounded: white
// is 1 / kUnit. `storePixels` takes what a glow of 0 to 1 makes of such pixels, limits it to 0 to 1 and
// stores it. `notNegative` limits their luma.

struct FloatSamples {
    static constexpr SampleKind kKind = SampleKind::floats;
    static constexpr float kUnit = 1.0f;

    VEIL_ALWAYS_INLINE static Floats load(const void* row, int i, int lanes) {
        return veil::load(static_cast<const float*>(row) + i, lanes);
    }
    VEIL_ALWAYS_INLINE static Floats loadUnits(const void* row, int i, int lanes) {
        return load(row, i, lanes);
    }
    VEIL_ALWAYS_INLINE static void store(void* row, int i, Floats v, int lanes) {
        veil::store(static_cast<float*>(row) + i, v, lanes);
    }
    VEIL_ALWAYS_INLINE static Pixels pixels(const void* row, int i) {
        return loadPixels(static_cast<const float*>(row) + i * 3, kLanes);
    }
    VEIL_ALWAYS_INLINE static void storePixels(void* row, int i, const Pixels& p) {
        veil::storePixels(static_cast<float*>(row) + i * 3, {saturate(p.r), saturate(p.g), saturate(p.b)},
                          kLanes);
    }
    VEIL_ALWAYS_INLINE static Floats notNegative(Floats v) { return larger(all(0.0f), v); }
};

#if defined(__AVX512F__)

// A byte four times over, as an unsigned integer, is v / 255 in units of 2^-32, cut off. What lies behind the
// 24 bits of a float begins with the byte's own first bit, which is set, and goes on for ever: so v / 255 is
// always rounded up, and one conversion does what two products and a sum do elsewhere.
struct ByteSamples {
    static constexpr SampleKind kKind = SampleKind::bytes;
    static constexpr float kUnit = 0x1p-32f;

    VEIL_ALWAYS_INLINE static Floats fromRepeated(__m512i bytes) {
        return _mm512_cvt_roundepu32_ps(bytes, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC);
    }
    VEIL_ALWAYS_INLINE static Floats load(const void* row, int i, int lanes) {
        return loadUnits(row, i, lanes) * kUnit;
    }
    VEIL_ALWAYS_INLINE static Floats loadUnits(const void* row, int i, int lanes) {
        const unsigned char* from = static_cast<const unsigned char*>(row) + i;
        const auto mask = static_cast<__mmask16>(lanes >= kLanes ? 0xFFFF : (1u << lanes) - 1);
        const __m512i all =
            _mm512_broadcast_i32x4(lanes >= kLanes ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(from))
                                                   : _mm_maskz_loadu_epi8(mask, from));
        const __m512i order = _mm512_set_epi32(0x0F0F0F0F, 0x0E0E0E0E, 0x0D0D0D0D, 0x0C0C0C0C, 0x0B0B0B0B,
                                               0x0A0A0A0A, 0x09090909, 0x08080808, 0x07070707, 0x06060606,
                                               0x05050505, 0x04040404, 0x03030303, 0x02020202, 0x01010101, 0);
        return fromRepeated(_mm512_shuffle_epi8(all, order));
    }
    VEIL_ALWAYS_INLINE static void store(void* row, int i, Floats v, int lanes) {
        storeIntegers<1>(row, i, __builtin_convertvector(storable(v) * 255.0f + 0.5f, Ints), lanes,
                         narrowToBytes);
    }
    VEIL_ALWAYS_INLINE static Pixels pixels(const void* row, int i) {
        const unsigned char* from = static_cast<const unsigned char*>(row) + i * 3;
        const auto four = [from](int at) VEIL_ALWAYS_INLINE {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + at));
        };
        // Four pixels in each quarter; the last begins four bytes early, so that nothing behind it is read.
        __m512i v = _mm512_castsi128_si512(four(0));
        v = _mm512_inserti32x4(v, four(12), 1);
        v = _mm512_inserti32x4(v, four(24), 2);
        v = _mm512_inserti32x4(v, four(32), 3);
        const auto channel = [v](int c) VEIL_ALWAYS_INLINE -> Floats {
            const __m512i order =
                _mm512_set_epi32(0x0D0D0D0D, 0x0A0A0A0A, 0x07070707, 0x04040404, 0x09090909, 0x06060606,
                                 0x03030303, 0x00000000, 0x09090909, 0x06060606, 0x03030303, 0x00000000,
                                 0x09090909, 0x06060606, 0x03030303, 0x00000000);
            return fromRepeated(
                _mm512_shuffle_epi8(v, _mm512_add_epi8(order, _mm512_set1_epi8(static_cast<char>(c)))));
        };
        return {channel(0), channel(1), channel(2)};
    }
    VEIL_ALWAYS_INLINE static void storePixels(void* row, int i, const Pixels& p) {
        const auto rounded = [](Floats v) VEIL_ALWAYS_INLINE {
            return reinterpret_cast<__m512i>(__builtin_convertvector(v * 255.0f + 0.5f, Ints));
        };
        const __m512i r = rounded(p.r), g = _mm512_slli_epi32(rounded(p.g), 8),
                      b = _mm512_slli_epi32(rounded(p.b), 16);
        // Three bytes of every four, first within the quarters, then of the quarters.
        const __m512i joined = _mm512_or_si512(_mm512_or_si512(r, g), b);
        const __m512i within =
            _mm512_broadcast_i32x4(_mm_set_epi8(-1, -1, -1, -1, 14, 13, 12, 10, 9, 8, 6, 5, 4, 2, 1, 0));
        const __m512i quarters = _mm512_set_epi32(15, 11, 7, 3, 14, 13, 12, 10, 9, 8, 6, 5, 4, 2, 1, 0);
        const __m512i v = _mm512_permutexvar_epi32(quarters, _mm512_shuffle_epi8(joined, within));
        unsigned char* to = static_cast<unsigned char*>(row) + i * 3;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_castsi512_si256(v));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 32), _mm512_extracti32x4_epi32(v, 2));
    }
    VEIL_ALWAYS_INLINE static Floats notNegative(Floats v) { return v; }
};

#else

struct ByteSamples {
    static constexpr SampleKind kKind = SampleKind::bytes;
    static constexpr float kUnit = 1.0f;

    VEIL_ALWAYS_INLINE static Floats load(const void* row, int i, int lanes) {
        const Floats v = __builtin_convertvector(loadIntegers<1>(row, i, lanes, widenBytes), Floats);
        return v * kByteHigh + v * kByteLow;
    }
    VEIL_ALWAYS_INLINE static Floats loadUnits(const void* row, int i, int lanes) {
        return load(row, i, lanes);
    }
    VEIL_ALWAYS_INLINE static void storeUnit(void* row, int i, Floats v, int lanes) {
        storeIntegers<1>(row, i, __builtin_convertvector(v * 255.0f + 0.5f, Ints), lanes, narrowToBytes);
    }
    VEIL_ALWAYS_INLINE static void store(void* row, int i, Floats v, int lanes) {
        storeUnit(row, i, storable(v), lanes);
    }
    VEIL_ALWAYS_INLINE static Pixels pixels(const void* row, int i) {
        return splitOf<ByteSamples>(row, i, kLanes);
    }
    VEIL_ALWAYS_INLINE static void storePixels(void* row, int i, const Pixels& p) {
        joinTo(p, i, kLanes, [row](int at, Floats v, int n) VEIL_ALWAYS_INLINE { storeUnit(row, at, v, n); });
    }
    VEIL_ALWAYS_INLINE static Floats notNegative(Floats v) { return v; }
};

#endif

struct WordSamples {
    static constexpr SampleKind kKind = SampleKind::words;
    static constexpr float kUnit = 0x1p-15f;

    struct Whole {  // the words as they are
        VEIL_ALWAYS_INLINE static Floats load(const void* row, int i, int lanes) {
            return __builtin_convertvector(loadInts(row, i, lanes), Floats);
        }
    };
    VEIL_ALWAYS_INLINE static Ints loadInts(const void* row, int i, int lanes) {
        return loadIntegers<2>(row, i, lanes, widenWords);
    }
    VEIL_ALWAYS_INLINE static Floats load(const void* row, int i, int lanes) {
        return Whole::load(row, i, lanes) * kUnit;
    }
    VEIL_ALWAYS_INLINE static void store(void* row, int i, Floats v, int lanes) {
        storeIntegers<2>(row, i, __builtin_convertvector(storable(v) * 32768.0f + 0.5f, Ints), lanes,
                         narrowToWords);
    }
    VEIL_ALWAYS_INLINE static Pixels pixels(const void* row, int i) { return splitOf<Whole>(row, i, kLanes); }
    // A host's words may be above white.
    VEIL_ALWAYS_INLINE static void storePixels(void* row, int i, const Pixels& p) {
        joinTo(p, i, kLanes, [row](int at, Floats v, int n) VEIL_ALWAYS_INLINE { store(row, at, v, n); });
    }
    VEIL_ALWAYS_INLINE static Floats notNegative(Floats v) { return v; }
};

}  // namespace veil
