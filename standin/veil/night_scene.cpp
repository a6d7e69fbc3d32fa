// night_scene: renders the picture that the demonstration filters.

#include <charconv>
#include <cstdio>
#include <exception>
#include <string_view>

#include "standin/veil/errors.h"
#include "standin/veil/picture_file.h"
#include "standin/veil/scene.h"

namespace {

using namespace standin;

constexpr int kLargestSide = 30000;

struct Size {
    int width = 1536, height = 1024;
};

Size parseSize(std::string_view text) {
    Size size;
    const char* const end = text.data() + text.size();
    const auto [cross, first] = std::from_chars(text.data(), end, size.width);
    if (first == std::errc() && cross != end && *cross == 'x') {
        const auto [rest, second] = std::from_chars(cross + 1, end, size.height);
        const bool fits =
            size.width >= 1 && size.height >= 1 && std::max(size.width, size.height) <= kLargestSide;
        if (second == std::errc() && rest == end && fits) return size;
    }
    throw CommandError("'" + std::string(text) + "' is not WIDTHxHEIGHT of 1 to 30000 each",
                       ExitStatus::usage);
}

ExitStatus render(int argc, char** argv) {
    if (argc < 2 || argc > 3)
        throw CommandError("usage: night_scene OUT.ppm|png [WIDTHxHEIGHT]", ExitStatus::usage);
    const std::filesystem::path out = argv[1];
    const Size size = argc == 3 ? parseSize(argv[2]) : Size();
    const std::optional<FileFormat> format = formatOfName(out);
    if (!format)
        throw CommandError("'" + out.string() + "' has no ending of a picture format", ExitStatus::usage);
    const PictureLibraries libraries(argv[0]);
    Picture picture;
    picture.image = renderNightScene(size.width, size.height, 8);
    checkWritable(picture, *format);
    writePicture(std::move(picture), out, *format, [] { return false; });
    return ExitStatus::done;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return static_cast<int>(render(argc, argv));
    } catch (const CommandError& error) {
        std::fprintf(stderr, "night_scene: %s\n", error.what());
        return static_cast<int>(error.status);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "night_scene: %s\n", error.what());
        return static_cast<int>(ExitStatus::failed);
    }
}
