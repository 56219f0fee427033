# Checks that the session bus finds what it may start in the package's TREE: each of NAMES in a file of that name, which
# leads to a program of the package.
foreach(name IN LISTS NAMES)
    file(READ ${TREE}/usr/share/dbus-1/services/${name}.service text)
    if(NOT text MATCHES "^\\[D-BUS Service\\]\nName=${name}\nExec=(/[^ \n]+)\n$")
        message(SEND_ERROR "${name}.service is not as the bus needs it:\n${text}")
    elseif(NOT EXISTS ${TREE}${CMAKE_MATCH_1})
        message(SEND_ERROR "${name}.service starts ${CMAKE_MATCH_1}, which is not in the package")
    endif()
endforeach()
