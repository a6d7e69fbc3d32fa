// Photographs: libvips decodes and encodes pixels, colour profile and resolution.

#include <vips/vips.h>

#include <algorithm>
#include <fstream>
#include <utility>

#include "standin/veil/errors.h"
#include "standin/veil/picture_file.h"
#include "standin/veil/picture_metadata.h"

namespace standin {

namespace {

struct ObjectRelease {
    void operator()(void* object) const { g_object_unref(object); }
};
using VipsHolder = std::unique_ptr<VipsImage, ObjectRelease>;

struct MemoryRelease {
    void operator()(void* memory) const { g_free(memory); }
};

/// The bytes of an encoded file.
struct Encoded {
    std::unique_ptr<void, MemoryRelease> bytes;
    std::size_t size = 0;
};

constexpr int kJpegQuality = 95;
constexpr double kNoResolution = 1.0, kPngNoResolution = 2.834;  // what libvips says of files without one
constexpr std::size_t kMaxWebpHead = 1 << 16;

/// What libvips says, in one line, and forgotten there.
std::string vipsReason() {
    std::string text = vips_error_buffer();
    vips_error_clear();
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at))
        text.replace(at, 1, "; ");
    return text.empty() ? "unknown reason" : text;
}

VipsHolder openPhotograph(const std::filesystem::path& file, FileFormat format) {
    VipsImage* opened = nullptr;
    const std::string name = file.string();
    const auto load = [&](auto loader) {
        return loader(name.c_str(), &opened, "access", VIPS_ACCESS_SEQUENTIAL, "fail_on", VIPS_FAIL_ON_ERROR,
                      static_cast<void*>(nullptr));
    };
    const int failed = format == FileFormat::png    ? load(vips_pngload)
                       : format == FileFormat::jpeg ? load(vips_jpegload)
                       : format == FileFormat::tiff ? load(vips_tiffload)
                                                    : load(vips_webpload);
    if (failed) throw CommandError("can't be decoded: " + vipsReason());
    return VipsHolder(opened);
}

/// Refuses everything but grey and RGB in 8 or 16 bits.
void checkKind(VipsImage* image) {
    const VipsInterpretation kind = vips_image_get_interpretation(image);
    const VipsBandFormat samples = vips_image_get_format(image);
    const int bands = vips_image_get_bands(image);
    if (kind == VIPS_INTERPRETATION_CMYK)
        throw CommandError("is a CMYK picture; only RGB and grey are filtered");
    if (kind == VIPS_INTERPRETATION_LAB || kind == VIPS_INTERPRETATION_LABS ||
        kind == VIPS_INTERPRETATION_LABQ) {
        throw CommandError("is a Lab picture; only RGB and grey are filtered");
    }
    if (samples == VIPS_FORMAT_FLOAT || samples == VIPS_FORMAT_DOUBLE) {
        throw CommandError("has floating-point samples; only 8 and 16 bits are filtered");
    }
    const bool whole = samples == VIPS_FORMAT_UCHAR || samples == VIPS_FORMAT_USHORT;
    const bool grey = kind == VIPS_INTERPRETATION_B_W || kind == VIPS_INTERPRETATION_GREY16;
    const bool colour = kind == VIPS_INTERPRETATION_sRGB || kind == VIPS_INTERPRETATION_RGB ||
                        kind == VIPS_INTERPRETATION_RGB16;
    const int extra = bands - (grey ? 1 : 3);
    if (!whole || !(grey || colour) || extra < 0 || extra > 1 ||
        vips_image_get_coding(image) != VIPS_CODING_NONE) {
        throw CommandError(std::string("has an unsupported kind of pixels (") +
                           vips_enum_nick(VIPS_TYPE_INTERPRETATION, kind) + ", " +
                           vips_enum_nick(VIPS_TYPE_BAND_FORMAT, samples) + ", " + std::to_string(bands) +
                           " channels); only 8 and 16 bits, RGB and grey are filtered");
    }
    if (vips_image_get_n_pages(image) > 1) {
        throw CommandError("holds " + std::to_string(vips_image_get_n_pages(image)) +
                           " pictures; only files with one picture are filtered");
    }
}

