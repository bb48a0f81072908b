#!/usr/bin/env bash
# Every code page with all its characters, every 32-bit integer, code point, pair of UTF-16 units, day and single, there and back. Prints cases, failures and time.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset release >/dev/null
cmake --build build/release --target sweeps all_singles converter_sweep_test >/dev/null
ZVRT_FULL_SWEEP=1 build/release/tests/platform/converter_sweep_test --gtest_brief=1
build/release/tests/robustness/sweeps

# The singles spread over processes.
parts=$(nproc)
start=$SECONDS
seq 0 $((parts - 1)) | xargs -P "$parts" -I{} build/release/tests/numeric/all_singles "$parts" {}
echo "singles, in $parts parts: $((SECONDS - start)) s"
