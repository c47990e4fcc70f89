# Compiles for 32-bit ARM as a device tree does: clang, libc++, lld, Thumb-2, unused and identical sections dropped,
# linker warnings fatal. The libraries come from scripts/arm-sysroot. Its C library is not a device's, and its loader
# does not support the packed relocations of a device. Programs run on this sysroot with qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
get_filename_component(arm_sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot ABSOLUTE)
set(arm_libraries ${arm_sysroot}/usr/lib/arm-linux-gnueabihf)
set(llvm ${arm_sysroot}/usr/lib/llvm-14)
set(CMAKE_SYSROOT ${arm_sysroot})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${arm_sysroot})
set(PIPELINE_JAVA_HOME ${arm_sysroot}/usr/lib/jvm/java-17-openjdk-armhf
    CACHE PATH "Java installation with lib/server/libjvm.so")
set(ENV{PKG_CONFIG_LIBDIR} ${arm_libraries}/pkgconfig:${arm_sysroot}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${arm_sysroot})

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET arm-linux-gnueabihf)
set(CMAKE_CXX_COMPILER_TARGET arm-linux-gnueabihf)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a -mthumb -ffunction-sections -fdata-sections")
set(CMAKE_CXX_FLAGS_INIT
    "${CMAKE_C_FLAGS_INIT} -stdlib=libc++ -cxx-isystem \"${llvm}/include/c++/v1\"")
string(JOIN " " CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld "-L\"${llvm}/lib\""
       "-Wl,-rpath-link,\"${arm_libraries}\",--gc-sections,--icf=safe,--hash-style=gnu"
       -Wl,--no-undefined-version,--fatal-warnings)
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
set(CMAKE_MODULE_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
