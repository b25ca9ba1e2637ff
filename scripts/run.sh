#!/usr/bin/env bash
# Brings the project up on this machine: installs what is missing, builds,
# creates a sample data store from deploy/seed/sample-device.seed, and
# serves it: a private nginx on 127.0.0.1 (HTTP and HTTPS) in front of
# wsgated, which wsgated-supervisor runs and restarts when it hangs or
# dies; scripts/serve.sh starts them. Ends by calling the service once.
#
# Re-runnable: a demo left running by an earlier run is stopped first
# (scripts/stop.sh, by its recorded pids), because the store it has open
# is about to be replaced.
#
# Each step is a function so that later steps slot in without touching the
# others.
#
# Environment: BUILD_DIR (default ./build), RUN_DIR (default ./.run),
# WSGATED_PORT (8080), WSGATED_TLS_PORT (8443).
set -euo pipefail
cd "$(dirname "$0")/.."

source scripts/lib/demo-settings.sh
export BUILD_DIR=$build_dir RUN_DIR=$run_dir WSGATED_PORT=$port \
       WSGATED_TLS_PORT=$tls_port
store="$run_dir/cds.db"
seed=deploy/seed/sample-device.seed
cdsctl="$build_dir/tools/cdsctl/cdsctl"
endpoint="http://127.0.0.1:$port/wsgated"
tls_endpoint="https://127.0.0.1:$tls_port/wsgated"
# Absolute, so that the command printed below works from any folder.
example="$run_dir/example-request.xml"
# stop.sh finds the demo through RUN_DIR: name it when it is not the default.
stop_cmd="bash scripts/stop.sh"
[ "$run_dir" = "$PWD/.run" ] || stop_cmd="RUN_DIR=$run_dir $stop_cmd"

step() { echo "==> $*"; }

install_deps() {
  step "installing dependencies"
  bash scripts/install-deps.sh
}

# Only what the demo runs: the daemon, the card's processes, the tools
# that fill its files, the WSDLs and the catalogues; the tests are built
# by scripts/test.sh.
demo_targets=(wsgated cdsctl wsgated-supervisor card-trends card-commands
              card-simulator card-deltalog card-syslog card-alarms
              card-publisher log-history wavectl wsgated_wsdl
              wsgated_subscriber_wsdl wsgated_catalogues)
build() {
  step "building the demo's programs into $build_dir"
  bash scripts/build.sh "${demo_targets[@]}"
}

stop_previous() {
  step "stopping a demo left by an earlier run, if any"
  bash scripts/stop.sh
}

create_store() {
  step "creating the sample store $store"
  mkdir -p "$run_dir"
  "$cdsctl" --store "$store" create --replace "$seed"
}

# A week of plausible trend history in a fresh trend log, so that the trend
# operations and `cdsctl trend chart` have something to show at once; the
# trend recorder, which serve.sh starts, carries it on.
backfill_trends() (
  WSGATED_DATA_DIR=$run_dir/data . deploy/paths.env
  step "writing a week of trend history into $WSGATED_TREND_LOG"
  mkdir -p "$WSGATED_LOG_DIR"
  rm -f "$WSGATED_TREND_LOG" "$WSGATED_TREND_LOG-wal" "$WSGATED_TREND_LOG-shm"
  "$build_dir/card/trends/card-trends" --store "$store" \
    --trend-log "$WSGATED_TREND_LOG" --backfill-days 7
)
# A week of the sample device's logs, ending now, in the files the daemon
# reads (deploy/paths.env): log-history samples the points the seed marks
# as Delta-logged and adds events, alarms matching the store's alarm table
# and configuration changes (docs/logs.md). Seed 1: every run alike.
seed_history() {
  step "writing a week of log history into $run_dir/data/logs"
  (WSGATED_DATA_DIR=$run_dir/data . deploy/paths.env &&
   mkdir -p "$WSGATED_LOG_DIR" &&
   "$build_dir/tools/history/log-history" --store "$store" --replace \
     --seed 1 --delta-log "$WSGATED_DELTA_LOG" \
     --event-log "$WSGATED_EVENT_LOG" --system-log "$WSGATED_SYSTEM_LOG")
}

