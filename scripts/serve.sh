#!/usr/bin/env bash
# Starts a private nginx on 127.0.0.1:$WSGATED_PORT (default 8080, HTTP)
# and 127.0.0.1:$WSGATED_TLS_PORT (default 8443, HTTPS with a self-signed
# certificate), then wsgated-supervisor in the background, which starts
# wsgated against the sample store ./.run/cds.db (made by scripts/run.sh)
# and restarts it when it hangs or dies (docs/card.md). Everything lives
# under ./.run; scripts/stop.sh stops the supervisor (and with it the
# daemon) and nginx by the pids recorded there.
#
# Environment: BUILD_DIR (./build), RUN_DIR (./.run), WSGATED_PORT (8080),
# WSGATED_TLS_PORT (8443), WSGATED_REBOOT_CMD (a missing file: no reboot),
# WSGATED_WATCHDOG_S (the daemon's watchdog period, 90),
# WSGATED_TREND_SAMPLE_S (the trend recorder's sampling interval, 5).
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/lib/demo-settings.sh
prefix=$run_dir/nginx
store=$run_dir/cds.db
socket=$run_dir/wsgated.socket
wsdl=$build_dir/contract/wsgated.wsdl

[ -f "$store" ] || { echo "serve: no store $store (run scripts/run.sh)" >&2; exit 1; }
for p in "$port" "$tls_port"; do
  if port_in_use "$p"; then
    echo "serve: 127.0.0.1:$p is already in use; choose free ports with" \
         "WSGATED_PORT and WSGATED_TLS_PORT (for example" \
         "WSGATED_PORT=$((port + 10000)) WSGATED_TLS_PORT=$((tls_port + 10000))" \
         "bash scripts/run.sh)" >&2
    exit 1
  fi
done
mkdir -p "$prefix/logs" "$prefix/tmp"

render() {  # template target
  sed -e "s|@PREFIX@|$prefix|g" -e "s|@PORT@|$port|g" \
      -e "s|@TLS_PORT@|$tls_port|g" \
      -e "s|@SOCKET@|$socket|g" -e "s|@WSDL@|$wsdl|g" \
      -e "s|@USER_LINE@|$user_line|g" \
      -e "s|@WAVEFORMS@|$waveform_dir|g" "deploy/nginx/$1" > "$prefix/$2"
}
# The waveform folder that nginx serves read-only (deploy/paths.env).
waveform_dir=$(WSGATED_DATA_DIR=$run_dir/data && . deploy/paths.env &&
               echo "$WSGATED_WAVEFORM_DIR")
# nginx workers must reach the daemon's socket: run them as our user.
user_line=""
[ "$(id -u)" -eq 0 ] && user_line="user root;"
render wsgated.conf.template nginx.conf
render wsgated-location.conf.template wsgated-location.conf
bash deploy/nginx/make-cert.sh "$prefix"
render wsgated-tls.conf.template wsgated-tls.conf
grep -v '^#' deploy/nginx/demo-users | while IFS=: read -r name password; do
  echo "$name:$(openssl passwd -apr1 "$password")"
done > "$prefix/htpasswd"

nginx -p "$prefix" -c "$prefix/nginx.conf"

export TOOLKIT_CDS_PATH=$store WSGATED_SOCKET=$socket
export WSGATED_LOCALE_DIR=$build_dir/locale
export TOOLKIT_LOG_FILE=$run_dir/wsgated.log
# The demo must never restart the machine it runs on: Reset runs a program
# that does not exist and answers "? System Reboot Failed: ...". Set
# WSGATED_REBOOT_CMD yourself to try the reboot sequence with a harmless
# program of your own.
export WSGATED_REBOOT_CMD=${WSGATED_REBOOT_CMD:-$run_dir/reboot-is-disabled-in-the-demo}
cdsctl=$build_dir/tools/cdsctl/cdsctl
pid_file=$run_dir/supervisor.pid
rm -f "$pid_file"

# One word of the supervisor's command syntax: single-quoted, a quote in
# it written '\'' as in a shell.
quote_word() {  # word
  printf "'%s'" "$(printf '%s' "$1" | sed "s/'/'\\\\''/g")"
}

