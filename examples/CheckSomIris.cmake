# Runs the iris map example in an empty directory and checks that it
# succeeds, prints both errors and writes an SVG with the grid of 64 units,
# each species' colour, the legend and the caption.
# Usage: cmake -D PROGRAM=<program> -D WORK_DIR=<dir> -P CheckSomIris.cmake
include(${CMAKE_CURRENT_LIST_DIR}/ExampleChecks.cmake)
run_example(${PROGRAM} ${WORK_DIR} output)
expect_texts("the output of som_iris" "${output}"
  "quantisation error: " "topographic error:  ")
expect_files(som_iris ${WORK_DIR} som_iris.svg)
file(READ ${WORK_DIR}/som_iris.svg svg)
expect_match_count("som_iris.svg (units)" "${svg}"
  "<rect x='[0-9]+' y='[0-9]+' width='40'" 64)
expect_texts("som_iris.svg" "${svg}"
  "setosa" "versicolor" "virginica" "no flower"
  "quantisation error " "topographic error " "</svg>"
  "height='40' fill='#1b9e77'" "height='40' fill='#d95f02'"
  "height='40' fill='#7570b3'")
file(REMOVE_RECURSE ${WORK_DIR})
