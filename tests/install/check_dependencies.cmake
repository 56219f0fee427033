# Looks for each of NEEDS, regular expressions with commas between them, among the packages that PACKAGE of the folder PACKAGES depends on.
file(GLOB file ${PACKAGES}/${PACKAGE}_*.deb)
execute_process(COMMAND dpkg-deb --field ${file} Depends
    OUTPUT_VARIABLE depends OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "," ";" NEEDS "${NEEDS}")
foreach(need IN LISTS NEEDS)
    if(NOT ", ${depends}," MATCHES ", ${need}[ ,]")
        message(SEND_ERROR "${PACKAGE} does not depend on ${need}, but on: ${depends}")
    endif()
endforeach()
