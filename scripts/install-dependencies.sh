#!/usr/bin/env bash
# Installs the Debian packages that a build needs, where they are missing: as root, or with sudo.
#   install-dependencies.sh demo   the library and its examples
#   install-dependencies.sh test   these, the tests, and what single tests use and are skipped without
set -euo pipefail

build=(g++ cmake ninja-build pkg-config libicu-dev)
examples=(libcli11-dev libcsv-dev libfmt-dev libsqlite3-dev nlohmann-json3-dev)
tests=(libgtest-dev)
useful=(gnucobol3 abigail-tools lintian locales clang libclang-rt-14-dev doxygen valgrind libc6-dbg)

missing() {
  local package
  for package in "$@"; do
    dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || echo "$package"
  done
}

as_root() {
  if [[ $EUID -eq 0 ]]; then "$@"; elif command -v sudo >/dev/null; then sudo "$@"; else
    echo "Installing packages needs root or sudo." >&2
    return 1
  fi
}

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

case "${1:-test}" in
  demo) needed=("${build[@]}" "${examples[@]}") useful=() ;;
  test) needed=("${build[@]}" "${examples[@]}" "${tests[@]}") ;;
  *) echo "usage: $0 [demo|test]" >&2; exit 2 ;;
esac

# A locale whose decimal point is a comma, for the test that no conversion heeds it.
comma_locale() {
  [[ ${1:-test} == test ]] && command -v localedef >/dev/null || return 0
  locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$' || quietly as_root localedef -i de_DE -f UTF-8 de_DE.UTF-8 ||
    echo "The comma locale could not be made; the test that uses it is skipped."
}

mapfile -t packages < <(missing "${needed[@]}")
mapfile -t extras < <(missing "${useful[@]}")
if [[ ${#packages[@]} -eq 0 && ${#extras[@]} -eq 0 ]]; then
  echo "All packages are installed."
  comma_locale "$@"
  exit 0
fi

echo "Reading the package lists"
if ! quietly as_root apt-get update && [[ ${#packages[@]} -gt 0 ]]; then exit 1; fi
if [[ ${#packages[@]} -gt 0 ]]; then install "${packages[@]}"; fi
for extra in "${extras[@]}"; do
  install "$extra" || echo "$extra could not be installed; the tests that use it are skipped."
done
comma_locale "$@"