/// Spreads the file's channels, 1 or 2 grey ones or 3 or 4, over the image's planes.
template <typename Sample>
void spreadRow(const void* source, int channels, Image& image, int y) {
    const Sample* in = static_cast<const Sample*>(source);
    Sample* out = reinterpret_cast<Sample*>(image.row(y));
    const int green = channels < 3 ? 0 : 1, blue = channels < 3 ? 0 : 2;
    for (int x = 0; x < image.width; ++x, in += channels, out += image.planes) {
        out[0] = in[0];
        out[1] = in[green];
        out[2] = in[blue];
        if (image.planes == 4) out[3] = in[channels - 1];
    }
}

/// Decodes in strips, straight into the picture, so that its pixels are held once.
void decodeInto(Image& image, VipsImage* source, const std::function<bool()>& stop) {
    constexpr int kStrip = 64;
    const int channels = vips_image_get_bands(source);
    const std::unique_ptr<VipsRegion, ObjectRelease> region(vips_region_new(source));
    for (int top = 0; top < image.height; top += kStrip) {
        if (stop()) throw CommandError("interrupted", ExitStatus::interrupted);
        const VipsRect strip{0, top, image.width, std::min(kStrip, image.height - top)};
        if (vips_region_prepare(region.get(), &strip))
            throw CommandError("can't be decoded: " + vipsReason());
        for (int y = top; y < top + strip.height; ++y) {
            const void* row = VIPS_REGION_ADDR(region.get(), 0, y);
            if (image.depth == 8)
                spreadRow<std::uint8_t>(row, channels, image, y);
            else
                spreadRow<std::uint16_t>(row, channels, image, y);
        }
    }
}

void takeHeader(Picture& picture, VipsImage* source) {
    const void* profile = nullptr;
    std::size_t size = 0;
    if (vips_image_get_typeof(source, VIPS_META_ICC_NAME) != 0 &&
        vips_image_get_blob(source, VIPS_META_ICC_NAME, &profile, &size) == 0) {
        const std::byte* bytes = static_cast<const std::byte*>(profile);
        picture.iccProfile.assign(bytes, bytes + size);
    }
    const char* unit = nullptr;
    if (vips_image_get_typeof(source, VIPS_META_RESOLUTION_UNIT) != 0 &&
        vips_image_get_string(source, VIPS_META_RESOLUTION_UNIT, &unit) == 0) {
        picture.resolutionUnit = unit;
    }
    const double x = vips_image_get_xres(source), y = vips_image_get_yres(source);
    const double none = picture.format == FileFormat::png ? kPngNoResolution : kNoResolution;
    if (x != none || y != none || !picture.resolutionUnit.empty()) {
        picture.pixelsPerMmX = x;
        picture.pixelsPerMmY = y;
    }
}

/// Whether a WebP file stores its picture without loss: the kind of chunk tells.
bool isLosslessWebp(const std::filesystem::path& file) {
    std::string head(kMaxWebpHead, '\0');
    std::ifstream in(file, std::ios::binary);
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    const std::size_t lossless = head.find("VP8L"), lossy = head.find("VP8 ");
    return lossless < lossy;
}

VipsInterpretation interpretationFor(int channels, int depth) {
    if (channels < 3) return depth == 8 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_GREY16;
    return depth == 8 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_RGB16;
}

/// The picture's samples as an image of libvips, which borrows them, with profile and resolution.
VipsHolder wrapSamples(const Picture& picture, int channels) {
    const Image& image = picture.image;
    const std::size_t size = static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) *
                             static_cast<std::size_t>(channels) * image.sampleBytes();
    const VipsHolder bare(
        vips_image_new_from_memory(image.samples.data(), size, image.width, image.height, channels,
                                   image.depth == 8 ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT));
    VipsImage* dressed = nullptr;
    if (!bare || vips_copy(bare.get(), &dressed, "interpretation", interpretationFor(channels, image.depth),
                           "xres", picture.pixelsPerMmX.value_or(kNoResolution), "yres",
                           picture.pixelsPerMmY.value_or(kNoResolution), static_cast<void*>(nullptr))) {
        throw CommandError("can't be encoded: " + vipsReason());
    }
    VipsHolder result(dressed);
    if (!picture.iccProfile.empty()) {
        vips_image_set_blob_copy(dressed, VIPS_META_ICC_NAME, picture.iccProfile.data(),
                                 picture.iccProfile.size());
    }
    if (!picture.resolutionUnit.empty()) {
        vips_image_set_string(dressed, VIPS_META_RESOLUTION_UNIT, picture.resolutionUnit.c_str());
    }
    return result;
}

