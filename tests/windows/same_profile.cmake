# Profile files and presets: the native build must answer and write what the system of the product does.
# Wants NATIVE (folder of the native programs), EMULATOR, PROGRAM (profile_answers.exe) and FOLDER (scratch).
if(NOT EXISTS "${NATIVE}/profile_answers")
    message(FATAL_ERROR "build the preset native-release first: ${NATIVE}/profile_answers is missing")
endif()
file(REMOVE_RECURSE "${FOLDER}")
file(MAKE_DIRECTORY "${FOLDER}/native" "${FOLDER}/windows")
execute_process(COMMAND "${NATIVE}/profile_answers" native native.txt
                WORKING_DIRECTORY "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${EMULATOR} "${PROGRAM}" windows windows.txt
                WORKING_DIRECTORY "${FOLDER}" COMMAND_ERROR_IS_FATAL ANY)
file(SIZE "${FOLDER}/native.txt" size)
if(size LESS 100000)
    message(FATAL_ERROR "only ${size} bytes were answered")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files native.txt windows.txt
                WORKING_DIRECTORY "${FOLDER}" RESULT_VARIABLE differ)
if(differ)
    message(FATAL_ERROR "the answers differ: compare native.txt and windows.txt in ${FOLDER}")
endif()
