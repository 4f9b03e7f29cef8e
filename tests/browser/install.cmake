# SPDX-License-Identifier: Apache-2.0
#
# Copies the tests to WORK and installs their packages there, if the lock file is another than that
# of the last time. Fails, and says what to do, where something is missing.
foreach(Program IN ITEMS node npm chromium)
  find_program(${Program}_PATH ${Program})
  if(NOT ${Program}_PATH)
    message(FATAL_ERROR "${Program} isn't installed. 'scripts/install-packages test' installs it; "
                        "-DRIGSYNC_BROWSER_TESTS=OFF leaves the tests in a browser out.")
  endif()
endforeach()
file(GLOB Scripts ${SOURCE}/*.mjs)
file(COPY ${Scripts} ${SOURCE}/package.json DESTINATION ${WORK})
set(Stamp ${WORK}/node_modules/installed-package-lock.json)
if(EXISTS ${Stamp})
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${SOURCE}/package-lock.json ${Stamp}
                  RESULT_VARIABLE Differs)
  if(Differs EQUAL 0)
    return()
  endif()
endif()
file(COPY ${SOURCE}/package-lock.json DESTINATION ${WORK})
execute_process(COMMAND ${npm_PATH} ci --no-audit --no-fund WORKING_DIRECTORY ${WORK}
                RESULT_VARIABLE Failed)
if(Failed)
  message(FATAL_ERROR "npm ci failed: the tests in a browser need its packages, and so the network "
                      "once. -DRIGSYNC_BROWSER_TESTS=OFF leaves these tests out.")
endif()
configure_file(${SOURCE}/package-lock.json ${Stamp} COPYONLY)
