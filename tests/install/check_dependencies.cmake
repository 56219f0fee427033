# Checks that the package PACKAGE, in the folder PACKAGES, depends on each of NEEDS: regular expressions, separated by
# commas.
file(GLOB file ${PACKAGES}/${PACKAGE}_*.deb)
execute_process(COMMAND dpkg-deb --field ${file} Depends
    OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "," ";" NEEDS "${NEEDS}")
foreach(need IN LISTS NEEDS)
    if(NOT ", ${depends}," MATCHES ", ${need}[ ,]")
        message(SEND_ERROR "${PACKAGE} does not depend on ${need}, but on: ${depends}")
    endif()
endforeach()
