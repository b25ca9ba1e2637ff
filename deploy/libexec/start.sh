#!/bin/sh
# The daemon with the data files' locations of deploy/paths.env
# (wsgated.service, ExecStart); the arguments go before them. Paths are
# absolute, since the daemon works in "/" once it forks.
#
# Found relative to this script (PREFIX/libexec/wsgated/start), so that
# an unpacked package runs the same way as an installed one.
set -eu
prefix=$(cd "$(dirname "$0")/../.." && pwd)
. "$prefix/share/wsgated/paths.env"
exec "$prefix/sbin/wsgated" "$@" -h "$WSGATED_DELTA_LOG" \
  -a "$WSGATED_EVENT_LOG" -s "$WSGATED_SYSTEM_LOG" -t "$WSGATED_TREND_LOG" \
  -w "$WSGATED_WAVEFORM_DIR"
