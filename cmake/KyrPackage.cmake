# Debian packages by CPack: runtime library, development files, tools. Included last; `./run package` makes and tries them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kyr-foundation)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The libkyr_foundation developers")
set(CPACK_PACKAGE_CONTACT "The libkyr_foundation developers <developers@kyr.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tools link the libraries of the same build, which is where their dependencies are looked up.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkyr-foundation${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Foundation library of the access-control system
 Discovery of devices, authenticated device links, notifications, scripts, the
 catalog of types and permissions, firmware images, CSV, mail and logging.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkyr-foundation-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
if(KYR_QT_MAJOR EQUAL 5)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qtbase5-dev, libqt5websockets5-dev")
else()
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev, qt6-websockets-dev")
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Foundation library of the access-control system: development files
 Headers, and the files by which CMake and pkg-config find the library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kyr-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "fonts-dejavu-core")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Tools of the access-control system
 The management console, the device simulator, and the report plugin.")

include(CPack)
