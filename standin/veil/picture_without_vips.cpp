#include "standin/veil/errors.h"
#include "standin/veil/picture_file.h"

namespace standin {

bool photographsSupported() { return false; }

Picture readPhotograph(const std::filesystem::path&, FileFormat format, const std::function<bool()>&) {
    throw CommandError(std::string("is a ") + formatName(format) +
                       " file; this veil was built without libvips and reads " + readableFormats());
}

void writePhotograph(Picture&, int, const std::filesystem::path&, FileFormat format,
                     const std::function<bool()>&) {
    throw CommandError(std::string("this veil was built without libvips and writes no ") +
                       formatName(format));
}

PictureLibraries::PictureLibraries(const char*) {}
PictureLibraries::~PictureLibraries() {}

}  // namespace standin
