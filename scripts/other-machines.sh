#!/usr/bin/env bash
# Builds the library for other machines by Debian's cross compilers and runs its tests under qemu-user. Installs these first.
#   other-machines.sh [aarch64|s390x]...      both where none is named
# ZVRT_CROSS_COMPILER=clang builds by clang. Arguments after -- go to ctest. Ends with a line per machine; status 1 where a
# test failed. Emulation is slow: allow twenty minutes a machine on two cores.
set -euo pipefail
cd "$(dirname "$0")/.."

machines=()
while [[ $# -gt 0 && $1 != -- ]]; do machines+=("$1"); shift; done
[[ ${1:-} == -- ]] && shift
[[ ${#machines[@]} -gt 0 ]] || machines=(aarch64 s390x)

./scripts/install-dependencies.sh other-machines

# The libraries that the tests are linked with, of the target.
libraries=(libicu72 libicu-dev libgtest-dev libgmock-dev libgmp10 libgmp-dev libgmpxx4ldbl libsqlite3-0 libsqlite3-dev
  libfmt9 libfmt-dev libcsv3 libcsv-dev libcli11-dev nlohmann-json3-dev unixodbc-dev libodbc2 libodbccr2 libodbcinst2 libltdl7)

# Unpacked into a folder of the build, so that this machine's own packages need not be of the same versions, as they would
# if both architectures were installed. apt keeps its lists of the target there as well and touches nothing of the system.
fetch_libraries() {
  local architecture=$1 folder=$2
  local apt="$folder.apt" options
  mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial" "$apt/packages"
  options=(-qq -o APT::Architecture="$architecture" -o APT::Architectures="$architecture" -o Dir::State::status=/dev/null
    -o Dir::State::lists="$apt/lists" -o Dir::Cache="$apt/cache" -o Debug::NoLocking=1 -o Acquire::Languages=none
    -o APT::Sandbox::User="$(id -un)")
  apt-get "${options[@]}" update
  (cd "$apt/packages" && apt-get "${options[@]}" download "${libraries[@]}")
  rm -rf "$folder"
  mkdir -p "$folder"
  local package
  for package in "$apt"/packages/*.deb; do dpkg-deb --extract "$package" "$folder"; done
  printf '%s\n' "${libraries[@]}" >"$folder/unpacked"
}

run() {
  local machine=$1 architecture=$2
  shift 2
  local folder=$PWD/build/sysroots/$machine build=build/$machine
  if ! printf '%s\n' "${libraries[@]}" | cmp -s - "$folder/unpacked"; then fetch_libraries "$architecture" "$folder"; fi
  cmake --preset "$machine" -DZVRT_CROSS_COMPILER="${ZVRT_CROSS_COMPILER:-gcc}"
  cmake --build "$build"
  # What compares with programs of this machine, or measures, has no place under emulation; the long tests are labelled.
  ctest --test-dir "$build" --parallel "$(nproc)" --output-on-failure --label-exclude '^(clients|long)$' \
    --exclude-regex '^(package|abi|fuzz|valgrind|documents|sweeps|demo|examples)\.' "$@"
}

status=0
lines=()
for machine in "${machines[@]}"; do
  case $machine in
    aarch64) architecture=arm64 ;;
    s390x) architecture=s390x ;;
    *) sed -n '2,5s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
  esac
  if log=$(run "$machine" "$architecture" "$@" | tee /dev/stderr); then
    lines+=("$machine: $(grep -o '^[0-9]*% tests passed.*' <<<"$log")")
  else
    lines+=("$machine: failed, $(grep -o '^[0-9]*% tests passed.*' <<<"$log" || echo 'before the tests')")
    status=1
  fi
done
printf '%s\n' "${lines[@]}"
exit "$status"
