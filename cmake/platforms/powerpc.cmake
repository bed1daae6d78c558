set(CMAKE_SYSTEM_PROCESSOR ppc)
set(triplet powerpc-linux-gnu)
set(emulator qemu-ppc-static)
include(${CMAKE_CURRENT_LIST_DIR}/common/gnu_linux.cmake)
