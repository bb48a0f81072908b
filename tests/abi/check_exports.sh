#!/usr/bin/env bash
# check_exports.sh LIBRARY NAMES HEADER: what leaves the library is exactly the list, and the header declares each of it.
set -euo pipefail
library=$1 names=$2 header=$3

exported=$(nm --dynamic --defined-only --format=posix "$library" | awk '$2 != "A" {sub(/@.*/, "", $1); print $1}' | LC_ALL=C sort)
expected=$(LC_ALL=C sort "$names")
# Sanitizers and coverage add symbols of their own.
exported=$(grep -vE '^(__asan|__ubsan|__tsan|__sancov|__gcov|__odr_asan|___asan|_ZN6__|__llvm)' <<<"$exported" || true)
if ! diff <(echo "$expected") <(echo "$exported"); then
  echo "the exported names differ from $names (<: expected, >: exported)" >&2
  exit 1
fi
status=0
while read -r name; do
  if ! grep -qE "ZVRT_API .*\b$name\b" "$header"; then
    echo "$name is exported but not declared in the header" >&2
    status=1
  fi
done <<<"$expected"
for name in $(grep -v '^#' "$header" | grep -oE 'ZVRT_API [^(;]*\b[A-Za-z0-9_]+(;|\()' | sed -E 's/[;(]$//; s/.*[ *]//'); do
  grep -qx "$name" "$names" || { echo "$name is declared but not exported" >&2; status=1; }
done
echo "$(wc -l <"$names") names"
exit $status
