#!/usr/bin/env bash
# Instructions per call, as a table: they repeat where times do not. callgrind knows no AVX-512, so these are the
# kernels for AVX2. The counting loop's own instructions are taken off.
# scripts/instructions.sh | scripts/figures.py record instructions   keeps them in docs/figures/instructions.csv
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/instructions -G Ninja -DCMAKE_BUILD_TYPE=Release -DZVRT_BUILD_BENCH=ON -DCMAKE_CXX_FLAGS=-DZVRT_READ_AHEAD_UNDER_VALGRIND >/dev/null
cmake --build build/instructions --target zvrt_instructions >&2

counts=$(mktemp -d)
trap 'rm -rf "$counts"' EXIT
valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$counts/out" build/instructions/bench/zvrt_instructions \
  2>"$counts/log" || { cat "$counts/log" >&2; exit 1; }

echo '| Function | Value | Instructions a call |'
echo '|---|---|---:|'
# One dump a call, numbered in order; each tells the name that triggered it and, at its end, the sum.
for dump in $(find "$counts" -name 'out.*' | sort -t. -k3n); do
  awk -v repetitions=1000 '
    /^desc: Trigger: Client Request: / { name = substr($0, index($0, "Request: ") + 9) }
    /^(summary|totals): / { sum = $2 }
    END { if (name != "") printf "%s\t%d\n", name, sum / repetitions }' "$dump"
done | awk -F'\t' '$1 == "nothing" { loop = $2; next } { printf "| %s | %d |\n", $1, $2 - loop }'
