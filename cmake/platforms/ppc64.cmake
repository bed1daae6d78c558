set(CMAKE_SYSTEM_PROCESSOR ppc64)
set(triplet powerpc64-linux-gnu)
set(emulator qemu-ppc64-static)
include(${CMAKE_CURRENT_LIST_DIR}/common/gnu_linux.cmake)
