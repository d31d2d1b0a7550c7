# What `cmake --install` lays down: libraries, public headers, find_package and pkg-config files.
include(CMakePackageConfigHelpers)

install(TARGETS kyr_foundation kyr_crypto EXPORT KyrFoundationTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
set_target_properties(kyr_foundation kyr_crypto PROPERTIES INSTALL_RPATH "$ORIGIN")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/foundation ${PROJECT_SOURCE_DIR}/kyr_crypto
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE PATTERN "resources" EXCLUDE)

set(kyr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KyrFoundation)
install(EXPORT KyrFoundationTargets NAMESPACE Kyr:: DESTINATION ${kyr_package_dir} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KyrFoundationConfig.cmake.in
    ${PROJECT_BINARY_DIR}/KyrFoundationConfig.cmake INSTALL_DESTINATION ${kyr_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KyrFoundationConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KyrFoundationConfig.cmake ${PROJECT_BINARY_DIR}/KyrFoundationConfigVersion.cmake
    DESTINATION ${kyr_package_dir} COMPONENT development)

# The server's library is found, and packaged, on its own: whoever only links devices gets neither it nor Qt Sql.
install(TARGETS kyr_server EXPORT KyrServerTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT server NAMELINK_COMPONENT server_development)
set_target_properties(kyr_server PROPERTIES INSTALL_RPATH "$ORIGIN")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/server
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT server_development
    FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE PATTERN "migrations" EXCLUDE)
set(kyr_server_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KyrServer)
install(EXPORT KyrServerTargets NAMESPACE Kyr:: DESTINATION ${kyr_server_package_dir} COMPONENT server_development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KyrServerConfig.cmake.in
    ${PROJECT_BINARY_DIR}/KyrServerConfig.cmake INSTALL_DESTINATION ${kyr_server_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KyrServerConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KyrServerConfig.cmake ${PROJECT_BINARY_DIR}/KyrServerConfigVersion.cmake
    DESTINATION ${kyr_server_package_dir} COMPONENT server_development)

# kyr_install_compressed(COMPONENT DIRECTORY FILE): installs a text the way manual pages and change logs are kept.
find_program(KYR_GZIP gzip)
function(kyr_install_compressed component directory file)
    if(KYR_GZIP)
        get_filename_component(name ${file} NAME)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
        file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed)
        execute_process(COMMAND ${KYR_GZIP} -9nc ${file} OUTPUT_FILE ${PROJECT_BINARY_DIR}/compressed/${name}.gz
            COMMAND_ERROR_IS_FATAL ANY)
        set(file ${PROJECT_BINARY_DIR}/compressed/${name}.gz)
    endif()
    install(FILES ${file} DESTINATION ${directory} COMPONENT ${component})
endfunction()
if(KYR_BUILD_APPS)
    install(FILES ${PROJECT_SOURCE_DIR}/apps/management_console/completion/kyr_console.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kyr_console COMPONENT tools)
    install(FILES ${PROJECT_SOURCE_DIR}/apps/management_console/completion/_kyr_console
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
    kyr_install_compressed(tools ${CMAKE_INSTALL_MANDIR}/man1
        ${PROJECT_SOURCE_DIR}/apps/management_console/kyr_console.1)
    kyr_install_compressed(tools ${CMAKE_INSTALL_MANDIR}/man1
        ${PROJECT_SOURCE_DIR}/apps/device_simulator/kyr_device_simulator.1)
endif()

# The prefix as seen from the pkg-config file, so that an installed tree may be moved.
file(RELATIVE_PATH kyr_prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kyr_foundation.pc.in ${PROJECT_BINARY_DIR}/kyr_foundation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kyr_foundation.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kyr_server.pc.in ${PROJECT_BINARY_DIR}/kyr_server.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kyr_server.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT server_development)
