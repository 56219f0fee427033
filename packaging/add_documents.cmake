# Run by CPack before it makes the packages: what Debian asks of each package's own folder of documents.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    file(COPY ${CPACK_ZUV_COPYRIGHT} DESTINATION
        ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
endforeach()
