#!/usr/bin/env bash
# Formatting and static analysis of every file; what it finds is printed, and the last line counts files and findings.
#
# clang-format and shellcheck look at everything. clang-tidy asks the library and its tools all of .clang-tidy, its path
# analysis among that; tests, fuzzers, benchmarks and examples are asked for mistakes only, as each of them reads the test
# framework's headers first. A file that was clean stays out of the next run until it, any header or a check changes.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-dependencies.sh lint

mistakes='-*,bugprone-argument-comment,bugprone-assert-side-effect,bugprone-bool-*,bugprone-dangling-handle,bugprone-infinite-loop'
mistakes+=',bugprone-integer-division,bugprone-misplaced-operator-*,bugprone-misplaced-pointer-*,bugprone-move-*,bugprone-parent-virtual-call'
mistakes+=',bugprone-sizeof-*,bugprone-string-*,bugprone-suspicious-*,bugprone-undefined-memory-manipulation,bugprone-unused-raii'
mistakes+=',bugprone-use-after-move,misc-unused-*'
mistakes+=',-misc-unused-parameters'

build=build/lint
clean=$PWD/$build/clean
mkdir -p "$clean"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
findings=0
found() { cat "$log"; findings=$((findings + $(grep -cE 'error:|warning:|^In .* line [0-9]+:$' "$log" || echo 1))); }

# With everything on, so that each file has the options it is compiled with.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DZVRT_BUILD_TESTS=ON -DZVRT_BUILD_EXAMPLES=ON -DZVRT_BUILD_RECORDS=ON -DZVRT_BUILD_PYTHON=ON -DZVRT_BUILD_FUZZERS=ON \
  -DZVRT_BUILD_BENCH="$(dpkg-query --show libbenchmark-dev >/dev/null 2>&1 && echo ON || echo OFF)" >"$log" || { cat "$log"; exit 1; }

mapfile -t sources < <(./scripts/files.sh '*.h' '*.c' '*.cpp')
clang-format --dry-run --Werror "${sources[@]}" >"$log" 2>&1 || found
mapfile -t scripts < <(./scripts/files.sh '*.sh' '.ci/run')
shellcheck --severity=warning "${scripts[@]}" >"$log" 2>&1 || found

# tidy CHECKS FILE: nothing where the file is clean, or was.
tidy() {
  local stamp
  stamp=$clean/$(echo "$common $1" | cat - "$2" | sha256sum | cut -d' ' -f1)
  [ ! -e "$stamp" ] || return 0
  # The compiler named in the build may know more options than clang-tidy, which counts what it left out on stderr.
  if clang-tidy -p "$build" --quiet --extra-arg=-Wno-unknown-warning-option ${1:+--checks="$1"} "$2" 2>/dev/null; then
    touch "$stamp"
  fi
}
export -f tidy
common=$(./scripts/files.sh '*.h' '.clang-tidy' scripts/lint.sh | LC_ALL=C sort | xargs sha256sum | sha256sum)
export common clean build

# Only what is compiled on this machine: a file for another processor has no options here.
compiled() { ./scripts/files.sh "$@" | while IFS= read -r file; do ! grep -qF "/$file\"" "$build/compile_commands.json" || echo "$file"; done; }
{ compiled 'src/*.cpp' 'platform/*.cpp' 'records/*.cpp' 'tools/*.cpp' 'odbc/*.cpp' 'python/*.cpp' | xargs -P "$(nproc)" -I{} bash -c 'tidy "" {}'
  compiled 'tests/*.cpp' 'fuzz/*.cpp' 'bench/*.cpp' 'examples/*.cpp' | mistakes="$mistakes" xargs -P "$(nproc)" -I{} bash -c 'tidy "$mistakes" {}'
} >"$log"
[ ! -s "$log" ] || found

echo "${#sources[@]} sources and ${#scripts[@]} scripts, $findings findings"
[ "$findings" -eq 0 ]
