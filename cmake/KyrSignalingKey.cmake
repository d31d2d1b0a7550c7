# The key shared with the signaling service goes into the library in scrambled form.

# Not secret: the SHA-256 of "libkyr_foundation development signaling key".
set(KYR_DEVELOPMENT_SIGNALING_KEY 30d189db0db6e402f773faf8b87cc4094b300dbecc0de7e9c7b10a7f041c95d9)

# kyr_check_signaling_key(KEY VARIABLE): sets VARIABLE to what is wrong with the key, or to nothing. The key itself is
# never shown. Zero bytes are refused because the service takes the key for a zero-terminated text.
function(kyr_check_signaling_key key variable)
    set(fault "")
    string(LENGTH "${key}" length)
    if(NOT length EQUAL 64 OR NOT key MATCHES "^[0-9a-fA-F]*$")
        set(fault "KYR_SIGNALING_KEY is not of 64 hexadecimal digits (it has ${length} characters)")
    else()
        string(REGEX MATCHALL ".." bytes "${key}")
        if("00" IN_LIST bytes)
            set(fault "KYR_SIGNALING_KEY must not contain a zero byte")
        endif()
    endif()
    set(${variable} "${fault}" PARENT_SCOPE)
endfunction()

# kyr_write_signaling_key(KEY FILE): writes the C++ fragment that signaling_mac.cpp includes: the key's bytes out of order
# and masked, and the masks. The same key gives the same fragment, so that a build can be repeated.
function(kyr_write_signaling_key key file)
    string(SHA256 masks "${key} masks")
    foreach(i RANGE 31)
        math(EXPR at "(${i} * 11 + 5) % 32 * 2")
        string(SUBSTRING "${key}" ${at} 2 byte)
        math(EXPR at "${i} * 2")
        string(SUBSTRING "${masks}" ${at} 2 mask)
        math(EXPR value "0x${byte} ^ 0x${mask}" OUTPUT_FORMAT HEXADECIMAL)
        list(APPEND scrambled ${value})
        list(APPEND mask_bytes 0x${mask})
    endforeach()
    list(JOIN scrambled ", " scrambled)
    list(JOIN mask_bytes ", " mask_bytes)
    file(CONFIGURE OUTPUT ${file} CONTENT
"// Made from KYR_SIGNALING_KEY by KyrSignalingKey.cmake.
const volatile unsigned char scrambledKey[32] = {@scrambled@};
const volatile unsigned char keyMasks[32] = {@mask_bytes@};
" @ONLY)
endfunction()