void killIfStopped(VipsImage* image, void*, void* stop) {
    if ((*static_cast<const std::function<bool()>*>(stop))()) vips_image_set_kill(image, TRUE);
}

Encoded encode(const Picture& picture, int channels, FileFormat format, const std::function<bool()>& stop) {
    const VipsHolder image = wrapSamples(picture, channels);
    vips_image_set_progress(image.get(), TRUE);
    g_signal_connect(image.get(), "eval", G_CALLBACK(killIfStopped),
                     const_cast<std::function<bool()>*>(&stop));
    void* bytes = nullptr;
    std::size_t size = 0;
    void* const end = nullptr;
    int failed = 1;
    switch (format) {
        case FileFormat::png:
            failed = vips_pngsave_buffer(image.get(), &bytes, &size, end);
            break;
        case FileFormat::jpeg:
            failed = vips_jpegsave_buffer(image.get(), &bytes, &size, "Q", kJpegQuality, "optimize_coding",
                                          TRUE, "subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF, end);
            break;
        case FileFormat::tiff:
            failed = vips_tiffsave_buffer(image.get(), &bytes, &size, "compression",
                                          VIPS_FOREIGN_TIFF_COMPRESSION_LZW, "predictor",
                                          VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL, end);
            break;
        case FileFormat::webp:
            failed = vips_webpsave_buffer(image.get(), &bytes, &size, "Q", kJpegQuality, "lossless",
                                          picture.losslessWebp ? TRUE : FALSE, "alpha_q", 100, end);
            break;
        default:
            break;
    }
    Encoded encoded{std::unique_ptr<void, MemoryRelease>(bytes), size};
    if (stop()) throw CommandError("interrupted", ExitStatus::interrupted);
    if (failed) throw CommandError("can't be encoded: " + vipsReason());
    return encoded;
}

}  // namespace

bool photographsSupported() { return true; }

Picture readPhotograph(const std::filesystem::path& file, FileFormat format,
                       const std::function<bool()>& stop) {
    const VipsHolder source = openPhotograph(file, format);
    checkKind(source.get());
    Picture picture;
    const int channels = vips_image_get_bands(source.get());
    picture.format = format;
    picture.grey = channels < 3;
    picture.losslessWebp = format == FileFormat::webp && isLosslessWebp(file);
    picture.image = makeImage(vips_image_get_width(source.get()), vips_image_get_height(source.get()),
                              channels % 2 == 0 ? 4 : 3,
                              vips_image_get_format(source.get()) == VIPS_FORMAT_UCHAR ? 8 : 16);
    picture.white = picture.image.depth == 8 ? kWhite8 : kWhiteFile;
    takeHeader(picture, source.get());
    decodeInto(picture.image, source.get(), stop);
    takeMetadata(picture, file);
    return picture;
}

void writePhotograph(Picture& picture, int channels, const std::filesystem::path& file, FileFormat format,
                     const std::function<bool()>& stop) {
    const Encoded encoded = encode(picture, channels, format, stop);
    picture.image.samples = {};
    writeWithMetadata(picture, {static_cast<unsigned char*>(encoded.bytes.get()), encoded.size}, file,
                      format);
}

PictureLibraries::PictureLibraries(const char* program) {
    if (VIPS_INIT(program)) throw CommandError("libvips does not start: " + vipsReason());
    vips_cache_set_max(0);  // each file is read once
    // What matters of their warnings comes back as errors.
    g_log_set_handler(
        "VIPS", G_LOG_LEVEL_MASK, [](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
    startMetadataLibrary();
}

PictureLibraries::~PictureLibraries() {
    endMetadataLibrary();
    vips_shutdown();
}

}  // namespace standin
