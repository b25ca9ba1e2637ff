#!/bin/sh
# Before the daemon starts (wsgated.service, ExecStartPre): makes the data
# folders that deploy/paths.env names and, when no store exists at
# $TOOLKIT_CDS_PATH, makes one from the sample seed. An existing store is
# never touched, so an upgrade or a restart keeps the store and the logs.
#
# Found relative to this script (PREFIX/libexec/wsgated/prepare), so that
# an unpacked package runs the same way as an installed one.
set -eu
prefix=$(cd "$(dirname "$0")/../.." && pwd)
. "$prefix/share/wsgated/paths.env"
mkdir -p "$WSGATED_LOG_DIR" "$WSGATED_WAVEFORM_DIR"
store=${TOOLKIT_CDS_PATH:-/var/lib/toolkit/cds.db}
if [ -e "$store" ]; then
  exit 0
fi
# Made beside the store and renamed into place: a start that is stopped
# half-way leaves no half-made store behind, which the next start would
# keep.
# SQLite's side files of a store that is gone would be read as this one's.
mkdir -p "$(dirname "$store")"
rm -f "$store.new" "$store-wal" "$store-shm" "$store-journal"
"$prefix/bin/cdsctl" --store "$store.new" create \
  "$prefix/share/wsgated/sample-device.seed"
mv "$store.new" "$store"
echo "wsgated: made the store $store from the sample seed"
