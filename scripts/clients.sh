#!/usr/bin/env bash
# Runs the tests against programs of others (ctest's label `clients`): a database server, a browser, data frames.
# Installs these first. A test whose program is not to be had is skipped. Arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-dependencies.sh test clients

build=build/release
cmake --preset release
cmake --build "$build"
exec ctest --test-dir "$build" --progress --output-on-failure --label-regex '^clients$' --no-tests=ignore \
  --output-junit "$PWD/$build/clients.xml" "$@"
