# This machine's compiler for its 32-bit programs, which it runs itself. The compiler is named with
# its version: its libraries of 32 bits can then be there together with cross compilers.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
execute_process(
  COMMAND g++ -dumpversion
  OUTPUT_VARIABLE version
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND g++ -print-multiarch
  OUTPUT_VARIABLE multiarch
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_C_COMPILER gcc-${version})
set(CMAKE_CXX_COMPILER g++-${version})
# The headers of the kernel are those of 64 bits.
set(CMAKE_C_FLAGS_INIT "-m32 -idirafter /usr/include/${multiarch}")
set(CMAKE_CXX_FLAGS_INIT "-m32 -idirafter /usr/include/${multiarch}")
set(CMAKE_FIND_ROOT_PATH /usr/lib32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
