# A static library shares its global names with the program that it is linked into. Each one has to
# be part of the interface or in the project's namespace.
#
#   cmake -DLIBRARY=... -DGOLDEN=... -DNM=... [-DCOFF=ON] -P this
cmake_minimum_required(VERSION 3.22)

set(own_name "^_Z(T[VTIS]|GV)?N[KVO]*3neb")
# Programs have the same instances of the standard library's templates, and the linker keeps one.
set(standard_instance "^_Z(GV)?(N[KVRO]*)?(S[tabsiod]|9__gnu_cxx).* [VWu]$")
# What g++ defines in every object of 32-bit x86 that needs it, hidden.
set(of_compiler "^__x86[.]get_pc_thunk[.]")
if(COFF)
  # There nm does not tell them from others. A pointer to a symbol, which the compiler adds, is kept
  # once too.
  set(standard_instance "^_Z(GV)?(N[KVRO]*)?(S[tabsiod]|9__gnu_cxx).* [TVWu]$|^[.]refptr[.]")
endif()

file(STRINGS "${GOLDEN}" golden)
execute_process(
  COMMAND ${NM} --defined-only --extern-only --format=posix "${LIBRARY}"
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
# A symbol's line is its name, type, value and size; others name the files of the archive.
string(REGEX MATCHALL "[^\n ]+ [A-Za-z] [^\n]*" lines "${symbols}")

set(defined "")
foreach(line IN LISTS lines)
  string(REGEX MATCH "^([^ ]+) ([A-Za-z])" symbol "${line}")
  set(name "${CMAKE_MATCH_1}")
  list(APPEND defined "${name}")
  if(NOT name IN_LIST golden AND NOT name MATCHES "${own_name}|${of_compiler}"
     AND NOT symbol MATCHES "${standard_instance}")
    message(SEND_ERROR "a global name outside of the namespace neb: ${symbol}")
  endif()
endforeach()

# Whether the symbols have been read at all.
list(REMOVE_DUPLICATES defined)
foreach(name IN LISTS golden)
  if(NOT name IN_LIST defined)
    message(SEND_ERROR "not defined: ${name}")
  endif()
endforeach()
list(LENGTH defined count)
message(STATUS "${count} global names")
