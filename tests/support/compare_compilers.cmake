# SPDX-License-Identifier: Apache-2.0
#
# Builds a program that prints bits with COMPILER at each of LEVELS, and compares what it writes to
# the file it is given with what PROGRAM, the one of this build, writes.
#
#   COMPILER    name of the compiler; where it isn't installed the test is skipped
#   LEVELS      of optimisation; O0 and O3 when left out
#   PROGRAM     the program as this build made it
#   ARGUMENTS   what it is given before the file's name; may be left out
#   SOURCES     what it is made of, relative to SOURCE_DIR. All go through one translation unit:
#               library headers are most of the work, and this reads them once
#   APART       sources that use a name of the others for something else, and so go through a unit
#               of their own; may be left out
#   SOURCE_DIR  the project
#   INCLUDES    folders of library headers
#   LIBRARIES   libraries to link, by path; may be left out
#   WORK_DIR    a folder of the test's own
#   LEAST_BYTES fewer than these are too little to compare
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
