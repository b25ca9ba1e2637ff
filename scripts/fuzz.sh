#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (into ./build-fuzz, or
# $FUZZ_BUILD_DIR) and runs each one for FUZZ_SECONDS (default 30) on its
# corpus in fuzz/corpus/<target>. A crash, a leak, a sanitizer report, an
# input slower than 10 s or one that needs more than 2 GiB fails the run;
# the input that did it is left in <build>/fuzz-artifacts/ and printed in
# base64 with the run's seed, for runs whose folders are gone (CI).
#
#   bash scripts/fuzz.sh                     every target, 30 s each
#   FUZZ_SECONDS=3600 bash scripts/fuzz.sh path_parser    one, an hour
#
# New inputs the fuzzer finds go to a scratch copy of the corpus, not into
# the checkout; copy interesting ones into fuzz/corpus/<target> by hand.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${FUZZ_BUILD_DIR:-build-fuzz}
seconds=${FUZZ_SECONDS:-30}
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(path_parser options_parser input_guard
                                     comtrade_reader)

cmake -S . -B "$build_dir" -DWSGATED_FUZZ=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build_dir" -j"$(nproc)" \
  --target "${targets[@]/#/fuzz_}" >/dev/null

artifacts=$PWD/$build_dir/fuzz-artifacts
mkdir -p "$artifacts"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0
for target in "${targets[@]}"; do
  mkdir -p "$scratch/$target"
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048
           -artifact_prefix="$artifacts/$target-" -print_final_stats=1)
  [ -f "fuzz/$target.dict" ] && options+=(-dict="fuzz/$target.dict")
  echo "==> fuzzing $target for ${seconds}s"
  if ! "$build_dir/fuzz/fuzz_$target" "${options[@]}" "$scratch/$target" \
         "fuzz/corpus/$target" > "$scratch/$target.log" 2>&1; then
    tail -40 "$scratch/$target.log" >&2
    echo "fuzz: $target failed; the input is in $artifacts" >&2
    # CI keeps only this output: enough to run the input again elsewhere
    # (base64 -d > input; build-fuzz/fuzz/fuzz_$target input).
    grep -m1 'INFO: Seed:' "$scratch/$target.log" >&2 || true
    sed -n 's/.*Test unit written to //p' "$scratch/$target.log" |
      while read -r input; do
        [ -f "$input" ] || continue
        echo "fuzz: $(basename "$input"), base64:" >&2
        head -c 65536 "$input" | base64 -w 76 >&2
      done
    status=1
  else
    grep -E 'stat::number_of_executed_units|Done' "$scratch/$target.log" | tail -2
  fi
done
exit $status
