# SPDX-License-Identifier: Apache-2.0
#
# The public header compiles as the only include of a file, as C++17 and as C++20, without a
# warning.
#
#   cmake -DCOMPILER=... -DHEADER=... -DWORK_DIR=... -P header_alone.cmake
#
# It is also included twice and its functions are called, so that a missing include guard or
# declaration is found.
find_program(FOUND ${COMPILER})
if(NOT FOUND)
  message("SKIPPED: ${COMPILER} isn't installed, so the header isn't compiled with it")
  return()
endif()

set(Source ${WORK_DIR}/header_alone.cpp)
file(WRITE ${Source} "\
#include \"${HEADER}\"
#include \"${HEADER}\"
int main() {
  std::vector<double> Transform(16, 0.0), Given;
  return CamAxisToUE5(Transform, Given, Given, std::string());
}
")
# -Wsystem-headers stays off, so warnings in the standard library's headers do not count. The header
# is included by its full path, so it is never treated as a system header.
foreach(Standard 17 20)
  execute_process(COMMAND ${FOUND} -std=c++${Standard} -Wall -Wextra -Wpedantic -Wconversion
                          -Wshadow -Werror -fsyntax-only ${Source}
                  RESULT_VARIABLE Result ERROR_VARIABLE Complaint)
  if(NOT Result EQUAL 0)
    message(FATAL_ERROR "${COMPILER} -std=c++${Standard}: ${HEADER} alone\n${Complaint}")
  endif()
endforeach()
