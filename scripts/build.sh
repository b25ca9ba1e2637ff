#!/usr/bin/env bash
# Configures and builds into ./build (or $BUILD_DIR); CMAKE_EXTRA_ARGS are
# passed to the configuration (scripts/test.sh --sanitize uses it).
#
#   bash scripts/build.sh              everything: programs, tests, benchmarks
#   bash scripts/build.sh TARGET...    only these targets and what they need
#                                      (scripts/run.sh: the demo's programs)
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${BUILD_DIR:-build}
# shellcheck disable=SC2086
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=${BUILD_TYPE:-RelWithDebInfo} \
  ${CMAKE_EXTRA_ARGS:-} >/dev/null
targets=()
[ $# -eq 0 ] || targets=(--target "$@")
cmake --build "$build_dir" -j"$(nproc)" "${targets[@]}"
