#!/usr/bin/env bash
# Our time beside the fastest peer's, as ratios: scripts/bench.sh [family] [--benchmark_... flags]
# Families: text, code_pages, integers, floats, timestamps, decimals; without one, all of them.
# Peers are found by CMake; more of them with CMAKE_PREFIX_PATH in the environment.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DZVRT_BUILD_BENCH=ON >/dev/null
cmake --build build/bench --target zvrt_bench >&2
exec build/bench/bench/zvrt_bench "$@"
