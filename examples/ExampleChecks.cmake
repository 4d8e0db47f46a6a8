# Helpers of the example checks (included by the Check*.cmake scripts).

# Runs `program` in the empty directory `work_dir` and stores its standard
# output in `output_var`; fails the check when the program fails.
function(run_example program work_dir output_var)
  file(REMOVE_RECURSE ${work_dir})
  file(MAKE_DIRECTORY ${work_dir})
  execute_process(COMMAND ${program}
    WORKING_DIRECTORY ${work_dir}
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE errors)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${program} failed (${result}):\n${output}${errors}")
  endif()
  set(${output_var} "${output}" PARENT_SCOPE)
endfunction()

# Fails the check unless `text` (named `what` in the message) contains each
# of the further arguments.
function(expect_texts what text)
  foreach(expected IN LISTS ARGN)
    string(FIND "${text}" "${expected}" position)
    if(position EQUAL -1)
      message(FATAL_ERROR "${what} lacks '${expected}':\n${text}")
    endif()
  endforeach()
endfunction()

# Fails the check unless `program` wrote each of the further arguments as a
# file in `work_dir`.
function(expect_files program work_dir)
  foreach(name IN LISTS ARGN)
    if(NOT EXISTS ${work_dir}/${name})
      message(FATAL_ERROR "${program} did not write ${name}")
    endif()
  endforeach()
endfunction()

# Fails the check unless `text` (named `what`) matches `regex` exactly
# `expected` times.
function(expect_match_count what text regex expected)
  string(REGEX MATCHALL "${regex}" matches "${text}")
  list(LENGTH matches count)
  if(NOT count EQUAL expected)
    message(FATAL_ERROR "${what} has ${count} matches of '${regex}', not ${expected}")
  endif()
endfunction()
