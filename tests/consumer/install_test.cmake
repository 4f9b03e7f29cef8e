# SPDX-License-Identifier: Apache-2.0
#
# Installs the build into a fresh folder, builds the consumer against it with find_package and with
# pkg-config's own words, and runs both.
#
#   cmake -DBUILD=... -DSOURCE=... -DSCRATCH=... -DCXX=... -DFLAGS=... -P install_test.cmake
file(REMOVE_RECURSE ${SCRATCH})
set(Prefix ${SCRATCH}/prefix)
# Only the library: other targets may not be built yet where this test runs alone.
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${Prefix}
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${SCRATCH}/build -G Ninja
                        -DCMAKE_PREFIX_PATH=${Prefix} -DCMAKE_CXX_COMPILER=${CXX}
                        -DCMAKE_CXX_FLAGS=${FLAGS}
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${SCRATCH}/build
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${SCRATCH}/build/consumer OUTPUT_VARIABLE Log COMMAND_ERROR_IS_FATAL ANY)
if(NOT Log MATCHES "Error code 1 : The raw data csv file path is wrong")
  message(FATAL_ERROR "the consumer logged\n${Log}")
endif()

# The example, on a capture that the installed command simulates.
execute_process(COMMAND ${Prefix}/bin/rigsync simulate ${SCRATCH}/capture --images 13
                        --size 800x600
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
function(Expect_Engines Host)
  file(MAKE_DIRECTORY ${SCRATCH}/output)
  execute_process(COMMAND ${Host} ${SCRATCH}/capture/capture.csv ${SCRATCH}/output
                  OUTPUT_VARIABLE Shown COMMAND_ERROR_IS_FATAL ANY)
  foreach(Engine IN ITEMS "ue4 location" "ue5 location" "ue5-xn location" "aximmetry place")
    if(NOT Shown MATCHES "\n${Engine}")
      message(FATAL_ERROR "${Host} shows nothing for ${Engine}\n${Shown}")
    endif()
  endforeach()
endfunction()
Expect_Engines(${SCRATCH}/build/minimal_host)

# What goes with the command for people.
foreach(File share/man/man1/rigsync.1 share/bash-completion/completions/rigsync)
  if(NOT EXISTS ${Prefix}/${File})
    message(FATAL_ERROR "${File} isn't installed")
  endif()
endforeach()

# The pkg-config file names the folders of this prefix.
file(GLOB_RECURSE Pc ${Prefix}/*/rigsync_core.pc)
if(NOT Pc)
  message(FATAL_ERROR "no rigsync_core.pc under ${Prefix}")
endif()
find_program(Pkg_Config pkg-config)
if(Pkg_Config)
  cmake_path(GET Pc PARENT_PATH Pc_Folder)
  set(ENV{PKG_CONFIG_PATH} ${Pc_Folder})
  execute_process(COMMAND ${Pkg_Config} --define-variable=prefix=${Prefix} --cflags --libs
                          rigsync_core
                  OUTPUT_VARIABLE Words OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(Words)
  separate_arguments(FLAGS)
  execute_process(COMMAND ${CXX} -std=c++17 ${FLAGS} ${SOURCE}/main.cpp ${Words}
                          -o ${SCRATCH}/consumer_by_pkg_config COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${CXX} -std=c++17 ${FLAGS} ${SOURCE}/../../examples/minimal_host.cpp
                          ${Words} -o ${SCRATCH}/host_by_pkg_config COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB_RECURSE Library ${Prefix}/*/librigsync_core.so)
  cmake_path(GET Library PARENT_PATH Library_Folder)
  set(ENV{LD_LIBRARY_PATH} ${Library_Folder})
  execute_process(COMMAND ${SCRATCH}/consumer_by_pkg_config OUTPUT_QUIET
                  COMMAND_ERROR_IS_FATAL ANY)
  Expect_Engines(${SCRATCH}/host_by_pkg_config)
else()
  message(NOTICE "pkg-config isn't installed; its file was found but not used")
endif()
