#!/usr/bin/env bash
# Builds and runs the fuzzers, all of them or those that are named:
#   scripts/fuzz.sh SECONDS [target...]   builds what is missing, runs each for SECONDS and prints what it did
#   scripts/fuzz.sh build [target...]     builds only
#   scripts/fuzz.sh smoke [target...]     up to two seconds each of what is built, with a corpus that is thrown away and
#                                         always the same random numbers and the same last input, however fast the
#                                         machine: a test of today's change is not the place for luck
#
# First under the address and undefined-behaviour sanitizers. What has kernels runs once more without the address
# sanitizer, under which kernels do not read ahead. Inputs that were worth keeping gather in build/corpus, findings in
# build/findings. BUILD_ROOT names another folder than build; JOBS runs more than one target at a time,
# SMOKE_SECONDS gives a smoke run more than two seconds, as a slow machine needs for all its inputs. PRESETS=fuzz does the
# first configuration only, PRESETS=fuzz-kernels the second.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-}
case $mode in
  build | smoke) seconds=${SMOKE_SECONDS:-2} ;;
  '' | *[!0-9]*) sed -n '2,13s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
  *) seconds=$mode mode=run ;;
esac
shift
[ "$mode" = smoke ] || ./scripts/install-dependencies.sh fuzz >&2

root=${BUILD_ROOT:-build}
mkdir -p "$root/findings"
findings=$(cd "$root/findings" && pwd)
read -ra all < <(cd fuzz/seeds && echo *)
with_kernels=" text_kernels transforms strings integers_to_text text_to_integers text_to_float float_to_text packed_decimal varnum decimal_kernels code_pages "

# One target in one configuration: executions a second and in all, inputs kept, findings.
# shellcheck disable=SC2317 # called by xargs
run() {
  local preset=$1 target=$2 corpus="$root/corpus/$2" log="$root/findings/$1-$2.log" state=clean seed=0
  local limits=(-max_total_time="$seconds")
  [ "$mode" = run ] || { corpus=$(mktemp -d) seed=1 limits+=(-runs=20000); }
  mkdir -p "$corpus"
  "$root/$preset/fuzz/fuzz_$target" -seed=$seed "${limits[@]}" -max_len=600 -timeout=20 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$findings/$target-" "$corpus" "fuzz/seeds/$target" >"$log" 2>&1 || state="FINDING, see $log"
  printf '%-14s %-18s %12s executions, %6s inputs kept: %s\n' "$preset" "$target" \
    "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" "$(find "$corpus" -type f | wc -l)" "$state"
  [ "$mode" = run ] || rm -rf "$corpus"
  [ "$state" = clean ] || { tail -20 "$log"; return 1; }
}
export -f run
export root findings seconds mode

[ $# -gt 0 ] || set -- "${all[@]}"
status=0
for preset in ${PRESETS:-fuzz fuzz-kernels}; do
  targets=()
  for target; do
    if [ "$preset" = fuzz ] || [[ "$with_kernels" = *" $target "* ]]; then targets+=("$target"); fi
  done
  [ ${#targets[@]} -gt 0 ] || continue
  if [ "$mode" = smoke ]; then
    for target in "${targets[@]}"; do
      [ -x "$root/$preset/fuzz/fuzz_$target" ] || { echo "$target is not built: scripts/fuzz.sh build $target" >&2; exit 2; }
    done
  else
    cmake --preset "$preset" -B "$root/$preset" >/dev/null
    cmake --build "$root/$preset" --target "${targets[@]/#/fuzz_}" >&2
  fi
  [ "$mode" != build ] || continue
  printf '%s\n' "${targets[@]}" | xargs -P "${JOBS:-1}" -I{} bash -c "run $preset {}" || status=1
done
exit $status
