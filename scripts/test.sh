#!/usr/bin/env bash
# Runs every test: installs what is missing, builds, runs ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
cd "${BUILD_DIR:-build}"
ctest --output-on-failure -j"$(nproc)" "$@"
