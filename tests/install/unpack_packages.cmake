# Builds the packages of BUILD_FOLDER into the folder PACKAGES. There it unpacks each package into a folder of its name,
# and all of them into `all`.
file(REMOVE_RECURSE ${PACKAGES})
execute_process(COMMAND ${CMAKE_CPACK_COMMAND} --config ${BUILD_FOLDER}/CPackConfig.cmake -B ${PACKAGES}
    COMMAND_ERROR_IS_FATAL ANY)

file(GLOB files ${PACKAGES}/*.deb)
foreach(file IN LISTS files)
    execute_process(COMMAND dpkg-deb --field ${file} Package
        OUTPUT_VARIABLE package OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    foreach(folder IN ITEMS ${package} all)
        execute_process(COMMAND dpkg-deb --extract ${file} ${PACKAGES}/${folder} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
endforeach()
