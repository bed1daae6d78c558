# musl by the wrapper of Debian's musl-tools, with the C++ standard library that
# scripts/musl_standard_library has built beside the build folder.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_HOST_SYSTEM_PROCESSOR})
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(standard_library ${CMAKE_CURRENT_LIST_DIR}/../../build/platforms/musl_standard_library)
cmake_path(NORMAL_PATH standard_library)
set(system ${CMAKE_SYSTEM_PROCESSOR}-linux-musl)
set(specs -specs=/usr/lib/${system}/musl-gcc.specs)
set(CMAKE_C_FLAGS_INIT "${specs}")
set(headers ${standard_library}/include)
set(CMAKE_CXX_FLAGS_INIT
    "${specs} -nostdinc++ -isystem ${headers} -isystem ${headers}/${CMAKE_SYSTEM_PROCESSOR}-pc-linux-musl"
)
# The wrapper leaves out the table of the unwinder, which comes after the library that holds what it
# needs.
set(unwinder -Wl,--eh-frame-hdr,-u,_dl_find_object)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-L${standard_library}/lib ${unwinder}")
if(NEB_XML_STATIC_PROGRAMS)
  string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -static")
endif()
set(CMAKE_SHARED_LINKER_FLAGS_INIT -L${standard_library}/lib)
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-L${standard_library}/lib ${unwinder}")
# Nothing of this machine's other C library is found.
set(CMAKE_FIND_ROOT_PATH /usr/lib/${system})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
