#!/usr/bin/env bash
# check_baseline.sh LIBRARY BASELINE HEADERS WORK: compares the library's ABI with the recorded one; with UPDATE=1 records it.
set -euo pipefail
library=$1 baseline=$2 headers=$3 work=$4
command -v abidw >/dev/null || { echo "skipped: abidw is missing"; exit 77; }
readelf --sections --wide "$library" | grep -q '\.debug_info' || { echo "skipped: the build has no debug information"; exit 77; }

record() {
  abidw --headers-dir "$headers" --drop-private-types --drop-undefined-syms --exported-interfaces-only --no-show-locs \
    --no-corpus-path --no-comp-dir-path --no-architecture "$library"
}
if [ "${UPDATE:-0}" = 1 ]; then
  record >"$baseline"
else
  record >"$work/current.abi"
  abidiff "$baseline" "$work/current.abi"
fi
