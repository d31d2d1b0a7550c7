# Settings that every target of the house shares: language, warnings, sanitizers, strict Qt.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Programs of the build folder find the library beside them without an environment variable.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)

find_program(KYR_CCACHE ccache)
if(KYR_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${KYR_CCACHE})
endif()

add_library(kyr_build_settings INTERFACE)
target_compile_options(kyr_build_settings INTERFACE -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual
    # Macros of Qt (QSKIP) take more arguments than they are given.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>
    $<$<BOOL:${KYR_WERROR}>:-Werror>)
target_compile_definitions(kyr_build_settings INTERFACE QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_ASCII
    QT_NO_URL_CAST_FROM_STRING QT_USE_QSTRINGBUILDER QT_DEPRECATED_WARNINGS)
if(KYR_SANITIZE)
    target_compile_options(kyr_build_settings INTERFACE -fsanitize=${KYR_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(kyr_build_settings INTERFACE -fsanitize=${KYR_SANITIZE})
    if(KYR_SANITIZE MATCHES undefined)
        target_compile_options(kyr_build_settings INTERFACE -fno-sanitize-recover=undefined)
    endif()
endif()

# Release builds (any with optimisation and debug information or none) make faults harder to exploit; what each flag puts
# into the ELF files is checked by tests/hardening. The library's code is position-independent anyway, the programs
# need the linker's part of it, too.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(kyr_release "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
set(kyr_fortify_level "$<IF:$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,12>>,3,2>")
# Some compilers come with a level of their own, hence -U.
target_compile_options(kyr_build_settings INTERFACE
    $<${kyr_release}:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${kyr_fortify_level} -fstack-protector-strong
    -fstack-clash-protection>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
    target_compile_options(kyr_build_settings INTERFACE $<${kyr_release}:-fcf-protection>)
endif()
target_link_options(kyr_build_settings INTERFACE $<${kyr_release}:LINKER:-z,relro,-z,now,-z,noexecstack>)
if(NOT KYR_SANITIZE)
    # A library that leaves a symbol to chance fails here, not when it is loaded. Sanitized ones leave theirs to the program.
    target_link_options(kyr_build_settings INTERFACE LINKER:-z,defs)
endif()

# kyr_add_app(NAME sources...): a tool on the library, installed with the tools.
function(kyr_add_app name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE kyr_build_settings Kyr::Foundation)
    set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    target_compile_definitions(${name} PRIVATE KYR_VERSION="${PROJECT_VERSION}")
    install(TARGETS ${name} RUNTIME COMPONENT tools)
endfunction()
