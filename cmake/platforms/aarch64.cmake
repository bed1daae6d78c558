set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triplet aarch64-linux-gnu)
set(emulator qemu-aarch64-static)
include(${CMAKE_CURRENT_LIST_DIR}/common/gnu_linux.cmake)
