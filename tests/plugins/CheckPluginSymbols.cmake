# Fails when a plug-in in PLUGIN_DIR defines a symbol of a template
# instantiation for int, float or double (a member, vtable or type_info of a
# library class), or exports a C++ symbol: plug-ins export only their
# create_* entry points.
# usage: cmake -DNM=<nm> -DPLUGIN_DIR=<dir> -P CheckPluginSymbols.cmake
file(GLOB plugins ${PLUGIN_DIR}/*Factory.so)
if(NOT plugins)
  message(FATAL_ERROR "no plug-ins in ${PLUGIN_DIR}")
endif()

foreach(plugin IN LISTS plugins)
  execute_process(COMMAND ${NM} -C --defined-only ${plugin}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]*<(int|float|double)>[^\n]*" copies
    "${symbols}")
  # The sanitizer build adds the type_info of the entry points' function
  # types, which its indirect-call check compares; they hold no code.
  list(FILTER copies EXCLUDE REGEX "typeinfo (name )?for [^\n]*\\)$")
  if(copies)
    list(JOIN copies "\n" copies)
    message(SEND_ERROR "${plugin} defines library code:\n${copies}")
  endif()

  execute_process(COMMAND ${NM} -D --defined-only ${plugin}
    OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]* _Z[^\n]*" cxxExports "${exported}")
  list(FILTER cxxExports EXCLUDE REGEX " _ZT[IS]F")
  if(cxxExports)
    list(JOIN cxxExports "\n" cxxExports)
    message(SEND_ERROR "${plugin} exports C++ symbols:\n${cxxExports}")
  endif()
endforeach()
