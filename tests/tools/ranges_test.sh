#!/usr/bin/env bash
# A file in ranges: its parts together are the whole, whoever makes them and however often they are killed meanwhile.
set -uo pipefail
# shellcheck source=tests/tools/prelude.sh
. "$(dirname "$0")/prelude.sh"

printf '01 R.\n 05 A PIC X(16).\n 05 N PIC S9(7) COMP-3.\n' >r.cpy
seq 1 60000 | awk 'BEGIN { print "A,N" } { printf "row %d,%d\n", $1, $1 * 7 }' >rows.csv
patch() { for offset in "${@:2}"; do printf '\xFF\xFF\xFF' | dd of="$1" bs=1 seek="$offset" conv=notrunc status=none; done; }
for format in F V VB D; do
  "$tool" export -l r.cpy -c ascii --record-format $format rows.csv $format.dat >/dev/null || fail "$format: no sample"
  patch $format.dat $((24 * 7 + 17)) 480000 480100 $((24 * 40001 + 17))
done
truncate -s -3 F.dat
truncate -s -3 V.dat
for format in F V VB D; do cp $format.dat $format.2.dat; done

# The union of the parts' tables and rejects is that of the whole, for small and large parts, of one file and of several.
rejects() { tail -q -n +2 "$@" 2>/dev/null; }
for format in F V VB D; do
  for options in "" "--keep-bytes" "--skip-header 20 --skip-trailer 4"; do
    for files in "$format.dat" "$format.dat $format.2.dat"; do
      records=15000
      [[ $files == "$format.dat" ]] || records=35000
      arguments="-l r.cpy -c ascii --record-format $format $options"
      rm -rf whole* part*
      # shellcheck disable=SC2086
      "$tool" import $arguments -r whole.rejects $files whole.csv >/dev/null
      # shellcheck disable=SC2086
      "$tool" ranges -l r.cpy -c ascii --record-format $format ${options#--keep-bytes} --records $records $files >cuts || fail "ranges: $arguments $files"
      number=100
      while read -r range; do
        number=$((number + 1))
        # shellcheck disable=SC2086
        "$tool" import $arguments --range "$range" $files part$number.csv >/dev/null
      done <cuts
      [[ $(wc -l <cuts) -gt 2 ]] || fail "$arguments: $(wc -l <cuts) ranges"
      { head -n 1 whole.csv; tail -q -n +2 part???.csv; } | cmp -s - whole.csv || fail "$arguments, $records records, $files: other rows"
      rejects part???.csv.rejects.csv | cmp -s - <(rejects whole.rejects) || fail "$arguments, $records records, $files: other rejects"
    done
  done
done

# The ranges count the records.
"$tool" import -l r.cpy -c ascii --json F.dat - 2>report >/dev/null
grep -q '"rows_read": 59999,' report && [[ $("$tool" ranges -l r.cpy F.dat | tail -n 1) == 1:59999 ]] || fail "the number of records"
"$tool" import -l r.cpy -c ascii --range 59999:5 F.dat last.csv >/dev/null
[[ $? -eq 1 && $(wc -l <last.csv) -eq 2 && $(wc -l <last.csv.rejects.csv) -eq 2 ]] || fail "the end of the last file"
"$tool" import -l r.cpy -c ascii --range 90000:5 F.dat none.csv >/dev/null && [[ $(wc -l <none.csv) -eq 1 ]] || fail "a range beyond the end"

# What is done is taken over: its table stays as it is. What is not whole, or of another job, is done again.
part=(import -l r.cpy -c ascii --range 30001:10000 --manifest list)
"$tool" "${part[@]}" F.dat p.csv >/dev/null
sum=$(md5sum p.csv)
touch -d '2001-01-01' p.csv
"$tool" "${part[@]}" --threads 2 --json F.dat p.csv >report || fail "a part that is done: $(cat report)"
[[ $(stat -c %Y p.csv) -lt 1000000000 && $(wc -l <list) -eq 1 ]] && grep -q 'was done before' report || fail "a part that is done was done again"
echo x >>p.csv
"$tool" "${part[@]}" F.dat p.csv >/dev/null 2>&1 && fail "a table that was changed was replaced"
"$tool" "${part[@]}" --replace F.dat p.csv >/dev/null
[[ $(md5sum p.csv) == "$sum" ]] || fail "a part that was changed is not done again"
"$tool" "${part[@]}" --trim none F.dat p.csv >/dev/null 2>&1 && fail "a part of another job was taken over"
"$tool" import -l r.cpy -c ascii --range 1:10000 --manifest list F.dat rejected.csv >/dev/null
first=$?
"$tool" import -l r.cpy -c ascii --range 1:10000 --manifest list F.dat rejected.csv >/dev/null
[[ $? -eq $first && $first -eq 1 ]] || fail "a part with refusals: its exit status"
"$tool" import -l r.cpy -c ascii --range 11:10 --manifest list F.dat p.db -t t >/dev/null && "$tool" import -l r.cpy -c ascii --range 11:10 --manifest list F.dat p.db -t t >report && grep -q 'was done before: p.db, 0 refusals' report || fail "a database"
for replace in "" --replace; do
  # shellcheck disable=SC2086
  "$tool" import -l r.cpy -c ascii --range 21:10 --manifest list $replace F.dat p.db -t t >report 2>&1
  [[ $? -eq 2 ]] && grep -q 'p.db exists already; with --manifest each range makes a database of its own' report || fail "a database of another range: $(cat report)"
done

# Two processes make the parts, and are killed at random moments; the last run does what is missing.
"$tool" import -l r.cpy -c ascii --record-format V -r whole2.rejects V.dat whole2.csv >/dev/null
"$tool" ranges -l r.cpy --record-format V --records 5000 V.dat >cuts
one() { "$tool" import -l r.cpy -c ascii --record-format V --range "$1" --manifest parts "$2" V.dat "k-${1%%:*}.csv"; }
make_parts() { while read -r range; do one "$range" --threads=1 >/dev/null 2>&1 || [[ $? -eq 1 ]] || return 2; done <cuts; }
for ((i = 0; i < 6; i++)); do
  make_parts & one=$!
  make_parts & two=$!
  sleep "0.0$((RANDOM % 10))"
  for pid in $one $two; do
    for child in $(cat "/proc/$pid/task/$pid/children" 2>/dev/null); do kill -9 "$child" 2>/dev/null; done
    kill -9 $pid 2>/dev/null
  done
  wait $one $two 2>/dev/null
  sleep 0.05
done
printf '{"range":"1:' >>parts
make_parts || fail "the run after killed ones"
{ head -n 1 whole2.csv; for range in $(cut -d: -f1 cuts); do tail -n +2 "k-$range.csv"; done; } | cmp -s - whole2.csv || fail "parts of killed runs"
lines=$(wc -l <parts)
make_parts && [[ $(wc -l <parts) -eq $lines ]] || fail "parts that were done are done again"
[[ -z $(find . -name '.*.zvrt-tmp') ]] || fail "a temporary stays"

# Processes at once append whole lines.
rm -f parts k-*
xargs -P 4 -I{} "$tool" import -l r.cpy -c ascii --record-format V --range {} --manifest parts V.dat k-{}.csv <cuts >/dev/null 2>&1
[[ $(wc -l <parts) -eq $(wc -l <cuts) && $(grep -c '^{"range":.*]}$' parts) -eq $(wc -l <cuts) ]] || fail "the lines of processes at once"
exit "$failed"
