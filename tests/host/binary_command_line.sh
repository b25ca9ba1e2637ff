#!/bin/sh
# The built daemon's command line: the exit statuses of a few cases that
# never reach the data store, and the version line naming the program as
# it was started. (The texts are the unit tests'.)
bin=$1
fail=0
check() {  # expected-status description command...
  want=$1; what=$2; shift 2
  "$@" >/dev/null 2>&1
  got=$?
  if [ "$got" -ne "$want" ]; then
    echo "FAIL: $what: exit $got, expected $want"; fail=1
  fi
}
check 0 "-v" "$bin" -v
check 0 "-v after other options" "$bin" -m 5 -v -x
check 1 "unknown option" "$bin" -x -d
check 1 "missing value" "$bin" -m
check 1 "bad value" "$bin" -c 0

out=$("$bin" -v)
case "$out" in
  "$bin: version 2.0.0"*) ;;
  *) echo "FAIL: -v first line: $out"; fail=1 ;;
esac
exit $fail
