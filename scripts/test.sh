#!/usr/bin/env bash
# Runs every test: installs what is missing, builds, runs ctest (unit and
# end-to-end tests), then a short run of every fuzzer (scripts/fuzz.sh).
#
#   bash scripts/test.sh              all of it
#   bash scripts/test.sh --sanitize   the unit and end-to-end tests built
#                                     with AddressSanitizer and
#                                     UndefinedBehaviorSanitizer (leaks
#                                     included) in ./build-sanitize; no
#                                     fuzzing (the fuzzers always run
#                                     with both)
#
# Further arguments go to ctest (for example -R e2e or -L platform).
set -euo pipefail
cd "$(dirname "$0")/.."
sanitize=false
if [ "${1:-}" = --sanitize ]; then
  sanitize=true
  shift
fi
bash scripts/install-deps.sh
if $sanitize; then
  export BUILD_DIR=${BUILD_DIR:-build-sanitize}
  export CMAKE_EXTRA_ARGS="-DWSGATED_SANITIZE=ON"
  # Leaks and undefined behaviour end the program with a report. The
  # engine's runtime allocates its context with new and releases it with
  # free(); that mismatch is the library's own and harmless (plain memory).
  export ASAN_OPTIONS=detect_leaks=1:alloc_dealloc_mismatch=0
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  # Tests that measure memory know that freed memory stays in quarantine.
  export WSGATED_SANITIZED=1
fi
bash scripts/build.sh
(cd "${BUILD_DIR:-build}" && ctest --output-on-failure -j"$(nproc)" "$@")
if ! $sanitize && [ $# -eq 0 ]; then
  bash scripts/fuzz.sh
fi
