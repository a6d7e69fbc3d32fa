#pragma once

// EXIF, XMP and IPTC of photographs through Exiv2, and what the encoder makes up of them put right.

#include "standin/veil/picture_file.h"

namespace standin {

/// The bytes of an encoded file, which somebody else owns.
struct EncodedFile {
    unsigned char* begin = nullptr;
    std::size_t size = 0;
};

/// Reads what `file` carries into `picture.metadata`, or leaves a note if it can't be read.
void takeMetadata(Picture& picture, const std::filesystem::path& file);

/// Writes `encoded` to `file` with the metadata and the resolution of `picture`, and with none but those; may
/// change the bytes in place. Adds to the picture's notes. Throws CommandError.
void writeWithMetadata(Picture& picture, EncodedFile encoded, const std::filesystem::path& file,
                       FileFormat format);

void startMetadataLibrary();
void endMetadataLibrary();

}  // namespace standin
