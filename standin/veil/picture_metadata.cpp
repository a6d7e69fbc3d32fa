#include "standin/veil/picture_metadata.h"

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <utility>

#include "standin/veil/errors.h"

namespace standin {

struct CarriedMetadata {
    Exiv2::ExifData exif;
    Exiv2::IptcData iptc;
    Exiv2::XmpData xmp;
    std::string
        xmpPacket;  // as it stands in the file: real cameras write some that the library can't take apart
    Exiv2::ByteOrder byteOrder = Exiv2::littleEndian;  // of the EXIF, which makers' notes may depend on
};

namespace {

using Bytes = std::vector<unsigned char>;

/// Tags of the first directory that describe how the file stores its pixels, or hold what other fields carry.
bool isStructural(std::uint16_t tag) {
    static constexpr std::array<std::uint16_t, 46> kTags{
        0x00fe, 0x00ff, 0x0100, 0x0101, 0x0102, 0x0103, 0x0106, 0x010a, 0x0111, 0x0115, 0x0116, 0x0117,
        0x0118, 0x0119, 0x011c, 0x0120, 0x0121, 0x0122, 0x0123, 0x0124, 0x0125, 0x012d, 0x013d, 0x0140,
        0x0142, 0x0143, 0x0144, 0x0145, 0x014a, 0x0152, 0x0153, 0x0154, 0x0155, 0x015b, 0x0200, 0x0201,
        0x0202, 0x0203, 0x0205, 0x0206, 0x0211, 0x0212, 0x02bc, 0x83bb, 0x8649, 0x8773};
    return std::find(kTags.begin(), kTags.end(), tag) != kTags.end();
}

/// Some programs write the EXIF of a PNG twice, and then all tags come twice, one set behind the other. The
/// first directory repeats no tag of its own. What the library itself adds at the end, of group MakerNote,
/// stays.
void dropRepetition(Exiv2::ExifData& exif) {
    if (exif.empty() || exif.begin()->groupName() != "Image") return;
    const std::string first = exif.begin()->key();
    const auto again = std::find_if(std::next(exif.begin()), exif.end(),
                                    [&first](const Exiv2::Exifdatum& datum) { return datum.key() == first; });
    const auto end = std::find_if(
        again, exif.end(), [](const Exiv2::Exifdatum& datum) { return datum.groupName() == "MakerNote"; });
    exif.erase(again, end);
}

/// What of the source's EXIF is true of the result too. Small preview pictures would show the unfiltered
/// photograph.
Exiv2::ExifData travellingExif(const Exiv2::ExifData& source) {
    Exiv2::ExifData kept;
    for (const Exiv2::Exifdatum& datum : source) {
        const std::string group = datum.groupName();
        const bool preview = group == "Thumbnail" || group.starts_with("SubImage") ||
                             group.starts_with("SubThumb") || group == "Image2" || group == "Image3";
        if (preview || (group == "Image" && isStructural(datum.tag()))) continue;
        kept.add(datum);
    }
    return kept;
}

/// Takes the EXIF that the encoder makes up from the front of a JPEG, in place. Else the metadata library
/// would keep to its byte order, which makers' notes may not stand.
void dropMadeUpExif(EncodedFile& jpeg) {
    constexpr std::size_t kMarker = 2;
    const unsigned char* const segment = jpeg.begin + kMarker;
    if (jpeg.size < 2 * kMarker + 2 || segment[0] != 0xff || segment[1] != 0xe1) return;
    const std::size_t length = kMarker + (static_cast<std::size_t>(segment[2]) << 8 | segment[3]);
    if (length + kMarker > jpeg.size) return;
    std::memmove(jpeg.begin + length, jpeg.begin, kMarker);
    jpeg.begin += length;
    jpeg.size -= length;
}

/// The file with the carried metadata in place of any that the encoder made up.
Exiv2::Image::AutoPtr withMetadata(const EncodedFile& encoded, const CarriedMetadata& carried,
                                   FileFormat format) {
    auto image = Exiv2::ImageFactory::open(encoded.begin, static_cast<long>(encoded.size));
    image->readMetadata();
    if (format == FileFormat::tiff) {
        // Its EXIF tags share a directory with those of the pixels, which must stay.
        for (const Exiv2::Exifdatum& datum : carried.exif) image->exifData()[datum.key()] = datum.value();
    } else {
        image->setByteOrder(carried.byteOrder);
        image->setExifData(format == FileFormat::png ? Exiv2::ExifData() : carried.exif);
    }
    image->setIptcData(carried.iptc);
    if (format == FileFormat::tiff) {
        image->setXmpData(carried.xmp);
    } else {
        image->xmpPacket() = carried.xmpPacket;
        image->writeXmpFromPacket(true);
    }
    image->writeMetadata();
    return image;
}

Bytes bigEndian(std::uint32_t value) {
    return {static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
            static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
}

std::uint32_t crc32(const Bytes& bytes) {
    constexpr std::uint32_t kPolynomial = 0xedb88320u;
    std::uint32_t crc = 0xffffffffu;
    for (const unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1u) != 0 ? kPolynomial : 0u);
    }
    return ~crc;
}

/// EXIF as a PNG chunk of its own. Exiv2 would hide it in a text chunk, where few programs look.
Bytes pngExifChunk(const CarriedMetadata& carried) {
    Bytes body{'e', 'X', 'I', 'f'}, exifBytes;
    Exiv2::ExifData exif = carried.exif;
    Exiv2::ExifParser::encode(exifBytes, carried.byteOrder, exif);
    if (exifBytes.empty()) return {};
    body.insert(body.end(), exifBytes.begin(), exifBytes.end());
    Bytes chunk = bigEndian(static_cast<std::uint32_t>(exifBytes.size()));
    const Bytes check = bigEndian(crc32(body));
    chunk.insert(chunk.end(), body.begin(), body.end());
    chunk.insert(chunk.end(), check.begin(), check.end());
    return chunk;
}

/// The beginning of a file as it is to be, and where in the encoder's bytes the unchanged rest begins.
struct Head {
    Bytes bytes;
    std::size_t rest = 0;
};

/// Adds EXIF behind the first chunk, and leaves out the resolution that the encoder makes up.
Head pngHead(const unsigned char* file, std::size_t size, const CarriedMetadata& carried,
             bool hasResolution) {
    constexpr std::size_t kSignature = 8, kFrame = 12;  // of a chunk: length, name and checksum
    Head head{Bytes(file, file + kSignature), kSignature};
    const Bytes exif = pngExifChunk(carried);
    while (head.rest + kFrame <= size) {
        const unsigned char* at = file + head.rest;
        const std::size_t body =
            std::size_t(at[0]) << 24 | std::size_t(at[1]) << 16 | std::size_t(at[2]) << 8 | at[3];
        const std::string_view name(reinterpret_cast<const char*>(at) + 4, 4);
        if (name == "IDAT" || body > size - head.rest - kFrame) break;
        if (name != "pHYs" || hasResolution) head.bytes.insert(head.bytes.end(), at, at + body + kFrame);
        if (name == "IHDR") head.bytes.insert(head.bytes.end(), exif.begin(), exif.end());
        head.rest += body + kFrame;
    }
    return head;
}

/// Adds the marker that tells the resolution where no EXIF does; the encoder only writes one of both.
Head jpegHead(const unsigned char* file, const Picture& picture) {
    constexpr std::size_t kStart = 2;
    const bool inches = picture.resolutionUnit == "in";
    const auto density = [inches](const std::optional<double>& perMm) {
        return static_cast<unsigned>(
            std::clamp(perMm.value_or(0.0) * (inches ? 25.4 : 10.0) + 0.5, 1.0, 65535.0));
    };
    const unsigned x = density(picture.pixelsPerMmX), y = density(picture.pixelsPerMmY);
    const unsigned unit = !picture.pixelsPerMmX ? 0 : inches ? 1 : 2;
    Head head{Bytes(file, file + kStart), kStart};
    for (const unsigned byte :
         {0xffu, 0xe0u, 0u, 16u, unsigned('J'), unsigned('F'), unsigned('I'), unsigned('F'), 0u, 1u, 1u, unit,
          x >> 8, x & 0xffu, y >> 8, y & 0xffu, 0u, 0u}) {
        head.bytes.push_back(static_cast<unsigned char>(byte));
    }
    return head;
}

void writeBytes(const std::filesystem::path& file, const unsigned char* bytes, std::size_t size,
                const Head& head) {
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(head.bytes.data()),
              static_cast<std::streamsize>(head.bytes.size()));
    out.write(reinterpret_cast<const char*>(bytes) + head.rest,
              static_cast<std::streamsize>(size - head.rest));
    out.close();
    if (!out) throw CommandError("its output can't be written (is the disk full?)");
}

