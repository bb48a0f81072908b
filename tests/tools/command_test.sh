#!/usr/bin/env bash
# The command as people use it: the samples go there and come back, and every form of record file and table.
set -uo pipefail
# shellcheck source=tests/tools/prelude.sh
. "$(dirname "$0")/prelude.sh"
data=$2
expect() { # STATUS arguments...
  local wanted=$1 got=0
  shift
  "$tool" "$@" >out 2>&1 || got=$?
  [[ $got -eq $wanted ]] || { fail "zvrt-records $*: exit status $got, not $wanted"; cat out; }
}

# CSV to fixed EBCDIC, to SQLite, and back: every cell and every byte.
for layout in strikes strikes-timestamps; do
  copybook=$data/$layout.cpy
  expect 0 export -l "$copybook" "$data/wildlife-strikes.csv" first.dat
  expect 0 import -l "$copybook" first.dat table.db -t "$layout"
  expect 0 verify -l "$copybook" "$data/wildlife-strikes.csv" first.dat
  expect 0 verify -l "$copybook" table.db -t "$layout" first.dat
  expect 0 export -l "$copybook" table.db -t "$layout" second.dat
  cmp first.dat second.dat || fail "$layout: other bytes"
  for form in V VB; do
    expect 0 export -l "$copybook" --record-format $form table.db -t "$layout" v.dat
    expect 0 import -l "$copybook" --record-format $form v.dat v.jsonl
    expect 0 export -l "$copybook" v.jsonl third.dat
    cmp first.dat third.dat || fail "$layout, $form: other bytes"
    rm -f v.dat v.jsonl third.dat
  done
  rm -f first.dat second.dat
done
expect 1 export -l "$data/travellers.cpy" "$data/travellers.csv" travellers.dat --on-reject keep
grep -q '^7,"NAME",0,.*,ZVRT_RC_TRUNCATED,' travellers.dat.rejects.csv || fail "a refusal is not told"
expect 2 export -l "$data/travellers.cpy" "$data/travellers.csv" stopped.dat --on-reject stop

# A row is kept with a field empty, but not as a record that the file could not give back: both are told.
printf '01 R.\n   05 L PIC 9(2).\n   05 N PIC S9(3) COMP-3.\n   05 B PIC XX.\n' >own.cpy
printf 'L,N,B\n2,,ab\n6,,cd\n6,1,ef\n' >own.csv
expect 1 export -l own.cpy --length-field L --on-reject keep own.csv own.dat
[[ $(cut -d, -f1,2,5 own.dat.rejects.csv | tail -n +2 | tr -d '\r') == $'1,"N",ZVRT_RC_NULL_REFUSED\n1,"",RX_LENGTH\n2,"N",ZVRT_RC_NULL_REFUSED' ]] ||
  fail "what is told of kept rows: $(cat own.dat.rejects.csv)"
[[ $(stat -c %s own.dat) -eq 12 ]] || fail "another row was kept"

# A damaged CSV file is told with its row, also among the rows that came with the header; a header may be of any length,
# and rows may end anywhere in a chunk of the file.
printf '01 R.\n   05 A PIC X(40).\n   05 B PIC 9(5).\n' >cells.cpy
printf 'A,B\nq,1\nx"y,3\n' >damaged.csv
expect 2 export -l cells.cpy damaged.csv cells.dat
grep -q 'row 2, byte 9:' out || fail "another row is blamed"
{ printf 'A,%sB\n' "$(seq -f 'column %g,' 30000 | tr -d '\n')" && printf 'one,%s7\n' "$(yes , | head -30000 | tr -d '\n')"; } >wide.csv
expect 0 export -l cells.cpy wide.csv wide.dat
{ echo A,B,NOT-WANTED && seq 60000 | awk '{ printf "%.*s,%d,x\n", $1 % 41, "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopq", $1 }'; } >many.csv
expect 0 export -l cells.cpy --null A=blanks many.csv many.dat
expect 0 import -l cells.cpy --null A=blanks many.dat again.csv
cut -d, -f1,2 many.csv | cmp - <(tr -d '\r' <again.csv) || fail "cells of a long CSV file do not come back"
rm -f many.csv many.dat again.csv wide.csv wide.dat

# A table of variable length, shifted; kept bytes bring back what no column holds.
cat >odo.cpy <<'END'
01 ORDER-RECORD.
   05 ITEM-COUNT PIC 9.
   05 ITEM OCCURS 0 TO 3 DEPENDING ON ITEM-COUNT.
      10 CODE PIC X(2).
      10 PRICE PIC S9(3)V99 COMP-3.
   05 FILLER PIC X(2).
   05 TOTAL PIC ZZ9.99-.
