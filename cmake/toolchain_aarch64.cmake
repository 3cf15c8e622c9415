# Cross-compiles for arm64 with Debian's g++-aarch64-linux-gnu. ZUNIC_SYSROOT is the root file system of the target;
# without it, the libraries are Debian's arm64 packages on this machine.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZUNIC_SYSROOT)

# Not those of this machine itself.
set(pkgconfig_folders ${ZUNIC_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig ${ZUNIC_SYSROOT}/usr/share/pkgconfig)
if(ZUNIC_SYSROOT)
  set(CMAKE_SYSROOT ${ZUNIC_SYSROOT})
  set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
  set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
  set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
  set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${ZUNIC_SYSROOT})
  list(APPEND pkgconfig_folders ${ZUNIC_SYSROOT}/usr/lib/pkgconfig)
endif()
list(JOIN pkgconfig_folders : pkgconfig_path)
set(ENV{PKG_CONFIG_LIBDIR} ${pkgconfig_path})
