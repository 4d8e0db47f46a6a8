# Runs vecml-data on a small table: csv2ds, ds2csv and stat, plus a bad
# field and a bad command line. Called by CTest with -DTOOL=<program>
# -DWORK_DIR=<scratch directory>; the directory is removed afterwards.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

# run(<expected exit code> <output variable> args...): runs the tool and
# stores standard output and error together in the variable.
function(run expected_code output_var)
  execute_process(COMMAND ${TOOL} ${ARGN}
    WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT code EQUAL expected_code)
    message(FATAL_ERROR "vecml-data ${ARGN}: exit code ${code}, expected "
      "${expected_code}\n${out}${err}")
  endif()
  set(${output_var} "${out}${err}" PARENT_SCOPE)
endfunction()

function(expect_contains text part)
  string(FIND "${text}" "${part}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "expected to find\n${part}\nin\n${text}")
  endif()
endfunction()

# Values that float holds exactly, so the table comes back digit for digit.
file(WRITE ${WORK_DIR}/in.csv
  "a,b,kind\n0.5,1.25,setosa\n-3,2,versicolor\n4,0.125,setosa\n")

run(0 out csv2ds in.csv data.gz --header --label 2 --info tiny)
expect_contains("${out}" "data.gz: 3 items, 2 inputs, 1 outputs\n")
expect_contains("${out}" "label 0: setosa\nlabel 1: versicolor\n")

run(0 out ds2csv data.gz back.csv --header)
file(READ ${WORK_DIR}/back.csv back)
set(expected "x0,x1,y0\n0.5,1.25,0\n-3,2,1\n4,0.125,0\n")
if(NOT back STREQUAL expected)
  message(FATAL_ERROR "ds2csv wrote\n${back}\nexpected\n${expected}")
endif()

run(0 out ds2csv data.gz tabs.csv --delimiter tab)
file(READ ${WORK_DIR}/tabs.csv back)
if(NOT back STREQUAL "0.5\t1.25\t0\n-3\t2\t1\n4\t0.125\t0\n")
  message(FATAL_ERROR "ds2csv --delimiter tab wrote\n${back}")
endif()

run(0 out stat data.gz)
expect_contains("${out}" " Items      : 3\n")
expect_contains("${out}"
  " Feature  |      Min       |      Max      |      Mean      |   Std. Dev.   |   Variance    | \n")

file(WRITE ${WORK_DIR}/bad.csv "1,2\n3,abc\n")
run(1 out csv2ds bad.csv bad.gz)
expect_contains("${out}" "line 2, column 2: 'abc' is not a number")

run(1 out stat missing.gz)

# Hostile inputs end promptly with a message naming what is wrong.
file(MAKE_DIRECTORY ${WORK_DIR}/folder)
run(1 out stat folder)
expect_contains("${out}" "the file is a directory; file: folder")
run(1 out csv2ds folder out.gz)
expect_contains("${out}" "folder is a directory, not a file")
run(1 out stat /dev/zero)
expect_contains("${out}" "not a regular file (a device, pipe or socket)")
execute_process(COMMAND mkfifo ${WORK_DIR}/fifo RESULT_VARIABLE code)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "mkfifo failed: ${code}")
endif()
run(1 out stat fifo)
expect_contains("${out}" "not a regular file (a device, pipe or socket); file: fifo")

# A field holding a NUL and an escape character is quoted whole, with
# those bytes escaped.
execute_process(COMMAND printf "1,a\\000b\\033c\\n"
  OUTPUT_FILE ${WORK_DIR}/nul.csv)
run(1 out csv2ds nul.csv nul.gz)
expect_contains("${out}" "'a\\x00b\\x1bc' is not a number")
run(2 out)
expect_contains("${out}" "usage:")
run(2 out csv2ds in.csv data.gz --inputs 3-1)
expect_contains("${out}" "bad column range '3-1'")

file(REMOVE_RECURSE ${WORK_DIR})
