# The system headers that the client includes take most of the time of a compilation.
file(GLOB client_sources ${CMAKE_SOURCE_DIR}/client/src/*.h ${CMAKE_SOURCE_DIR}/client/src/*.cpp)
foreach(source IN LISTS client_sources)
    file(STRINGS ${source} includes REGEX "^#include <")
    list(APPEND system_headers ${includes})
endforeach()
list(TRANSFORM system_headers REPLACE "^#include (<[^>]+>).*" "\\1")
list(REMOVE_DUPLICATES system_headers)
cmake_language(DEFER CALL target_precompile_headers zuv_media_proxy_objects PRIVATE ${system_headers})
