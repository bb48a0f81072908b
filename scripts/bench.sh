#!/usr/bin/env bash
# Our time beside the fastest peer's, as ratios: scripts/bench.sh [--record] [family] [--benchmark_... flags]
# With --record the rows go into docs/figures/bench-<level>.csv too, and without a family each runs in a process of its own.
# The family columns is a program of its own: gains of plans over single calls, `columns WORD` those of some conversions.
# The family plain_loops is run by its name alone: loops of one character or digit a step, for LEVEL=portable.
# Other families: text, counted, transforms, code_pages, integers, narrow_numbers, floats, timestamps, decimals,
# siblings; without one, all of these.
# Peers are found by CMake; those that Debian lacks under the prefix ZVRT_BENCH_PEERS in the environment. LEVEL=portable, baseline, sse41 or avx2 in the
# environment is how fast we are on a lesser processor; simdutf is made to believe it too, the other peers are not.
set -euo pipefail
cd "$(dirname "$0")/.."
record=no
if [ "${1:-}" = --record ]; then
  record=yes
  shift
fi
level=${LEVEL:-avx512}
figures=bench-$level
build=build/bench
case $level in
  avx512) ;;
  avx2)
    export SIMDUTF_FORCE_IMPLEMENTATION=haswell
    ;;
  *) export SIMDUTF_FORCE_IMPLEMENTATION=westmere ;;
esac
[ "$level" = avx512 ] || build="$build-$level"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZVRT_BUILD_BENCH=ON \
  -DZVRT_HIGHEST_LEVEL="$level" -DZVRT_BENCH_PEERS="${ZVRT_BENCH_PEERS:-}" >/dev/null
if [ "${1:-}" = columns ]; then
  shift
  cmake --build "$build" --target zvrt_bench_columns >&2
  [ $record = yes ] || exec "$build/bench/zvrt_bench_columns" "$@"
  "$build/bench/zvrt_bench_columns" "$@" | scripts/figures.py record "${figures/bench/columns}"
  exit
fi
cmake --build "$build" --target zvrt_bench >&2
[ $record = yes ] || exec "$build/bench/zvrt_bench" "$@"
families=(text counted transforms code_pages integers narrow_numbers floats timestamps decimals siblings)
if [ $# -gt 0 ] && [[ $1 != -* ]]; then
  families=("$1")
  shift
fi
for family in "${families[@]}"; do
  "$build/bench/zvrt_bench" "$family" "$@" | scripts/figures.py record "$figures"
done
