# Checks that the package PACKAGE, in the folder PACKAGES, asks for each of DEPENDS and RECOMMENDS: regular expressions,
# separated by commas.
file(GLOB file ${PACKAGES}/${PACKAGE}_*.deb)
foreach(field IN ITEMS Depends Recommends)
    execute_process(COMMAND dpkg-deb --field ${file} ${field}
        OUTPUT_VARIABLE names OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    string(TOUPPER ${field} upper)
    string(REPLACE "," ";" expected "${${upper}}")
    foreach(name IN LISTS expected)
        if(NOT ", ${names}," MATCHES ", ${name}[ ,]")
            message(SEND_ERROR "${PACKAGE} has no ${name} in its field ${field}, but: ${names}")
        endif()
    endforeach()
endforeach()
