# Looks for includes that climb out of their room; the include paths can't see those.
file(GLOB_RECURSE sources "${SOURCE}/engine/*" "${SOURCE}/host/*" "${SOURCE}/presets/*" "${SOURCE}/dialog/*"
     "${SOURCE}/toolkit/*" "${SOURCE}/platform/*" "${SOURCE}/standin/*" "${SOURCE}/tests/*" "${SOURCE}/bench/*")
list(FILTER sources INCLUDE REGEX "[.](cpp|h|inl)$")
list(LENGTH sources count)
if(count LESS 50)
    message(FATAL_ERROR "only ${count} sources found in ${SOURCE}")
endif()
foreach(source ${sources})
    file(STRINGS "${source}" climbing REGEX "#[ ]*include[ ]*[\"<][^\">]*[.][.]/")
    if(climbing)
        message(SEND_ERROR "${source}: ${climbing}")
    endif()
endforeach()
