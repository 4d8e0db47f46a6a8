# Runs the digits PCA example in an empty directory and checks that it
# succeeds, prints the explained variance ratios and writes a scatter plot
# with a dot per digit, a legend entry per digit and labelled axes.
# Usage: cmake -D PROGRAM=<program> -D WORK_DIR=<dir> -P CheckPcaDigits.cmake
include(${CMAKE_CURRENT_LIST_DIR}/ExampleChecks.cmake)
run_example(${PROGRAM} ${WORK_DIR} output)
expect_texts("the output of pca_digits" "${output}"
  "explained variance ratio" "PC1  0.14" "PC10 ")
expect_files(pca_digits ${WORK_DIR} pca_digits.svg)
file(READ ${WORK_DIR}/pca_digits.svg svg)
# A dot per digit and one per legend entry: 1797 + 10.
expect_match_count("pca_digits.svg (dots)" "${svg}" "<circle" 1807)
expect_texts("pca_digits.svg" "${svg}" "<svg " "</svg>" "digit 0<" "digit 9<"
  "PC1 (14.9% of the variance)" "PC2 (13.6% of the variance)")
file(REMOVE_RECURSE ${WORK_DIR})
