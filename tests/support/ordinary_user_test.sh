#!/usr/bin/env bash
# What ordinary_user.sh starts is not root, may write in its folder, and may not in root's.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
chmod 755 "$scratch"

[ "$("$here/ordinary_user.sh" "$scratch/home" id -u)" -ne 0 ]
"$here/ordinary_user.sh" "$scratch/home" sh -c 'touch mine && [ "$HOME" = "$PWD" ]'
[ -e "$scratch/home/mine" ]
if [ "$EUID" -eq 0 ] && "$here/ordinary_user.sh" "$scratch/home" touch "$scratch/not_mine" 2>/dev/null; then
  echo "it wrote where only root may"
  exit 1
fi
! "$here/ordinary_user.sh" "$scratch/home" false
