#!/bin/sh
# The built daemon's command line: the exit statuses of a few cases that
# never reach the data store, and the version line naming the program as
# it was started. (The texts are the unit tests'.)
bin=$1
# A cross build runs the target's program through an emulator (qemu-user).
emulator=${WSGATED_EMULATOR:-}
fail=0
check() {  # expected-status description command...
  want=$1; what=$2; shift 2
  "$@" >/dev/null 2>&1
  got=$?
  if [ "$got" -ne "$want" ]; then
    echo "FAIL: $what: exit $got, expected $want"; fail=1
  fi
}
check 0 "-v" $emulator "$bin" -v
check 0 "-v after other options" $emulator "$bin" -m 5 -v -x
check 1 "unknown option" $emulator "$bin" -x -d
check 1 "missing value" $emulator "$bin" -m
check 1 "bad value" $emulator "$bin" -c 0

out=$($emulator "$bin" -v)
case "$out" in
  "$bin: version 2.0.0"*) ;;
  *) echo "FAIL: -v first line: $out"; fail=1 ;;
esac
exit $fail
