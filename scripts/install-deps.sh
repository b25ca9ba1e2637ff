#!/usr/bin/env bash
# Installs the Debian packages the project builds, runs and tests with.
# Safe to run again: only missing packages are installed.
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  gsoap libgsoap-dev libfcgi-dev libssl-dev zlib1g-dev
  # the publisher's transport (http and https with time-outs)
  libcurl4-openssl-dev
  libboost-locale-dev libboost-regex-dev
  libsqlite3-dev sqlite3
  libgtest-dev googletest
  nginx apache2-utils gettext
  openssl
  python3 python3-zeep python3-lxml
  wrk curl procps tzdata
  # the manual pages' check (man -l, lexgrog)
  man-db groff-base
  # the Debian package (scripts/package.sh): its library dependencies
  # (dpkg-shlibdeps, which cpack runs with file(1)) and the unit files'
  # check (systemd-analyze)
  dpkg-dev file systemd
  # the fuzzers (scripts/fuzz.sh): clang and its fuzzer runtime, which
  # clang only recommends
  clang libclang-rt-14-dev
)
# Packages named on the command line too (scripts/cross-test.sh: the cross
# compilers and qemu-user).
packages+=("$@")

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" \
    || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
if [ "$(id -u)" -ne 0 ]; then
  echo "install-deps: missing packages: ${missing[*]} (run as root)" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
# The packaged nginx starts a system instance; ours run privately.
systemctl disable --now nginx >/dev/null 2>&1 || true