# The card's data files (deploy/paths.env), under the demo's run folder;
# absolute, since the daemon works in "/" once it forks.
WSGATED_DATA_DIR=$run_dir/data . deploy/paths.env
mkdir -p "$WSGATED_LOG_DIR" "$WSGATED_WAVEFORM_DIR"
daemon_paths="-h $(quote_word "$WSGATED_DELTA_LOG")"
daemon_paths+=" -a $(quote_word "$WSGATED_EVENT_LOG")"
daemon_paths+=" -s $(quote_word "$WSGATED_SYSTEM_LOG")"
daemon_paths+=" -t $(quote_word "$WSGATED_TREND_LOG")"
daemon_paths+=" -w $(quote_word "$WSGATED_WAVEFORM_DIR")"
# The card's companions (docs/card.md) that the supervisor runs beside the
# daemon, each as --program NAME=COMMAND.
companions=()
# The trend recorder: samples the trended points into the trend log
# (WSGATED_TREND_SAMPLE_S seconds apart, default 5); its log is trends.log.
companions+=(--program "trends=$(quote_word "$build_dir/card/trends/card-trends") -D 2 --log-file $(quote_word "$run_dir/trends.log") --trend-log $(quote_word "$WSGATED_TREND_LOG") --sample-seconds ${WSGATED_TREND_SAMPLE_S:-5}")
# The meter's command handler (docs/commands.md); its log is commands.log.
companions+=(--program "commands=$(quote_word "$build_dir/card/commands/card-commands") -D 2 --log-file $(quote_word "$run_dir/commands.log") --device /Devices/Meter1")
# The living device (docs/card.md): the field-device simulator writes the
# sample devices' values every WSGATED_SIM_STEP_S seconds (default 2), the
# Delta logger samples the logged points every second into the Delta log,
# and the system logger hands conditions, structure changes, the card's
# system-log lines and its processes' starts and stops on to the event logs.
companions+=(--program "simulator=$(quote_word "$build_dir/card/simulator/card-simulator") -D 2 --log-file $(quote_word "$run_dir/simulator.log") --step-seconds ${WSGATED_SIM_STEP_S:-2}")
companions+=(--program "deltalog=$(quote_word "$build_dir/card/deltalog/card-deltalog") -D 2 --log-file $(quote_word "$run_dir/deltalog.log") --delta-log $(quote_word "$WSGATED_DELTA_LOG")")
companions+=(--program "syslog=$(quote_word "$build_dir/card/syslog/card-syslog") -D 2 --log-file $(quote_word "$run_dir/syslog.log") --event-log $(quote_word "$WSGATED_EVENT_LOG") --system-log $(quote_word "$WSGATED_SYSTEM_LOG")")
# The alarm handler: raises alarms from the points' alarm rules and acts on
# acknowledgements (docs/alarms.md); its log is alarms.log.
companions+=(--program "alarms=$(quote_word "$build_dir/card/alarms/card-alarms") -D 2 --log-file $(quote_word "$run_dir/alarms.log") --event-log $(quote_word "$WSGATED_EVENT_LOG")")
# The publisher (docs/publish.md): delivers subscriptions to their reply
# addresses, and the log records they ask for. The demo's receivers run on
# this machine, so 127.0.0.1 is allowed; a card allows no loopback address.
companions+=(--program "publisher=$(quote_word "$build_dir/card/publisher/card-publisher") -D 2 --log-file $(quote_word "$run_dir/publisher.log") --allow-address 127.0.0.1 --delta-log $(quote_word "$WSGATED_DELTA_LOG") --event-log $(quote_word "$WSGATED_EVENT_LOG") --system-log $(quote_word "$WSGATED_SYSTEM_LOG")")
# Its own session: a terminal's hang-up must not stop the demo. Its log is
# supervisor.log; supervisor.out takes what it and the daemon write on
# standard error (an exec that failed, a second daemon refused).
setsid "$build_dir/card/supervisor/wsgated-supervisor" --store "$store" \
  --log-file "$run_dir/supervisor.log" -D 2 --pid-file "$pid_file" \
  --program "wsgated=$(quote_word "$build_dir/host/wsgated") -D 2 $daemon_paths" \
  "${companions[@]}" \
  < /dev/null > "$run_dir/supervisor.out" 2>&1 &

# The daemon records its pid with its watchdog registration; the socket
# answers a moment later (scripts/run.sh waits for the endpoint).
daemon_pid() {
  local candidate
  for candidate in $("$cdsctl" --store "$store" watchdogs 2>/dev/null |
                     awk -F'\t' '$1 == "wsgated" { split($2, p, " "); print p[2] }'); do
    if kill -0 "$candidate" 2>/dev/null; then
      echo "$candidate"
      return
    fi
  done
}
pid=""
for _ in $(seq 100); do
  pid=$(daemon_pid)
  [ -n "$pid" ] && break
  sleep 0.1
done
[ -n "$pid" ] || {
  echo "serve: wsgated did not start; see $run_dir/supervisor.log," \
       "$run_dir/supervisor.out and $TOOLKIT_LOG_FILE" >&2
  exit 1
}
echo "wsgated (pid $pid, supervised by wsgated-supervisor pid" \
     "$(cat "$pid_file")) behind nginx at http://127.0.0.1:$port/wsgated" \
     "and https://127.0.0.1:$tls_port/wsgated"
echo "WSDL: http://127.0.0.1:$port/wsgated?wsdl   users: deploy/nginx/demo-users"
