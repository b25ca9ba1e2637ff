# CMake toolchain for the cross builds of scripts/cross-test.sh. The
# script passes, as cache variables:
#   WSGATED_CROSS_TRIPLE    the cross compiler's prefix (s390x-linux-gnu)
#   WSGATED_CROSS_SYSROOT   the target's libraries (scripts/cross/sysroot.sh);
#                           empty: the cross compiler's own C library only
#   WSGATED_CROSS_EMULATOR  how this machine runs the target's programs
#                           (qemu-s390x;-L;<sysroot>); empty: natively
# Programs that run during the build (soapcpp2, msgfmt, python3) are this
# machine's; libraries and headers are the target's.
set(CMAKE_SYSTEM_NAME Linux)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR "${WSGATED_CROSS_TRIPLE}")
set(CMAKE_C_COMPILER ${WSGATED_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${WSGATED_CROSS_TRIPLE}-g++)
# try_compile() projects read this file again: hand them the settings.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
     WSGATED_CROSS_TRIPLE WSGATED_CROSS_SYSROOT WSGATED_CROSS_EMULATOR)

if(WSGATED_CROSS_SYSROOT)
  set(CMAKE_SYSROOT ${WSGATED_CROSS_SYSROOT})
  set(CMAKE_FIND_ROOT_PATH ${WSGATED_CROSS_SYSROOT})
  # pkg-config reads the target's .pc files and prefixes their paths.
  execute_process(COMMAND ${CMAKE_C_COMPILER} -print-multiarch
                  OUTPUT_VARIABLE multiarch OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${WSGATED_CROSS_SYSROOT})
  set(ENV{PKG_CONFIG_LIBDIR}
      "${WSGATED_CROSS_SYSROOT}/usr/lib/${multiarch}/pkgconfig:${WSGATED_CROSS_SYSROOT}/usr/share/pkgconfig")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# ctest and gtest_discover_tests put the emulator before every built
# program they run; test scripts that start built programs read it from
# WSGATED_EMULATOR (tests/CMakeLists.txt).
set(CMAKE_CROSSCOMPILING_EMULATOR ${WSGATED_CROSS_EMULATOR})
