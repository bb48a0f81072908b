# What the checks of the command begin with: a folder of their own, which goes at the end, and how they fail.
# shellcheck shell=bash
# shellcheck disable=SC2034 # they are used by who reads this
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failed=0
fail() { echo "FAILED: $*"; failed=1; }
