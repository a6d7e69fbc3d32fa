# A room is a folder with a library target veil_<folder>. A target sees the headers of a room only if it names the
# room in MAY_INCLUDE, so that an include against the rules does not compile. To that end each room's folder is
# linked into a directory of its own, and only those directories are put on a target's include path.
set(VEIL_ROOMS_DIR "${CMAKE_BINARY_DIR}/rooms")

function(veil_publish_room room)
    file(MAKE_DIRECTORY "${VEIL_ROOMS_DIR}/${room}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${room}" "${VEIL_ROOMS_DIR}/${room}/${room}" SYMBOLIC)
endfunction()

# A single header of a room, for the targets that may see that one and no other.
function(veil_publish_header name room header)
    file(MAKE_DIRECTORY "${VEIL_ROOMS_DIR}/${name}/${room}")
    file(CREATE_LINK "${CMAKE_SOURCE_DIR}/${room}/${header}" "${VEIL_ROOMS_DIR}/${name}/${room}/${header}" SYMBOLIC)
endfunction()

foreach(room engine host presets dialog platform standin toolkit)
    veil_publish_room(${room})
endforeach()
veil_publish_header(parameter_block host parameter_block.h)
veil_publish_header(run_main_dialog dialog run_main_dialog.h)
veil_publish_header(gui_session platform gui_session.h)
veil_publish_header(windows_1252 platform windows_1252.h)

# veil_may_include(TARGET ROOM...): puts the named rooms on the target's own include path, and on nobody else's.
function(veil_may_include target)
    foreach(room ${ARGN})
        target_include_directories(${target} PRIVATE "${VEIL_ROOMS_DIR}/${room}")
    endforeach()
endfunction()

# veil_room(NAME SOURCES ... MAY_INCLUDE ... LINKS ...): the library of one room.
function(veil_room name)
    cmake_parse_arguments(ROOM "" "" "SOURCES;MAY_INCLUDE;LINKS" ${ARGN})
    add_library(veil_${name} STATIC ${ROOM_SOURCES})
    veil_may_include(veil_${name} ${name} ${ROOM_MAY_INCLUDE})
    target_link_libraries(veil_${name} PRIVATE veil_flags ${ROOM_LINKS})
endfunction()
