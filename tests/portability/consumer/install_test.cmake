# SPDX-License-Identifier: Apache-2.0
#
# Installs the build into a fresh folder, looks whether all is there that belongs there and nothing
# else, builds the consumer against it with find_package and with pkg-config's own words, and runs
# both.
#
#   cmake -DBUILD=... -DSOURCE=... -DSCRATCH=... -DCXX=... -DFLAGS=... -DCONFIG=... -DVERSION=...
#         -DLIBDIR=... -DDOCDIR=... -DPYTHON=... -DPYTHONDIR=... -DROOMS=... -P install_test.cmake
#
# ROOMS is the folder of the rooms where they are shared libraries, which aren't installed.
cmake_minimum_required(VERSION 3.22)  # its policies
file(REMOVE_RECURSE ${SCRATCH})
set(Prefix ${SCRATCH}/prefix)
get_filename_component(Top ${SOURCE}/../../.. ABSOLUTE)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${Prefix}
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)

# Every file that is installed, relative to the prefix.
string(TOLOWER ${CONFIG} Config)
set(Expected
    bin/rigsync
    include/rigsync_core.h
    share/bash-completion/completions/rigsync
    share/man/man1/rigsync.1
    share/rigsync/rigsync_result.py
    ${DOCDIR}/CHANGELOG.md
    ${DOCDIR}/CONTRIBUTING.md
    ${DOCDIR}/LICENSE
    ${DOCDIR}/README.md
    ${DOCDIR}/examples/minimal_host.cpp
    ${LIBDIR}/cmake/rigsync_core/rigsync_core-config-version.cmake
    ${LIBDIR}/cmake/rigsync_core/rigsync_core-config.cmake
    ${LIBDIR}/cmake/rigsync_core/rigsync_core_targets-${Config}.cmake
    ${LIBDIR}/cmake/rigsync_core/rigsync_core_targets.cmake
    ${LIBDIR}/librigsync_core.so
    ${LIBDIR}/librigsync_core.so.0
    ${LIBDIR}/librigsync_core.so.${VERSION}
    ${LIBDIR}/pkgconfig/rigsync_core.pc)
