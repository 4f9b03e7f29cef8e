# SPDX-License-Identifier: Apache-2.0
#
# Compiles a program that prints bits with COMPILER at each of LEVELS, and compares the file that it
# writes with the one that PROGRAM, the same program of this build, writes.
#
#   COMPILER    name of the compiler; the test is skipped if it is not installed
#   LEVELS      optimisation levels; default O0 and O3
#   PROGRAM     the program of this build
#   ARGUMENTS   its arguments before the file's name; optional
#   SOURCES     its sources, relative to SOURCE_DIR. All are compiled as one translation unit: most
#               of the time is spent on library headers, which are then read once
#   APART       sources that define a name of the others differently and are compiled separately;
#               optional
#   SOURCE_DIR  the project's folder
#   INCLUDES    folders of library headers
#   LIBRARIES   libraries to link, by path; optional
#   WORK_DIR    a folder for this test only
#   LEAST_BYTES the smallest number of bytes that counts as a comparison
cmake_minimum_required(VERSION 3.22)  # list(TRANSFORM), and list policies as in the project

find_program(FOUND ${COMPILER})
if(NOT FOUND)
  message("SKIPPED: ${COMPILER} isn't installed, so its bits can't be compared")
  return()
endif()

if(NOT LEVELS)
  set(LEVELS O0 O3)
endif()
set(All "")
foreach(Source ${SOURCES})
  string(APPEND All "#include \"${Source}\"\n")
endforeach()
file(MAKE_DIRECTORY ${WORK_DIR})
file(WRITE ${WORK_DIR}/all.cpp "${All}")
list(TRANSFORM INCLUDES PREPEND "-isystem")
list(TRANSFORM APART PREPEND "${SOURCE_DIR}/")

function(check Result What)
  if(NOT Result EQUAL 0)
    message(FATAL_ERROR "${COMPILER}: ${What} failed")
  endif()
endfunction()

execute_process(COMMAND ${PROGRAM} ${ARGUMENTS} ${WORK_DIR}/this_build.txt RESULT_VARIABLE Result)
check("${Result}" "the program of this build")
foreach(Level ${LEVELS})
  execute_process(COMMAND ${FOUND} -std=c++17 -${Level} -ffp-contract=off -ffunction-sections
                          -I${SOURCE_DIR} -I${SOURCE_DIR}/include ${INCLUDES}
                          ${WORK_DIR}/all.cpp ${APART} -Wl,--gc-sections ${LIBRARIES}
                          -o ${WORK_DIR}/bits_${Level}
                  RESULT_VARIABLE Result)
  check("${Result}" "compiling at -${Level}")
  execute_process(COMMAND ${WORK_DIR}/bits_${Level} ${ARGUMENTS} ${WORK_DIR}/${Level}.txt
                  RESULT_VARIABLE Result)
  check("${Result}" "running what -${Level} built")
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK_DIR}/this_build.txt
                          ${WORK_DIR}/${Level}.txt
                  RESULT_VARIABLE Result)
  check("${Result}" "the comparison of this_build.txt and ${Level}.txt in ${WORK_DIR}")
endforeach()
file(SIZE ${WORK_DIR}/this_build.txt Bytes)
if(Bytes LESS LEAST_BYTES)
  message(FATAL_ERROR "${PROGRAM} wrote ${Bytes} bytes, too little to compare")
endif()
list(JOIN LEVELS ", -" Levels)
message("${COMPILER} at -${Levels} and this build write the same ${Bytes} bytes")
