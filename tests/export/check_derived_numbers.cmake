# SPDX-License-Identifier: Apache-2.0
#
# Runs derive_numbers.py against the numbers that are recorded.
if(NOT PYTHON)
  message("SKIPPED: python3 isn't installed, so the recorded numbers can't be derived again")
  return()
endif()
execute_process(COMMAND ${PYTHON} ${SCRIPT} --check ${RECORDED} RESULT_VARIABLE Result)
if(NOT Result EQUAL 0)
  message(FATAL_ERROR "the recorded numbers are not the derived ones")
endif()
