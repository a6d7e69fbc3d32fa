#include "standin/veil/picture_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <utility>

#include "standin/veil/errors.h"

namespace standin {
namespace {

/// The format that a file's first bytes tell.
std::optional<FileFormat> formatOfBytes(const std::string& head) {
    const auto starts = [&head](std::string_view magic) { return head.compare(0, magic.size(), magic) == 0; };
    if (starts("P6")) return FileFormat::pnm;
    if (starts("P7")) return FileFormat::pam;
    if (starts("\x89PNG\r\n\x1a\n")) return FileFormat::png;
    if (starts("\xff\xd8\xff")) return FileFormat::jpeg;
    if (starts(std::string_view("II*\0", 4)) || starts(std::string_view("MM\0*", 4))) return FileFormat::tiff;
    if (starts(std::string_view("II+\0", 4)) || starts(std::string_view("MM\0+", 4))) return FileFormat::tiff;
    if (starts("RIFF") && head.size() >= 12 && head.compare(8, 4, "WEBP") == 0) return FileFormat::webp;
    return {};
}

template <typename Sample>
void rescaleRow(std::byte* row, std::size_t pixels, int planes, int colours, unsigned from, unsigned to) {
    Sample* sample = reinterpret_cast<Sample*>(row);
    for (std::size_t x = 0; x < pixels; ++x, sample += planes) {
        for (int c = 0; c < colours; ++c) sample[c] = static_cast<Sample>(rescale(sample[c], from, to));
    }
}

template <typename From, typename To>
void rescaleInto(const std::vector<std::byte>& source, std::byte* out, unsigned from, unsigned to) {
    const From* in = reinterpret_cast<const From*>(source.data());
    To* result = reinterpret_cast<To*>(out);
    const std::size_t count = source.size() / sizeof(From);
    for (std::size_t i = 0; i < count; ++i) result[i] = static_cast<To>(rescale(in[i], from, to));
}

bool isGrey(const Image& image) {
    const std::size_t bytes = image.sampleBytes(), step = image.pixelBytes();
    const std::byte* const end = image.samples.data() + image.samples.size();
    for (const std::byte* p = image.samples.data(); p != end; p += step) {
        if (std::memcmp(p, p + bytes, bytes) != 0 || std::memcmp(p, p + 2 * bytes, bytes) != 0) return false;
    }
    return true;
}

/// Leaves one colour sample of three, and the transparency if there is one, packed at the front.
void packGrey(Image& image) {
    const std::size_t bytes = image.sampleBytes(), step = image.pixelBytes();
    std::byte* out = image.samples.data();
    const std::byte* const end = out + image.samples.size();
    for (const std::byte* p = out; p != end; p += step) {
        std::memmove(out, p, bytes);
        out += bytes;
        if (image.planes == 3) continue;
        std::memmove(out, p + 3 * bytes, bytes);
        out += bytes;
    }
}

bool keepsMetadata(FileFormat format) { return format != FileFormat::pnm && format != FileFormat::pam; }

bool holdsSixteenBits(FileFormat format) { return format != FileFormat::jpeg && format != FileFormat::webp; }

bool profileIsGrey(const std::vector<std::byte>& profile) {
    return profile.size() >= 20 && std::memcmp(profile.data() + 16, "GRAY", 4) == 0;
}

/// Brings the samples to what `format` can hold.
void fitToFormat(Picture& picture, FileFormat format) {
    if (!holdsSixteenBits(format) && picture.image.depth == 16) {
        picture.notes.push_back(std::string("reduced to 8 bits, the most that ") + formatName(format) +
                                " holds");
        convertWhite(picture, kWhite8);
    }
    if (keepsMetadata(format) && picture.white == kWhiteHost) convertWhite(picture, kWhiteFile);
    if (!keepsMetadata(format) && (picture.metadata || !picture.iccProfile.empty())) {
        picture.notes.push_back(std::string(formatName(format)) +
                                " holds no colour profile and no metadata; they are left out");
    }
}

void writePnmFile(const Picture& picture, const std::filesystem::path& file, FileFormat format, bool grey) {
    std::ofstream out(file, std::ios::binary);
    writePnm(out, picture, format, grey);
    out.close();
    if (!out) throw CommandError("its output can't be written (is the disk full?)");
}

}  // namespace

std::string readableFormats() {
    return photographsSupported() ? "PNG, JPEG, TIFF, WebP and PNM (P6, PAM)" : "PNM only (P6, PAM)";
}

std::string supportNote() {
    if (photographsSupported()) return "Reads and writes " + readableFormats() + ".";
    return "Built without libvips: reads and writes " + readableFormats() + ".";
}

std::optional<FileFormat> formatOfName(const std::filesystem::path& name) {
    std::string ending = name.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static constexpr std::array<std::pair<const char*, FileFormat>, 9> kEndings{
        {{".ppm", FileFormat::pnm},
         {".pnm", FileFormat::pnm},
         {".pam", FileFormat::pam},
         {".png", FileFormat::png},
         {".jpg", FileFormat::jpeg},
         {".jpeg", FileFormat::jpeg},
         {".tif", FileFormat::tiff},
         {".tiff", FileFormat::tiff},
         {".webp", FileFormat::webp}}};
    for (const auto& [known, format] : kEndings) {
        if (ending == known) return format;
    }
    return {};
}

const char* formatName(FileFormat format) {
    switch (format) {
        case FileFormat::pnm:
            return "PPM";
        case FileFormat::pam:
            return "PAM";
        case FileFormat::png:
            return "PNG";
        case FileFormat::jpeg:
            return "JPEG";
        case FileFormat::tiff:
            return "TIFF";
        case FileFormat::webp:
            return "WebP";
    }
    return "";
}

Picture readPicture(const std::filesystem::path& file, const std::function<bool()>& stop) {
    if (std::filesystem::is_directory(file)) throw CommandError("is a folder, not a picture");
    // A pipe would be waited for, and could not be read a second time.
    if (std::filesystem::exists(file) && !std::filesystem::is_regular_file(file))
        throw CommandError("is no regular file");
    std::ifstream in(file, std::ios::binary);
    if (!in) throw CommandError(std::string("can't be read: ") + std::strerror(errno));
    std::string head(16, '\0');
    in.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(in.gcount()));
    if (in.bad()) throw CommandError("can't be read");
    if (head.empty()) throw CommandError("is empty");
    const std::optional<FileFormat> format = formatOfBytes(head);
    if (!format) throw CommandError("is not a picture that veil reads: " + readableFormats());
    if (!keepsMetadata(*format)) {
        in.clear();
        in.seekg(0);
        return readPnm(in);
    }
    in.close();
    return readPhotograph(file, *format, stop);
}