/// Takes the unit from the resolution that the encoder makes up, so that it tells the shape of the pixels
/// alone. The metadata library can't: it keeps the encoder's tags as they are.
Head tiffHead(const unsigned char* file, std::size_t size) {
    constexpr std::size_t kEntry = 12;
    constexpr unsigned kResolutionUnit = 0x0128, kNoUnit = 1;
    const bool little = file[0] == 'I';
    const auto number = [&](std::size_t at, std::size_t bytes) {
        std::size_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i)
            value = value << 8 | file[little ? at + bytes - 1 - i : at + i];
        return value;
    };
    const std::size_t directory = number(4, 4);
    if (directory + 2 > size) return {};
    for (std::size_t i = 0, count = number(directory, 2); i < count; ++i) {
        const std::size_t entry = directory + 2 + i * kEntry;
        if (entry + kEntry > size) break;
        if (number(entry, 2) != kResolutionUnit) continue;
        Head head{Bytes(file, file + entry + kEntry), entry + kEntry};
        head.bytes[entry + (little ? 8 : 9)] = kNoUnit;
        return head;
    }
    return {};
}

Head headFor(const Picture& picture, const CarriedMetadata& carried, FileFormat format,
             const unsigned char* bytes, std::size_t size) {
    if (format == FileFormat::png) return pngHead(bytes, size, carried, picture.pixelsPerMmX.has_value());
    if (format == FileFormat::tiff && !picture.pixelsPerMmX) return tiffHead(bytes, size);
    const bool told = carried.exif.findKey(Exiv2::ExifKey("Exif.Image.XResolution")) != carried.exif.end();
    if (format == FileFormat::jpeg && !told) return jpegHead(bytes, picture);
    return {};
}

}  // namespace

