# Runs the quick-start example in an empty directory and checks that it
# succeeds, prints the statistic table and writes both result files.
# Usage: cmake -D PROGRAM=<program> -D WORK_DIR=<dir> -P CheckQuickstart.cmake
include(${CMAKE_CURRENT_LIST_DIR}/ExampleChecks.cmake)
run_example(${PROGRAM} ${WORK_DIR} output)
expect_texts("the output of quickstart" "${output}"
  " Dataset statistic for input vectors: " "k-means: "
  "cluster  setosa  versicolor  virginica")
expect_files(quickstart ${WORK_DIR} quickstart-centres.gz quickstart.svg)
file(REMOVE_RECURSE ${WORK_DIR})
