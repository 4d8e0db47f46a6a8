# Runs the quick-start example in an empty directory and checks that it
# succeeds, prints the statistic table and writes both result files.
# Usage: cmake -D QUICKSTART=<program> -D WORK_DIR=<dir> -P CheckQuickstart.cmake
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
execute_process(COMMAND ${QUICKSTART}
  WORKING_DIRECTORY ${WORK_DIR}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE errors)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "quickstart failed (${result}):\n${output}${errors}")
endif()
foreach(expected " Dataset statistic for input vectors: " "epoch 10  rmse ")
  string(FIND "${output}" "${expected}" position)
  if(position EQUAL -1)
    message(FATAL_ERROR "quickstart did not print '${expected}':\n${output}")
  endif()
endforeach()
foreach(result_file quickstart-prototypes.gz quickstart.svg)
  if(NOT EXISTS ${WORK_DIR}/${result_file})
    message(FATAL_ERROR "quickstart did not write ${result_file}")
  endif()
endforeach()
file(REMOVE_RECURSE ${WORK_DIR})
