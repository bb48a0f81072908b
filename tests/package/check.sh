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
  "$scratch/cpp/columns_consumer"
  # A name that is Debian's belongs to a package.
  [ -z "$(find "$prefix" -path '*-linux-gnu*' -o -path '*/doc/*')" ] || { echo "folders of Debian's in a plain install"; return 1; }
}

# The installed manual pages name no page that is not installed.
manual() {
  local status=0 page name
  cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
  (cd "$scratch/prefix/share/man" && find . -name '*.gz' -exec gunzip -f {} +)
  while read -r page; do
    while read -r name; do
      [ -e "$scratch/prefix/share/man/man${name##*.}/$name" ] || { echo "${page##*/}: $name is not installed"; status=1; }
    done < <(sed -n '/^\.SH SEE ALSO/,/^\.SH [^S]/p' "$page" | sed -nE 's/^\.BR? ([A-Za-z0-9_-]+) ?\(([0-9])\).*/\1.\2/p')
  done < <(find "$scratch/prefix/share/man" -type f)
  [ -e "$scratch/prefix/share/man/man3/ZVRTDataCnvLib.3" ] || { echo "no manual page was found"; status=1; }
  return $status
}

# The version of the header is that of the build, of both changelogs and of the files.
version() {
  local header
  header=$(sed -n 's/^#define ZVRT_VERSION_STRING "\(.*\)".*/\1/p' "$source/include/ZVRTDataCnvLib.h")
  [ "$header" = "$(cached CMAKE_PROJECT_VERSION)" ] || { echo "CMake has $(cached CMAKE_PROJECT_VERSION), the header $header"; return 1; }
  [ -e "$library.$header" ] || { echo "no $library.$header"; return 1; }
  head -1 "$source/cmake/debian/changelog" | grep -qF "($header)" || { echo "Debian's changelog does not begin with $header"; return 1; }
  grep -m1 '^## [0-9]' "$source/CHANGELOG.md" | grep -qF "## $header" || { echo "CHANGELOG.md does not begin with $header"; return 1; }
}

# A level of processor that does not exist, and tests of a library that is not shared, are refused with a reason.
refusals() {
  refused_for() {
    local reason=$1
    shift
    ! cmake -S "$source" -B "$scratch/refused" "$@" >"$scratch/log" 2>&1 || { echo "accepted: $*"; return 1; }
    grep -q "$reason" "$scratch/log" || { cat "$scratch/log"; return 1; }
    rm -rf "$scratch/refused"
  }
  refused_for 'the levels are' -DZVRT_HIGHEST_LEVEL=nonsense
  refused_for 'BUILD_SHARED_LIBS=OFF goes without' -DBUILD_SHARED_LIBS=OFF -DZVRT_BUILD_TESTS=ON
  refused_for 'CMAKE_INSTALL_PREFIX=/usr' -DZVRT_PACKAGES=ON
}

# Where shared objects look for others: an empty part of a run path means the current folder.
runpaths() {
  local object path count=0 status=0
  while read -r object; do
    path=$(readelf --dynamic "$object" 2>/dev/null | sed -n 's/.*R\(UN\)\?PATH.*\[\(.*\)\]/\2/p')
    count=$((count + 1))
    case ":$path:" in ::) ;; *::*) echo "$object: $path"; status=1 ;; esac
  done < <(find "$build" -path "$build/fuzz*" -prune -o -xtype f ! -name '*.so.*' \( -name '*.so' -o -perm -u+x \) -exec sh -c \
    'for file; do [ "$(head -c 4 "$file" | tail -c 3)" = ELF ] && echo "$file"; done; :' sh {} +)
  [ $count -gt 4 ] || { echo "only $count shared objects and programs were found"; status=1; }
  return $status
}

# As part of another project: nothing of that changes, and nothing but its own is installed.
subproject() {
  cmake -S "$source/tests/package/subproject" -B "$scratch/parent" -G Ninja -DLIBRARY_SOURCE="$source" -DCMAKE_CXX_FLAGS=-O0 >"$scratch/log" ||
    { cat "$scratch/log"; return 1; }
  cmake --build "$scratch/parent" --target consumer >/dev/null
  "$scratch/parent/consumer"
  cmake --install "$scratch/parent" --prefix "$scratch/prefix" >/dev/null
  [ "$(cd "$scratch/prefix" && find . -type f)" = ./bin/consumer ] || { find "$scratch/prefix"; return 1; }
}

