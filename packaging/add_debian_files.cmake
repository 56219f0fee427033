# Run by CPack before it makes the packages: what belongs into Debian's packages, but not into an installation that can
# be moved to another folder.
function(add_copyright package tree)
    file(COPY ${CPACK_ZUV_PACKAGING}/copyright DESTINATION ${tree}/share/doc/${package})
endfunction()

# Debian compresses manual pages; without the time of compression, equal pages make equal packages.
function(compress_manual_pages tree)
    file(GLOB pages ${tree}/share/man/man1/*.1)
    if(pages)
        execute_process(COMMAND gzip --best --no-name ${pages} COMMAND_ERROR_IS_FATAL ANY)
    endif()
endfunction()

# The session bus starts programs by absolute paths.
function(add_bus_activation tree)
    file(GLOB files ${CPACK_ZUV_PACKAGING}/dbus/*.service)
    file(COPY ${files} DESTINATION ${tree}/share/dbus-1/services)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(tree ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
    add_copyright(${CPACK_DEBIAN_${upper}_PACKAGE_NAME} ${tree})
    compress_manual_pages(${tree})
    if(component STREQUAL desktop)
        add_bus_activation(${tree})
    endif()
endforeach()
