#!/usr/bin/env bash
# Builds everything for other machines by Debian's cross compilers and passes the tests under qemu-user; installs what that
# takes first. Ends with a line per machine; the exit status is 1 where something failed.
#   other-machines.sh [--clang] [--prepare] [aarch64|s390x]... [-- CTEST-ARGUMENTS]
# Both machines where none is named. --clang builds by clang, in folders of its own; --prepare only installs and fetches
# the target's libraries. On aarch64 the tests of text and integers run with pages of 64 KiB too. Emulation is slow: on two
# cores that had other work as well, s390x took an hour.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 2
usage() { sed -n '2,7s/^# \{0,1\}//p' "$0" >&2; exit 2; }

compiler=gcc prepare=false machines=()
while [[ $# -gt 0 && $1 != -- ]]; do
  case $1 in
    --clang) compiler=clang ;;
    --prepare) prepare=true ;;
    aarch64 | s390x) machines+=("$1") ;;
    *) usage ;;
  esac
  shift
done
[[ ${1:-} != -- ]] || shift
[[ ${#machines[@]} -gt 0 ]] || machines=(aarch64 s390x)
declare -A architectures=([aarch64]=arm64 [s390x]=s390x)

groups=(other-machines)
[[ $compiler == gcc ]] || groups+=(other-machines-clang)
./scripts/install-dependencies.sh "${groups[@]}" || exit 1

# What programs for the target are linked with. The C and C++ libraries are the cross compiler's own; their packages are
# here for the dependencies of ours.
libraries=(libc6 libgcc-s1 libstdc++6 libicu72 libicu-dev libgtest-dev libgmock-dev libgmp10 libgmp-dev libgmpxx4ldbl
  libsqlite3-0 libsqlite3-dev libfmt9 libfmt-dev libcsv3 libcsv-dev libcli11-dev libxxhash0 libxxhash-dev
  nlohmann-json3-dev unixodbc-dev libodbc2 libodbccr2 libodbcinst2 libltdl7)

# enter PACKAGE FOLDER: into a dpkg database of the unpacked folder, in which dpkg-shlibdeps finds the dependencies of what
# is linked with it.
enter() {
  local database=$2/dpkg work=$2/dpkg/control name
  mkdir -p "$database/info" && rm -rf "$work" && dpkg-deb --control "$1" "$work" || return 1
  name=$(dpkg-deb --field "$1" Package)
  ! grep -qx 'Multi-Arch: same' "$work/control" || name+=:$(dpkg-deb --field "$1" Architecture)
  dpkg-deb --fsys-tarfile "$1" | tar --list | sed "s|^\.|$2|; s|/$||" >"$database/info/$name.list" || return 1
  local file
  for file in symbols shlibs; do [[ ! -e $work/$file ]] || mv "$work/$file" "$database/info/$name.$file"; done
  sed '1a Status: install ok installed' "$work/control" >>"$database/status"
  printf '\n' >>"$database/status"
  echo 1 >"$database/info/format"
}

# fetch ARCHITECTURE FOLDER: unpacked into a folder of the build, so that this machine's own packages need not be of the
# same versions, as they would if both architectures were installed. apt keeps its lists of the target beside that folder
# and touches nothing of the system.
fetch() {
  local architecture=$1 folder=$2 apt=$2.apt options package
  ! printf '%s\n' "${libraries[@]}" | cmp -s - "$folder/unpacked" || return 0
  echo "Fetching ${#libraries[@]} packages of $architecture"
  rm -rf "$folder" "$apt"
  mkdir -p "$folder" "$apt/lists/partial" "$apt/cache/archives/partial" "$apt/packages" || return 1
  options=(-qq -o APT::Architecture="$architecture" -o APT::Architectures="$architecture" -o Dir::State::status=/dev/null
    -o Dir::State::lists="$apt/lists" -o Dir::Cache="$apt/cache" -o Debug::NoLocking=1 -o Acquire::Languages=none
    -o APT::Sandbox::User="$(id -un)")
  if ! apt-get "${options[@]}" update || ! (cd "$apt/packages" && apt-get "${options[@]}" download "${libraries[@]}"); then
    echo "The packages of $architecture could not be fetched; the sources of apt must offer them." >&2
    return 1
  fi
  for package in "$apt"/packages/*.deb; do
    dpkg-deb --extract "$package" "$folder" && enter "$package" "$folder" || return 1
  done
  # What apt needed for itself.
  rm -rf "$apt/cache" "$apt/lists"
  printf '%s\n' "${libraries[@]}" >"$folder/unpacked"
}

# The number in an attribute of the test suite in ctest's report.
count() { sed -n "s/^[[:space:]]*$2=\"\([0-9]*\)\".*/\1/p" "$1" | head -1; }

# run_tests BUILD REPORT [CTEST-ARGUMENTS]: what compares with programs of this machine, or looks at its packages, has no
# place under emulation; tests that would run for many minutes are labelled `long`.
run_tests() {
  rm -f "$1/$2.xml"
  ctest --test-dir "$1" --progress --parallel "$(nproc)" --output-on-failure --label-exclude '^(clients|long)$' \
    --exclude-regex '^(package|abi|valgrind|documents|support)\.' --output-junit "$PWD/$1/$2.xml" "${@:3}"
}

status=0
lines=()
# failed MACHINE SENTENCE
failed() { lines+=("$1: $2"); status=1; }

# summarise NAME REPORT START: the line of a run.
summarise() {
  local bad skipped good
  if [[ ! -s $2 ]]; then failed "$1" "failed, no test was run"; return; fi
  bad=$(count "$2" failures) skipped=$(($(count "$2" skipped) + $(count "$2" disabled)))
  good=$(($(count "$2" tests) - bad - skipped))
  lines+=("$1: $good passed, $bad failed, $skipped skipped, $(((SECONDS - $3 + 59) / 60)) minutes")
}

for machine in "${machines[@]}"; do
  start=$SECONDS
  build=build/$machine
  [[ $compiler == gcc ]] || build+=-$compiler
  if ! fetch "${architectures[$machine]}" "$PWD/build/sysroots/$machine"; then
    failed "$machine" "failed, its libraries could not be fetched"
    continue
  fi
  if $prepare; then lines+=("$machine: ready in build/sysroots/$machine"); continue; fi
  printf '\n==== %s: building by %s in %s\n' "$machine" "$compiler" "$build"
  if ! cmake --preset "$machine" -B "$build" -DZVRT_CROSS_COMPILER="$compiler" || ! cmake --build "$build"; then
    failed "$machine" "failed, it could not be built"
    continue
  fi
  printf '\n==== %s: testing under emulation\n' "$machine"
  run_tests "$build" tests "$@" || status=1
  summarise "$machine" "$build/tests.xml" "$start"
  # Kernels that read ahead stay within a page of any size.
  if [[ $machine == aarch64 && $# -eq 0 ]]; then
    start=$SECONDS
    QEMU_PAGESIZE=65536 run_tests "$build" pages \
      --tests-regex '^(TextKernels|Vectors|Conversions|Trimming|GuardedMemory|IntegerVersions|IntegerBytes|TextToInteger)\.' || status=1
    summarise "$machine, pages of 64 KiB" "$build/pages.xml" "$start"
  fi
done
printf '\n'
printf '%s\n' "${lines[@]}"
exit "$status"