END
printf '1aa\x12\x34\x5C??  1.50-0!! 12.00 ' >odo.dat
options=(-l odo.cpy -c ascii --odo shift)
expect 0 import "${options[@]}" odo.dat odo.csv
[[ $(tail -n 2 odo.csv | tr -d '\r') == $'1,aa,123.45,,,,,-1.50\n0,,,,,,,12.00' ]] || fail "variable tables: $(cat odo.csv)"
expect 0 import "${options[@]}" --keep-bytes odo.dat kept.csv
expect 0 export "${options[@]}" --keep-bytes kept.csv again.dat
cmp odo.dat again.dat || fail "kept bytes"
sed 's/,-1.50,/,7.25,/' kept.csv >changed.csv
expect 0 export "${options[@]}" --keep-bytes changed.csv changed.dat
cmp changed.dat <(printf '1aa\x12\x34\x5C??  7.25 0!! 12.00 ') || fail "one changed cell"

# A layout that cannot be used says why.
mkdir folder
: >empty.cpy
printf '01 R.\n COPY FOLDER.\n' >copies.cpy
while IFS='|' read -r layout why; do
  expect 2 layout "$layout"
  grep -q "$why" out || fail "layout $layout: $(cat out)"
done <<'END'
nothing.cpy|nothing.cpy: No such file or directory
-|No such file or directory
folder|folder: .*: Is a directory
empty.cpy|empty.cpy:1:1: the copybook has no entry
copies.cpy|copies.cpy:2:2: the copybook FOLDER is not found
/dev/zero|/dev/zero: has more than 64 MiB
END

# What cannot be read of the bytes that were kept is refused by its column's name.
printf '01 R.\n 05 A PIC X(2).\n' >r.cpy
printf '\0\015\0\0xyz\0\006\0\0ab' >r.dat
options=(-l r.cpy -c ascii --record-format VB --record-header 3 --keep-bytes)
expect 0 import "${options[@]}" r.dat r.csv
expect 0 export "${options[@]}" --replace r.csv again.dat
cmp r.dat again.dat || fail "a block's kept bytes"
while read -r column kept spoiled; do
  sed "2s/$kept/$spoiled/" r.csv >spoiled.csv
  cmp -s r.csv spoiled.csv && fail "$column has no $kept: $(cat r.csv)"
  expect 1 export "${options[@]}" spoiled.csv spoiled.dat
  grep -q "^1,\"$column\",.*,RX_BYTES," spoiled.dat.rejects.csv || fail "$column as $spoiled: $(cat spoiled.dat.rejects.csv)"
  rm -f spoiled.*
done <<'END'
RECORD_BYTES ,6162, ,616,
RECORD_BYTES ,6162, ,6G62,
RECORD_BYTES ,6162, ,,
BYTES_BEFORE 78797A 78797
BLOCK_NUMBER ,1\r ,one\r
BLOCK_NUMBER ,1\r ,-1\r
END

# Two segments in one file, a table each, and merged again.
cat >seg.cpy <<'END'
01 HEAD.
   05 KIND PIC X.
   05 NAME PIC X(5).
01 LINE-ITEM.
   05 KIND PIC X.
   05 AMOUNT PIC 9(3).
END
printf 'Hfirst\nL001\nL002\nHother\nL003\n' >seg.dat
options=(-l seg.cpy -c ascii --record-format D --segment KIND=H:HEAD --segment KIND=L:LINE-ITEM)
expect 0 import "${options[@]}" seg.dat tables
[[ $(tr -d '\r' <tables/LINE-ITEM.csv) == $'RECORD_NUMBER,KIND,AMOUNT\n2,L,1\n3,L,2\n5,L,3' ]] || fail "segments: $(cat tables/*)"
expect 0 export "${options[@]}" tables seg-again.dat
cmp seg.dat seg-again.dat || fail "segments are not merged again"

# The same in one database: its tables come together or not at all.
expect 0 import "${options[@]}" seg.dat seg.db -t my_
expect 0 export "${options[@]}" seg.db -t my_ seg-third.dat
cmp seg.dat seg-third.dat || fail "segments of a database are not merged again"
expect 0 import "${options[@]}" seg.dat seg.db -t my_ --append
expect 0 import "${options[@]}" seg.dat seg.db -t my_ --replace
expect 0 verify "${options[@]}" seg.db -t my_ seg.dat
expect 0 import -l seg.cpy -c ascii --record-format D --record HEAD seg.dat taken.db -t x_LINE-ITEM
cp taken.db before.db
expect 2 import "${options[@]}" seg.dat taken.db -t x_
cmp taken.db before.db || fail "one table of two came"

