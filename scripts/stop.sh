#!/usr/bin/env bash
# Stops what scripts/serve.sh started, by the pids it recorded: the
# supervisor first (it stops the daemon it runs), then nginx.
# Safe to run when nothing is running, and after a reboot: a pid is only
# signalled while it still belongs to the program that recorded it.
set -uo pipefail
cd "$(dirname "$0")/.."
source scripts/lib/demo-settings.sh
status=0
cdsctl=$build_dir/tools/cdsctl/cdsctl
store=$run_dir/cds.db

stop_process() {  # pid program signal
  # The kernel keeps 15 characters of a program's name.
  [ "$(cat "/proc/$1/comm" 2>/dev/null)" = "${2:0:15}" ] || return 0
  kill "-$3" "$1" 2>/dev/null
  # Bounded, so that a stuck process is reported instead of hanging the
  # caller (scripts/run.sh stops the previous demo with this). The
  # supervisor takes up to its stop grace (10 s) to end the daemon.
  for _ in $(seq 300); do
    kill -0 "$1" 2>/dev/null || return 0
    sleep 0.1
  done
  echo "stop: $2 (pid $1) is still running" >&2
  status=1
}

stop_pid() {  # pid-file program signal
  [ -f "$1" ] || return 0
  local before=$status
  stop_process "$(cat "$1")" "$2" "$3"
  [ "$status" -ne "$before" ] || rm -f "$1"
}

# A daemon whose supervisor could not stop it (it was killed, say) still
# has its watchdog row, which names its pid.
stop_daemon_left_behind() {
  [ -x "$cdsctl" ] && [ -f "$store" ] || return 0
  local pid
  for pid in $("$cdsctl" --store "$store" watchdogs 2>/dev/null |
               awk -F'\t' '$1 == "wsgated" { split($2, p, " "); print p[2] }'); do
    stop_process "$pid" wsgated TERM
  done
}

# The same for the alarm handler, by its row's pid.
stop_alarms_left_behind() {
  [ -x "$cdsctl" ] && [ -f "$store" ] || return 0
  local pid
  for pid in $("$cdsctl" --store "$store" watchdogs 2>/dev/null |
               awk -F'\t' '$1 == "alarms" { split($2, p, " "); print p[2] }'); do
    stop_process "$pid" card-alarms TERM
  done
}

stop_pid "$run_dir/supervisor.pid" wsgated-supervisor TERM
stop_daemon_left_behind
stop_alarms_left_behind
stop_pid "$run_dir/nginx/nginx.pid" nginx QUIT
exit $status
