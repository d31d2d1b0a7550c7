# Debian packages by CPack: runtime library, development files, tools. Included last; `./run package` makes and tries them
# with the preset "package".

set(kyr_package_runtime libkyr-foundation${PROJECT_VERSION_MAJOR})
set(kyr_package_development libkyr-foundation-dev)
set(kyr_package_tools kyr-tools)
set(kyr_package_server libkyr-server${PROJECT_VERSION_MAJOR})
set(kyr_package_server_development libkyr-server-dev)
set(CPACK_PACKAGE_CONTACT "The libkyr_foundation developers <developers@kyr.invalid>")

# What only a system's own packages have. It goes to fixed places, so not into any other prefix.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND KYR_BUILD_APPS)
    set(kyr_packaging ${PROJECT_SOURCE_DIR}/packaging)
    string(TIMESTAMP kyr_package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    configure_file(${kyr_packaging}/changelog.in ${PROJECT_BINARY_DIR}/changelog @ONLY)
    foreach(component runtime development tools server server_development)
        set(documents ${CMAKE_INSTALL_DATADIR}/doc/${kyr_package_${component}})
        kyr_install_compressed(${component} ${documents} ${PROJECT_BINARY_DIR}/changelog)
        install(FILES ${kyr_packaging}/copyright DESTINATION ${documents} COMPONENT ${component})
        set(overrides ${kyr_packaging}/${component}.lintian-overrides)
        if(EXISTS ${overrides})
            install(FILES ${overrides} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
                RENAME ${kyr_package_${component}} COMPONENT ${component})
        endif()
    endforeach()
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/${kyr_package_development})
    install(FILES CHANGELOG.md DESTINATION ${documents} COMPONENT development)
    install(DIRECTORY docs examples DESTINATION ${documents} COMPONENT development
        PATTERN Doxyfile EXCLUDE PATTERN tools.md EXCLUDE PATTERN deployment.md EXCLUDE PATTERN audit.md EXCLUDE
        PATTERN scripts.md EXCLUDE PATTERN scripts EXCLUDE)
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/${kyr_package_tools})
    foreach(page tools deployment api audit scripts access door device-link notifications security data-model)
        install(FILES docs/${page}.md DESTINATION ${documents} COMPONENT tools)
    endforeach()
    install(FILES SECURITY.md DESTINATION ${documents} COMPONENT tools)
    # For trials: an authority, certificates of it, clients for notifications and the API.
    install(PROGRAMS scripts/development-ca scripts/device-certificate DESTINATION ${documents}/examples COMPONENT tools)
    install(FILES examples/notifications.py examples/new_user.py DESTINATION ${documents}/examples COMPONENT tools)
    # Auditors take it elsewhere: it needs nothing of this system.
    install(PROGRAMS scripts/audit_verify.py DESTINATION ${documents}/examples COMPONENT tools)
    install(DIRECTORY examples/scripts DESTINATION ${documents}/examples COMPONENT tools)
    install(PROGRAMS ${kyr_packaging}/reload-certificate DESTINATION /usr/lib/kyr COMPONENT tools)

    install(FILES ${kyr_packaging}/kyr-console.service ${kyr_packaging}/kyr-console.socket DESTINATION /lib/systemd/system COMPONENT tools)
    # Only root reads it: it may hold the token of notification clients.
    install(FILES ${kyr_packaging}/kyr-console.default DESTINATION /etc/default RENAME kyr-console
        PERMISSIONS OWNER_READ OWNER_WRITE COMPONENT tools)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kyr-foundation)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own; CPack would put this one in front
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The libkyr_foundation developers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL runtime development tools server server_development)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tools link the libraries of the same build, which is where their dependencies are looked up.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_SERVER_DEPENDS runtime)
set(CPACK_COMPONENT_SERVER_DEVELOPMENT_DEPENDS server development)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime server)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${kyr_package_runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "foundation library of the access-control system
Discovery of devices, authenticated device links, notifications, scripts, the
catalog of types and permissions, firmware images, CSV, mail and logging.")
# What a package that links the library depends on.
set(kyr_shlibs ${PROJECT_BINARY_DIR}/shlibs)
file(CONFIGURE OUTPUT ${kyr_shlibs} CONTENT
"libkyr_crypto @PROJECT_VERSION_MAJOR@ @kyr_package_runtime@ (>= @PROJECT_VERSION@)
libkyr_foundation @PROJECT_VERSION_MAJOR@ @kyr_package_runtime@ (>= @PROJECT_VERSION@)
" @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${kyr_shlibs} ${PROJECT_SOURCE_DIR}/packaging/library/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${kyr_package_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
if(KYR_QT_MAJOR EQUAL 5)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qtbase5-dev, libqt5websockets5-dev")
else()
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev, qt6-websockets-dev")
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "foundation library of the access-control system: development files
Headers, examples, and the files for CMake and pkg-config.")

set(CPACK_DEBIAN_SERVER_PACKAGE_NAME ${kyr_package_server})
set(CPACK_DEBIAN_SERVER_PACKAGE_SECTION libs)
# Qt loads it when a database is opened, so nothing links it.
if(KYR_QT_MAJOR EQUAL 5)
    set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS "libqt5sql5-sqlite")
else()
    set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS "libqt6sql6-sqlite")
endif()
set(CPACK_COMPONENT_SERVER_DESCRIPTION "server library of the access-control system
The model of an installation in a database: users, groups, doors, media,
rights, schedules, logins and sessions; and its audit trail.")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/server/shlibs CONTENT
"libkyr_server @PROJECT_VERSION_MAJOR@ @kyr_package_server@ (>= @PROJECT_VERSION@)
" @ONLY)
set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/server/shlibs
    ${PROJECT_SOURCE_DIR}/packaging/library/triggers)

set(CPACK_DEBIAN_SERVER_DEVELOPMENT_PACKAGE_NAME ${kyr_package_server_development})
set(CPACK_DEBIAN_SERVER_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_SERVER_DEVELOPMENT_DESCRIPTION "server library of the access-control system: development files
Headers, and the files for CMake and pkg-config.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${kyr_package_tools})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
# Reports are set in this font; without any font their pages are empty.
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "fonts-dejavu-core, adduser")
# The authorities by which mail servers are checked.
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "ca-certificates")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "management console and device simulator of the access-control system
The console manages an installation and serves its devices, at a prompt or as
a service. The simulator plays devices. The report plugin writes PDF.")
foreach(script conffiles postinst prerm postrm)
    list(APPEND CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/tools/${script})
endforeach()

include(CPack)
