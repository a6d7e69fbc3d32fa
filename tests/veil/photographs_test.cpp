#include <doctest/doctest.h>

#include <vips/vips.h>

#include <exiv2/exiv2.hpp>
#include <set>

#include "tests/veil/process.h"
#include "tests/veil/vips_files.h"

namespace {

/// The photograph at most `side` pixels wide, as a PNG with its metadata.
void shrink(const std::string& photograph, int side, const std::filesystem::path& file) {
    VipsImage* small = nullptr;
    REQUIRE(vips_thumbnail(photograph.c_str(), &small, side, "no_rotate", TRUE,
                           static_cast<void*>(nullptr)) == 0);
    CHECK(vips_image_write_to_file(small, file.c_str(), static_cast<void*>(nullptr)) == 0);
    g_object_unref(small);
}

/// Every tag with its value, but for those that say where in the file others lie.
std::set<std::string> exifTags(const std::filesystem::path& file) {
    const auto image = Exiv2::ImageFactory::open(file.string());
    image->readMetadata();
    std::set<std::string> tags;
    for (const auto& datum : image->exifData()) {
        const std::string group = datum.groupName(), tag = datum.tagName();
        const bool places =
            group == "MakerNote" || tag.find("Tag") != std::string::npos || tag == "ThumbnailOffset";
        if (group == "Thumbnail" || places || tag == "MakerNote") continue;
        tags.insert(datum.key() + "=" + datum.toString());
    }
    return tags;
}

}  // namespace

TEST_CASE(
    "a photograph as it came from the camera, or its copy as a PNG, loses its size, metadata or profile") {
    const TempFolder folder;
    for (const char* name : {"/abstract/Elephants_5640x3172.jpg", "/nature/Wood.jpg", "/nature/TwoWings.jpg",
                             "/nature/LadyBird.jpg"}) {
        const std::string photograph = std::string(VEIL_PHOTOGRAPHS) + name;
        INFO(name);
        CHECK(runVeil(folder, {photograph, "-o", "out.jpg", "--overwrite"}).status == 0);
        const Samples before = loadSamples(photograph), after = loadSamples(folder / "out.jpg");
        CHECK(after.width == before.width);
        CHECK(after.height == before.height);
        CHECK(after.values != before.values);
        CHECK(after.profile == before.profile);
        CHECK(after.pixelsPerMm == doctest::Approx(before.pixelsPerMm).epsilon(0.01));
        CHECK(exifTags(folder / "out.jpg") == exifTags(photograph));
        shrink(photograph, 641, folder / "small.png");
        CHECK(runVeil(folder, {"small.png", "--overwrite"}).status == 0);
        CHECK(loadSamples(folder / "small_veil.png").profile == before.profile);
        CHECK(exifTags(folder / "small_veil.png") == exifTags(folder / "small.png"));
    }
}
