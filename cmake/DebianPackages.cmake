# Debian packages, one for each component of the installation: `cpack` in the build folder packs what was built there.
# The presets `package` and `armhf` use Debian's layout, with the libraries in the architecture's own folder. There are
# no packages for a build with ZUV_PLATFORM_DIR, because no package contains the platform that it needs.
#
#   libzuv-media-proxyN    runtime: the client, the engine kit, and the desktop platform's library. That is included,
#                          because the others cannot be loaded without it and all always come from one build.
#   libzuv-media-proxy-dev development
#   zuv-desktop            the desktop platform's programs, if this build has them, and what the session bus needs to
#                          start them
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zuv-media-proxy)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The authors of the media proxy client <media-proxy@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package's description begins with a summary of its own
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET zuv-desktop)
    list(APPEND CPACK_COMPONENTS_ALL desktop)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_ZUV_PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/add_debian_files.cmake)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzuv-media-proxy${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Media proxy client of a television's web engine
Plays video that a separate media service process really plays.
.
The shared libraries: the client that a web engine loads; the engine kit,
with which it calls the client without being blocked; and the bus connection
and the log of the desktop platform.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzuv-media-proxy-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Media proxy client of a television's web engine - development files
Headers of the client and of the engine kit, documents, and the packages for
CMake and pkg-config. libzuv_callback_check.so, preloaded into a program,
finds callbacks that call their own proxy and would hang.")

# GStreamer's plugins, the bus daemon, and the Python of zuv-trace are found by name at run time, so they have to be
# listed.
set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME zuv-desktop)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_DEPENDS
    "dbus-daemon, gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, python3")
# zuv-make-clip runs gst-launch-1.0. libav and the bad plugins decode H.264 and AAC, and read HLS and DASH.
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "gstreamer1.0-libav, gstreamer1.0-plugins-bad, gstreamer1.0-tools")
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SUGGESTS
    "gstreamer1.0-plugins-base-apps, gstreamer1.0-plugins-ugly, libzuv-media-proxy-dev")
set(CPACK_COMPONENT_DESKTOP_DEPENDS runtime)
set(CPACK_COMPONENT_DESKTOP_DESCRIPTION
    "Desktop platform of the media proxy client
What stands in for the device on a development machine: a launcher that runs
any command with a bus and a media service around it, two players, a maker
of clips, and a reader of recorded runs. On a session bus, the media service starts when it is first
needed.")

# zuv-player is linked with the desktop platform's library, which is in another of these packages.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
if(NOT CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
elseif(CMAKE_LIBRARY_ARCHITECTURE STREQUAL arm-linux-gnueabihf)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
    # dpkg does not know the target's packages, which were unpacked, not installed. The sysroot does.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()

include(CPack)
