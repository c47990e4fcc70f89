# 32-bit ARM as a device tree compiles: clang, libc++, lld, Thumb-2, unused and equal sections dropped. The C library is
# the sysroot's, not a device's; its loader does not take the packed relocations that a device's does.
include(${CMAKE_CURRENT_LIST_DIR}/arm-sysroot.cmake)
set(CMAKE_SYSROOT ${arm_sysroot})
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET arm-linux-gnueabihf)
set(CMAKE_CXX_COMPILER_TARGET arm-linux-gnueabihf)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a -mthumb -ffunction-sections -fdata-sections")
set(llvm ${arm_sysroot}/usr/lib/llvm-14)
set(CMAKE_CXX_FLAGS_INIT
    "${CMAKE_C_FLAGS_INIT} -stdlib=libc++ -cxx-isystem ${llvm}/include/c++/v1")
string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -fuse-ld=lld -Wl,--gc-sections,--icf=safe -L${llvm}/lib")
set(CMAKE_MODULE_LINKER_FLAGS_INIT ${CMAKE_SHARED_LINKER_FLAGS_INIT})
set(CMAKE_EXE_LINKER_FLAGS_INIT ${CMAKE_SHARED_LINKER_FLAGS_INIT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
