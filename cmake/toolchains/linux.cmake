# Linux on ZELDC_MACHINE, such as aarch64 or s390x, with Debian's cross compiler; programs run under qemu-user, against
# that architecture's run-time packages.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZELDC_MACHINE)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${ZELDC_MACHINE})
set(CMAKE_C_COMPILER ${ZELDC_MACHINE}-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER ${ZELDC_MACHINE}-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${ZELDC_MACHINE})
