# The plug-in as hosts load it: one module that exports PluginMain and nothing else. The host room goes in object by
# object, since nothing in the module calls the entry.
add_library(DuskyVeil MODULE $<TARGET_OBJECTS:veil_host>)
set_target_properties(DuskyVeil PROPERTIES PREFIX "")
target_link_libraries(DuskyVeil PRIVATE veil_flags veil_dialog veil_toolkit veil_presets veil_engine veil_platform)

if(WIN32)
    # One exported function is enough for this linker to export nothing else.
    set_target_properties(DuskyVeil PROPERTIES SUFFIX ".8bf")
    target_link_options(DuskyVeil PRIVATE "$<$<CONFIG:Release>:-s>")
    target_sources(DuskyVeil PRIVATE "${CMAKE_SOURCE_DIR}/resources/DuskyVeil.rc")
    # Linked by itself: from a library it would come too late to stand in for the import.
    target_sources(DuskyVeil PRIVATE "${CMAKE_SOURCE_DIR}/platform/windows/thread_slots.cpp")
    set_source_files_properties("${CMAKE_SOURCE_DIR}/resources/DuskyVeil.rc" PROPERTIES
        OBJECT_DEPENDS "${CMAKE_SOURCE_DIR}/resources/DuskyVeil.manifest;${CMAKE_SOURCE_DIR}/resources/dialogs.rc;${CMAKE_SOURCE_DIR}/resources/banner.png")
else()
    # The standard library marks its own instances visible, so hidden visibility alone would export some of them.
    set(VEIL_EXPORTS "${CMAKE_SOURCE_DIR}/cmake/exports.map")
    target_link_options(DuskyVeil PRIVATE "-Wl,--version-script=${VEIL_EXPORTS}")
    set_target_properties(DuskyVeil PROPERTIES LINK_DEPENDS "${VEIL_EXPORTS}")
    if(VEIL_PLATFORM STREQUAL "desktop")
        # Linked by itself: nothing in the module calls it.
        target_sources(DuskyVeil PRIVATE "${CMAKE_SOURCE_DIR}/platform/desktop/keep_loaded.cpp")
        target_link_libraries(DuskyVeil PRIVATE Qt6::Core)
    endif()
endif()
