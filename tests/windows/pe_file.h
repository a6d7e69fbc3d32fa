#pragma once

// A 64-bit Windows library as bytes: what it exports, imports and carries as resources.

#include <cstdint>
#include <string>
#include <vector>

namespace pe {

using Bytes = std::vector<std::uint8_t>;

/// One leaf of the resource directory. A type or name is a number ("#24") or a string.
struct Resource {
    std::string type, name;
    int language = 0;
    Bytes data;
};

struct File {
    std::vector<std::string> exports, imports;
    std::uint32_t exportCount = 0;  ///< those without a name among them
    std::vector<Resource> resources;
    std::uint32_t timeStamp = 0;
};

Bytes readBytes(const std::string& path);

/// Throws std::runtime_error (or std::out_of_range) if the bytes are no such library.
File parse(const Bytes& bytes);

}  // namespace pe
