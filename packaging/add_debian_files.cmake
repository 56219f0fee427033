# Run by CPack before it makes the packages: what belongs into Debian's packages, but not into an installation that can
# be moved to another folder.
# Without the time of compression, equal files make equal packages.
function(compress)
    if(ARGN)
        execute_process(COMMAND gzip --best --no-name ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
    endif()
endfunction()

function(add_documents package tree)
    set(folder ${tree}/share/doc/${package})
    file(COPY ${CPACK_ZUV_PACKAGING}/copyright ${CPACK_ZUV_PACKAGING}/changelog DESTINATION ${folder})
    compress(${folder}/changelog)
endfunction()

function(compress_manual_pages tree)
    file(GLOB pages ${tree}/share/man/man1/*.1)
    compress(${pages})
endfunction()

# The session bus starts programs by absolute paths.
function(add_bus_activation tree)
    file(GLOB files ${CPACK_ZUV_PACKAGING}/dbus/*.service)
    file(COPY ${files} DESTINATION ${tree}/share/dbus-1/services)
endfunction()

# For which architecture dpkg-shlibdeps looks into the libraries; empty: the machine's own.
set(ENV{DEB_HOST_ARCH} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(tree ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
    add_documents(${CPACK_DEBIAN_${upper}_PACKAGE_NAME} ${tree})
    compress_manual_pages(${tree})
    if(component STREQUAL desktop)
        add_bus_activation(${tree})
    endif()
endforeach()
