#!/usr/bin/env bash
# Builds a private sysroot with a Debian architecture's libraries, for the
# cross builds of scripts/cross-test.sh.
#
#   bash scripts/cross/sysroot.sh ARCH DIR
#
# ARCH is a Debian architecture (i386, s390x); DIR receives debs/ (the
# downloaded packages, kept so that the next run downloads nothing) and
# sysroot/. The libraries are the -dev packages that scripts/install-deps.sh
# installs for this machine, so a library added there reaches the cross
# builds too, plus the C and C++ runtimes.
#
# Why not `apt-get install libfoo-dev:ARCH`: the mirror's indexes of other
# architectures lag behind this machine's security updates, so packages
# that must be of one version on every architecture (libc6, libssl3) cannot
# be installed side by side. Unpacking the target's packages into a folder
# of their own needs no such agreement. The foreign architecture is
# configured only while the packages are looked up and downloaded, and is
# removed again at once: a machine left with it fails `apt-get update`.
set -euo pipefail
arch=$1
dir=$(realpath -m "$2")
here=$(cd "$(dirname "$0")" && pwd)
sysroot=$dir/sysroot
debs=$dir/debs

# The target's libraries: every lib*-dev of install-deps.sh (the fuzzer
# runtime excepted: it belongs to clang on this machine), and the runtimes.
mapfile -t wanted < <(
  { sed -n '/^packages=(/,/^)/p' "$here/../install-deps.sh" | sed 's/#.*//' |
      tr -s ' \t' '\n' | grep -E '^lib[a-z0-9.+-]*-dev$' |
      grep -v '^libclang'
    printf '%s\n' libc6-dev libstdc++-12-dev; } | sort -u)
stamp="$arch ${wanted[*]}"
if [ -f "$sysroot/.stamp" ] && [ "$(cat "$sysroot/.stamp")" = "$stamp" ]; then
  exit 0
fi

# Looks up the packages' closure and downloads what is not cached yet,
# with ARCH configured for that time only. One run at a time on the
# machine: the architecture list and apt's indexes are shared.
download() {
  local added=false
  if ! dpkg --print-foreign-architectures | grep -qx "$arch"; then
    dpkg --add-architecture "$arch"
    added=true
  fi
  # shellcheck disable=SC2317  # called by the trap
  restore() {
    if $added; then
      dpkg --remove-architecture "$arch"
      apt-get update -qq || echo "sysroot: apt-get update failed" >&2
    fi
  }
  trap restore EXIT
  # The foreign indexes may fail to download in part (a mirror in sync);
  # what was fetched is enough when the look-up below finds the packages.
  apt-get update -qq 2>/dev/null || true
  mapfile -t closure < <(
    apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts \
      --no-breaks --no-replaces --no-enhances "${wanted[@]/%/:$arch}" |
      grep -E "^[a-z0-9][a-z0-9.+-]*:$arch\$" | sort -u)
  if [ ${#closure[@]} -lt ${#wanted[@]} ]; then
    echo "sysroot: cannot find the $arch packages in apt's indexes" >&2
    exit 1
  fi
  mkdir -p "$debs"
  # apt's own user cannot write into root's build folders; that is fine.
  (cd "$debs" && apt-get download -qq "${closure[@]}" 2>&1 |
     grep -v 'Download is performed unsandboxed' || true)
  printf '%s\n' "${closure[@]}" >"$debs/closure"
  trap - EXIT
  restore
}

(
  flock 9
  download
) 9>/var/lock/wsgated-cross-apt.lock

rm -rf "$sysroot"
mkdir -p "$sysroot"
while read -r package; do
  name=${package%:*}
  # The newest downloaded version of each package of the closure.
  deb=$(ls -v "$debs/${name}_"*"_$arch.deb" 2>/dev/null | tail -n 1 || true)
  if [ -z "$deb" ]; then
    echo "sysroot: $package was not downloaded" >&2
    exit 1
  fi
  dpkg -x "$deb" "$sysroot"
done <"$debs/closure"

# Packages link to absolute paths (libfoo.so -> /lib/ARCH/libfoo.so.1),
# which would leave the sysroot for this machine's own files: point them
# into the sysroot instead.
find "$sysroot" -type l -lname '/*' -print0 |
  while IFS= read -r -d '' link; do
    target=$(readlink "$link")
    ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" \
      "$sysroot$target")" "$link"
  done
echo "$stamp" >"$sysroot/.stamp"
echo "sysroot: $arch libraries in $sysroot"
