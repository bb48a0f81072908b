#!/usr/bin/env bash
# Builds the library and its main example on a Debian 12 machine, and runs the example on its sample data.
set -euo pipefail
cd "$(dirname "$0")/.."

step() { printf '\n-- %s\n' "$*"; }

step "Packages"
./scripts/install-dependencies.sh demo

build=build/demo
mkdir -p build
step "Building in $build"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZVRT_BUILD_EXAMPLES=ON >"$build.log" 2>&1 ||
  { cat "$build.log" >&2; exit 1; }
cmake --build "$build"

step "record_exchange"
exec "$build/examples/record_exchange/record_exchange" "$@"
