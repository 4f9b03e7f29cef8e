# SPDX-License-Identifier: Apache-2.0
#
# The public header compiles as the only include of a file, as C++17 and as C++20, without a
# warning.
#
#   cmake -DCOMPILER=... -DHEADER=... -DWORK_DIR=... -P header_alone.cmake
#
# It is also included twice, and its functions are called, so that a missing guard and a missing
# declaration show.
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
# -Wsystem-headers stays off: the standard library's own headers aren't ours to judge. The header is
# included by its full path, and so never taken for one of them.
foreach(Standard 17 20)
  execute_process(COMMAND ${FOUND} -std=c++${Standard} -Wall -Wextra -Wpedantic -Wconversion
                          -Wshadow -Werror -fsyntax-only ${Source}
                  RESULT_VARIABLE Result ERROR_VARIABLE Complaint)
  if(NOT Result EQUAL 0)
    message(FATAL_ERROR "${COMPILER} -std=c++${Standard}: ${HEADER} alone\n${Complaint}")
  endif()
endforeach()
