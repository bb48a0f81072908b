#!/usr/bin/env bash
# Installs the Debian 12 packages that a command of this project needs, where they are missing: as root, or with sudo.
#   install-dependencies.sh demo           the library, its examples, its tools
#   install-dependencies.sh test           these, the tests, and what single tests are skipped without
#   install-dependencies.sh packages       what the packages need besides: the Python package
#   install-dependencies.sh fuzz           the fuzzers, and the tests under clang's sanitizers
#   install-dependencies.sh lint           formatting and static analysis
#   install-dependencies.sh clients        the programs that the tests of scripts/clients.sh talk to
#   install-dependencies.sh bench          the peers of scripts/bench.sh
#   install-dependencies.sh other-machines compilers and emulators of other processors; with clang other-machines-clang too
# Several groups may be named. With --list it prints the packages of these groups and installs nothing.
#
# A group is two lists. What is in `needed_GROUP` must be there; without a package of `useful_GROUP` something is skipped.
# NAME:COMMAND stands for a package that is not asked for where the command is there already, from whatever source.
# shellcheck disable=SC2034 # the lists are read through their names
set -euo pipefail

needed_demo=(g++ cmake make ninja-build pkg-config dpkg-dev file libicu-dev
  libcli11-dev libcsv-dev libfmt-dev libsqlite3-dev libxxhash-dev nlohmann-json3-dev unixodbc-dev
  python3:python3)
useful_demo=()

needed_packages=(python3-dev)
useful_packages=()

needed_test=("${needed_demo[@]}" libgtest-dev libgmp-dev)
useful_test=(python3-dev gnucobol:cobc abigail-tools lintian locales doxygen man-db valgrind libc6-dbg)

needed_fuzz=("${needed_test[@]}" clang libclang-rt-14-dev llvm)
useful_fuzz=()

needed_lint=("${needed_test[@]}" python3-dev clang clang-format:clang-format clang-tidy:clang-tidy shellcheck)
useful_lint=()

needed_clients=("${needed_test[@]}")
useful_clients=(postgresql odbc-postgresql libsqliteodbc odbcinst unixodbc
  python3 python3-dev python3-numpy python3-pandas python3-dask python3-distributed
  chromium chromium-driver nodejs:node npm:npm)

needed_bench=("${needed_test[@]}" libbenchmark-dev)
useful_bench=(valgrind libabsl-dev libcob4-dev libdouble-conversion-dev libecpg-dev libfast-float-dev libmpdec-dev)

needed_other_machines=("${needed_test[@]}" g++-aarch64-linux-gnu g++-s390x-linux-gnu qemu-user)
useful_other_machines=()
needed_other_machines_clang=(clang)
useful_other_machines_clang=()

usage() { sed -n '2,11s/^# \{0,1\}//p' "$0" >&2; exit 2; }

# The packages among the arguments that are not installed.
missing() {
  local entry package
  for entry in "$@"; do
    package=${entry%%:*}
    if [[ $entry == *:* ]] && command -v "${entry#*:}" >/dev/null; then continue; fi
    dpkg-query --show --showformat='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed || echo "$package"
  done
}

may_install() { [[ $EUID -eq 0 ]] || command -v sudo >/dev/null; }
as_root() { if [[ $EUID -eq 0 ]]; then "$@"; else sudo "$@"; fi; }

# Quiet while it goes well; the whole output where it does not.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

install() {
  echo "Installing: $*"
  quietly as_root env DEBIAN_FRONTEND=noninteractive apt-get install --yes --no-install-recommends "$@"
}

# What an administrator is to be asked for.
ask_for() {
  echo "Installing packages needs root or sudo. An administrator's line for what is missing:" >&2
  echo "    apt-get update && apt-get install --no-install-recommends $*" >&2
}

# A locale whose decimal point is a comma, for the test that no conversion heeds it.
comma_locale() {
  [[ " ${groups[*]} " == *" test "* ]] && command -v localedef >/dev/null || return 0
  locale -a 2>/dev/null | grep -i '^de_DE\.utf-\?8$' >/dev/null && return 0
  if may_install && quietly as_root localedef -i de_DE -f UTF-8 de_DE.UTF-8; then return 0; fi
  echo "The locale de_DE.UTF-8 is missing and could not be made; the test that uses it is skipped." >&2
  echo "    localedef -i de_DE -f UTF-8 de_DE.UTF-8" >&2
}

list=false
if [[ ${1:-} == --list ]]; then list=true; shift; fi
groups=("${@:-test}")
needed=() useful=()
for group in "${groups[@]}"; do
  [[ $group =~ ^[a-z-]+$ ]] || usage
  declare -n of_group="needed_${group//-/_}" more_of_group="useful_${group//-/_}"
  [[ -n ${of_group+set} ]] || usage
  needed+=("${of_group[@]}") useful+=("${more_of_group[@]}")
done
sorted() { printf '%s\n' "$@" | LC_ALL=C sort -u | sed '/^$/d'; }
mapfile -t needed < <(sorted "${needed[@]}")
mapfile -t useful < <(sorted "${useful[@]}")
if $list; then
  sorted "${needed[@]%%:*}" "${useful[@]%%:*}"
  exit 0
fi

mapfile -t packages < <(missing "${needed[@]}")
mapfile -t extras < <(missing "${useful[@]}")
if [[ ${#packages[@]} -eq 0 && ${#extras[@]} -eq 0 ]]; then
  echo "All packages are installed."
  comma_locale
  exit 0
fi

# Without a way to install, what is only useful is no reason to stop.
if ! may_install; then
  ask_for "${packages[@]}" "${extras[@]}"
  [[ ${#packages[@]} -eq 0 ]] || exit 1
  echo "What these packages are for is skipped." >&2
  comma_locale
  exit 0
fi

echo "Reading the package lists"
if ! quietly as_root apt-get update && [[ ${#packages[@]} -gt 0 ]]; then
  ask_for "${packages[@]}" "${extras[@]}"
  exit 1
fi
if [[ ${#packages[@]} -gt 0 ]] && ! install "${packages[@]}"; then
  ask_for "${packages[@]}" "${extras[@]}"
  exit 1
fi
# All at once, and one by one where one of them is not to be had.
if [[ ${#extras[@]} -gt 0 ]] && ! install "${extras[@]}"; then
  for extra in "${extras[@]}"; do
    install "$extra" || echo "$extra could not be installed; what uses it is skipped."
  done
fi
comma_locale