# A static library, as part of a project by FetchContent; and once it is installed, from C by pkg-config and from C++ by CMake.
static() {
  local prefix=$scratch/prefix
  cmake -S "$source/tests/package/subproject" -B "$scratch/parent" -G Ninja -DLIBRARY_SOURCE="$source" -DCMAKE_CXX_FLAGS=-O0 \
    -DBY=FetchContent -DBUILD_SHARED_LIBS=OFF -DZVRT_INSTALL=ON -DCMAKE_INSTALL_PREFIX="$prefix" >"$scratch/log" ||
    { cat "$scratch/log"; return 1; }
  cmake --build "$scratch/parent" >/dev/null
  "$scratch/parent/consumer"
  cmake --install "$scratch/parent" >/dev/null
  [ -z "$(find "$prefix" -name '*.so*')" ] || { find "$prefix" -name '*.so*'; return 1; }
  export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
  # shellcheck disable=SC2046 # the flags are words
  cc -std=c11 -Wall -Wextra -Werror "$source/tests/package/consumer.c" $(pkg-config --static --cflags --libs ZVRTDataCnvLib) -o "$scratch/consumer_c"
  "$scratch/consumer_c"
  cmake -S "$source/tests/package/find_package" -B "$scratch/cpp" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$scratch/cpp" >/dev/null
  "$scratch/cpp/consumer"
  "$scratch/cpp/columns_consumer"
}

hardening() {
  local dynamic program
  for object in "$build"/lib/*.so "$build"/lib/zvrt/*.so; do
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

# packages_in FOLDER: made there, from a copy of the tree.
packages_in() {
  copy_tree "$1"
  "$1/scripts/package.sh" "$1/packages" >/dev/null 2>"$scratch/log" || { cat "$scratch/log"; return 1; }
}

# The module of the packages in the current folder finds the libraries where they are installed, without any variable or
# run path. The unpacked packages are laid over /usr for one process, which takes user namespaces.
python_package() {
  local name path root=$scratch/root depends status=0
  for name in libzvrtdatacnvlib1 libzvrtcolumns1 python3-zvrt; do dpkg-deb --extract "$name"_*.deb "$root"; done
  path=$root/usr/lib/python3/dist-packages/zvrt
  [ "$(dpkg-deb --field python3-zvrt_*.deb Multi-Arch)" != same ] || { echo "python3-zvrt: one path for all architectures, yet Multi-Arch: same"; status=1; }
  depends=$(dpkg-deb --field python3-zvrt_*.deb Depends)
  for name in 'python3 (>= 3.11)' 'libzvrtdatacnvlib1 (=' 'libzvrtcolumns1 (='; do
    [[ $depends == *"$name"* ]] || { echo "python3-zvrt depends on: $depends"; status=1; }
  done
  ! readelf --dynamic "$path/_zvrt.abi3.so" | grep -E 'R(UN)?PATH|libpython' || { echo "python3-zvrt: bound to a place or an interpreter"; status=1; }
  # shellcheck disable=SC2016 # for the other shell
  local installed='mount -t overlay overlay -o lowerdir="$0/usr:/usr" /usr && shift && exec "$@"'
  if ! unshare --mount --map-root-user sh -c "$installed" "$root" - true 2>/dev/null; then
    echo "The module of python3-zvrt was not imported: no file system is laid over another here"
    return $status
  fi
  unshare --mount --map-root-user env -u LD_LIBRARY_PATH sh -c "$installed" "$root" - \
    /usr/bin/python3 -I -B -X dev -W error "$source/tests/package/installed_module.py" || status=1
  return $status
}

# The Debian packages: the same bytes from two folders, nothing for lintian to say, and each file where it belongs. Two
# builds of everything, so continuous integration runs it and the tests do not.
debian() {
  command -v dpkg-deb >/dev/null || skip "dpkg-deb is missing"
  local name package status=0
  packages_in "$scratch/one"
  packages_in "$scratch/another/deeper"
  cd "$scratch/one/packages"
  for package in *.deb; do
    cmp "$package" "$scratch/another/deeper/packages/$package" || status=1
    case $package in
      lib*) [ "$(dpkg-deb --field "$package" Multi-Arch)" = same ] || { echo "$package: not Multi-Arch: same"; status=1; } ;;
    esac
    [ "$(dpkg-deb --field "$package" Version)" = "$(cached CMAKE_PROJECT_VERSION)" ] || { echo "$package: another version"; status=1; }
  done
  for name in libzvrtdatacnvlib1 libzvrtdatacnvlib1-dbgsym libzvrtdatacnvlib-dev libzvrtcolumns1 libzvrtcolumns1-dbgsym libzvrtcolumns-dev \
    zvrt-records zvrt-records-dbgsym python3-zvrt python3-zvrt-dbgsym; do
    compgen -G "${name}_*.deb" >/dev/null || { echo "no package $name"; status=1; }
  done
  dpkg-deb --contents libzvrtdatacnvlib1_*.deb | grep -q "/usr/lib/$(cc -print-multiarch)/libZVRTDataCnvLib.so.1$\|/libZVRTDataCnvLib.so.1 ->" ||
    { echo "the library is not in the folder of its architecture"; status=1; }
  python_package || status=1
  command -v lintian >/dev/null || { echo "lintian is missing"; return $status; }
  lintian --allow-root --fail-on error,warning ./*.deb || status=1
  return $status
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
