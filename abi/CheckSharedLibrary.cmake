# Compares what the shared library offers with the golden list, and what it needs with what it may.
#
#   cmake -DLIBRARY=... -DGOLDEN=... -DNM=... -DREADELF=... -DMAY_NEED=REGEX -P this
#   cmake -DLIBRARY=... -DGOLDEN=... -DOBJDUMP=... -DMAY_NEED=REGEX -P this, for a DLL
cmake_minimum_required(VERSION 3.22)

function(run_tool output)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}: ${result}")
  endif()
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

# Each sets the symbols that the library defines and the libraries that it needs.
function(read_elf symbols needed)
  run_tool(names ${NM} -D --defined-only --format=posix "${LIBRARY}")
  string(REGEX MATCHALL "[^\n]+" lines "${names}")
  # The name of the symbols' version is listed like a symbol, as an absolute one.
  list(FILTER lines EXCLUDE REGEX " A ")
  list(TRANSFORM lines REPLACE "[ @].*" "")
  run_tool(dynamic ${READELF} -d -W "${LIBRARY}")
  string(REGEX MATCHALL "\\(NEEDED\\)[^\n]*" entries "${dynamic}")
  list(TRANSFORM entries REPLACE ".*Shared library: .([^]]*).*" "\\1")
  set(${symbols} "${lines}" PARENT_SCOPE)
  set(${needed} "${entries}" PARENT_SCOPE)
endfunction()

function(read_dll symbols needed)
  run_tool(headers ${OBJDUMP} -p "${LIBRARY}")
  # An index in brackets begins the line of a symbol; elsewhere a list would take them for its own.
  string(REGEX REPLACE "\n\t\\[ *[0-9]+\\] " "\nsymbol " table "${headers}")
  string(REGEX MATCHALL "symbol [A-Za-z_0-9]+" lines "${table}")
  list(TRANSFORM lines REPLACE "symbol " "")
  string(REGEX MATCHALL "DLL Name: [^\n]*" entries "${headers}")
  list(TRANSFORM entries REPLACE "DLL Name: " "")
  set(${symbols} "${lines}" PARENT_SCOPE)
  set(${needed} "${entries}" PARENT_SCOPE)
endfunction()

file(STRINGS "${GOLDEN}" golden)
if(OBJDUMP)
  read_dll(exported needed)
else()
  read_elf(exported needed)
endif()

set(faults "")
foreach(name IN LISTS golden)
  if(NOT name IN_LIST exported)
    string(APPEND faults "\n- ${name}")
  endif()
endforeach()
foreach(name IN LISTS exported)
  if(NOT name IN_LIST golden)
    string(APPEND faults "\n+ ${name}")
  endif()
endforeach()
if(faults)
  message(SEND_ERROR "exported symbols differ from ${GOLDEN}:${faults}")
endif()

if(MAY_NEED)
  foreach(name IN LISTS needed)
    if(NOT name MATCHES "${MAY_NEED}")
      message(SEND_ERROR "the library needs ${name}")
    endif()
  endforeach()
endif()

list(LENGTH exported count)
message(STATUS "${count} symbols exported")
