#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <istream>
#include <ostream>
#include <string_view>

#include "standin/veil/errors.h"
#include "standin/veil/picture_file.h"

namespace standin {
namespace {

constexpr int kMaxSide = 300000;  // the most that hosts have in their large documents

struct PnmHeader {
    int width = 0, height = 0, white = 0;
    int channels = 3;  // in the file
};

bool isSpace(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

[[noreturn]] void endsEarly() { throw CommandError("ends in the middle of its header"); }

int checkedNumber(std::string_view digits, const char* what, int limit) {
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (digits.empty() || end != digits.data() + digits.size() || error != std::errc() || number < 1 ||
        number > limit) {
        throw CommandError(std::string("has no usable ") + what + " in its header");
    }
    return number;
}

/// The next word of a P6 header; eats the one blank behind it.
std::string nextWord(std::istream& in) {
    int c = in.get();
    while (isSpace(c) || c == '#') {
        if (c == '#') {
            while (c != '\n' && c != std::char_traits<char>::eof()) c = in.get();
        }
        c = in.get();
    }
    constexpr std::size_t kLongest = 16;
    std::string word;
    while (c != std::char_traits<char>::eof() && !isSpace(c) && word.size() < kLongest) {
        word += static_cast<char>(c);
        c = in.get();
    }
    if (c == std::char_traits<char>::eof()) endsEarly();
    return word;
}

PnmHeader readP6Header(std::istream& in) {
    PnmHeader header;
    header.width = checkedNumber(nextWord(in), "width", kMaxSide);
    header.height = checkedNumber(nextWord(in), "height", kMaxSide);
    header.white = checkedNumber(nextWord(in), "maxval", kWhiteFile);
    return header;
}

/// One line of a PAM header, split into its first word and the rest, without blanks around them.
std::pair<std::string, std::string> nextLine(std::istream& in) {
    constexpr std::size_t kLongest = 1024;
    std::string line;
    int c = in.get();
    for (; c != '\n' && line.size() < kLongest; c = in.get()) {
        if (c == std::char_traits<char>::eof()) endsEarly();
        line += static_cast<char>(c);
    }
    if (c != '\n') throw CommandError("has a header line that does not end");
    while (!line.empty() && isSpace(static_cast<unsigned char>(line.back()))) line.pop_back();
    const auto blank = std::find_if(line.begin(), line.end(), [](unsigned char x) { return isSpace(x); });
    const auto rest = std::find_if_not(blank, line.end(), [](unsigned char x) { return isSpace(x); });
    return {std::string(line.begin(), blank), std::string(rest, line.end())};
}

int channelsOfType(const std::string& type) {
    if (type == "GRAYSCALE") return 1;
    if (type == "GRAYSCALE_ALPHA") return 2;
    if (type == "RGB") return 3;
    if (type == "RGB_ALPHA") return 4;
    throw CommandError("has the tuple type '" + type +
                       "'; RGB, RGB_ALPHA, GRAYSCALE and GRAYSCALE_ALPHA are read");
}

PnmHeader readPamHeader(std::istream& in) {
    PnmHeader header;
    std::string type;
    int depth = 0;
    nextLine(in);  // what is left of the first line, behind "P7"
    for (;;) {
        const auto [name, rest] = nextLine(in);
        if (name == "ENDHDR") break;
        if (name == "WIDTH")
            header.width = checkedNumber(rest, "width", kMaxSide);
        else if (name == "HEIGHT")
            header.height = checkedNumber(rest, "height", kMaxSide);
        else if (name == "DEPTH")
            depth = checkedNumber(rest, "depth", 4);
        else if (name == "MAXVAL")
            header.white = checkedNumber(rest, "maxval", kWhiteFile);
        else if (name == "TUPLTYPE")
            type = rest;
        else if (!name.empty() && name[0] != '#')
            throw CommandError("has an unknown header line '" + name + "'");
    }
    if (header.width == 0 || header.height == 0 || header.white == 0) {
        throw CommandError("lacks its width, height or maxval");
    }
    header.channels = channelsOfType(type);
    if (depth != header.channels) throw CommandError("has a depth that does not fit its tuple type " + type);
    return header;
}

std::uint64_t bytesLeft(std::istream& in) {
    const std::istream::pos_type here = in.tellg();
    in.seekg(0, std::ios::end);
    const std::istream::pos_type end = in.tellg();
    in.seekg(here);
    if (!in || here < 0 || end < here) throw CommandError("can't be read");
    return static_cast<std::uint64_t>(end - here);
}

std::uint16_t swapToNative(std::uint16_t sample) {
    if constexpr (std::endian::native == std::endian::big) return sample;
    return static_cast<std::uint16_t>(sample << 8 | sample >> 8);
}

/// Spreads one row of the file's channels over the image's planes.
template <typename Sample>
void takeRow(const std::byte* raw, Image& image, int y, const PnmHeader& header) {
    const Sample* in = reinterpret_cast<const Sample*>(raw);
    Sample* out = reinterpret_cast<Sample*>(image.row(y));
    const int colours = header.channels < 3 ? 1 : 3;
    for (int x = 0; x < header.width; ++x, in += header.channels, out += image.planes) {
        for (int plane = 0; plane < image.planes; ++plane) {
            const int channel = plane == 3 ? header.channels - 1 : std::min(plane, colours - 1);
            Sample sample = in[channel];
            if constexpr (sizeof(Sample) == 2) sample = swapToNative(sample);
            if (sample > header.white) throw CommandError("has a sample above its maxval");
            out[plane] = sample;
        }
    }
}

template <typename Sample>
void giveRow(const Image& image, int y, bool grey, std::byte* raw) {
    const Sample* in = reinterpret_cast<const Sample*>(image.row(y));
    Sample* out = reinterpret_cast<Sample*>(raw);
    for (int x = 0; x < image.width; ++x, in += image.planes) {
        for (int plane = 0; plane < image.planes; ++plane) {
            if (grey && (plane == 1 || plane == 2)) continue;
            if constexpr (sizeof(Sample) == 2)
                *out++ = swapToNative(in[plane]);
            else
                *out++ = in[plane];
        }
    }
}

}  // namespace

Picture readPnm(std::istream& in) {
    const int magic = in.get() == 'P' ? in.get() : 0;
    if (magic != '6' && magic != '7') throw CommandError("is no P6 or PAM file");
    if (magic == '6' && !isSpace(in.peek()) && in.peek() != '#') throw CommandError("is no P6 or PAM file");
    const PnmHeader header = magic == '6' ? readP6Header(in) : readPamHeader(in);
    if (header.white != kWhite8 && header.white != kWhiteFile && header.white != kWhiteHost) {
        throw CommandError("has the maxval " + std::to_string(header.white) +
                           "; 255, 32768 and 65535 are read");
    }
    const int depth = header.white == kWhite8 ? 8 : 16;
    const std::uint64_t rowBytes =
        std::uint64_t(header.width) * static_cast<unsigned>(header.channels * depth / 8);
    const std::uint64_t wanted = rowBytes * static_cast<unsigned>(header.height), there = bytesLeft(in);
    if (there < wanted) {
        throw CommandError("is truncated: " + std::to_string(there) + " of " + std::to_string(wanted) +
                           " bytes of samples are there");
    }
    if (there > wanted)
        throw CommandError("goes on behind its picture; only files with one picture are read");

    Picture picture;
    picture.format = magic == '6' ? FileFormat::pnm : FileFormat::pam;
    picture.white = header.white;
    picture.grey = header.channels < 3;
    picture.image = makeImage(header.width, header.height, header.channels % 2 == 0 ? 4 : 3, depth);
    std::vector<std::byte> raw(static_cast<std::size_t>(rowBytes));
    for (int y = 0; y < header.height; ++y) {
        in.read(reinterpret_cast<char*>(raw.data()), static_cast<std::streamsize>(raw.size()));
        if (!in) throw CommandError("can't be read to its end");
        if (depth == 8)
            takeRow<std::uint8_t>(raw.data(), picture.image, y, header);
        else
            takeRow<std::uint16_t>(raw.data(), picture.image, y, header);
    }
    return picture;
}

void writePnm(std::ostream& out, const Picture& picture, FileFormat format, bool grey) {
    const Image& image = picture.image;
    const int channels = image.planes - (grey ? 2 : 0);
    const std::string width = std::to_string(image.width), height = std::to_string(image.height),
                      white = std::to_string(picture.white);
    if (format == FileFormat::pnm) {
        out << "P6\n" << width << " " << height << "\n" << white << "\n";
    } else {
        static constexpr const char* kTypes[] = {"", "GRAYSCALE", "GRAYSCALE_ALPHA", "RGB", "RGB_ALPHA"};
        out << "P7\nWIDTH " << width << "\nHEIGHT " << height << "\nDEPTH " << channels << "\nMAXVAL "
            << white << "\nTUPLTYPE " << kTypes[channels] << "\nENDHDR\n";
    }
    std::vector<std::byte> raw(static_cast<std::size_t>(image.width) * static_cast<unsigned>(channels) *
                               image.sampleBytes());
    for (int y = 0; y < image.height && out; ++y) {
        if (image.depth == 8)
            giveRow<std::uint8_t>(image, y, grey, raw.data());
        else
            giveRow<std::uint16_t>(image, y, grey, raw.data());
        out.write(reinterpret_cast<const char*>(raw.data()), static_cast<std::streamsize>(raw.size()));
    }
}

}  // namespace standin
