#!/usr/bin/env bash
# Behaviour of cdsctl as scripts see it: exit codes (0 done, 1 bad usage,
# 2 store cannot be opened, 3 operation failed), messages on standard error,
# values on standard output, and export/create round trips.
#
# usage: test_cdsctl.sh CDSCTL SAMPLE_SEED
set -uo pipefail

cdsctl=$1
sample=$2
work=$(mktemp -d "${TMPDIR:-/tmp}/cdsctl-test.XXXXXX")
trap 'rm -rf "$work"' EXIT
# Never touch a real store: every run names its own.
export TOOLKIT_CDS_PATH="$work/env.db"
store="$work/cds.db"

failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

# expect STATUS CMD... : runs cdsctl, keeps stdout/stderr in $out/$err.
expect() {
  local want=$1; shift
  # shellcheck disable=SC2086  # the emulator's words, when there is one
  ${WSGATED_EMULATOR:-} "$cdsctl" "$@" >"$work/out" 2>"$work/err"
  local got=$?
  out=$(cat "$work/out"); err=$(cat "$work/err")
  [ "$got" -eq "$want" ] || fail "cdsctl $* exited $got, wanted $want ($err)"
}
contains() {  # contains TEXT NEEDLE WHAT
  case "$1" in *"$2"*) ;; *) fail "$3: '$2' not in: $1" ;; esac
}