void checkWritable(const Picture& picture, FileFormat format) {
    if (keepsMetadata(format) && !photographsSupported()) {
        throw CommandError(std::string("this veil was built without libvips and writes no ") +
                           formatName(format));
    }
    if (picture.image.planes == 4 && (format == FileFormat::jpeg || format == FileFormat::pnm)) {
        throw CommandError(std::string(formatName(format)) +
                           " holds no transparency, which the picture has; choose another format with -o");
    }
    constexpr int kWebpSide = 16383, kJpegSide = 65535;  // the formats' own limits
    const int limit = format == FileFormat::webp ? kWebpSide : format == FileFormat::jpeg ? kJpegSide : 0;
    if (limit != 0 && std::max(picture.image.width, picture.image.height) > limit) {
        throw CommandError(std::string(formatName(format)) + " holds at most " + std::to_string(limit) +
                           " pixels a side; choose another format with -o");
    }
}

std::vector<std::string> writePicture(Picture&& picture, const std::filesystem::path& file, FileFormat format,
                                      const std::function<bool()>& stop) {
    picture.notes.clear();
    fitToFormat(picture, format);
    const bool grey = picture.grey && format != FileFormat::pnm && isGrey(picture.image);
    if (!keepsMetadata(format)) {
        writePnmFile(picture, file, format, grey);
        return std::move(picture.notes);
    }
    if (picture.grey && !grey && profileIsGrey(picture.iccProfile)) {
        picture.notes.push_back(
            "the look gave the grey picture colour, so its grey colour profile is left out");
        picture.iccProfile.clear();
    }
    const int channels = picture.image.planes - (grey ? 2 : 0);
    if (grey) packGrey(picture.image);
    writePhotograph(picture, channels, file, format, stop);
    return std::move(picture.notes);
}

void convertWhite(Picture& picture, int white) {
    if (picture.white == white) return;
    const unsigned from = static_cast<unsigned>(picture.white), to = static_cast<unsigned>(white);
    Image& image = picture.image;
    const int depth = white == kWhite8 ? 8 : 16;
    if (image.depth == 16 && depth == 16) {
        for (int y = 0; y < image.height; ++y) {
            rescaleRow<std::uint16_t>(image.row(y), static_cast<std::size_t>(image.width), image.planes,
                                      image.planes, from, to);
        }
    } else if (depth == 16) {
        std::vector<std::byte> wide(image.samples.size() * 2);
        rescaleInto<std::uint8_t, std::uint16_t>(image.samples, wide.data(), from, to);
        image.samples.swap(wide);
    } else {
        // The narrow samples are written behind the wide ones that are still to be read.
        rescaleInto<std::uint16_t, std::uint8_t>(image.samples, image.samples.data(), from, to);
        image.samples.resize(image.samples.size() / 2);
    }
    image.depth = depth;
    picture.white = white;
}

void rescaleColour(Image& image, const PixelRect& area, int fromWhite, int toWhite) {
    for (int y = area.top; y < area.bottom; ++y) {
        rescaleRow<std::uint16_t>(image.row(y) + image.pixelBytes() * static_cast<std::size_t>(area.left),
                                  static_cast<std::size_t>(area.right - area.left), image.planes, 3,
                                  static_cast<unsigned>(fromWhite), static_cast<unsigned>(toWhite));
    }
}

}  // namespace standin
