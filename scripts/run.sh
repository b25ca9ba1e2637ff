#!/usr/bin/env bash
# Brings the project up on this machine: installs what is missing, builds,
# and creates a sample data store from deploy/seed/sample-device.seed.
#
# Each step is a function so that later steps (the web server, the daemon)
# slot in after create_store without touching the others.
#
# Environment: BUILD_DIR (default ./build), RUN_DIR (default ./.run).
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${BUILD_DIR:-build}
run_dir=${RUN_DIR:-.run}
store="$PWD/$run_dir/cds.db"
seed=deploy/seed/sample-device.seed
cdsctl="$build_dir/tools/cdsctl/cdsctl"

step() { echo "==> $*"; }

install_deps() {
  step "installing dependencies"
  bash scripts/install-deps.sh
}

build() {
  step "building into $build_dir"
  BUILD_DIR=$build_dir bash scripts/build.sh
}

create_store() {
  step "creating the sample store $store"
  mkdir -p "$run_dir"
  "$cdsctl" --store "$store" create --replace "$seed"
}

show_store() {
  step "the devices in the store"
  "$cdsctl" --store "$store" show /Devices --depth 1
  step "a few values"
  "$cdsctl" --store "$store" get /Devices/Meter1/VoltageL1N/Value \
    /Devices/UPS1/OperatingMode/Value /Software/Locales/Value
}

print_next_steps() {
  cat <<INFO

The sample store is $store
Point the tools and the daemon at it with:
  export TOOLKIT_CDS_PATH=$store
then, for example:
  $cdsctl show /Devices/UPS1
  $cdsctl set /Devices/UPS1/BeeperEnabled Disabled
INFO
}

install_deps
build
create_store
show_store
print_next_steps
