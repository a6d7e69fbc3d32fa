// The samples of a host, as bytes or 16-bit words, from and to floats.

namespace veil {

// 1 / 255 as a part of 16 bits, whose product with a byte is exact, and the rest: the sum of the two products
// is in / 255.0f for every byte, without the division.
static constexpr float kByteHigh = 0x1.0101p-8f, kByteLow = 0x1.010102p-32f;

static void bytesToFloats(const unsigned char* in, float* out, int count) {
    for (int i = 0; i < count; ++i) {
        const float v = static_cast<float>(static_cast<int>(in[i]));
        out[i] = v * kByteHigh + v * kByteLow;
    }
}

static void wordsToFloats(const unsigned char* in, float* out, int count) {
    for (int i = 0; i < count; ++i) {
        unsigned short sample;
        __builtin_memcpy(&sample, in + i * 2, sizeof(sample));
        out[i] = static_cast<float>(static_cast<int>(sample)) * 3.0517578125e-05f;  // 2 to the power of -15
    }
}

// NaN becomes 0, since its conversion to an integer has no defined result.
static inline float storable(float v) {
    v = v > 0.0f ? v : 0.0f;
    return v > 1.0f ? 1.0f : v;
}

static void floatsToBytes(const float* in, unsigned char* out, int count) {
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<unsigned char>(static_cast<int>(storable(in[i]) * 255.0f + 0.5f));
}

static void floatsToWords(const float* in, unsigned char* out, int count) {
    for (int i = 0; i < count; ++i) {
        const auto sample = static_cast<unsigned short>(static_cast<int>(storable(in[i]) * 32768.0f + 0.5f));
        __builtin_memcpy(out + i * 2, &sample, sizeof(sample));
    }
}

}  // namespace veil
