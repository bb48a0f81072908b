#!/usr/bin/env bash
# How fast zvrt-records converts: scripts/bench-records.sh [--record] [MEGABYTES]
# A file of records of 204 bytes, ten texts and four packed numbers, in page 37 (bench/record_file.cpp; 500 MB if not told)
# goes to tables and back. Every line is processor time, that of the system included, the least of three runs in turn, and
# megabytes of record file by it. How much faster two threads are goes to standard error; it means something on an idle
# machine only. SQLite's own share is measured by a bare loop (bench/sqlite_rows.cpp). With --record the rows go into
# docs/figures/records.csv.
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ ${1:-} == --record ]]; then
  shift
  scripts/bench-records.sh "$@" | scripts/figures.py record records
  exit
fi
megabytes=${1:-500}
build=${BUILD:-build/bench-records}
[[ -n ${BUILD:-} ]] || cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DZVRT_BUILD_RECORDS=ON >/dev/null
cmake --build "$build" --target zvrt-records >&2
tool=$PWD/$build/bin/zvrt-records
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
g++ -std=c++20 -O2 bench/record_file.cpp -o "$work/record_file"
g++ -std=c++20 -O2 bench/sqlite_rows.cpp -o "$work/sqlite_rows" -lsqlite3
cd "$work"
./record_file "$megabytes" c.cpy c.dat
head -c "$(($(stat -c %s c.dat) / 204 / 10 * 204))" c.dat >tenth.dat

least() { sort -g | head -n 1; }
row() { awk -v name="$1" -v mb="$2" -v s="$3" 'BEGIN { printf "| %s | %d | %.2f | %.0f |\n", name, mb, s, mb / s }'; }
# Processor seconds of a command, or those that the clock shows.
processor() { local TIMEFORMAT='%U %S'; { time "$@" >/dev/null 2>>log; } 2>&1 | awk '{ print $1 + $2 }'; }
elapsed() { local TIMEFORMAT='%R'; { time "$@" >/dev/null 2>>log; } 2>&1; }
thrice() { for _ in 1 2 3; do "$@"; done | least; }
import() { "$tool" import -l c.cpy --replace "$@"; }
import_anew() { rm -f s.db; import "$@"; }
export_() { "$tool" export -l c.cpy --replace "$@"; }

row "records to CSV, one thread" "$megabytes" "$(thrice processor import --threads 1 c.dat c.csv)"
row "records to CSV, into a pipe" "$megabytes" "$(thrice processor import --threads 1 c.dat -)"
one=$(thrice elapsed import --threads 1 c.dat -)
two=$(thrice elapsed import --threads 2 c.dat -)
awk -v one="$one" -v two="$two" 'BEGIN { printf "two threads are %.2f times as fast as one by the clock\n", one / two }' >&2
row "CSV to records, one thread" "$megabytes" "$(thrice processor export_ --threads 1 c.csv again.dat)"
cmp c.dat again.dat >&2
rm c.csv again.dat
import tenth.dat tenth.jsonl >/dev/null
row "records to JSON lines" $((megabytes / 10)) "$(thrice processor import --threads 1 tenth.dat tenth.jsonl)"
row "records to SQLite" $((megabytes / 10)) "$(thrice processor import_anew --threads 1 tenth.dat s.db -t t)"
row "SQLite to records" $((megabytes / 10)) "$(thrice processor export_ --threads 1 s.db -t t again.dat)"
for _ in 1 2 3; do rm -f bare.db; ./sqlite_rows s.db t bare.db; done >bare
row "SQLite alone, inserting these rows" $((megabytes / 10)) "$(cut -d' ' -f2 bare | least)"
row "SQLite alone, fetching these rows" $((megabytes / 10)) "$(cut -d' ' -f1 bare | least)"
