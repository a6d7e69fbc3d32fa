#include <doctest/doctest.h>

#include <cmath>
#include <exiv2/exiv2.hpp>
#include <tuple>

#include "tests/veil/process.h"
#include "tests/veil/vips_files.h"

namespace {

const std::vector<std::string> kFormats{"jpg", "png", "tif", "webp"};

/// The value that a 16-bit file's sample has after a way through the host's 32769 values.
std::uint16_t throughHost(std::uint16_t value) {
    const double host = std::floor(value * 32768.0 / 65535.0 + 0.5);
    return static_cast<std::uint16_t>(std::floor(host * 65535.0 / 32768.0 + 0.5));
}

bool isAlpha(const Samples& s, std::size_t i) {
    return s.bands % 2 == 0 && i % static_cast<std::size_t>(s.bands) == static_cast<std::size_t>(s.bands - 1);
}

Exiv2::Image::AutoPtr openMetadata(const std::filesystem::path& file) {
    auto image = Exiv2::ImageFactory::open(file.string());
    image->readMetadata();
    return image;
}

void addMetadata(const std::filesystem::path& file) {
    const auto image = openMetadata(file);
    image->exifData()["Exif.Image.Make"] = "Our Camera";
    image->exifData()["Exif.Image.Orientation"] = std::uint16_t(6);
    image->exifData()["Exif.Photo.UserComment"] = "charset=Ascii a comment";
    image->exifData()["Exif.GPSInfo.GPSLatitudeRef"] = "N";
    image->xmpData()["Xmp.dc.source"] = "our roll of film";
    image->iptcData()["Iptc.Application2.Keywords"] = "night";
    image->writeMetadata();
}

void checkMetadata(const std::filesystem::path& file, bool withIptc) {
    const auto image = openMetadata(file);
    for (const auto& [key, text] : {std::pair{"Exif.Image.Make", "Our Camera"},
                                    {"Exif.Image.Orientation", "6"},
                                    {"Exif.Photo.UserComment", "charset=Ascii a comment"},
                                    {"Exif.GPSInfo.GPSLatitudeRef", "N"}})
        CHECK(image->exifData()[key].toString() == text);
    CHECK(image->xmpData()["Xmp.dc.source"].toString() == "our roll of film");
    if (withIptc) CHECK(image->iptcData()["Iptc.Application2.Keywords"].toString() == "night");
}

}  // namespace

TEST_CASE("a picture without glow comes back changed from a lossless format") {
    const TempFolder folder;
    const std::tuple<std::string, int, int> kinds[] = {
        {"png", 8, 1}, {"png", 8, 2}, {"png", 8, 4},  {"png", 16, 2}, {"png", 16, 3},
        {"tif", 8, 3}, {"tif", 8, 4}, {"tif", 16, 1}, {"tif", 16, 4}, {"webp", 8, 3}};
    for (const auto& [format, depth, bands] : kinds) {
        INFO(format, " ", depth, " ", bands);
        Samples s = makeSamples(45, 31, bands, depth);
        const std::string in = "in." + format, out = "out." + format;
        saveSamples(folder / in, s, format == "webp" ? "[lossless]" : "");
        CHECK(runVeil(folder, {in, "-o", out, "--overwrite", "--strength", "0"}).status == 0);
        for (std::size_t i = 0; depth == 16 && i < s.values.size(); ++i)
            if (!isAlpha(s, i)) s.values[i] = throughHost(s.values[i]);
        CHECK(loadSamples(folder / out) == s);
    }
}

TEST_CASE("16-bit transparency or the outside of a selection loses its last bit") {
    const TempFolder folder;
    const Samples s = makeSamples(60, 40, 4, 16);
    saveSamples(folder / "a.png", s);
    CHECK(runVeil(folder, {"a.png", "--selection", "10,5,50,30"}).status == 0);
    const Samples result = loadSamples(folder / "a_veil.png");
    REQUIRE(result.values.size() == s.values.size());
    int changed = 0;
    for (std::size_t i = 0; i < s.values.size(); ++i) {
        const int x = static_cast<int>(i / 4) % 60, y = static_cast<int>(i / 4) / 60;
        const bool inside = x >= 10 && x < 50 && y >= 5 && y < 30;
        if ((!inside || i % 4 == 3) && result.values[i] != s.values[i])
            FAIL("at ", x, ",", y, " channel ", i % 4);
        changed += result.values[i] != s.values[i] ? 1 : 0;
    }
    CHECK(changed > 1000);
}

TEST_CASE("metadata, colour profile or resolution are lost on the way from one format to another") {
    const TempFolder folder;
    Samples s = makeSamples(64, 48, 3, 8);
    s.profile = someProfile();
    s.pixelsPerMm = 300.0 / 25.4;
    for (const std::string& from : kFormats) {
        saveSamples(folder / ("in." + from), s);
        addMetadata(folder / ("in." + from));
        for (const std::string& to : kFormats) {
            INFO(from, " to ", to);
            CHECK(runVeil(folder, {"in." + from, "-o", "out." + to, "--overwrite"}).status == 0);
            checkMetadata(folder / ("out." + to), from != "webp" && to != "webp");
            const Samples result = loadSamples(folder / ("out." + to));
            CHECK(result.profile == s.profile);
            CHECK(result.width == s.width);
            if (from != "webp" && to != "webp")
                CHECK(result.pixelsPerMm == doctest::Approx(s.pixelsPerMm).epsilon(0.01));
        }
    }
}