# The Python package, whose module has a suffix of the interpreter.
if(PYTHON)
  execute_process(COMMAND ${PYTHON} -c
                          "import sysconfig; print(sysconfig.get_config_var('EXT_SUFFIX'))"
                  OUTPUT_VARIABLE Suffix OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  set(Module ${PYTHONDIR}/rigsync/_core${Suffix})
  foreach(File IN ITEMS __init__.py _calls.py _capture.py _codes.py _core.pyi _results.py py.typed)
    list(APPEND Expected ${PYTHONDIR}/rigsync/${File})
  endforeach()
  list(APPEND Expected ${Module} ${PYTHONDIR}/rigsync_result.py)
endif()
# All of docs/ but a tool's settings, so that a document of a new kind isn't forgotten.
file(GLOB_RECURSE Documents RELATIVE ${Top} ${Top}/docs/*)
list(REMOVE_ITEM Documents docs/Doxyfile)
list(TRANSFORM Documents PREPEND ${DOCDIR}/)
list(APPEND Expected ${Documents})
file(GLOB_RECURSE Found LIST_DIRECTORIES false RELATIVE ${Prefix} ${Prefix}/*)
set(Missing ${Expected})
list(REMOVE_ITEM Missing ${Found})
set(Surplus ${Found})
list(REMOVE_ITEM Surplus ${Expected})
if(Missing OR Surplus)
  message(FATAL_ERROR "${Prefix}: missing are \"${Missing}\", too many are \"${Surplus}\"")
endif()

# Programs are linked by the first name, run by the second, and both lead to the library.
function(Expect_Link Name Target)
  file(READ_SYMLINK ${Prefix}/${LIBDIR}/${Name} Found)
  if(NOT Found STREQUAL Target)
    message(FATAL_ERROR "${Name} leads to \"${Found}\" and not to ${Target}")
  endif()
endfunction()
Expect_Link(librigsync_core.so librigsync_core.so.0)
Expect_Link(librigsync_core.so.0 librigsync_core.so.${VERSION})
find_program(Readelf readelf REQUIRED)
function(Read_Dynamic_Section File Result)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C ${Readelf} --dynamic --wide ${File}
                  OUTPUT_VARIABLE Section COMMAND_ERROR_IS_FATAL ANY)
  set(${Result} "${Section}" PARENT_SCOPE)
endfunction()
Read_Dynamic_Section(${Prefix}/${LIBDIR}/librigsync_core.so.${VERSION} Library_Section)
if(NOT Library_Section MATCHES "soname: \\[librigsync_core\\.so\\.0\\]")
  message(FATAL_ERROR "the library's SONAME isn't librigsync_core.so.0\n${Library_Section}")
endif()

# What is installed can be moved and shows nothing of where it was made. Debugging information and
# sanitizers name sources, so that programs of such builds are asked for search paths alone.
Read_Dynamic_Section(${Prefix}/bin/rigsync Program_Section)
if(PYTHON)
  Read_Dynamic_Section(${Prefix}/${Module} Module_Section)
  string(APPEND Program_Section "${Module_Section}")
endif()
foreach(Path IN ITEMS ${Top} ${BUILD})
  string(FIND "${Library_Section}${Program_Section}" ${Path} Place)
  if(NOT Place EQUAL -1)
    message(FATAL_ERROR "${Path} is searched for libraries\n${Library_Section}${Program_Section}")
  endif()
endforeach()
set(Grep_Flags --recursive --files-with-matches --fixed-strings)
if(NOT CONFIG STREQUAL Release OR NOT FLAGS STREQUAL "")
  list(APPEND Grep_Flags --binary-files=without-match)
endif()
execute_process(COMMAND grep ${Grep_Flags} --regexp=${Top} --regexp=${BUILD} ${Prefix}
                OUTPUT_VARIABLE Named RESULT_VARIABLE Status)
if(NOT Status EQUAL 1)
  message(FATAL_ERROR "grep ended with ${Status}; these name a folder of sources or build:\n"
                      "${Named}")
endif()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${SCRATCH}/build -G Ninja
                        -DCMAKE_PREFIX_PATH=${Prefix} -DCMAKE_CXX_COMPILER=${CXX}
                        -DCMAKE_CXX_FLAGS=${FLAGS} -DRIGSYNC_VERSION=${VERSION}
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build ${SCRATCH}/build
                OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${SCRATCH}/build/consumer OUTPUT_VARIABLE Log COMMAND_ERROR_IS_FATAL ANY)
if(NOT Log MATCHES "Error code 1 : The raw data csv file path is wrong")
  message(FATAL_ERROR "the consumer logged\n${Log}")
endif()

# The example, on a capture that the installed command simulates.
execute_process(COMMAND ${CMAKE_COMMAND} -E env "LD_LIBRARY_PATH=${ROOMS}"
                        ${Prefix}/bin/rigsync simulate ${SCRATCH}/capture --images 13
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

find_program(Pkg_Config pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${Prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${Pkg_Config} --modversion rigsync_core
                OUTPUT_VARIABLE Found_Version OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
if(NOT Found_Version STREQUAL VERSION)
  message(FATAL_ERROR "pkg-config has version ${Found_Version} and not ${VERSION}")
endif()
execute_process(COMMAND ${Pkg_Config} --cflags --libs rigsync_core
                OUTPUT_VARIABLE Words OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(Words)
separate_arguments(FLAGS)
execute_process(COMMAND ${CXX} -std=c++17 ${FLAGS} ${SOURCE}/main.cpp ${Words}
                        -o ${SCRATCH}/consumer_by_pkg_config COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CXX} -std=c++17 ${FLAGS} ${Top}/examples/minimal_host.cpp
                        ${Words} -o ${SCRATCH}/host_by_pkg_config COMMAND_ERROR_IS_FATAL ANY)
set(ENV{LD_LIBRARY_PATH} ${Prefix}/${LIBDIR})
execute_process(COMMAND ${SCRATCH}/consumer_by_pkg_config OUTPUT_QUIET
                COMMAND_ERROR_IS_FATAL ANY)
Expect_Engines(${SCRATCH}/host_by_pkg_config)

# The installed package finds the installed library, wherever the prefix is.
if(PYTHON)
  unset(ENV{LD_LIBRARY_PATH})
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${Prefix}/${PYTHONDIR} ${PYTHON} -B -c
                          "import rigsync; print(rigsync.Calibration('none', 7, 5, 0.03, [0] * 3, \
[0] * 3, 'none').code.name, rigsync.__version__, open('/proc/self/maps').read())"
                  OUTPUT_VARIABLE Shown COMMAND_ERROR_IS_FATAL ANY)
  if(NOT Shown MATCHES "^CSV_NOT_OPENED ${VERSION} .*${Prefix}/${LIBDIR}/librigsync_core.so")
    message(FATAL_ERROR "the Python package shows\n${Shown}")
  endif()
endif()
