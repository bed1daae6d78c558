# No board of the emulator has a Cortex-M0 and enough memory. A Cortex-M3 runs its code; unaligned
# accesses, which only a Cortex-M0 refuses, are for the sanitizers to find. Without atomic
# instructions, the library is built for one thread.
set(CMAKE_SYSTEM_PROCESSOR cortex-m0)
set(board mps2-an385)
set(NEB_XML_BOARD_FLASH 0)
set(NEB_XML_BOARD_RAM 0x20000000)
include(${CMAKE_CURRENT_LIST_DIR}/common/cortex_m.cmake)
string(APPEND CMAKE_CXX_FLAGS_INIT " -DNEB_XML_NO_THREADS")
