# Builds the library once more, in another folder, and compares. Wants SOURCE, AGAIN (build folder), GENERATOR,
# TOOLCHAIN, BUILD_TYPE and LIBRARY.
file(REMOVE_RECURSE "${AGAIN}")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${AGAIN}" -G "${GENERATOR}" -DVEIL_TESTS=OFF
                        -DVEIL_BENCH=OFF -DVEIL_VIPS=OFF "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}"
                        "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}"
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${AGAIN}" --target DuskyVeil OUTPUT_QUIET
                COMMAND_ERROR_IS_FATAL ANY)
file(SHA256 "${LIBRARY}" first)
file(SHA256 "${AGAIN}/bin/DuskyVeil.8bf" second)
if(NOT first STREQUAL second)
    message(FATAL_ERROR "two builds of one source differ: ${first} and ${second}")
endif()
message(STATUS "both builds: ${first}")