TEST_CASE("metadata is invented, or a stale preview kept") {
    const TempFolder folder;
    saveSamples(folder / "bare.png", makeSamples(64, 48, 3, 8));
    for (const std::string& to : kFormats) {
        INFO(to);
        CHECK(runVeil(folder, {"bare.png", "-o", "out." + to}).status == 0);
        const auto image = openMetadata(folder / ("out." + to));
        if (to != "tif") CHECK(image->exifData().empty());
        CHECK(image->xmpData().empty());
    }
    const auto image = openMetadata(folder / "out.jpg");
    image->exifData()["Exif.Image.Make"] = "Our Camera";
    Exiv2::ExifThumb(image->exifData()).setJpegThumbnail((folder / "out.jpg").string());
    image->writeMetadata();
    CHECK(runVeil(folder, {"out.jpg", "-o", "again.jpg"}).status == 0);
    const auto again = openMetadata(folder / "again.jpg");
    CHECK(again->exifData()["Exif.Image.Make"].toString() == "Our Camera");
    CHECK(Exiv2::ExifThumbC(again->exifData()).copy().size_ == 0);
}

TEST_CASE("a picture is filtered that is neither grey nor RGB of whole numbers, or that is cut off") {
    const TempFolder folder;
    saveOdd(folder / "cmyk.tif", OddKind::cmyk);
    saveOdd(folder / "cmyk.jpg", OddKind::cmyk);
    saveOdd(folder / "lab.tif", OddKind::lab);
    saveOdd(folder / "float.tif", OddKind::floating);
    saveOdd(folder / "five.tif", OddKind::fiveBands);
    saveOdd(folder / "pages.tif", OddKind::twoPages);
    for (const std::string& format : kFormats) {
        saveSamples(folder / ("cut." + format), makeSamples(200, 150, 3, 8));
        const std::string bytes = readBytes(folder / ("cut." + format));
        writeBytes(folder / ("cut." + format), bytes.substr(0, bytes.size() * 2 / 3));
        writeBytes(folder / ("head." + format), bytes.substr(0, 20));
    }
    const std::vector<std::string> names = folder.names();
    CHECK(names.size() == 14);
    for (const std::string& name : names) {
        const Ran ran = runVeil(folder, {name});
        INFO(name, ": ", ran.err);
        CHECK(ran.status == 1);
        CHECK(ran.err.starts_with("veil: " + name + ": "));
        CHECK(lineCount(ran.err) == 1);
    }
    CHECK(folder.names() == names);
}

TEST_CASE("what a format can't hold is lost without a word") {
    const TempFolder folder;
    saveSamples(folder / "alpha.png", makeSamples(30, 20, 4, 8));
    const Ran alpha = runVeil(folder, {"alpha.png", "-o", "alpha.jpg"});
    CHECK(alpha.status == 1);
    CHECK(alpha.err.find("transparency") != std::string::npos);

    saveSamples(folder / "deep.png", makeSamples(30, 20, 3, 16));
    const Ran deep = runVeil(folder, {"deep.png", "-o", "deep.jpg"});
    CHECK(deep.err.find("8 bits") != std::string::npos);
    CHECK(loadSamples(folder / "deep.jpg").depth == 8);

    Samples grey = makeSamples(30, 20, 1, 8);
    grey.profile = someProfile();
    grey.profile.replace(16, 4, "GRAY");
    saveSamples(folder / "grey.tif", grey);
    const Ran coloured = runVeil(folder, {"grey.tif"});
    CHECK(coloured.err.find("grey colour profile") != std::string::npos);
    CHECK(loadSamples(folder / "grey_veil.tif").bands == 3);
    CHECK(loadSamples(folder / "grey_veil.tif").profile.empty());
    CHECK(runVeil(folder, {"grey.tif", "--strength", "0", "--overwrite"}).status == 0);
    CHECK(loadSamples(folder / "grey_veil.tif") == grey);

    CHECK(runVeil(folder, {"deep.png", "--depth", "8", "-o", "eight.tif"}).status == 0);
    CHECK(loadSamples(folder / "eight.tif").depth == 8);
    CHECK(runVeil(folder, {"grey.tif", "--depth", "16", "-o", "sixteen.png"}).status == 0);
    CHECK(loadSamples(folder / "sixteen.png").depth == 16);
}

TEST_CASE("a full disk leaves half a photograph") {
    const TempFolder folder;
    for (const std::string& format : kFormats) {
        saveSamples(folder / ("a." + format), makeSamples(300, 200, 3, 8));
        const std::vector<std::string> before = folder.names();
        for (const long limit : {100L, 6000L}) {
            const Ran ran = runVeil(folder, {"a." + format}, limit);
            INFO(format, " ", limit, ": ", ran.err);
            CHECK(ran.status == 1);
            CHECK(folder.names() == before);
        }
    }
}
