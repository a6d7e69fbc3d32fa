# One interface target carries the flags that every target shares.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# -ffp-contract=off keeps every build and instruction set at the same bits; the two -fno flags change no value
# and let the compiler vectorise a clamp.
set(VEIL_FLOAT_FLAGS -ffp-contract=off -fno-trapping-math -fno-math-errno)

add_library(veil_flags INTERFACE)
target_compile_options(veil_flags INTERFACE ${VEIL_FLOAT_FLAGS} -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                            -Wno-sign-conversion)
if(WIN32)
    # Hosts load the library from any folder, so nothing but the system's own libraries may stand beside it. Without
    # time stamps and build paths two builds of one source are the same bytes.
    target_compile_definitions(veil_flags INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
    target_compile_options(veil_flags INTERFACE "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=." "-ffile-prefix-map=${CMAKE_BINARY_DIR}=build")
    target_link_options(veil_flags INTERFACE -static -Wl,--no-insert-timestamp)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Clang has no use for the promise about traps, and says so.
    target_compile_options(veil_flags INTERFACE -Wno-ignored-optimization-argument -Wno-overriding-t-option)
endif()
if(VEIL_SANITIZE)
    target_compile_options(veil_flags INTERFACE -fsanitize=${VEIL_SANITIZE} -fno-sanitize-recover=all
                                                -fno-omit-frame-pointer -g1)
    target_link_options(veil_flags INTERFACE -fsanitize=${VEIL_SANITIZE})
endif()
