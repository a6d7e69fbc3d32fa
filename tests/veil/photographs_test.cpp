#include <doctest/doctest.h>

#include <vips/vips.h>

#include <algorithm>
#include <cmath>
#include <exiv2/exiv2.hpp>
#include <set>

#include "tests/veil/process.h"
#include "tests/veil/vips_files.h"

namespace {

const std::vector<std::string> kLooks{"Dusky Veil", "Gilt Veil", "Pearl Veil", "Anamorphic Flare"};

/// The photograph at most `side` pixels wide, as a PNG with its metadata.
void shrink(const std::string& photograph, int side, const std::filesystem::path& file) {
    VipsImage* small = nullptr;
    REQUIRE(vips_thumbnail(photograph.c_str(), &small, side, "no_rotate", TRUE,
                           static_cast<void*>(nullptr)) == 0);
    CHECK(vips_image_write_to_file(small, file.c_str(), static_cast<void*>(nullptr)) == 0);
    g_object_unref(small);
}

/// The worst distance of `composite` from the glow laid over the source with Screen, in steps of 8 bits.
double screenError(const Samples& source, const Samples& glow, const Samples& composite) {
    double worst = 0.0;
    for (std::size_t i = 0; i < source.values.size(); ++i) {
        const bool alpha = source.bands == 4 && i % 4 == 3;  // it stays, in the glow too
        if (alpha && (composite.values[i] != source.values[i] || glow.values[i] != source.values[i]))
            return 255.0;
        if (alpha) continue;
        const double screen = 255.0 - (255.0 - source.values[i]) * (255.0 - glow.values[i]) / 255.0;
        worst = std::max(worst, std::fabs(composite.values[i] - screen));
    }
    return worst;
}

int changedOutside(const Samples& source, const Samples& result, int left, int top, int right, int bottom) {
    int changed = 0;
    for (std::size_t i = 0; i < source.values.size(); ++i) {
        const int pixel = static_cast<int>(i) / source.bands, x = pixel % source.width,
                  y = pixel / source.width;
        const bool inside = x >= left && x < right && y >= top && y < bottom;
        changed += !inside && source.values[i] != result.values[i] ? 1 : 0;
    }
    return changed;
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

TEST_CASE("a photograph's glow, size, depth or outside of a selection go wrong with some look") {
    const std::string root = VEIL_PHOTOGRAPHS;
    const std::vector<std::pair<std::string, int>> photographs{
        {"/nature/Aqua.jpg", 2560},         {"/nature/LadyBird.jpg", 641},
        {"/nature/YellowFlower.jpg", 1024}, {"/nature/Storm.jpg", 333},
        {"/abstract/Silk.png", 1023},       {"/abstract/Elephants_5640x3172.jpg", 1411}};
    for (const auto& [name, side] : photographs) {
        const TempFolder folder;
        shrink(root + name, side, folder / "a.png");
        const Samples source = loadSamples(folder / "a.png");
        const int left = source.width / 4, top = source.height / 3, right = source.width - 7,
                  bottom = source.height - 9;
        const std::string selection = std::to_string(left) + "," + std::to_string(top) + "," +
                                      std::to_string(right) + "," + std::to_string(bottom);
        for (const std::string& look : kLooks) {
            INFO(name, " ", look);
            CHECK(runVeil(folder, {"a.png", "--preset", look, "-o", "c.png", "--overwrite"}).status == 0);
            CHECK(runVeil(folder, {"a.png", "--preset", look, "-o", "g.png", "--overwrite", "--glow-only"})
                      .status == 0);
            CHECK(runVeil(folder,
                          {"a.png", "--preset", look, "-o", "s.png", "--overwrite", "--selection", selection})
                      .status == 0);
            const Samples composite = loadSamples(folder / "c.png"), glow = loadSamples(folder / "g.png"),
                          part = loadSamples(folder / "s.png");
            REQUIRE(composite.values.size() == source.values.size());
            CHECK(composite.width == source.width);
            CHECK(composite.depth == 8);
            CHECK(composite.profile == source.profile);
            CHECK(*std::max_element(glow.values.begin(), glow.values.end()) > 8);
            CHECK(screenError(source, glow, composite) <= 1.0);
            CHECK(changedOutside(source, part, left, top, right, bottom) == 0);
            CHECK(part.values != source.values);
            CHECK(exifTags(folder / "c.png") == exifTags(folder / "a.png"));
        }
    }
}

TEST_CASE("a whole photograph as it came from the camera loses its size, metadata or profile") {
    const TempFolder folder;
    for (const char* name :
         {"/abstract/Elephants_5640x3172.jpg", "/nature/Wood.jpg", "/nature/TwoWings.jpg"}) {
        const std::string photograph = std::string(VEIL_PHOTOGRAPHS) + name;
        INFO(name);
        CHECK(runVeil(folder, {photograph, "-o", "out.jpg", "--overwrite"}).status == 0);
        const Samples before = loadSamples(photograph), after = loadSamples(folder / "out.jpg");
        CHECK(after.width == before.width);
        CHECK(after.height == before.height);
        CHECK(after.profile == before.profile);
        CHECK(after.pixelsPerMm == doctest::Approx(before.pixelsPerMm).epsilon(0.01));
        CHECK(exifTags(folder / "out.jpg") == exifTags(photograph));
    }
}
