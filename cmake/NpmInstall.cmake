# Installs the packages of the lock file in FROM below TO, unless they are there:
# cmake -DNPM=npm -DFROM=folder -DTO=folder -P NpmInstall.cmake
file(READ ${FROM}/package-lock.json lock)
if(EXISTS ${TO}/installed.json)
    file(READ ${TO}/installed.json installed)
    if(installed STREQUAL lock)
        return()
    endif()
endif()
file(COPY ${FROM}/package.json ${FROM}/package-lock.json DESTINATION ${TO})
execute_process(
    COMMAND ${NPM} ci --ignore-scripts --no-audit --no-fund --prefer-offline --loglevel=error
    WORKING_DIRECTORY ${TO}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "npm could not install the packages of ${FROM}/package-lock.json. It needs "
        "the npm registry, or its own cache, once for each build folder.\n${output}")
endif()
file(WRITE ${TO}/installed.json "${lock}")
