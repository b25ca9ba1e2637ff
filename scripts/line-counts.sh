#!/usr/bin/env bash
# Prints the project's code lines, test lines and the tests' share of all
# lines: non-blank lines of .cc, .h, .c, .py and .sh files that git tracks
# (so build and generated folders never count), tests being everything
# under tests/. The project keeps the share between a quarter and a third.
set -euo pipefail
cd "$(dirname "$0")/.."

count() {  # git pathspecs...
  git ls-files -z -- "$@" | xargs -0 -r cat | grep -cv '^[[:space:]]*$' || true
}

sources=('*.cc' '*.h' '*.c' '*.py' '*.sh')
tests=$(count "${sources[@]/#/tests/**/}")
all=$(count "${sources[@]}")
code=$((all - tests))
share=$(awk -v t="$tests" -v a="$all" 'BEGIN { printf "%.1f", a ? 100 * t / a : 0 }')
printf 'code lines   %6d\ntest lines   %6d\ntest share   %5s%%\n' "$code" "$tests" "$share"
