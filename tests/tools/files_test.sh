#!/usr/bin/env bash
# Files survive: every pair of {verb, the way it ends} and {what stood there before}, and kill -9 at random moments.
set -uo pipefail
# shellcheck source=tests/tools/prelude.sh
. "$(dirname "$0")/prelude.sh"

printf '01 R.\n 05 A PIC X(6).\n 05 N PIC S9(5) COMP-3.\n' >r.cpy
{ echo 'A,N'; for ((i = 0; i < 20000; i++)); do echo "row$((i % 1000)),$i"; done; } >good.csv
sed '10000s/.*/row,x/' good.csv >bad.csv
"$tool" export -l r.cpy good.csv good.dat >/dev/null || fail "the sample is not made"
{ head -c 80000 good.dat; printf '??????\xFF\xFF\xFF'; } >bad.dat

# What a target is before the run.
before() { # KIND TARGET
  rm -rf "$2"
  case $1 in
    nothing) ;;
    file) echo precious >"$2" ;;
    folder) mkdir "$2" ;;
    pipe) mkfifo "$2" ;;
    link) echo precious >linked; ln -s linked "$2" ;;
    dangling) ln -s gone-away "$2" ;;
  esac
}
state() { [[ -p $1 ]] && echo pipe || { [[ -d $1 ]] && echo folder; } || { [[ -e $1 ]] && sum "$1"; } || { [[ -L $1 ]] && echo dangling; } || echo nothing; }
sum() { md5sum <"$1"; }

# A way to end: its name, the exit status, the options and the limits of the run.
run() { # VERB WAY TARGET
  local source=good
  [[ $2 == refused || $2 == stopped ]] && source=bad
  local options=()
  [[ $2 == stopped ]] && options=(--on-reject stop)
  [[ $2 == replace ]] && options=(--replace)
  local from to=$3
  if [[ $1 == import ]]; then from=$source.dat; else from=$source.csv; fi
  (
    [[ $2 == full ]] && ulimit -f 8
    if [[ $2 == report ]]; then exec "$tool" "$1" -l r.cpy -r rejects "$from" "$to" >/dev/full 2>/dev/null; fi
    exec "$tool" "$1" -l r.cpy -r rejects "${options[@]}" "$from" "$to" >out 2>&1
  )
}

for verb in import export; do
  target=out.csv
  [[ $verb == export ]] && target=out.dat
  for way in "done" replace refused stopped full report; do
    for kind in nothing file folder pipe link dangling; do
      before "$kind" "$target"
      rm -f rejects
      was=$(state "$target")
      got=0
      run "$verb" "$way" "$target" || got=$?
      now=$(state "$target")
      may_write=no
      [[ $kind == nothing || ($way == replace && ($kind == file || $kind == link)) ]] && may_write=yes
      wanted=2
      [[ $may_write == yes && ($way == "done" || $way == replace) ]] && wanted=0
      [[ $may_write == yes && $way == refused ]] && wanted=1
      [[ $got -eq $wanted ]] || fail "$verb, $way over $kind: exit status $got, not $wanted: $(cat out)"
      if [[ $wanted -eq 2 ]]; then
        [[ $now == "$was" ]] || fail "$verb, $way over $kind: '$was' became '$now'"
      else
        [[ $now != "$was" ]] || fail "$verb, $way over $kind: nothing was written"
      fi
      [[ -z $(find . -name '.*.zvrt-tmp') ]] || fail "$verb, $way over $kind: a temporary stays"
    done
  done
done
rm -rf out.csv out.dat linked rejects

