# What `cmake --install` installs besides the targets, which their own folders install. The components:
#   runtime      the client library, the engine kit, and the desktop platform's library, which both are linked with
#                (with ZUV_PLATFORM_DIR the platform's library is not installed: it belongs to the SDK)
#   development  what building a program needs: headers, the link to the library, the packages for CMake and pkg-config,
#                documents
#   desktop      the desktop platform's programs, the recorder of applications, the reader of recordings, the examples,
#                the maker of clips, their manual pages, and the link to the desktop platform's library
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/zuv_media_proxy)

configure_package_config_file(cmake/zuv_media_proxy-config.cmake.in zuv_media_proxy-config.cmake
    INSTALL_DESTINATION ${package_folder}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(zuv_media_proxy-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/zuv_media_proxy-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/zuv_media_proxy-config-version.cmake
    DESTINATION ${package_folder} COMPONENT development)

# Relative to the file's own folder, so that the installation can be moved.
string(REGEX REPLACE "[^/]+" ".." prefix_from_pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(pkgconfig_packages zuv_media_proxy)
if(ZUV_BUILD_ENGINE)
    list(APPEND pkgconfig_packages zuv_engine)
endif()
foreach(name IN LISTS pkgconfig_packages)
    configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

# A separate set of targets for each component, because components can be installed separately.
install(EXPORT zuv_media_proxy-targets NAMESPACE zuv::
    DESTINATION ${package_folder} COMPONENT development)
if(ZUV_BUILD_DESKTOP)
    install(EXPORT zuv_media_proxy-desktop-targets NAMESPACE zuv::
        DESTINATION ${package_folder} COMPONENT desktop)
endif()

install(FILES LICENSE CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
    FILES_MATCHING PATTERN "*.md")

if(TARGET zuv-desktop)
    install(PROGRAMS scripts/make-clip RENAME zuv-make-clip
        DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT desktop)
    install(DIRECTORY packaging/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT desktop)
endif()
