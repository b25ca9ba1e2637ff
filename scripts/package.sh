#!/usr/bin/env bash
# Builds the Debian package of wsgated into ./build/package (or
# $BUILD_DIR/package) and prints its path. Everything under /usr, the
# configuration in /etc; docs/deploy.md says how to install it.
#
#   bash scripts/package.sh
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${BUILD_DIR:-build}
bash scripts/build.sh >/dev/null
# cpack installs the whole build, so every program must be built: it is.
cpack --config "$build_dir/CPackConfig.cmake" -B "$build_dir/package" \
  >/dev/null
ls -t "$(cd "$build_dir/package" && pwd)"/wsgated_*.deb | head -n1
