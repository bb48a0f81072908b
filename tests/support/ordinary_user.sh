#!/usr/bin/env bash
# ordinary_user.sh FOLDER COMMAND...: runs COMMAND as an ordinary user, whoever calls. Database servers refuse to run as
# root, and a test that runs as root in a container still has to start them.
# FOLDER becomes that user's: it is created, handed over and is the home and working folder of COMMAND. Not as root, it is
# created only. COMMAND must be readable for that user; what lies below a home of root's is not.
set -euo pipefail
[ $# -ge 2 ] || { sed -n '2,5s/^# \{0,1\}//p' "$0" >&2; exit 2; }
folder=$1
shift
mkdir -p "$folder"
cd "$folder"
export HOME=$PWD
[ "$EUID" -eq 0 ] || exec "$@"
chown -R nobody: .
exec setpriv --reuid=nobody --regid="$(id -g nobody)" --clear-groups --no-new-privs -- "$@"