void takeMetadata(Picture& picture, const std::filesystem::path& file) {
    try {
        const auto source = Exiv2::ImageFactory::open(file.string());
        source->readMetadata();
        dropRepetition(source->exifData());
        auto carried = std::make_shared<CarriedMetadata>();
        carried->exif = travellingExif(source->exifData());
        carried->iptc = source->iptcData();
        carried->xmp = source->xmpData();
        carried->xmpPacket = source->xmpPacket();
        if (source->byteOrder() != Exiv2::invalidByteOrder) carried->byteOrder = source->byteOrder();
        const bool nothing = carried->exif.empty() && carried->iptc.empty() && carried->xmpPacket.empty();
        if (!nothing) picture.metadata = std::move(carried);
    } catch (const Exiv2::AnyError& error) {
        picture.notes.push_back(std::string("its metadata can't be read and is not kept: ") + error.what());
    }
}

void writeWithMetadata(Picture& picture, EncodedFile encoded, const std::filesystem::path& file,
                       FileFormat format) {
    if (format == FileFormat::jpeg) dropMadeUpExif(encoded);
    if (format == FileFormat::webp && picture.metadata && !picture.metadata->iptc.empty()) {
        picture.notes.push_back("WebP holds no IPTC captions; they are left out");
    }
    if (format == FileFormat::tiff && picture.metadata && picture.metadata->xmp.empty() &&
        !picture.metadata->xmpPacket.empty()) {
        picture.notes.push_back("its XMP is malformed and can't be put into a TIFF; it is left out");
    }
    try {
        const CarriedMetadata carried = picture.metadata ? *picture.metadata : CarriedMetadata();
        const auto dressed = withMetadata(encoded, carried, format);
        dressed->io().open();
        const unsigned char* const bytes = dressed->io().mmap();
        const std::size_t size = static_cast<std::size_t>(dressed->io().size());
        writeBytes(file, bytes, size, headFor(picture, carried, format, bytes, size));
    } catch (const Exiv2::AnyError& error) {
        throw CommandError(std::string("its metadata can't be written: ") + error.what());
    }
}

void startMetadataLibrary() {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);  // what matters comes back as an error
    Exiv2::XmpParser::initialize();
}

void endMetadataLibrary() { Exiv2::XmpParser::terminate(); }

}  // namespace standin
