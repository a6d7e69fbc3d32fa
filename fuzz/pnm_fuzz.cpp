// Fuzzes the PNM reader: whatever the bytes, it reads a picture that survives being written, or refuses.

#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "standin/veil/errors.h"
#include "standin/veil/picture_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace standin;
    try {
        std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
        const Picture picture = readPnm(in);
        std::stringstream copy;
        writePnm(copy, picture, picture.format, picture.grey);
        if (readPnm(copy).image != picture.image) std::abort();
    } catch (const CommandError&) {
        return 0;
    }
    return 0;
}
