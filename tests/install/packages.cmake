# The Debian packages, unpacked but not installed; `scripts/test package` installs them.
set(packages ${CMAKE_CURRENT_BINARY_DIR}/packages)
set(library_package libzuv-media-proxy${PROJECT_VERSION_MAJOR})

add_test(NAME package.packages COMMAND ${CMAKE_COMMAND}
    -DBUILD_FOLDER=${CMAKE_BINARY_DIR} -DPACKAGES=${packages} -P ${CMAKE_CURRENT_SOURCE_DIR}/unpack_packages.cmake)
set_tests_properties(package.packages PROPERTIES LABELS package FIXTURES_SETUP packages COST 20)

function(zuv_package_test name)
    add_test(NAME package.${name} ${ARGN})
    set_tests_properties(package.${name} PROPERTIES LABELS package FIXTURES_REQUIRED packages)
endfunction()

# What a package holds, asks for, and says of itself: PACKAGE FILES ... NEEDS ... [RECOMMENDS ...] [NAMES ...]
function(zuv_check_package package)
    cmake_parse_arguments(PARSE_ARGV 1 package "" "" "FILES;NEEDS;RECOMMENDS;NAMES")
    list(APPEND package_FILES share/doc/${package}/changelog.gz share/doc/${package}/copyright)
    zuv_compare_files(compare ${package} ${packages}/${package}/usr ${package_FILES})
    zuv_package_test(${package}_has_its_files COMMAND ${compare})
    list(JOIN package_NEEDS "," needs)
    list(JOIN package_RECOMMENDS "," recommends)
    zuv_package_test(${package}_asks_for_what_it_needs COMMAND ${CMAKE_COMMAND}
        -DPACKAGES=${packages} -DPACKAGE=${package} "-DDEPENDS=${needs}" "-DRECOMMENDS=${recommends}"
        -P ${CMAKE_CURRENT_SOURCE_DIR}/check_dependencies.cmake)
    foreach(text IN LISTS package_NAMES)
        string(MAKE_C_IDENTIFIER ${text} name)
        zuv_package_test(${package}_names_${name} COMMAND
            sh -c "dpkg-deb --field ${packages}/${package}_*.deb Description | grep -F '${text}'")
    endforeach()
endfunction()

# Names of libraries' packages differ between Debian 12 and 13.
set(same_version "${library_package} \\(= ${PROJECT_VERSION}\\)")
zuv_check_package(${library_package}
    FILES ${runtime_files}
    NEEDS libc6 libjsoncpp[0-9]+ libspdlog1\\.[0-9]+-fmt[0-9]+ libstdc\\+\\+6 libsystemd0 "libuuid1(t64)?"
    NAMES "engine kit")
zuv_check_package(libzuv-media-proxy-dev
    FILES ${development_files}
    NEEDS ${same_version}
    NAMES "engine kit" libzuv_callback_check.so)
# The names that clients ask the bus to start.
file(STRINGS ${PROJECT_SOURCE_DIR}/desktop/bus/topic_message.h bus_names REGEX " k(Service|Keeper)Name = ")
list(TRANSFORM bus_names REPLACE ".*\"(.*)\".*" "\\1")
set(activation_files ${bus_names})
list(TRANSFORM activation_files PREPEND share/dbus-1/services/)
list(TRANSFORM activation_files APPEND .service)
list(TRANSFORM manual_pages APPEND .gz)
zuv_check_package(zuv-desktop
    FILES ${desktop_files} ${manual_pages} ${activation_files}
    NEEDS ${same_version} dbus-daemon gstreamer1.0-plugins-base gstreamer1.0-plugins-good python3
        "libgstreamer1.0-0(t64)?"
        "libcurl4(t64)?" "libmicrohttpd12(t64)?" libpugixml1v5
    RECOMMENDS gstreamer1.0-libav gstreamer1.0-plugins-bad gstreamer1.0-tools)
zuv_package_test(session_bus_finds_the_programs COMMAND ${CMAKE_COMMAND}
    -DTREE=${packages}/zuv-desktop "-DNAMES=${bus_names}"
    -P ${CMAKE_CURRENT_SOURCE_DIR}/check_activation.cmake)

# All three in one place.
set(program ${PROJECT_SOURCE_DIR}/examples/minimal/main.cpp)
zuv_package_test(readme_example_plays COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/compile_and_play.sh
    ${packages}/all/usr ${CMAKE_INSTALL_LIBDIR} ${program} ${ZUV_TEST_MEDIA_DIR}/clip.webm
    ${CMAKE_CXX_COMPILER} "${CMAKE_CXX_FLAGS}")

zuv_package_test(kit_plays COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/compile_and_play.sh
    ${packages}/all/usr ${CMAKE_INSTALL_LIBDIR} ${kit_user}/poll_loop.cpp ${ZUV_TEST_MEDIA_DIR}/clip.webm
    ${CMAKE_CXX_COMPILER} "${sample_flags}" zuv_engine)

add_test(NAME package.changelog_tells_of_this_version
    COMMAND grep -Fx "zuv-media-proxy (${PROJECT_VERSION}) unstable$<SEMICOLON> urgency=medium"
        ${PROJECT_SOURCE_DIR}/packaging/changelog)
set_tests_properties(package.changelog_tells_of_this_version PROPERTIES LABELS package)
