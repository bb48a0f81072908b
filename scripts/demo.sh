#!/usr/bin/env bash
# Builds the library and zvrt-records on a Debian 12 machine, and sends a real table through every kind of place: CSV, fixed
# records in EBCDIC, SQLite, blocks of variable records of two kinds, and back. Every cell and every byte is compared.
#   demo.sh [FOLDER]    FOLDER keeps what the run wrote; without it nothing stays
set -euo pipefail
work=${1:-}
if [ -n "$work" ]; then
  if [ -e "$work" ]; then echo "$work exists already" >&2; exit 2; fi
  mkdir -p "$work"
  work=$(realpath "$work")
fi
cd "$(dirname "$0")/.."
top=$PWD

step() { printf '\n-- %s\n' "$*"; }

step "Packages"
./scripts/install-dependencies.sh demo

build=$top/build/demo
mkdir -p build
step "Building in build/demo"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZVRT_BUILD_RECORDS=ON >"$build.log" 2>&1 ||
  { cat "$build.log" >&2; exit 1; }
cmake --build "$build" --target zvrt-records

if [ -z "$work" ]; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi
cp examples/data/{wildlife-strikes.csv,strikes.cpy,strikes-kinds.cpy} "$work"
cd "$work"
PATH=$build/bin:$PATH

# The command as one would type it, then its report, or the report's head alone.
show() {
  printf '\n+ zvrt-records %s\n' "$*"
  zvrt-records "$@"
}
head_of() { show "$@" >report || { cat report; return 1; }; head -4 report; }
same() { printf '+ cmp %s\n' "$*"; cmp "$@"; }

step "CSV to fixed EBCDIC records, every cell compared"
show export -l strikes.cpy wildlife-strikes.csv strikes.dat
show verify -l strikes.cpy wildlife-strikes.csv strikes.dat

step "The records to SQLite, and back to the same bytes"
head_of import -l strikes.cpy strikes.dat strikes.db -t strikes
head_of verify -l strikes.cpy strikes.db -t strikes strikes.dat
head_of export -l strikes.cpy strikes.db -t strikes again.dat
same strikes.dat again.dat

step "Two kinds of record, a table each, to blocks of variable records, and back to the same bytes"
kinds=(-l strikes-kinds.cpy --segment DAMAGE=None:HARMLESS --segment "DAMAGE=Minor,Medium,Substantial,B,C:DAMAGING")
head_of import "${kinds[@]}" strikes.dat kinds
head_of export "${kinds[@]}" --record-format VB kinds strikes.vb
head_of verify "${kinds[@]}" --record-format VB kinds strikes.vb
head_of import -l strikes.cpy --record-format VB strikes.vb variable.db -t strikes
head_of verify -l strikes.cpy variable.db -t strikes strikes.dat
head_of export -l strikes.cpy variable.db -t strikes last.dat
same strikes.dat last.dat

printf '\n%s\n' "Every cell of 10,000 reports is equal in CSV, SQLite, fixed and variable records; every byte came back."
