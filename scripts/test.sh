#!/usr/bin/env bash
# Builds and passes the tests; installs what they need first. Ends with ctest's summary. Arguments go to ctest.
# Tests against programs of others, such as a browser or a database server, are run by scripts/clients.sh.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-dependencies.sh test

build=build/release
cmake --preset release
cmake --build "$build"
exec ctest --test-dir "$build" --progress --output-on-failure --parallel "$(nproc)" --label-exclude '^clients$' \
  --output-junit "$PWD/$build/tests.xml" "$@"
