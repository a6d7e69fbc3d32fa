#pragma once

// Picture files: what the command reads, carries through and writes, whatever the format.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "standin/image.h"

namespace standin {

enum class FileFormat { pnm, pam, png, jpeg, tiff, webp };

constexpr int kWhite8 = 255;
constexpr int kWhiteFile = 65535;  // of a 16-bit file
constexpr int kWhiteHost = 32768;  // of a 16-bit sample in the host, and of a PNM that holds host values

struct CarriedMetadata;  // EXIF, XMP and IPTC, in the form of the library that reads them

/// A picture in memory. `image` has 3 planes, or 4 with transparency, in the samples of its file: white is
/// `white`, so 16-bit samples are not yet the host's unless `white` is kWhiteHost. A grey file is expanded.
struct Picture {
    Image image;
    int white = kWhite8;  ///< of colours and transparency: kWhite8, kWhiteFile or kWhiteHost
    FileFormat format = FileFormat::pnm;
    bool grey = false;  ///< the file holds grey
    bool losslessWebp = false;
    std::vector<std::byte> iccProfile;
    std::optional<double> pixelsPerMmX, pixelsPerMmY;
    std::string resolutionUnit;  ///< "in", "cm" or empty, for the formats that tell
    std::shared_ptr<const CarriedMetadata> metadata;
    std::vector<std::string> notes;  ///< what could not be read or kept, for the user
};

/// The formats this build reads, for messages.
std::string readableFormats();
/// One sentence on the formats of this build.
std::string supportNote();

/// The format that a name's ending stands for, in any case; nothing for an unknown ending.
std::optional<FileFormat> formatOfName(const std::filesystem::path& name);
const char* formatName(FileFormat format);

/// Reads a file by what it holds, not by its name. `stop` is asked now and then and ends the reading with
/// ExitStatus::interrupted. Throws CommandError without the file's name, or std::bad_alloc.
Picture readPicture(const std::filesystem::path& file, const std::function<bool()>& stop);

/// Refuses what `format` can't hold, as far as that is known before the filter runs. Throws CommandError.
void checkWritable(const Picture& picture, FileFormat format);

/// Writes `picture` to `file`, whose name plays no part, and uses it up: samples are reduced and packed in
/// place. Grey stays grey where red, green and blue are equal everywhere. Returns notes on what was not kept.
/// Throws CommandError without the file's name.
std::vector<std::string> writePicture(Picture&& picture, const std::filesystem::path& file, FileFormat format,
                                      const std::function<bool()>& stop);

/// Brings all samples, transparency too, to the scale of `white`, and the image to the depth that goes with
/// it.
void convertWhite(Picture& picture, int white);

/// `value` of 0 to `fromWhite` on a scale of 0 to `toWhite`, to nearest:
///     (value * toWhite + fromWhite / 2) / fromWhite, rounded down.
/// Both whites are among 255, 32768 and 65535, so that 32 bits suffice. A host value taken to a 16-bit file's
/// scale and back is kept; half of a file's values are not, since the host has half as many.
constexpr unsigned rescale(unsigned value, unsigned fromWhite, unsigned toWhite) {
    return (value * toWhite + fromWhite / 2) / fromWhite;
}

/// Rescales the colour samples, not the transparency, of 16-bit pixels inside `area`, which lies in the
/// image.
void rescaleColour(Image& image, const PixelRect& area, int fromWhite, int toWhite);

/// The PNM formats: P6, and PAM of type RGB, RGB_ALPHA, GRAYSCALE or GRAYSCALE_ALPHA; maxval 255, 65535 or
/// 32768. A file holds one picture and nothing behind it. `in` can be repositioned. Throws CommandError,
/// std::bad_alloc.
Picture readPnm(std::istream& in);
/// `grey`: one colour channel, PAM only. The caller looks at the state of `out`.
void writePnm(std::ostream& out, const Picture& picture, FileFormat format, bool grey);

/// The other formats; without libvips both throw CommandError.
Picture readPhotograph(const std::filesystem::path& file, FileFormat format,
                       const std::function<bool()>& stop);
/// `channels` is 1 to 4: the samples lie packed in `picture.image.samples`, and are given up. Adds to its
/// notes.
void writePhotograph(Picture& picture, int channels, const std::filesystem::path& file, FileFormat format,
                     const std::function<bool()>& stop);
bool photographsSupported();

/// Starts and ends the libraries behind the formats; once, in main.
struct PictureLibraries {
    explicit PictureLibraries(const char* program);
    ~PictureLibraries();
    PictureLibraries(const PictureLibraries&) = delete;
    PictureLibraries& operator=(const PictureLibraries&) = delete;
};

}  // namespace standin
