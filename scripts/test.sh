#!/usr/bin/env bash
# Builds and passes the tests; installs what they need first. Ends with ctest's summary.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-dependencies.sh test

build=build/release
cmake --preset release
cmake --build "$build"
exec ctest --test-dir "$build" --output-on-failure --parallel "$(nproc)"