# Types that are numbers; a name told twice; a field of another 01 record.
printf '01 HEAD.\n 05 KIND PIC 9(2).\n 05 NAME PIC X(3).\n01 LINE-ITEM.\n 05 FILLER PIC 99.\n 05 AMOUNT PIC 9(3).\n' >num.cpy
printf '01abc02123030070xyz' >num.dat
truncate -s 15 num.dat
expect 0 import -l num.cpy -c ascii --segment KIND=01:HEAD --segment KIND=2:LINE-ITEM --segment KIND=03:LINE-ITEM num.dat num
[[ $(tr -d '\r' <num/LINE-ITEM.csv) == $'RECORD_NUMBER,AMOUNT\n2,123\n3,7' ]] || fail "numbered segments: $(cat num/*)"

# What a copybook asks for stands beside it or in a folder that is told.
mkdir -p shelf
printf '01 R.\n COPY PARTS REPLACING ==:T:== BY ==CUST==.\n' >whole.cpy
printf ' 05 :T:-A PIC X(3).\n 05 :T:-B PIC 9.\n' >shelf/Parts.cbl
expect 2 layout whole.cpy
grep -q '^zvrt-records: whole.cpy:2:2: the copybook PARTS is not found; ' out || fail "a missing copybook: $(cat out)"
expect 0 layout -I shelf whole.cpy
grep -q 'CUST-B  9 ' out || fail "copied: $(cat out)"

# A file that does not look as it is said to is told before the run, with what it looks like.
printf '01 R.\n 05 A PIC X(4).\n 05 B PIC X(6).\n' >fit.cpy
for k in 1 2 3 4 5 6; do printf '\0\16\0\0some text%d' "$k"; done >fit.v
for k in 1 2 3 4 5 6; do printf 'some text%d\n' "$k"; done >fit.txt
expect 1 import -l fit.cpy -c ascii --low-values keep --dry-run --replace fit.v fit.csv
grep -q 'no multiple of the record.s 10; .*--record-format V' out || fail "length words: $(cat out)"
expect 1 import -l fit.cpy -c ascii --dry-run fit.txt fit.csv
grep -q 'no multiple of the record.s 10; .*--record-format D' out || fail "lines: $(cat out)"
expect 0 import -l fit.cpy --record-format V --dry-run fit.v fit.csv
grep -q 'looks like ASCII, and page 37 is EBCDIC' out || fail "page: $(cat out)"
expect 1 import -l fit.cpy -c ascii --record-format VB --dry-run fit.v fit.csv
grep -q 'do not chain from the file.s beginning; .*--record-format V' out || fail "blocks: $(cat out)"
expect 0 import -l fit.cpy -c ascii --record-format V --dry-run fit.v fit.csv
grep -q looks out && fail "a fitting file: $(cat out)"

# Both meanings of an area; the second where the first cannot be read.
printf '01 R.\n 05 N PIC 9(3).\n 05 T REDEFINES N PIC X(3).\n' >two.cpy
printf '123abc' >two.dat
expect 0 import -l two.cpy -c ascii two.dat two.csv
[[ $(tr -d '\r' <two.csv) == $'N,T\n123,123\n,abc' ]] || fail "meanings: $(cat two.csv)"
expect 0 export -l two.cpy -c ascii two.csv two-again.dat
cmp two.dat two-again.dat || fail "meanings on the way back"

# A table of empty cells alone.
printf '01 R.\n 05 A PIC X(3).\n' >one.cpy
printf 'A\r\n""\r\n' >empty.csv
expect 0 export -l one.cpy -c ascii empty.csv empty.dat
cmp empty.dat <(printf '   ') || fail "empty cells"

# A dry run needs no table and leaves none.
for table in dry.csv dry.jsonl dry.db; do
  expect 0 import -l two.cpy -c ascii --dry-run two.dat "$table" -t T
  [[ ! -e $table ]] || fail "a dry run made $table"
done

expect 0 layout two.cpy
expect 0 ddl two.cpy
expect 2 layout absent.cpy
expect 2 frobnicate
expect 0 --help

# The manual page names every option that the verbs take, and no other.
for verb in import export verify inspect ranges layout ddl; do
  "$tool" "$verb" --help
done | sed -n 's/^  \(-[a-zA-Z],\)\?\(--[a-z-]*\).*/\2/p' | { cat; echo --version; } | sort -u >taken
sed 's/\\-/-/g' "$data/../../docs/man/zvrt-records.1" | grep -o -e '--[a-z][a-z-]*' | sort -u >documented
diff taken documented || fail "the manual page has other options than the command"
exit "$failed"
