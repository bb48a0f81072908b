#!/usr/bin/env bash
# Any number of threads makes the same bytes: the table, the refusals in their order, the counts and the exit status.
set -uo pipefail
# shellcheck source=tests/tools/prelude.sh
. "$(dirname "$0")/prelude.sh"

# Some blocks of records; at places of one and of several blocks numbers that are none, and length words that lead nowhere.
printf '01 R.\n 05 KIND PIC X.\n 05 A PIC X(15).\n 05 N PIC S9(7) COMP-3.\n' >r.cpy
seq 1 50000 | awk 'BEGIN { print "KIND,A,N" } { printf "%s,row %d,%d\n", $1 % 3 ? "H" : "L", $1, $1 * 7 }' >good.csv
patch() { for offset in "${@:2}"; do printf '\xFF\xFF\xFF' | dd of="$1" bs=1 seek="$offset" conv=notrunc status=none; done; }
for format in F V VB D; do
  "$tool" export -l r.cpy -c ascii --record-format $format good.csv $format.dat >/dev/null || fail "$format: no sample"
done
patch F.dat $((20 * 3 + 17)) $((20 * 7 + 16)) $((20 * 20000 + 16)) $((20 * 20001 + 16)) $((20 * 49999 + 16))
patch V.dat $((24 * 3 + 20)) $((24 * 15000)) $((24 * 30000 + 20)) $((24 * 30001))
patch VB.dat 200 400000 400100 800003
truncate -s -3 F.dat
truncate -s -3 V.dat
for format in F V VB D; do cp $format.dat again.$format.dat; done

# What a run leaves: its exit status, its table, its rejects, its report without the time.
outcome() { # THREADS TABLE arguments...
  local threads=$1 table=$2 status=0
  rm -rf out* rejects
  "$tool" import -l r.cpy -c ascii --threads "$threads" -r rejects "${@:3}" "$table" >report 2>&1 || status=$?
  sed 's/ in [0-9.]* s$//' report
  echo "exit status $status"
  if [[ $table == *.db && -e $table ]]; then
    "$tool" export -l r.cpy -c ascii "$table" -t t - 2>/dev/null | md5sum
  else
    find out* -type f -exec md5sum {} + 2>/dev/null | sort
  fi
  [[ ! -e rejects ]] || md5sum rejects
}
compare() { # TABLE arguments...
  outcome 1 "$@" >one
  [[ ! -e rejects ]] || cut -d, -f1 rejects | tail -n +2 >numbers
  for threads in 2 5; do
    outcome $threads "$@" >several
    diff one several || fail "$threads threads: $*"
  done
}

for format in F V VB D; do
  for mode in "" "--on-reject keep" "--on-reject stop" "--max-rejects 2" "--range 12000:20000" "--keep-bytes"; do
    # shellcheck disable=SC2086
    compare out.csv --record-format $format $mode $format.dat
  done
  compare out.csv --record-format $format $format.dat again.$format.dat
  [[ $format == D ]] || { [[ $(wc -l <numbers) -gt 3 ]] && sort -cn numbers; } || fail "$format: refusals in the order of records"
done
compare out.jsonl F.dat
compare out.db -t t F.dat
compare out --segment KIND=H:R F.dat
compare out.csv --dry-run F.dat

# A disk that is full ends all threads, and nothing stays but the refusals before it.
for threads in 1 2 5; do
  (ulimit -f 600; exec "$tool" import -l r.cpy -c ascii --threads $threads -r rejects V.dat full.csv --record-format V >out 2>&1)
  [[ $? -eq 2 && ! -e full.csv && -z $(find . -name '.*.zvrt-tmp') ]] || fail "a full disk, $threads threads: $(cat out)"
  rm -f rejects
done

# A signal ends threads that wait for more of a pipe; so does a thread that fails.
mkfifo pipe
for threads in 1 2 5; do
  "$tool" import -l r.cpy -c ascii --threads $threads --on-reject stop - waits.csv <pipe >out 2>&1 &
  pid=$!
  exec 9>pipe
  tail -c +500001 F.dat | head -c 300000 >&9
  sleep 0.2
  kill -TERM $pid
  wait $pid
  [[ $? -eq 2 && $(cat out) == *SIGTERM* && ! -e waits.csv ]] || fail "a signal, $threads threads: $(cat out)"
  exec 9>&-
done
for threads in 2 5; do
  "$tool" import -l r.cpy -c ascii --threads $threads --on-reject stop -r rejects - waits.csv <pipe >out 2>&1 &
  pid=$!
  exec 9>pipe
  head -c 600000 F.dat >&9
  wait $pid
  [[ $? -eq 2 && $(cat out) == *"stopped at a refusal"* && ! -e waits.csv ]] || fail "a thread that fails, $threads: $(cat out)"
  exec 9>&-
  rm -f rejects
done
exit "$failed"
