# Windows on ZELDC_MACHINE, x86_64 or i686, with Debian's mingw-w64; programs run under wine where it is installed for
# this width.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZELDC_MACHINE)
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${ZELDC_MACHINE})
set(CMAKE_C_COMPILER ${ZELDC_MACHINE}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZELDC_MACHINE}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER ${ZELDC_MACHINE}-w64-mingw32-windres)
string(REPLACE i686 i386 wine_machine ${ZELDC_MACHINE})  # as Debian names its folders
if(EXISTS /usr/lib/${wine_machine}-linux-gnu/wine)
  set(CMAKE_CROSSCOMPILING_EMULATOR wine)
endif()
set(CMAKE_FIND_ROOT_PATH /usr/${ZELDC_MACHINE}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
