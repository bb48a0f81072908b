#!/usr/bin/env bash
# Tries what a new user does on a bare Debian 12, and ends with a line per check: scripts/fresh-machine.sh [CHECK...]
#
#   refusal      without root and packages, a command says which packages are missing and what an administrator types
#   root         as root, every command of README.md and docs/guide.md, their printed output compared
#   user         the same as an ordinary user, with the packages present
#   ownership    as root in the clone of another user, and without git, the scripts find the files of the tree
#   packages     the Debian packages are installed and removed, and a program is built with them in between
#   machines     scripts/other-machines.sh refuses an ordinary user, and as root fetches what it takes to build for others
#
# Without a name, all of them but the last in this order; `root` is what installs packages for those after it. Needs root, and
# mmdebstrap or debootstrap, and the machine's own package source. What is committed is tried, nothing else. The bare
# system stands in a folder below TMPDIR (/var/tmp) that is removed at the end, however that comes; what runs in it has its
# own processes and mounts, which end with this script. KEEP=1 keeps the folder and tells its name.
# shellcheck disable=SC2016,SC2317 # quoted shell for others; functions called by name
set -euo pipefail
cd "$(dirname "$0")/.."
all=(refusal root user ownership packages)
[ $# -gt 0 ] || set -- "${all[@]}"
for check; do
  [[ " ${all[*]} machines " == *" $check "* ]] || { sed -n '2,14s/^# \{0,1\}//p' "$0" >&2; exit 2; }
done
[ "$EUID" -eq 0 ] || { echo "Making a system of its own needs root." >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/var/tmp}/fresh-machine.XXXXXX")
root=$work/root
clean_up() {
  if [ -n "${running:-}" ]; then
    # In two steps: what has sessions of its own ends these, then the rest.
    kill -TERM -- "-$running" 2>/dev/null || true
    wait "$running" 2>/dev/null || true
    kill -KILL -- "-$running" 2>/dev/null || true
  fi
  if [ -n "${KEEP:-}" ]; then echo "Kept: $work"; else rm -rf --one-file-system "$work"; fi
}
trap clean_up EXIT
trap 'exit 130' INT TERM HUP

# The machine's own sources of Debian's packages, and how it reaches them.
sources() {
  apt-get indextargets --format '$(ORIGIN) deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    sed -n 's/^Debian deb/deb/p' | sort -u
}

make_root() {
  sources >"$work/sources.list"
  apt-config dump | grep -E '^Acquire::(https?|Check)[:-]' >"$work/apt.conf" || true
  if command -v mmdebstrap >/dev/null; then
    mmdebstrap --quiet --variant=minbase --aptopt="$work/apt.conf" bookworm "$root" - <"$work/sources.list"
  else
    debootstrap --variant=minbase bookworm "$root" "$(awk '$3 == "bookworm" { print $2; exit }' "$work/sources.list")"
  fi
  cp "$work/sources.list" "$root/etc/apt/sources.list"
  cp "$work/apt.conf" "$root/etc/apt/apt.conf.d/99machine"
  cp /etc/resolv.conf /etc/hosts "$root/etc/"
  if [ -d /usr/local/share/ca-certificates ]; then cp -r /usr/local/share/ca-certificates "$root/usr/local/share/"; fi
  chroot "$root" useradd --create-home --shell /bin/bash someone
}

# A clone of what is committed; where there is no git, a copy of the tree.
clone() {
  if command -v git >/dev/null && git -c safe.directory='*' rev-parse HEAD >/dev/null 2>&1; then
    git -c safe.directory='*' clone --quiet --no-hardlinks "file://$PWD" "$root$1"
  else
    mkdir -p "$root$1"
    ./scripts/files.sh | tar -cT - | tar -x --no-same-owner -C "$root$1"
  fi
  chroot "$root" chown -R "$2:" "$1"
}

# in_root USER FOLDER COMMAND...: with processes, mounts and an environment of its own.
in_root() {
  local user=$1 folder=$2
  shift 2
  unshare --mount --pid --fork --kill-child=KILL sh -c '
    root=$1 user=$2 folder=$3; shift 3
    mount -t proc proc "$root/proc" && mount -t tmpfs tmpfs "$root/dev/shm" && mount -t tmpfs tmpfs "$root/run" &&
      mount -t devpts devpts "$root/dev/pts" -o newinstance,ptmxmode=0666 || exit 1
    home=$(chroot "$root" getent passwd "$user" | cut -d: -f6)
    exec chroot "$root" env -i HOME="$home" USER="$user" LANG=C.UTF-8 PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
      setpriv --reuid="$user" --regid="$user" --init-groups --no-new-privs sh -c "cd \"\$0\" && exec \"\$@\"" "$folder" "$@"' \
    sh "$root" "$user" "$folder" "$@"
}
export -f in_root
export root

check_refusal() {
  local log=$work/refusal.log
  if in_root someone /home/someone/zvrt ./scripts/demo.sh >"$log" 2>&1; then echo "it did not end with a failure"; return 1; fi
  if ! grep -q 'apt-get install .*g++' "$log" || ! grep -q administrator "$log"; then cat "$log"; return 1; fi
  grep 'apt-get' "$log"
}

documented() {
  local user=$1 folder=$2 shell=$work/shell-$1
  shift 2
  printf '#!/usr/bin/env bash\nin_root %s %s bash -s\n' "$user" "$folder" >"$shell"
  chmod +x "$shell"
  exec python3 -B tests/documents/commands.py --fresh "$@" --shell "$shell" . README.md docs/guide.md docs/records.md
}
check_root() { documented root /root/zvrt; }
check_user() { documented someone /home/someone/zvrt --user; }

check_ownership() {
  in_root root /home/someone/zvrt bash -euc '
    without=$(scripts/files.sh "*.md" | sort)
    apt-get install --yes --no-install-recommends git >/dev/null 2>&1
    ! git status >/dev/null 2>&1 || { echo "git does not mind whose clone this is"; exit 1; }
    with=$(scripts/files.sh "*.md" | sort)
    [ -n "$with" ] && [ "$with" = "$without" ] || { diff <(echo "$with") <(echo "$without"); exit 1; }'
}

check_packages() {
  in_root root /root/zvrt bash -euc '
    # What an installation from the sources left.
    find /usr/local -iname "*zvrt*" -prune -exec rm -rf {} +
    ldconfig
    ./scripts/package.sh /tmp/packages >/dev/null 2>&1
    apt-get install --yes --no-install-recommends man-db /tmp/packages/*.deb >/dev/null 2>&1
    for package in /tmp/packages/*.deb; do dpkg --verify "$(dpkg-deb --field "$package" Package)"; done
    cd /tmp
    zvrt-records --version
    python3 -c "import zvrt; print(zvrt.__file__)" | grep ^/usr/lib/python3
    cc -std=c11 -Wall -Wextra -Werror /root/zvrt/tests/package/consumer.c $(pkg-config --cflags --libs ZVRTDataCnvLib) -o consumer
    ./consumer
    man --where ZVRTCnvCharToWVarcharSz | grep ^/usr/share/man
    cmake -S /root/zvrt/tests/package/find_package -B cpp >/dev/null
    cmake --build cpp >/dev/null
    cpp/consumer
    apt-get purge --yes "libzvrt*" >/dev/null 2>&1
    [ -z "$(find /usr/lib /usr/include -name "*ZVRT*")" ]'
}

check_machines() {
  local log=$work/machines.log
  if in_root someone /home/someone/zvrt ./scripts/other-machines.sh >"$log" 2>&1; then echo "it did not end with a failure"; return 1; fi
  if ! grep -q 'apt-get install .*g++-s390x-linux-gnu' "$log"; then cat "$log"; return 1; fi
  in_root root /root/zvrt bash -euc '
    ./scripts/other-machines.sh --prepare | tail -2
    for machine in aarch64 s390x; do cmake --preset "$machine" >/dev/null; done'
}

echo "A bare Debian 12 in $root"
make_root
clone /root/zvrt root
clone /home/someone/zvrt someone
results=() status=0
for check; do
  printf '\n== %s\n' "$check"
  start=$SECONDS
  # Beside this shell, which hears a signal at once only while it waits, and as a group that can be ended.
  set -m
  "check_$check" &
  running=$!
  set +m
  if wait "$running"; then result='ok    '; else result=FAILED status=1; fi
  running=
  results+=("$(printf '%s %5d s  %s' "$result" $((SECONDS - start)) "$check")")
done
printf '\n'
printf '%s\n' "${results[@]}"
exit $status
