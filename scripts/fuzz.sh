#!/usr/bin/env bash
# Runs every fuzzer for so many seconds and prints what it did: scripts/fuzz.sh SECONDS [target...]
#
# First under the address and undefined-behaviour sanitizers. What has kernels runs once more without the address
# sanitizer, under which kernels do not read ahead. Inputs that were worth keeping gather in build/corpus, findings in
# build/findings. BUILD_ROOT names another folder than build; JOBS runs more than one target at a time.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:?usage: scripts/fuzz.sh SECONDS [target...]}
shift
command -v clang++ >/dev/null || { echo "skipped: clang++ is not installed"; exit 77; }

root=${BUILD_ROOT:-build}
mkdir -p "$root/findings"
findings=$(cd "$root/findings" && pwd)
all=$(cd fuzz/seeds && echo *)
with_kernels=" text_kernels transforms strings integers_to_text text_to_integers text_to_float float_to_text packed_decimal varnum decimal_kernels code_pages "

# One target in one configuration: executions a second and in all, inputs kept, findings.
run() {
  local preset=$1 target=$2 corpus="$root/corpus/$2" log="$root/findings/$1-$2.log" state=clean
  mkdir -p "$corpus"
  "$root/$preset/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=600 -timeout=20 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$findings/$target-" "$corpus" "fuzz/seeds/$target" >"$log" 2>&1 || state="FINDING, see $log"
  printf '%-14s %-18s %12s executions, %6s inputs kept: %s\n' "$preset" "$target" \
    "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" "$(find "$corpus" -type f | wc -l)" "$state"
  [ "$state" = clean ]
}
export -f run
export root findings seconds

status=0
for preset in fuzz fuzz-kernels; do
  targets=
  for target in ${*:-$all}; do
    if [ "$preset" = fuzz ] || [[ "$with_kernels" = *" $target "* ]]; then targets="$targets $target"; fi
  done
  [ -n "$targets" ] || continue
  cmake --preset "$preset" -B "$root/$preset" >/dev/null
  # shellcheck disable=SC2086
  cmake --build "$root/$preset" --target $(printf 'fuzz_%s ' $targets) >/dev/null
  # shellcheck disable=SC2086
  printf '%s\n' $targets | xargs -P "${JOBS:-1}" -I{} bash -c "run $preset {}" || status=1
done
exit $status
