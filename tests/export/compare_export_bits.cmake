# SPDX-License-Identifier: Apache-2.0
#
# Builds export_bits with COMPILER at -O0 and at -O3 and compares what it prints with what PROGRAM,
# the one of this build, prints. All sources go through one translation unit: Eigen's headers are
# most of the work, and this reads them once.
cmake_minimum_required(VERSION 3.22)  # list(TRANSFORM), and list policies as in the project

find_program(FOUND ${COMPILER})
if(NOT FOUND)
  message("SKIPPED: ${COMPILER} isn't installed, so its bits can't be compared")
  return()
endif()

file(GLOB Exports RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/export/*.cpp)
set(All "")
foreach(Source ${Exports} frame/error_catalog.cpp frame/run_log.cpp tests/export/export_bits.cpp)
  string(APPEND All "#include \"${Source}\"\n")
endforeach()
# The exports take one function from elsewhere, which copies nine elements and computes nothing.
# Its file also holds a decomposition that compiles six times as long as all the rest.
string(APPEND All
       "int Get_Rotation_Block(std::string, Eigen::Matrix4d Pose, Eigen::Matrix3d& Rotation) {\n"
       "  Rotation = Pose.topLeftCorner<3, 3>();\n"
       "  return 0;\n"
       "}\n")
file(MAKE_DIRECTORY ${WORK_DIR})
file(WRITE ${WORK_DIR}/all.cpp "${All}")

list(TRANSFORM INCLUDES PREPEND "-isystem")

function(check Result What)
  if(NOT Result EQUAL 0)
    message(FATAL_ERROR "${COMPILER}: ${What} failed")
  endif()
endfunction()

execute_process(COMMAND ${PROGRAM} ${WORK_DIR}/this_build.txt RESULT_VARIABLE Result)
check("${Result}" "the program of this build")
foreach(Level O0 O3)
  execute_process(COMMAND ${FOUND} -std=c++17 -${Level} -ffp-contract=off
                          -I${SOURCE_DIR} -I${SOURCE_DIR}/include ${INCLUDES}
                          ${WORK_DIR}/all.cpp -o ${WORK_DIR}/bits_${Level}
                  RESULT_VARIABLE Result)
  check("${Result}" "compiling at -${Level}")
  execute_process(COMMAND ${WORK_DIR}/bits_${Level} ${WORK_DIR}/${Level}.txt
                  RESULT_VARIABLE Result)
  check("${Result}" "running what -${Level} built")
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK_DIR}/this_build.txt
                          ${WORK_DIR}/${Level}.txt
                  RESULT_VARIABLE Result)
  check("${Result}" "the comparison of this_build.txt and ${Level}.txt in ${WORK_DIR}")
endforeach()
file(SIZE ${WORK_DIR}/this_build.txt Bytes)
if(Bytes LESS 100000)
  message(FATAL_ERROR "export_bits printed ${Bytes} bytes, too little to compare")
endif()
message("${COMPILER} at -O0 and -O3 and this build print the same ${Bytes} bytes")
