#!/usr/bin/env bash
# Formatting and static analysis of the library; silent when there is nothing to say. Needs a configured build/release.
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files '*.h' '*.c' '*.cpp' | xargs clang-format --dry-run --Werror
[ -f build/release/compile_commands.json ] || cmake --preset release >/dev/null
# The compiler named in the build may know more options than clang-tidy, and clang-tidy counts what it left out on stderr.
git ls-files 'src/*.cpp' 'platform/*.cpp' |
  xargs -P "$(nproc)" -n 1 clang-tidy -p build/release --quiet --extra-arg=-Wno-unknown-warning-option 2>&1 |
  { grep -vE '^[0-9]+ warnings? (generated|treated as errors?)' || true; }
