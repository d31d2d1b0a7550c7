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

# The prefix as seen from the pkg-config file, so that an installed tree may be moved.
file(RELATIVE_PATH kyr_prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kyr_foundation.pc.in ${PROJECT_BINARY_DIR}/kyr_foundation.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kyr_foundation.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
