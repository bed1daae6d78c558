# WebAssembly with WASI, as Debian's clang and wasi-libc have it, in node.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_AR llvm-ar)
set(CMAKE_RANLIB llvm-ranlib)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# Debian has its headers below those of this machine, which must not be found.
set(include /usr/include/wasm32-wasi)
set(flags "-Wno-unused-command-line-argument -nostdlibinc")
set(CMAKE_C_FLAGS_INIT "${flags} -isystem ${include}")
set(CMAKE_CXX_FLAGS_INIT
    "${flags} -fno-exceptions -isystem ${include}/c++/v1 -isystem ${include}")
# Otherwise every number that the linker fills in takes five bytes.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--strip-all,--compress-relocations")
set(CMAKE_EXECUTABLE_SUFFIX .wasm)
set(CMAKE_CROSSCOMPILING_EMULATOR node --no-warnings ${CMAKE_CURRENT_LIST_DIR}/common/wasi.mjs)
set(NEB_XML_SIZE llvm-size)
set(NEB_XML_KEEP -Wl,--export=)
