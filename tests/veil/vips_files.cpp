#include "tests/veil/vips_files.h"

#include <vips/vips.h>

#include <memory>
#include <stdexcept>

namespace {

struct Release {
    void operator()(VipsImage* image) const { g_object_unref(image); }
};
using Holder = std::unique_ptr<VipsImage, Release>;

constexpr void* kEnd = nullptr;

[[maybe_unused]] const int kStarted = vips_init("test");

Holder checked(VipsImage* image) {
    if (image == nullptr) throw std::runtime_error(vips_error_buffer());
    return Holder(image);
}

void check(int failed) {
    if (failed != 0) throw std::runtime_error(vips_error_buffer());
}

VipsInterpretation kindOf(int bands, int depth) {
    if (bands < 3) return depth == 8 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_GREY16;
    return depth == 8 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_RGB16;
}

Holder black(int bands, VipsInterpretation kind, VipsBandFormat format) {
    VipsImage *plain = nullptr, *cast = nullptr, *kinded = nullptr;
    check(vips_black(&plain, 16, 16, "bands", bands, kEnd));
    const Holder first(plain);
    check(vips_cast(plain, &cast, format, kEnd));
    const Holder second(cast);
    check(vips_copy(cast, &kinded, "interpretation", kind, kEnd));
    return Holder(kinded);
}

}  // namespace

Samples makeSamples(int width, int height, int bands, int depth) {
    Samples s{width, height, bands, depth, {}, "", 1.0};
    const unsigned white = depth == 8 ? 255 : 65535;
    for (unsigned i = 0; i < static_cast<unsigned>(width * height * bands); ++i) {
        const unsigned pixel = i / static_cast<unsigned>(bands), noise = i * 2654435761u >> 8;
        s.values.push_back(static_cast<std::uint16_t>(pixel % 23 == 0 ? white : noise % (white + 1) / 3));
    }
    return s;
}

void saveSamples(const std::filesystem::path& file, const Samples& s, const std::string& options) {
    const Holder wide = checked(vips_image_new_from_memory(s.values.data(), s.values.size() * 2, s.width,
                                                           s.height, s.bands, VIPS_FORMAT_USHORT));
    VipsImage *cast = nullptr, *dressed = nullptr;
    check(vips_cast(wide.get(), &cast, s.depth == 8 ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT, kEnd));
    const Holder narrow(cast);
    check(vips_copy(cast, &dressed, "interpretation", kindOf(s.bands, s.depth), "xres", s.pixelsPerMm, "yres",
                    s.pixelsPerMm, kEnd));
    const Holder image(dressed);
    if (!s.profile.empty())
        vips_image_set_blob_copy(dressed, VIPS_META_ICC_NAME, s.profile.data(), s.profile.size());
    check(vips_image_write_to_file(dressed, (file.string() + options).c_str(), kEnd));
}

Samples loadSamples(const std::filesystem::path& file) {
    vips_cache_set_max(0);  // the tests write a name more than once
    const Holder image = checked(vips_image_new_from_file(file.c_str(), kEnd));
    Samples s{vips_image_get_width(image.get()),
              vips_image_get_height(image.get()),
              vips_image_get_bands(image.get()),
              vips_image_get_format(image.get()) == VIPS_FORMAT_UCHAR ? 8 : 16,
              {},
              "",
              image->Xres};
    VipsImage* cast = nullptr;
    check(vips_cast(image.get(), &cast, VIPS_FORMAT_USHORT, kEnd));
    const Holder wide(cast);
    std::size_t size = 0;
    void* memory = vips_image_write_to_memory(cast, &size);
    const auto* values = static_cast<const std::uint16_t*>(memory);
    s.values.assign(values, values + size / 2);
    g_free(memory);
    const void* profile = nullptr;
    if (vips_image_get_typeof(image.get(), VIPS_META_ICC_NAME) != 0 &&
        vips_image_get_blob(image.get(), VIPS_META_ICC_NAME, &profile, &size) == 0) {
        s.profile.assign(static_cast<const char*>(profile), size);
    }
    return s;
}

std::string someProfile() {
    VipsBlob* blob = nullptr;
    check(vips_profile_load("srgb", &blob, kEnd));
    std::size_t size = 0;
    const char* bytes = static_cast<const char*>(vips_blob_get(blob, &size));
    std::string profile(bytes, size);
    vips_area_unref(reinterpret_cast<VipsArea*>(blob));
    return profile;
}

void saveOdd(const std::filesystem::path& file, OddKind kind) {
    const Holder image = kind == OddKind::cmyk        ? black(4, VIPS_INTERPRETATION_CMYK, VIPS_FORMAT_UCHAR)
                         : kind == OddKind::lab       ? black(3, VIPS_INTERPRETATION_LAB, VIPS_FORMAT_FLOAT)
                         : kind == OddKind::floating  ? black(3, VIPS_INTERPRETATION_sRGB, VIPS_FORMAT_FLOAT)
                         : kind == OddKind::fiveBands ? black(5, VIPS_INTERPRETATION_sRGB, VIPS_FORMAT_UCHAR)
                                                      : black(3, VIPS_INTERPRETATION_sRGB, VIPS_FORMAT_UCHAR);
    if (kind == OddKind::twoPages) vips_image_set_int(image.get(), VIPS_META_PAGE_HEIGHT, 8);
    check(vips_image_write_to_file(image.get(), file.c_str(), kEnd));
}
