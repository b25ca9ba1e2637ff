#!/usr/bin/env bash
# Builds the project for another processor and runs its tests under
# qemu-user. The device is a 32-bit big-endian PowerPC; this machine is a
# 64-bit little-endian x86-64, whose kernel here runs no 32-bit programs
# either. Between them the targets cover what differs:
#
#   i386    32 bits, little-endian (long, time_t, size_t and pointers of
#           32 bits): everything, the unit and the end-to-end tests
#   s390x   64 bits, big-endian: everything, the unit tests
#   ppc     32 bits, big-endian, the device's processor: Debian has its
#           compiler but no Boost, SQLite or engine runtime for it, so only
#           what needs none of them (WSGATED_LIBC_ONLY: the value and time
#           conversions, the COMTRADE reader) with their tests
#
#   bash scripts/cross-test.sh TARGET [--smoke] [CTEST_ARGS...]
#
# --smoke runs the subset CI has time for: on i386 the unit tests and the
# end-to-end smoke subset (E2E_SMOKE below); on s390x the tests of the
# layers whose data has a byte order (S390X_SMOKE below), built alone.
# Further arguments go to ctest.
#
# Each target builds in ./build-TARGET. The target's libraries are Debian's
# packages of its architecture, unpacked into build-TARGET/sysroot by
# scripts/cross/sysroot.sh (downloaded once, kept in build-TARGET/debs);
# the cross compilers and qemu come from scripts/install-deps.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
target=${1:?usage: cross-test.sh i386|s390x|ppc [--smoke] [CTEST_ARGS...]}
shift
smoke=false
if [ "${1:-}" = --smoke ]; then
  smoke=true
  shift
fi
# The end-to-end tests a smoke run keeps: the daemon's life (start, stop,
# refusals) and the core calls through nginx.
E2E_SMOKE='^e2e_test_(daemon|core)$'
# The test folders a smoke run builds and runs on s390x: the platform (the
# store, the logs, the trend log, values and times), the COMTRADE reader,
# the contract and the layer every operation shares.
S390X_SMOKE=(platform comtrade contract common)

case $target in
  i386) triple=i686-linux-gnu qemu=qemu-i386 ;;
  s390x) triple=s390x-linux-gnu qemu=qemu-s390x ;;
  ppc) triple=powerpc-linux-gnu qemu=qemu-ppc ;;
  *) echo "cross-test: unknown target '$target' (i386, s390x, ppc)" >&2
     exit 1 ;;
esac
build=$PWD/build-$target
bash scripts/install-deps.sh "g++-$triple" qemu-user

config=(-DCMAKE_TOOLCHAIN_FILE="$PWD/scripts/cross/toolchain.cmake"
        -DWSGATED_CROSS_TRIPLE="$triple")
if [ "$target" = ppc ]; then
  # The cross compiler's own C library is the whole sysroot.
  config+=(-DWSGATED_LIBC_ONLY=ON
           -DWSGATED_CROSS_EMULATOR="$qemu;-L;/usr/$triple")
else
  bash scripts/cross/sysroot.sh "$target" "$build"
  config+=(-DWSGATED_CROSS_SYSROOT="$build/sysroot"
           -DWSGATED_CROSS_EMULATOR="$qemu;-L;$build/sysroot")
fi
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" \
  "${config[@]}" >/dev/null
if [ "$target" = s390x ] && $smoke; then
  # The Makefiles of a test folder build its tests and what they link.
  for area in "${S390X_SMOKE[@]}"; do
    make -C "$build/tests/$area" -j2 --no-print-directory
  done
else
  cmake --build "$build" -j2
fi

cd "$build"
jobs=-j2
case $target in
  s390x)
    # The end-to-end tests start the daemon, the store's tool and nginx
    # together; under qemu-s390x that is slow, and i386 covers them.
    if $smoke; then
      labels=$(IFS='|'; echo "^(${S390X_SMOKE[*]})\$")
      ctest --output-on-failure "$jobs" -L "$labels" "$@"
    else
      ctest --output-on-failure "$jobs" -LE e2e "$@"
    fi ;;
  i386)
    if $smoke; then
      ctest --output-on-failure "$jobs" -LE e2e "$@"
      ctest --output-on-failure -R "$E2E_SMOKE" "$@"
    else
      ctest --output-on-failure "$jobs" "$@"
    fi ;;
  ppc)
    ctest --output-on-failure "$jobs" "$@" ;;
esac
