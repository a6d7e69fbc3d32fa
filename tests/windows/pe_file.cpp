#include "tests/windows/pe_file.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace pe {

namespace {

struct Reader {
    const Bytes& bytes;

    template <class T>
    T at(std::size_t offset) const {
        T value;
        if (offset + sizeof(T) > bytes.size()) throw std::out_of_range("behind the end of the file");
        std::memcpy(&value, bytes.data() + offset, sizeof(T));
        return value;
    }
    std::uint32_t u32(std::size_t offset) const { return at<std::uint32_t>(offset); }
    std::uint16_t u16(std::size_t offset) const { return at<std::uint16_t>(offset); }
    std::string text(std::size_t offset) const {
        std::string result;
        while (const char c = at<char>(offset++)) result += c;
        return result;
    }

    std::size_t header() const { return u32(0x3C); }
    std::uint32_t directory(int index) const {
        return u32(header() + 24 + 112 + 8 * static_cast<std::size_t>(index));
    }
    // The place in the file of an address in memory.
    std::size_t offsetOf(std::uint32_t address) const {
        const std::size_t sections = header() + 24 + u16(header() + 20);
        for (int i = 0; i < u16(header() + 6); ++i) {
            const std::size_t section = sections + 40 * static_cast<std::size_t>(i);
            const std::uint32_t first = u32(section + 12), size = u32(section + 16);
            if (address >= first && address < first + size) return address - first + u32(section + 20);
        }
        throw std::runtime_error("an address outside all sections");
    }
};

std::string entryName(const Reader& reader, std::size_t root, std::uint32_t id) {
    if (!(id & 0x80000000)) return "#" + std::to_string(id);
    const std::size_t place = root + (id & 0x7FFFFFFF);
    std::string name;
    for (int i = 0; i < reader.u16(place); ++i)
        name += static_cast<char>(reader.u16(place + 2 + 2 * static_cast<std::size_t>(i)));
    return name;
}

// Three levels: type, name, language.
void walk(const Reader& reader, std::size_t root, std::size_t table, std::vector<std::string> path,
          File& file) {
    const int count = reader.u16(table + 12) + reader.u16(table + 14);
    for (int i = 0; i < count; ++i) {
        const std::size_t entry = table + 16 + 8 * static_cast<std::size_t>(i);
        const std::uint32_t id = reader.u32(entry), target = reader.u32(entry + 4);
        std::vector<std::string> here = path;
        here.push_back(entryName(reader, root, id));
        if (target & 0x80000000) {
            walk(reader, root, root + (target & 0x7FFFFFFF), here, file);
            continue;
        }
        const std::size_t leaf = root + target;
        const auto first = reader.bytes.begin() + static_cast<long>(reader.offsetOf(reader.u32(leaf)));
        const auto size = static_cast<long>(reader.u32(leaf + 4));
        file.resources.push_back({here.at(0), here.at(1), static_cast<int>(id), Bytes(first, first + size)});
    }
}

}  // namespace

Bytes readBytes(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw std::runtime_error("can't read " + path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

File parse(const Bytes& bytes) {
    const Reader reader{bytes};
    if (reader.u32(reader.header()) != 0x4550 || reader.u16(reader.header() + 4) != 0x8664)
        throw std::runtime_error("no 64-bit Windows library");
    File file;
    file.timeStamp = reader.u32(reader.header() + 8);

    const std::size_t exports = reader.offsetOf(reader.directory(0));
    const std::size_t names = reader.offsetOf(reader.u32(exports + 32));
    file.exportCount = reader.u32(exports + 20);
    for (std::uint32_t i = 0; i < reader.u32(exports + 24); ++i)
        file.exports.push_back(reader.text(reader.offsetOf(reader.u32(names + 4 * i))));

    for (std::size_t i = reader.offsetOf(reader.directory(1)); reader.u32(i + 12) != 0; i += 20)
        file.imports.push_back(reader.text(reader.offsetOf(reader.u32(i + 12))));

    const std::size_t root = reader.offsetOf(reader.directory(2));
    walk(reader, root, root, {}, file);
    return file;
}

}  // namespace pe
