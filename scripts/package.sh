#!/usr/bin/env bash
# Makes the Debian packages and prints their names: scripts/package.sh [--machine aarch64|s390x] [FOLDER]
# Without a folder in build/packages/debian, for another machine build/packages-MACHINE/debian.
# They have a build of their own, laid out for /usr and the folders of Debian's architectures. The same source gives the
# same bytes: every time in the packages is that of the newest entry of the changelog.
#
# CPack makes the packages. What the CPack of Debian 12 cannot is done to them afterwards: the field `Multi-Arch`,
# compressed documentation, no scripts where a trigger does, and packages of debug symbols as the archive has them.
set -euo pipefail
build=build/packages options=()
if [[ ${1:-} == --machine ]]; then
  [[ ${2:-} =~ ^(aarch64|s390x)$ ]] || { sed -n '2,3s/^# //p' "$0" >&2; exit 2; }
  machine=$2 build+=-$2
  options=(-B "$build" --toolchain "cmake/$machine.cmake")
  shift 2
fi
out=$(realpath -m "${1:-$(dirname "$0")/../$build/debian}")
cd "$(dirname "$0")/.."
umask 022

# finish PACKAGE: packs it once more into the folder, under its name of Debian.
finish() {
  local tree control name
  tree=$(mktemp -d --tmpdir="$work")
  dpkg-deb --raw-extract "$1" "$tree"
  chmod 755 "$tree"
  control=$tree/DEBIAN/control
  name=$(sed -n 's/^Package: //p' "$control")
  [[ $name == python3-* ]] || rm -f "$tree/DEBIAN/postinst" "$tree/DEBIAN/postrm"
  sed -i '/^Package-Type:/d' "$control"
  if grep -qE '^Section: (libs|libdevel|debug)$' "$control"; then sed -i 's/^Section:/Multi-Arch: same\n&/' "$control"; fi
  if [[ $name == *-dbgsym ]]; then
    find "$tree/usr" -type f -exec chmod 644 {} +
    mkdir -p "$tree/usr/share/doc"
    ln -s "${name%-dbgsym}" "$tree/usr/share/doc/$name"
  fi
  find "$tree/usr/share" -type f \( -path '*/man/*' -o -name changelog \) ! -name '*.gz' -exec gzip -9n {} +
  (cd "$tree" && find usr -type f -print0 | LC_ALL=C sort -z | xargs -0 md5sum) >"$tree/DEBIAN/md5sums"
  find "$tree" -exec touch --no-dereference --date="@$SOURCE_DATE_EPOCH" {} +
  dpkg-deb --root-owner-group -Zxz --build "$tree" "$out" >>"$work/log"
}

./scripts/install-dependencies.sh demo packages >&2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
SOURCE_DATE_EPOCH=$(date --date="$(sed -n '/^ -- /{s/.*>  //p;q}' cmake/debian/changelog)" +%s)
export SOURCE_DATE_EPOCH

# Of another machine: which packages its libraries come from stands in a database of their own.
if [[ -n ${machine:-} ]]; then
  ./scripts/other-machines.sh --prepare "$machine" >&2
  export DPKG_ADMINDIR=$PWD/build/sysroots/$machine/dpkg
  DEB_HOST_ARCH=$(sed -n 's/.*DEBIAN_ARCHITECTURE \(.*\))/\1/p' "cmake/$machine.cmake")
  export DEB_HOST_ARCH
fi
cmake --preset packages "${options[@]}" >&2
cmake --build "$build" >&2
(cd "$build" && cpack -B "$work/cpack") >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
mkdir -p "$out"
for package in "$work"/cpack/*deb; do finish "$package"; done
sed -n "s/.* in '\(.*\)'\.$/\1/p" "$work/log" | LC_ALL=C sort
