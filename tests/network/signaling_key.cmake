# cmake -DROOT=DIR -P signaling_key.cmake: which signaling keys the build takes.
cmake_minimum_required(VERSION 3.25)
include(${ROOT}/cmake/KyrSignalingKey.cmake)

string(REPEAT "a5" 32 good)
string(REPEAT "A" 63 short)
foreach(case "${good}=yes" "${KYR_DEVELOPMENT_SIGNALING_KEY}=yes" "${short}=no" "${short}g=no" "${good}00=no" "=no"
        "0a0b0c0d0e0f00a10203040506070809a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5a5=no"
        "a00aa00aa00aa00aa00aa00aa00aa00aa00aa00aa00aa00aa00aa00aa00aa00a=yes")
    string(REGEX MATCH "^(.*)=(yes|no)$" _ "${case}")
    set(expected ${CMAKE_MATCH_2})
    kyr_check_signaling_key("${CMAKE_MATCH_1}" fault)
    if(fault STREQUAL "")
        set(taken yes)
    else()
        set(taken no)
    endif()
    if(NOT taken STREQUAL expected)
        message(SEND_ERROR "${case}: ${fault}")
    endif()
endforeach()
