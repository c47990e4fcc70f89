# 32-bit ARM with Debian's cross compiler: its own C library, the sysroot's for everything else.
include(${CMAKE_CURRENT_LIST_DIR}/arm-sysroot.cmake)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_EXE_LINKER_FLAGS_INIT ${CMAKE_SHARED_LINKER_FLAGS_INIT})
