set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(triplet arm-linux-gnueabihf)
set(emulator qemu-arm-static)
include(${CMAKE_CURRENT_LIST_DIR}/common/gnu_linux.cmake)
