# SPDX-License-Identifier: Apache-2.0
#
# The shared library exports exactly the functions of exported_symbols.txt, and depends on no OpenCV
# module except the four that it calls.
#
#   cmake -DNM=... -DREADELF=... -DLIBRARY=... -DEXPECTED=... -P exported_symbols.cmake
# A local symbol in the dynamic table, as a sanitized build has one, is not exported.
execute_process(COMMAND ${NM} -D -C --defined-only --extern-only ${LIBRARY} OUTPUT_VARIABLE Symbols
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "(^|\n)[0-9a-f]+ [A-Za-z] " "\\1" Symbols "${Symbols}")
string(REPLACE "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"
       "string" Symbols "${Symbols}")
string(REPLACE "std::vector<double, std::allocator<double> >" "vector" Symbols "${Symbols}")
string(STRIP "${Symbols}" Symbols)
string(REPLACE "\n" ";" Symbols "${Symbols}")
list(SORT Symbols)
file(STRINGS ${EXPECTED} Expected)
list(SORT Expected)
if(NOT "${Symbols}" STREQUAL "${Expected}")
  string(REPLACE ";" "\n  " Symbols "${Symbols}")
  string(REPLACE ";" "\n  " Expected "${Expected}")
  message(FATAL_ERROR "The library shows\n  ${Symbols}\nand should show\n  ${Expected}")
endif()

execute_process(COMMAND ${READELF} -d ${LIBRARY} OUTPUT_VARIABLE Dynamic
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "libopencv_[a-z0-9]+" Modules "${Dynamic}")
list(SORT Modules)
set(Called libopencv_calib3d libopencv_core libopencv_imgcodecs libopencv_imgproc)
if(NOT "${Modules}" STREQUAL "${Called}")
  message(FATAL_ERROR "linked OpenCV modules are ${Modules}, called ones ${Called}")
endif()
