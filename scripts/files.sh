#!/usr/bin/env bash
# The files of this tree that match one of the patterns, one per line: scripts/files.sh ['*.md'...]
# A star matches folders too. Without git, or outside a clone, everything counts but what git would ignore.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -gt 0 ] || set -- '*'

# As root in a clone of another user's, git must be told that this is meant.
in_git() { git -c safe.directory='*' "$@" 2>/dev/null; }

if [ "$(in_git rev-parse --show-toplevel)" = "$(pwd -P)" ]; then
  in_git ls-files --cached --others --exclude-standard --deduplicate -- "$@" |
    while IFS= read -r file; do [ ! -e "$file" ] || printf '%s\n' "$file"; done
else
  matches=(-false)
  for pattern in "$@"; do matches+=(-o -path "./$pattern"); done
  find . \( -path './build*' -o -name .git -o -name .cache \) -prune -o -type f \
    ! -name compile_commands.json ! -name '*.profraw' ! -name 'crash-*' \( "${matches[@]}" \) -print | sed 's|^\./||'
fi
