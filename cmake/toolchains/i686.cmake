# Debian's cross compiler for i686. The machine runs the programs itself where it can, with the
# libraries' own loader in front of them, and qemu does where it can't.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
set(vesk_i686_libraries /usr/i686-linux-gnu/lib)
execute_process(COMMAND ${vesk_i686_libraries}/ld-linux.so.2 --version
    RESULT_VARIABLE vesk_i686_status OUTPUT_QUIET ERROR_QUIET)
if(vesk_i686_status STREQUAL 0)
    set(CMAKE_CROSSCOMPILING_EMULATOR
        ${vesk_i686_libraries}/ld-linux.so.2;--library-path;${vesk_i686_libraries})
else()
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-i386;-L;/usr/i686-linux-gnu)
endif()
set(CMAKE_FIND_ROOT_PATH /usr/i686-linux-gnu ${VESK_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VESK_SYSROOT)
