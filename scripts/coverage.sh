#!/usr/bin/env bash
# Lines and branches of src/ that the tests reach, and each place that they do not: scripts/coverage.sh
# What cannot be reached by a test is named in scripts/coverage-exclusions, with the reason.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/coverage
cmake --preset coverage >/dev/null
cmake --build "$build" >/dev/null
rm -rf "$build/profiles"
LLVM_PROFILE_FILE="$PWD/$build/profiles/%p-%m.profraw" ctest --test-dir "$build" --parallel "$(nproc)" \
  --exclude-regex '^(package|abi|valgrind)\.' --output-on-failure >"$build/ctest.log" || { tail -30 "$build/ctest.log"; exit 1; }
llvm-profdata merge -sparse -o "$build/tests.profdata" "$build"/profiles/*.profraw
llvm-cov export -format=text -skip-expansions -instr-profile="$build/tests.profdata" "$build/lib/libZVRTDataCnvLib.so" \
  >"$build/coverage.json"
exec python3 scripts/coverage_report.py "$build/coverage.json" scripts/coverage-exclusions
