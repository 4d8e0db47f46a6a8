# Runs the digits PCA example in an empty directory and checks that it
# succeeds, prints the explained variance ratios and writes a scatter plot
# with a dot per digit, a legend entry per digit and labelled axes.
# Usage: cmake -D PROGRAM=<program> -D WORK_DIR=<dir> -P CheckPcaDigits.cmake
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
execute_process(COMMAND ${PROGRAM}
  WORKING_DIRECTORY ${WORK_DIR}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "pca_digits failed (${result}):\n${output}${errors}")
endif()
foreach(expected "explained variance ratio" "PC1  0.14" "PC10 ")
  string(FIND "${output}" "${expected}" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "pca_digits did not print '${expected}':\n${output}")
  endif()
endforeach()
if(NOT EXISTS ${WORK_DIR}/pca_digits.svg)
  message(FATAL_ERROR "pca_digits did not write pca_digits.svg")
endif()
file(READ ${WORK_DIR}/pca_digits.svg svg)
string(REGEX MATCHALL "<circle" dots "${svg}")
list(LENGTH dots dotCount)
if(NOT dotCount EQUAL 1807)
  message(FATAL_ERROR "pca_digits.svg has ${dotCount} dots, not 1797 + 10")
endif()
foreach(expected "<svg " "</svg>" "digit 0<" "digit 9<"
    "PC1 (14.9% of the variance)" "PC2 (13.6% of the variance)")
  string(FIND "${svg}" "${expected}" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "pca_digits.svg lacks '${expected}'")
  endif()
endforeach()
file(REMOVE_RECURSE ${WORK_DIR})