# The demo's waveform records (a fault seen by the meter, a breaker trip),
# made by wavectl into the folder the daemon and nginx serve
# (docs/waveforms.md).
write_waveforms() (
  WSGATED_DATA_DIR=$run_dir/data . deploy/paths.env
  step "writing the demo's waveform records into $WSGATED_WAVEFORM_DIR"
  mkdir -p "$WSGATED_WAVEFORM_DIR"
  "$build_dir/tools/waveforms/wavectl" demo "$WSGATED_WAVEFORM_DIR"
)

show_store() {
  step "the devices in the store"
  "$cdsctl" --store "$store" show /Devices --depth 1
  step "a few values"
  "$cdsctl" --store "$store" get /Devices/Meter1/VoltageL1N/Value \
    /Devices/UPS1/OperatingMode/Value /Software/Locales/Value
}

serve() {
  step "starting nginx, and wsgated under its supervisor, on 127.0.0.1"
  bash scripts/serve.sh
}

# The example call, kept in a file so that the command shown below is the
# one that is run, and can be pasted as it is.
write_example() {
  cat > "$example" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<soap:Envelope xmlns:soap="http://www.w3.org/2003/05/soap-envelope"
    xmlns:nsc1="http://www.wsgated.example/BACnetWSKestrel">
  <soap:Body>
    <nsc1:getValues>
      <nsc1:paths>
        <nsc1:string>/Devices/Meter1/VoltageL1N</nsc1:string>
        <nsc1:string>/Devices/Meter1/VoltageL1N/Units</nsc1:string>
        <nsc1:string>/Devices/UPS1/OperatingMode</nsc1:string>
      </nsc1:paths>
    </nsc1:getValues>
  </soap:Body>
</soap:Envelope>
XML
}

call_example() {  # endpoint [curl options]
  local url=$1
  shift
  curl -sS "$@" -u admin:admin-demo \
    -H 'Content-Type: application/soap+xml; charset=utf-8' \
    --data-binary "@$example" "$url"
}

# nginx answers at once; the daemon only once its socket listens. A SOAP
# envelope in the reply (even a fault) means the daemon itself answered.
wait_for_endpoint() {
  step "waiting for $endpoint to answer"
  for _ in $(seq 100); do
    if call_example "$endpoint" 2>/dev/null | grep -q "Envelope"; then
      return 0
    fi
    sleep 0.1
  done
  echo "run: $endpoint does not answer; see $run_dir/wsgated.log," \
       "$run_dir/supervisor.log and $run_dir/nginx/logs/error.log" >&2
  exit 1
}

print_demo() {
  local name password role
  cat <<INFO

wsgated is serving the sample store $store
  SOAP endpoint  $endpoint
                 $tls_endpoint  (self-signed certificate: curl -k)
  WSDL           $endpoint?wsdl

Demo users (HTTP basic authentication; role from the store):
INFO
  grep -v '^#' deploy/nginx/demo-users | while IFS=: read -r name password; do
    role=$("$cdsctl" --store "$store" users | awk -v u="$name" '$1 == u { print $2 }')
    printf '  %-10s %-15s %s\n' "$name" "$password" "${role:-?}"
  done
  cat <<INFO

Example call (a SOAP 1.2 envelope, $example):
  curl -sS -u admin:admin-demo \\
    -H 'Content-Type: application/soap+xml; charset=utf-8' \\
    --data-binary @$example $endpoint
The same over TLS: add -k and use $tls_endpoint
It reads a voltage, its units and the UPS's operating mode. Call it as
"viewer" or "operator" to see the store's rights at work. Every operation,
with a request and its answer: docs/api/README.md.
INFO
}

run_example() {
  step "running the example call"
  call_example "$endpoint"
  echo
}

print_stop() {
  cat <<INFO

The daemon's log is $run_dir/wsgated.log, its supervisor's
$run_dir/supervisor.log; nginx's logs are in $run_dir/nginx/logs.
Point the tools at the store with:
  export TOOLKIT_CDS_PATH=$store
  $cdsctl show /Devices/UPS1
Stop the demo (from $PWD) with:
  $stop_cmd
INFO
}

install_deps
build
stop_previous
create_store
backfill_trends
seed_history
write_waveforms
show_store
serve
write_example
wait_for_endpoint
print_demo
run_example
print_stop
