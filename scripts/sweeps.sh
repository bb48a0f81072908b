#!/usr/bin/env bash
# Every code page with all its characters, every 32-bit integer, code point, pair of UTF-16 units, day and single, there and back;
# then 100 million values through plans of any pair beside their slow reference, each refused one with its reason (an hour of two
# processors). Prints cases, failures and time. `sweeps.sh columns [VALUES]` does the plans alone.
set -euo pipefail
cd "$(dirname "$0")/.."
parts=$(nproc)
cmake --preset release >/dev/null

if [ "${1:-}" != columns ]; then
  cmake --build build/release --target sweeps all_singles converter_sweep_test >/dev/null
  ZVRT_FULL_SWEEP=1 build/release/tests/platform/converter_sweep_test --gtest_brief=1
  build/release/tests/robustness/sweeps

  # The singles spread over processes.
  start=$SECONDS
  seq 0 $((parts - 1)) | xargs -P "$parts" -I{} build/release/tests/numeric/all_singles "$parts" {}
  echo "singles, in $parts parts: $((SECONDS - start)) s"
fi

# Plans; each process has a thousand million seeds of its own, which a difference is told with.
cmake --build build/release --target columns_long_run >/dev/null
start=$SECONDS
values=$((${2:-100000000} / parts))
seq 0 $((parts - 1)) | xargs -P "$parts" -I{} build/release/tests/columns/columns_long_run "$values" {}000000001
echo "plans, in $parts parts: $((SECONDS - start)) s"
