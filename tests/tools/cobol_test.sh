#!/usr/bin/env bash
# COBOL programs read the records by the same layouts, and print what the table holds.
set -euo pipefail
tool=$1
data=$2
here=$(cd "$(dirname "$0")" && pwd)
if ! command -v cobc >/dev/null; then
  echo "skipped: there is no COBOL compiler (cobc)"
  exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# The compiler's own character set is ASCII, so the text is; numbers stand as on a mainframe.
cp "$data/strikes.cpy" .
"$tool" export --layout strikes.cpy --code-page 819 "$data/wildlife-strikes.csv" strikes.dat >report
cobc -x -std=ibm -I . -o strikes "$here/strikes.cob"
./strikes >found
awk -F, -v OFS=, '{ sub(/\r$/, "") }
NR > 1 {
  split($4, day, "-")
  month = substr("JanFebMarAprMayJunJulAugSepOctNovDec", day[2] * 3 - 2, 3)
  print $1, $2, $3, day[3] "-" month "-" day[1], $5, $9, $11, $12, $14
}' "$data/wildlife-strikes.csv" >wanted
echo "$(wc -l <found) strikes read by COBOL"
diff wanted found | head -20
cmp wanted found

cat >amounts.cpy <<'END'
      *>@ page=819
       01  AMOUNT-RECORD.
           05  N-HALF             PIC S9(4) COMP.
           05  N-PACKED           PIC S9(7)V99 COMP-3.
           05  N-FULL             PIC S9(9)V99 COMP.
           05  N-ZONED            PIC S9(7)V99.
END
awk 'BEGIN {
  print "N_HALF,N_PACKED,N_FULL,N_ZONED"
  for (i = -9999; i <= 9999; i += 37) {
    value = sprintf("%.2f", i * 1000.09)
    print i "," value "," value "," value
  }
}' >amounts.csv
"$tool" export --layout amounts.cpy amounts.csv amounts.dat >report || { cat report; exit 1; }
cobc -x -std=ibm -I . -o amounts "$here/amounts.cob"
./amounts >found
tail -n +2 amounts.csv >wanted
echo "$(wc -l <found) numbers of four kinds read by COBOL"
diff wanted found | head -20
cmp wanted found
