# Runs the iris map example in an empty directory and checks that it
# succeeds, prints both errors and writes an SVG with the grid of 64 units,
# the legend and the caption.
# Usage: cmake -D SOM_IRIS=<program> -D WORK_DIR=<dir> -P CheckSomIris.cmake
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
execute_process(COMMAND ${SOM_IRIS}
  WORKING_DIRECTORY ${WORK_DIR}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "som_iris failed (${result}):\n${output}${errors}")
endif()
foreach(expected "quantisation error: " "topographic error:  ")
  string(FIND "${output}" "${expected}" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "som_iris did not print '${expected}':\n${output}")
  endif()
endforeach()
if(NOT EXISTS ${WORK_DIR}/som_iris.svg)
  message(FATAL_ERROR "som_iris did not write som_iris.svg")
endif()
file(READ ${WORK_DIR}/som_iris.svg svg)
string(REGEX MATCHALL "<rect x='[0-9]+' y='[0-9]+' width='40'" units "${svg}")
list(LENGTH units unitCount)
if(NOT unitCount EQUAL 64)
  message(FATAL_ERROR "som_iris drew ${unitCount} units, not 64")
endif()
foreach(expected "setosa" "versicolor" "virginica" "no flower"
    "quantisation error " "topographic error " "</svg>")
  string(FIND "${svg}" "${expected}" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "som_iris.svg lacks '${expected}'")
  endif()
endforeach()
# Each species colours at least one unit.
foreach(colour "#1b9e77" "#d95f02" "#7570b3")
  string(FIND "${svg}" "height='40' fill='${colour}'" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "no unit of the map is coloured ${colour}")
  endif()
endforeach()
file(REMOVE_RECURSE ${WORK_DIR})
