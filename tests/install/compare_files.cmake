# Compares what lies in TREE, documents apart, with the list in the file EXPECTED, and looks where its programs and
# libraries search for others.
file(GLOB_RECURSE found RELATIVE ${TREE} ${TREE}/*)
list(FILTER found EXCLUDE REGEX "^${DOCUMENTS}/")
list(SORT found)
file(STRINGS ${EXPECTED} expected)
if(NOT found STREQUAL expected)
    list(JOIN found "\n  " found)
    list(JOIN expected "\n  " expected)
    message(FATAL_ERROR "installed:\n  ${found}\nexpected:\n  ${expected}")
endif()

foreach(file IN LISTS found)
    if(NOT EXISTS ${TREE}/${file}) # a link to what another package has
        continue()
    endif()
    file(READ_ELF ${TREE}/${file} RPATH rpath RUNPATH runpath CAPTURE_ERROR no_elf)
    foreach(folder IN LISTS rpath runpath)
        if(NOT folder MATCHES "^\\$ORIGIN")
            message(FATAL_ERROR "${file} searches for libraries in ${folder}")
        endif()
    endforeach()
endforeach()
