set(CMAKE_SYSTEM_PROCESSOR s390x)
set(triplet s390x-linux-gnu)
set(emulator qemu-s390x-static)
include(${CMAKE_CURRENT_LIST_DIR}/common/gnu_linux.cmake)