# The same file twice, by any name.
cp good.dat same.dat
cp good.csv same.csv
ln -s same.dat link.dat
ln same.csv hard.csv
for arguments in "import same.dat link.dat" "import same.dat r.cpy" "export same.csv hard.csv" "export same.csv r.cpy" \
  "import -r same.dat same.dat x.csv" "import -r r.cpy same.dat x.csv" "import -r x.csv same.dat x.csv" "export -r same.csv same.csv x.dat"; do
  # shellcheck disable=SC2086
  "$tool" ${arguments%% *} -l r.cpy --replace ${arguments#* } >out 2>&1
  [[ $? -eq 2 ]] || fail "$arguments: not refused"
done
cmp -s good.dat same.dat && cmp -s good.csv same.csv || fail "a source was written"

# The default reject file never takes the place of another.
echo mine >bad.dat.rejects.csv
"$tool" import -l r.cpy bad.dat x.csv >out 2>&1
[[ $(cat bad.dat.rejects.csv) == mine && -s bad.dat.rejects.2.csv ]] || fail "the reject file of another run"
rm -f x.csv

# A database: what is replaced goes in one transaction.
"$tool" import -l r.cpy good.dat t.db -t t >/dev/null || fail "import into a database"
"$tool" import -l r.cpy good.dat t.db -t t >/dev/null 2>&1 && fail "a table was replaced without --replace"
"$tool" import -l r.cpy --replace --on-reject stop bad.dat t.db -t t >/dev/null 2>&1
"$tool" verify -l r.cpy t.db -t t good.dat >out 2>&1 || fail "a stopped run lost the table: $(cat out)"
(ulimit -f 300; "$tool" import -l r.cpy --append good.dat t.db -t t >/dev/null 2>&1) && fail "a full disk was not noticed"
"$tool" verify -l r.cpy t.db -t t good.dat >out 2>&1 || fail "a full disk lost the table: $(cat out)"
"$tool" import -l r.cpy --append good.dat t.db -t t >/dev/null || fail "append to a table"

# Append looks at header and last newline.
printf 'A,N\nx,1' >a.csv
head -c 9 good.dat >one.dat
"$tool" import -l r.cpy --append one.dat a.csv >/dev/null || fail "append"
[[ $(cat a.csv) == $'A,N\nx,1\nrow0,0' ]] || fail "append wrote $(cat a.csv)"
printf 'N,A\n1,x\n' >a.csv
"$tool" import -l r.cpy --append one.dat a.csv >/dev/null 2>&1 && fail "append to another header"

# Pipes: a source, and standard input and output, with the report on standard error.
[[ $("$tool" import -l r.cpy one.dat - 2>/dev/null) == $'A,N\r\nrow0,0\r' ]] || fail "records to standard output"
"$tool" import -l r.cpy <(cat good.dat) piped.csv >/dev/null && "$tool" export -l r.cpy - - <piped.csv 2>/dev/null | cmp -s - good.dat || fail "pipes"

# A run without end is interrupted wherever it is, while rows are refused or passed over too.
endless() { echo A,N; yes "too long,1"; }
until_it() { for ((tries = 0; tries < 400; tries++)); do "$@" && return; sleep 0.05; done; fail "$* was waited for"; }
interrupted() { # arguments...
  set -m # or the shell would let it ignore the signal
  "$tool" "$@" < <(endless) >out 2>&1 &
  set +m
  until_it compgen -G '.*.zvrt-tmp' >temporaries
  sleep 0.2
  kill -INT $!
  wait $!
  [[ $? -eq 2 && ! -e never.csv ]] && grep -q 'ended by SIGINT' out || fail "interrupted: $*: $(cat out)"
}
interrupted export -l r.cpy --replace -r rejects - never.csv
interrupted export -l r.cpy --replace -r rejects --range 1000000000000:1 - never.csv
interrupted import -l r.cpy --replace -r rejects - never.csv

# On a terminal it shows meanwhile how far it is.
endless | script --quiet --flush --command "'$tool' export -l r.cpy --replace -r rejects - never.csv <&3" /dev/null 3<&0 >out 2>&1 </dev/null &
until_it grep -q 'records, .* a second' out
kill $!
wait
rm -f rejects

# kill -9 at twenty moments, while a file and a table are replaced.
for ((i = 0; i < 20; i++)); do
  echo old >k.dat
  "$tool" export -l r.cpy --replace good.csv k.dat >/dev/null 2>&1 &
  pid=$!
  sleep "0.0$((RANDOM % 10))$((RANDOM % 10))"
  kill -9 $pid 2>/dev/null
  wait $pid 2>/dev/null
  [[ $(head -c 3 k.dat) == old ]] || cmp -s k.dat good.dat || fail "killed: half a file"
done
"$tool" export -l r.cpy --replace good.csv k.dat >/dev/null || fail "the run after a killed one"
[[ -z $(find . -name '.*.zvrt-tmp') ]] || fail "the temporary of a killed run stays"
exit "$failed"
