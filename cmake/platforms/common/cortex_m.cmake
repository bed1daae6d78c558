# A board with a Cortex-M in an emulator, newlib, and semihosting for output, files and the exit.
# The file that includes this one has set CMAKE_SYSTEM_PROCESSOR, board, NEB_XML_BOARD_FLASH and
# NEB_XML_BOARD_RAM.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_C_COMPILER arm-none-eabi-gcc)
set(CMAKE_CXX_COMPILER arm-none-eabi-g++)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(flags "-mcpu=${CMAKE_SYSTEM_PROCESSOR} -mthumb -ffunction-sections -fdata-sections")
set(CMAKE_C_FLAGS_INIT ${flags})
set(CMAKE_CXX_FLAGS_INIT ${flags})
set(CMAKE_EXE_LINKER_FLAGS_INIT "--specs=rdimon.specs -Wl,--gc-sections")
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-system-arm -M ${board} -nographic -monitor none -serial none
    -semihosting-config enable=on,target=native -kernel)
set(NEB_XML_SIZE arm-none-eabi-size)
set(NEB_XML_KEEP -Wl,-u,)
