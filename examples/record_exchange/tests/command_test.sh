#!/usr/bin/env bash
# The command as people use it: verbs, policies, exit statuses, and what stands in the files.
set -uo pipefail
tool=$1
data=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failed=0

# expect STATUS arguments...: runs the tool; its output goes to `out`.
expect() {
  local wanted=$1 got=0
  shift
  "$tool" "$@" >out 2>&1 || got=$?
  if [[ $got -ne $wanted ]]; then
    echo "FAILED: record_exchange $*: exit status $got, not $wanted"
    cat out
    failed=1
  fi
}
# same WHAT FILE TEXT: the file holds the text.
same() {
  local found
  found=$(cat "$2")
  if [[ "$found" != "$3" ]]; then
    printf 'FAILED: %s\n--- found\n%s\n--- wanted\n%s\n' "$1" "$found" "$3"
    failed=1
  fi
}
hexadecimal() { od -An -v -tx1 "$1" | tr -d ' \n'; }
crlf() { sed 's/$/\r/'; }

cat >people.cpy <<'END'
*>@ page=IBM-1140
01 PERSON.
   05 NAME PIC X(6).
   05 FARE PIC S9(3)V99 COMP-3. *>@ null=blanks
END
crlf >people.csv <<'END'
"NAME","FARE"
"Zoë €","-12.5"
"Too long","1"
"Łódź","2"
"Nil",
END

expect 1 export -l people.cpy people.csv all.dat
same "skipped rows are left out" <(hexadecimal all.dat) e99653409f4001250dd58993404040404040
same "the reject file tells each refusal" all.dat.rejects.csv "$(crlf <<'END'
record,field,offset,bytes,status,text
2,"NAME",0,546F6F206C6F6E67,ZVRT_RC_TRUNCATED,"the value is longer than its field"
3,"NAME",0,C581C3B364C5BA,ZVRT_RC_INVALID_CHAR,"a character or byte that the code page does not have"
END
)"
expect 1 export -l people.cpy --on-reject stop people.csv stopped.dat
[[ $(stat -c %s stopped.dat) -eq 9 ]] || { echo "FAILED: stop goes on"; failed=1; }
expect 1 export -l people.cpy --on-reject keep people.csv kept.dat
expect 0 import -l people.cpy kept.dat kept.csv
same "kept rows hold what fitted" kept.csv "$(crlf <<'END'
"NAME","FARE"
"Zoë €","-12.5"
"Too lo","1"
"","2"
"Nil",
END
)"
expect 0 verify -l people.cpy kept.csv kept.dat
expect 1 verify -l people.cpy --on-reject keep people.csv kept.dat
expect 0 export -l people.cpy --code-page windows-1252 kept.csv pc.dat
expect 0 import -l people.cpy -c 1252 pc.dat db.sqlite -t people
expect 2 import -l people.cpy -c 1252 pc.dat db.sqlite -t people
expect 0 import -l people.cpy -c 1252 --append pc.dat db.sqlite -t people
expect 1 verify -l people.cpy -c 1252 db.sqlite -t people pc.dat # the table has every row twice
expect 0 import -l people.cpy -c 1252 --replace pc.dat db.sqlite -t people
expect 0 verify -l people.cpy -c 1252 db.sqlite -t people pc.dat

head -c 31 kept.dat >cut.dat
expect 1 import -l people.cpy cut.dat cut.csv
same "a cut record is refused" cut.dat.rejects.csv "$(crlf <<'END'
record,field,offset,bytes,status,text
4,"",0,D5899340,RX_CUT_RECORD,"the file ends inside a record"
END
)"

# Newline of an EBCDIC page: U+000A is 25, or with --newline lf 15.
printf '01 R.\n 05 A PIC X(3).\n' >line.cpy
printf '\xEF\xBB\xBFA\n"a\nb"\n' >line.csv # with a byte order mark
expect 0 export -l line.cpy line.csv nel.dat
expect 0 export -l line.cpy --newline lf line.csv lf.dat
same "newlines by choice" <(hexadecimal nel.dat; hexadecimal lf.dat) 812582811582

expect 2 export -l absent.cpy people.csv x.dat
expect 2 export -l people.cpy absent.csv x.dat
expect 2 export -l people.cpy db.sqlite x.dat
expect 2 export -l people.cpy -c 99999 people.csv x.dat
expect 2 export -l line.cpy people.csv x.dat
expect 2 frobnicate
printf '01 R.\n 05 A PIC Q.\n' >bad.cpy
expect 2 export -l bad.cpy line.csv x.dat
same "a layout's fault has its place" out "record_exchange: bad.cpy:2:11: 'Q' is not understood here"

expect 0 --data "$data" --work circle
grep -q '140,000 of 140,000 cells came back as they were' out || { echo "FAILED: the circle"; cat out; failed=1; }
expect 0 --json --data "$data" --work circle
grep -q '"ZVRT_RC_TRUNCATED": 1' out || { echo "FAILED: the circle in JSON"; failed=1; }
exit "$failed"
