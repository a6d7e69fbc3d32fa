# veil_find_headers(VARIABLE FOLDER HEADER): finds a header-only library and sets VARIABLE to a directory to include
# from. A cross build can't take it from the machine's own include path, which would bring in the machine's C library
# too; so the library's folder alone is linked into the build.
function(veil_find_headers variable folder header)
    find_path(${variable}_FOUND_IN "${folder}/${header}" NO_CMAKE_FIND_ROOT_PATH)
    if(NOT ${variable}_FOUND_IN)
        set(${variable} "" PARENT_SCOPE)
        return()
    endif()
    if(NOT CMAKE_CROSSCOMPILING)
        set(${variable} "${${variable}_FOUND_IN}" PARENT_SCOPE)
        return()
    endif()
    set(directory "${CMAKE_BINARY_DIR}/headers/${folder}")
    file(MAKE_DIRECTORY "${directory}")
    file(CREATE_LINK "${${variable}_FOUND_IN}/${folder}" "${directory}/${folder}" SYMBOLIC)
    set(${variable} "${directory}" PARENT_SCOPE)
endfunction()
