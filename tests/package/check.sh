#!/usr/bin/env bash
# check.sh CHECK BUILD SOURCE: one check of the library as it leaves the build. Exit status 77: skipped, with a word why.
set -euo pipefail
check=$1 build=$2 source=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() { echo "skipped: $*"; exit 77; }
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
[ -z "$(cached ZVRT_SANITIZE)" ] || skip "a sanitized build is not installed"
grep -q -- --coverage <<<"$(cached CMAKE_CXX_FLAGS)" && skip "a build for coverage is not installed"

library=$build/lib/libZVRTDataCnvLib.so

# A C11 program by pkg-config, a C++17 program by find_package, both from a scratch prefix.
consumers() {
  local prefix=$scratch/prefix
  cmake --install "$build" --prefix "$prefix" >/dev/null
  export PKG_CONFIG_PATH=$prefix/lib/pkgconfig:$prefix/lib/x86_64-linux-gnu/pkgconfig
  # shellcheck disable=SC2046 # the flags are words
  cc -std=c11 -Wall -Wextra -Werror "$source/tests/package/consumer.c" $(pkg-config --cflags --libs ZVRTDataCnvLib) -o "$scratch/consumer_c"
  LD_LIBRARY_PATH=$(pkg-config --variable=libdir ZVRTDataCnvLib) "$scratch/consumer_c"
  cmake -S "$source/tests/package/find_package" -B "$scratch/cpp" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$scratch/cpp" >/dev/null
  "$scratch/cpp/consumer"
}

hardening() {
  local dynamic program
  for object in "$library" "$build"/lib/libZVRTOSLibUnix.so "$build"/lib/libZVRTEnvLib.so "$build"/lib/libZVRTICULib.so; do
    dynamic=$(readelf --wide --dynamic "$object") program=$(readelf --wide --program-headers --notes "$object")
    grep -q BIND_NOW <<<"$dynamic" || { echo "$object: lazy binding"; return 1; }
    grep -q GNU_RELRO <<<"$program" || { echo "$object: no RELRO"; return 1; }
    grep -q 'GNU_STACK.* RW ' <<<"$program" || { echo "$object: executable stack"; return 1; }
    grep -q SHSTK <<<"$program" || { echo "$object: no shadow stack"; return 1; }
    ! grep -q TEXTREL <<<"$dynamic" || { echo "$object: text relocations"; return 1; }
  done
  local code symbols
  code=$(objdump --disassemble=ZVRTInitDataConversion "$library") symbols=$(readelf --wide --dyn-syms "$library")
  grep -q endbr64 <<<"$code" || { echo "no branch tracking"; return 1; }
  grep -q __stack_chk_fail <<<"$symbols" || { echo "no stack protector"; return 1; }
}

# The tree without what builds left in it.
copy_tree() {
  mkdir -p "$1"
  "$source/scripts/files.sh" | tar -C "$source" -T - -c | tar -C "$1" -x --no-same-owner
}

# The same bytes from two folders.
reproducible() {
  for name in one another/deeper; do
    copy_tree "$scratch/$name"
    cmake -S "$scratch/$name" -B "$scratch/$name/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
    cmake --build "$scratch/$name/build" >/dev/null
  done
  (cd "$scratch/one/build/lib" && for object in *.so; do cmp "$object" "$scratch/another/deeper/build/lib/$object"; done)
}

debian() {
  command -v dpkg-deb >/dev/null || skip "dpkg-deb is missing"
  command -v lintian >/dev/null || skip "lintian is missing"
  (cd "$build" && cpack -B "$scratch" >/dev/null 2>&1)
  local errors=0
  for package in "$scratch"/*.deb; do
    lintian --allow-root --fail-on error "$package" || errors=1
  done
  [ "$(find "$scratch" -maxdepth 1 -name '*.deb' | wc -l)" -eq 2 ] || { echo "two packages were expected"; errors=1; }
  return $errors
}

# The reference documentation without a warning, and no link of the guides that leads nowhere.
documentation() {
  cd "$source"
  local dead=0 links=0 file target
  while IFS= read -r file; do
    for target in $(grep -oE '\]\([^)#]+' "$file" | sed 's/^](//' | grep -v '^http' || true); do
      links=$((links + 1))
      [ -e "$(dirname "$file")/$target" ] || { echo "$file: dead link $target"; dead=1; }
    done
  done < <(scripts/files.sh '*.md')
  [ $links -gt 0 ] || { echo "no link was found in any document"; dead=1; }
  command -v doxygen >/dev/null || { [ $dead -eq 0 ] && skip "doxygen is missing"; return 1; }
  (cat docs/Doxyfile; echo "OUTPUT_DIRECTORY=$scratch") | doxygen - || dead=1
  return $dead
}

"$check"
