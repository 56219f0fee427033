# Installs BUILD_FOLDER twice below TREES: `whole`, and `client`, which lacks the desktop platform. Both are moved after
# they were installed, so that nothing that is found there is found by the place of its installation.
file(REMOVE_RECURSE ${TREES})
file(MAKE_DIRECTORY ${TREES})

function(install tree)
    execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_FOLDER} --prefix ${TREES}/before-the-move ${ARGN}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(COPY ${TREES}/before-the-move/ DESTINATION ${TREES}/${tree})
endfunction()

install(client --component runtime)
install(client --component development)
file(REMOVE_RECURSE ${TREES}/before-the-move)
install(whole)
file(REMOVE_RECURSE ${TREES}/before-the-move)
