#!/usr/bin/env bash
# Formatting and static analysis of the library; silent when there is nothing to say. Needs a configured build/release.
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files '*.h' '*.c' '*.cpp' | xargs clang-format --dry-run --Werror
[ -f build/release/compile_commands.json ] || cmake --preset release >/dev/null
git ls-files 'src/*.cpp' 'platform/*.cpp' | xargs -P "$(nproc)" -n 2 clang-tidy -p build/release --quiet 2>/dev/null
