#!/usr/bin/env bash
# Stops what scripts/serve.sh started, by the pids it recorded.
# Safe to run when nothing is running, and after a reboot: a pid is only
# signalled while it still belongs to the program that recorded it.
set -uo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/demo-settings.sh
status=0
stop_pid() {  # pid-file program signal
  [ -f "$1" ] || return 0
  pid=$(cat "$1")
  if [ "$(cat "/proc/$pid/comm" 2>/dev/null)" = "$2" ]; then
    kill "-$3" "$pid" 2>/dev/null
    # Bounded, so that a stuck process is reported instead of hanging
    # the caller (scripts/run.sh stops the previous demo with this).
    for _ in $(seq 300); do
      kill -0 "$pid" 2>/dev/null || break
      sleep 0.1
    done
    if kill -0 "$pid" 2>/dev/null; then
      echo "stop: $2 (pid $pid) is still running" >&2
      status=1
      return
    fi
  fi
  rm -f "$1"
}
stop_pid "$run_dir/wsgated.pid" wsgated TERM
stop_pid "$run_dir/nginx/nginx.pid" nginx QUIT
exit $status
