# veil_embed_resource(OUTPUT ID FILE): writes a source that gives the bytes of FILE as resource ID (resources.h). It is
# written anew when the file changes, comes or goes; without the file there is no such resource.
function(veil_embed_resource output id file)
    file(GLOB found CONFIGURE_DEPENDS "${file}")
    set(bytes "")
    if(found)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
        file(READ "${file}" hex HEX)
        string(REGEX REPLACE "(................................)" "\\1\n" hex "${hex}")
        string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    endif()
    string(REGEX MATCHALL "0x" all "${bytes}")
    list(LENGTH all count)
    file(CONFIGURE OUTPUT "${output}" @ONLY CONTENT [[// Written by resources.cmake.
#include "platform/desktop/resources.h"

#include <array>

namespace veil {

std::span<const unsigned char> moduleResource(int id) {
    static constexpr std::array<unsigned char, @count@> kBytes{@bytes@};
    return id == @id@ ? std::span<const unsigned char>(kBytes) : std::span<const unsigned char>();
}

}  // namespace veil
]])
endfunction()
