# SPDX-License-Identifier: Apache-2.0
#
# Runs programs that print the bits of one run, and compares what they write.
#
#   PROGRAMS  the first is what the others have to agree with
#   CAPTURE   the capture, as bits_capture wrote it
#   WORK_DIR  a folder of the test's own
cmake_minimum_required(VERSION 3.22)
file(MAKE_DIRECTORY ${WORK_DIR})
set(First "")
foreach(Program ${PROGRAMS})
  cmake_path(GET Program FILENAME Name)
  execute_process(COMMAND ${Program} ${CAPTURE} ${WORK_DIR}/${Name}.txt
                  COMMAND_ERROR_IS_FATAL ANY)
  if(NOT First)
    set(First ${WORK_DIR}/${Name}.txt)
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${First} ${WORK_DIR}/${Name}.txt
                  RESULT_VARIABLE Result)
  if(NOT Result EQUAL 0)
    message(FATAL_ERROR "${Name} got other digits: compare ${First} and ${WORK_DIR}/${Name}.txt")
  endif()
endforeach()
file(STRINGS ${First} Codes REGEX "^code (0|99)$")
list(LENGTH Codes Solved)
if(NOT Solved EQUAL 2)
  message(FATAL_ERROR "neither 0 nor 99 twice in ${First}: nothing worth comparing")
endif()