# --- usage ---------------------------------------------------------------
expect 0 --help
contains "$out" "usage: cdsctl" "help"
# usage_error MESSAGE ARGS...: exit 1 with MESSAGE on standard error.
usage_error() {
  local message=$1; shift
  expect 1 "$@"
  contains "$err" "$message" "cdsctl $*"
}
# A command's own help, even with arguments around it; the version.
expect 0 --store "$work/x.db" set /A --help
contains "$out" "  set PATH VALUE" "help of set"
case "$out" in *"  get PATH"*) fail "help of set shows other commands" ;; esac
expect 0 rule --help
contains "$out" "  rule remove NAME" "help of rule"
case "$out" in *"  rules "*) fail "help of rule shows rules" ;; esac
expect 0 --version
[[ "$out" =~ ^cdsctl\ [0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "version '$out'"
usage_error "no command given"
usage_error "unknown command 'frobnicate'" frobnicate
usage_error "--store needs a value" --store
usage_error "set needs a path and a value" --store "$store" set /A
usage_error "needs a number" --store "$store" show --depth many
usage_error "unknown option '--bogus'" --store "$store" get --bogus /A
usage_error "unknown role 'Wizard'" --store "$store" user set alice Wizard
usage_error "unknown type 'Complex'" --store "$store" set /A 1 --type Complex
usage_error "cannot read 'yesterday' as a time" \
  --store "$store" set --time yesterday /A 31
usage_error "cannot read seed file" --store "$store" create "$work/missing.seed"
[ ! -e "$store" ] || fail "a missing seed file must not create the store"

# --- the store cannot be opened ------------------------------------------
expect 2 --store "$work/nowhere.db" get /Value
contains "$err" "cannot open store $work/nowhere.db" "missing store"
expect 2 get /Value  # the environment's store does not exist either
contains "$err" "$TOOLKIT_CDS_PATH" "store from the environment"
echo "not a database" >"$work/junk.db"
expect 2 --store "$work/junk.db" show

# --- create, set, get ----------------------------------------------------
expect 0 --store "$store" create "$sample"
expect 3 --store "$store" create
contains "$err" "--replace" "create over an existing store"
expect 0 --store "$store" get /Software/Locales/Value
[ "$out" = "en_US;de_DE;fr_FR" ] || fail "locales read '$out'"

expect 0 --store "$store" set /Devices/UPS1/LowBatteryThreshold 30
expect 0 --store "$store" get /Devices/UPS1/LowBatteryThreshold
[ "$out" = "30" ] || fail "threshold read '$out'"
expect 3 --store "$store" set /Devices/UPS1/LowBatteryThreshold thirty
contains "$err" "TYPE_MISMATCH" "text into an Integer"
# A state the point does not have names the ones it has.
expect 3 --store "$store" set /Devices/UPS1/OperatingMode Sleeping
contains "$err" "(the states are: Online, On Battery, Bypass, Fault)" "states"
# Every write records who made it.
expect 0 --store "$store" writer /Devices/UPS1/LowBatteryThreshold
[ "$out" = "cdsctl:${USER:-unknown}@local" ] || fail "writer read '$out'"
expect 3 --store "$store" writer /Devices/UPS1:Children

# .Time and .Source describe the leaf, not its value.
expect 0 --store "$store" get /Devices/UPS1/LowBatteryThreshold/Value.Time
[[ "$out" =~ ^20[0-9][0-9]-[01][0-9]-[0-3][0-9]T[0-9:]{8}\.[0-9]{6}Z$ ]] ||
  fail ".Time read '$out'"

# --time stamps a write with a chosen time (ISO 8601 or UNIX seconds).
stamped() {  # stamped GIVEN READ-BACK
  expect 0 --store "$store" set --time "$1" /Devices/UPS1/LowBatteryThreshold 30
  expect 0 --store "$store" get /Devices/UPS1/LowBatteryThreshold/Value.Time
  [ "$out" = "$2" ] || fail "write stamped $1 reads '$out'"
}
stamped 2026-01-02T03:04:05.250000Z 2026-01-02T03:04:05.250000Z
stamped 1700000000.5 2023-11-14T22:13:20.500000Z

# State texts are accepted.
expect 0 --store "$store" set /Devices/UPS1/OperatingMode Bypass
expect 0 --store "$store" get /Devices/UPS1/OperatingMode
[ "$out" = "2" ] || fail "operating mode read '$out'"

# --type decides over the leaf's type; --persist marks it.
expect 0 --store "$store" set /Devices/Meter1/Status:Comment 12 --type Real --persist
expect 0 --store "$store" show /Devices/Meter1/Status
contains "$out" "Comment (Real) = 12 [persistent]" "typed, persistent write"

# Several paths: one line each, failures named on stderr.
expect 3 --store "$store" get /ReadOnlyCDS/Value /Devices/Nope/Value
contains "$out" "/ReadOnlyCDS/Value = false" "multi get"
contains "$err" "get /Devices/Nope/Value: NO_NODE (no such node;" "multi get failure"

# --- structure -----------------------------------------------------------
expect 0 --store "$store" add /Devices/Meter2
expect 3 --store "$store" add /Devices/Meter2
contains "$err" "EXISTS" "add twice"
expect 0 --store "$store" remove /Devices/Meter2
expect 0 --store "$store" clear /Devices/Meter1/Status:Comment
expect 3 --store "$store" get /Devices/Meter1/Status:Comment

expect 0 --store "$store" show /Devices --depth 1
contains "$out" "UPS1" "show depth 1"
case "$out" in *BeeperEnabled*) fail "show --depth 1 went too deep" ;; esac

# --- security ------------------------------------------------------------
expect 0 --store "$store" user set alice operator
expect 0 --store "$store" anonymous Viewer
expect 0 --store "$store" users
contains "$out" "alice Operator" "user listed"
contains "$out" "viewer Viewer" "sample user listed"
contains "$out" "(anonymous) Viewer" "anonymous role"
expect 0 --store "$store" user remove alice
expect 0 --store "$store" rule set Breakers /Devices/Breaker1 Operator Administrator
expect 0 --store "$store" get /Software/Security/Access/Breakers/Read/Value
[ "$out" = "Operator" ] || fail "rule read role '$out'"
expect 0 --store "$store" rules
contains "$out" $'Breakers\t/Devices/Breaker1\tread Operator\twrite Administrator' "rules"
expect 0 --store "$store" rule remove Breakers
# An empty listing says so to people, and leaves standard output empty.
expect 0 --store "$store" rules
for rule in $(echo "$out" | cut -f1); do
  expect 0 --store "$store" rule remove "$rule"
done
expect 0 --store "$store" rules
[ -z "$out" ] || fail "rules of an empty list printed '$out'"
contains "$err" "cdsctl: rules: none" "empty rules"

# --- attribute table ------------------------------------------------------
expect 0 attributes
contains "$out" "HighAlarmLimit" "attribute table"
expect 0 attributes --markdown
contains "$out" "| 0 | \`Value\` |" "markdown table"

# --- export -> create round trip ------------------------------------------
expect 0 --store "$store" export
echo "$out" >"$work/exported.seed"
expect 0 --store "$work/copy.db" create "$work/exported.seed"
expect 0 --store "$work/copy.db" export
[ "$out" = "$(cat "$work/exported.seed")" ] || fail "export of the copy differs"
expect 0 --store "$work/copy.db" get /Devices/UPS1/LowBatteryThreshold
[ "$out" = "30" ] || fail "copy holds '$out'"
expect 3 --store "$store" export /Devices/Nope
contains "$err" "NO_NODE" "export of a missing node"

# A bad seed names file and line, and changes nothing.
printf '[/Fresh]\nValue = 1\nnonsense\n' >"$work/bad.seed"
expect 3 --store "$store" load "$work/bad.seed"
contains "$err" "bad.seed:3: expected 'attribute = value'" "seed error"
expect 3 --store "$store" get /Fresh

# --replace starts from an empty store.
expect 0 --store "$store" create --replace
expect 3 --store "$store" get /Software/Locales/Value

# --- log files -----------------------------------------------------------
log="$work/alarms.db"
expect 2 log show "$log"
contains "$err" "cannot open log $log: NO_FILE" "missing log"
[ ! -e "$log" ] || fail "log show created $log"
expect 0 log create "$log" --cap 1000
expect 3 log create "$log"
contains "$err" "exists" "log created twice"
printf '%s\n' \
  $'2026-03-01T10:00:00.000000Z\t1\t/Devices/Meter1/VoltageL1N/Value\tReal\t230.4\t0' \
  $'2026-03-01T10:00:00.000000Z\t1\t/Devices/Meter10/VoltageL1N/Value\tReal\t231\t1' \
  '# an alarm keeps its number; a description may hold an escaped tab' \
  $'1772359201.5\t8\t/Devices/Me%er1/Alarm/Value\tBoolean\ttrue\t0\t42\tHigh : since\\tnow' \
  >"$work/records.tsv"
expect 0 log append "$log" "$work/records.tsv"
expect 0 log show "$log"
[ "$(echo "$out" | cut -f5 | tr '\n' ' ')" = "230.4 231 true " ] ||
  fail "log order/values: $out"
contains "$out" $'2026-03-01T10:00:01.500000Z\t8\t/Devices/Me%er1/Alarm/Value\tBoolean\ttrue\t0\t42\tHigh : since\\tnow' "alarm line"
expect 0 log show "$log" --path /Devices/Meter1
[ "$(echo "$out" | cut -f3)" = "/Devices/Meter1/VoltageL1N/Value" ] ||
  fail "path filter: $out"
expect 0 log show "$log" --from 2026-03-01T10:00:00.000000Z --to 2026-03-01T10:00:00.000000Z --latest --max 1 --reverse
[ "$(echo "$out" | cut -f5)" = "231" ] || fail "bounds and limit: $out"
printf 'not\ta record\n' >"$work/bad.tsv"
expect 1 log append "$log" "$work/bad.tsv"
contains "$err" "bad.tsv:1: expected TIME KIND PATH TYPE VALUE" "bad record line"
# The serialized form copies records whole, alarm numbers included.
expect 0 log show "$log" --serialized
echo "$out" >"$work/records.ev"
expect 0 log create "$work/copy-log.db"
expect 0 log append "$work/copy-log.db" "$work/records.ev"
expect 0 log show "$work/copy-log.db" --serialized
[ "$out" = "$(cat "$work/records.ev")" ] || fail "serialized copy differs: $out"

if [ "$failures" -ne 0 ]; then
  echo "$failures check(s) failed" >&2
  exit 1
fi
echo "all cdsctl checks passed"
