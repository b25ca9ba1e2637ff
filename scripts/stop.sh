#!/usr/bin/env bash
# Stops what scripts/serve.sh started, by the pids it recorded.
set -uo pipefail
cd "$(dirname "$0")/.."
run_dir=$PWD/${RUN_DIR:-.run}
stop_pid() {  # pid-file signal
  [ -f "$1" ] || return 0
  pid=$(cat "$1")
  kill "-$2" "$pid" 2>/dev/null && while kill -0 "$pid" 2>/dev/null; do sleep 0.1; done
  rm -f "$1"
}
stop_pid "$run_dir/wsgated.pid" TERM
stop_pid "$run_dir/nginx/nginx.pid" QUIT
