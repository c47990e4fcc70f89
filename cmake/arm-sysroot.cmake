# What the toolchains for 32-bit ARM share: programs run with qemu-user on the libraries and the Java runtime that
# scripts/arm-sysroot unpacks.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
get_filename_component(arm_sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot ABSOLUTE)
set(arm_libraries ${arm_sysroot}/usr/lib/arm-linux-gnueabihf)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${arm_sysroot})
set(DESK_JAVA_HOME ${arm_sysroot}/usr/lib/jvm/java-17-openjdk-armhf
    CACHE PATH "Java installation with lib/server/libjvm.so")
set(ENV{PKG_CONFIG_LIBDIR} ${arm_libraries}/pkgconfig:${arm_sysroot}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${arm_sysroot})
set(CMAKE_SHARED_LINKER_FLAGS_INIT -Wl,-rpath-link,${arm_libraries})
