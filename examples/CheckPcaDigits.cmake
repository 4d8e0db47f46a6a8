# Runs the digits PCA example in an empty directory and checks that it
# succeeds, prints the explained variance ratios and writes a scatter plot
# with a dot per digit, a legend entry per digit and labelled axes.
# Usage: cmake -D PROGRAM=<program> -D WORK_DIR=<dir> -P CheckPcaDigits.cmake
include(${CMAKE_CURRENT_LIST_DIR}/ExampleChecks.cmake)
run_example(${PROGRAM} ${WORK_DIR} output)
expect_texts("the output of pca_digits" "${output}"
  "explained variance ratio" "PC1  0.14" "PC10 ")
if(NOT EXISTS ${WORK_DIR}/pca_digits.svg)
  message(FATAL_ERROR "pca_digits did not write pca_digits.svg")
endif()
file(READ ${WORK_DIR}/pca_digits.svg svg)
string(REGEX MATCHALL "<circle" dots "${svg}")
list(LENGTH dots dotCount)
if(NOT dotCount EQUAL 1807)
  message(FATAL_ERROR "pca_digits.svg has ${dotCount} dots, not 1797 + 10")
endif()
expect_texts("pca_digits.svg" "${svg}" "<svg " "</svg>" "digit 0<" "digit 9<"
  "PC1 (14.9% of the variance)" "PC2 (13.6% of the variance)")
file(REMOVE_RECURSE ${WORK_DIR})
