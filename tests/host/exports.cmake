# Fails unless PluginMain is the only name that PLUGIN exports; any other could be taken over by a host's libraries.
execute_process(COMMAND "${NM}" -D --defined-only --format=posix "${PLUGIN}" OUTPUT_VARIABLE names COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${names}")
list(TRANSFORM lines REPLACE " .*" "")
if(NOT lines STREQUAL "PluginMain")
    message(FATAL_ERROR "the plug-in exports: ${lines}")
endif()
