#!/usr/bin/env bash
# Memory does not grow with the file: the greatest resident size of runs over files of 100 MB and more stays below 64 MB.
set -uo pipefail
command -v python3 >/dev/null || exit 77
# shellcheck source=tests/tools/prelude.sh
. "$(dirname "$0")/prelude.sh"

# STATUS arguments...: runs the tool.
below_64_mb() {
  local wanted=$1
  shift
  python3 -c 'import resource, subprocess, sys
status = subprocess.run(sys.argv[2:], stdout=subprocess.DEVNULL).returncode
kilobytes = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
print(f"status {status}, {kilobytes} KB", " ".join(sys.argv[3:]))
sys.exit(status != int(sys.argv[1]) or kilobytes >= 64 * 1024)' "$wanted" "$tool" "$@" || fail "$@"
}

printf '01 R.\n 05 A PIC X(1992).\n 05 N PIC S9(9) COMP.\n 05 M PIC S9(9) COMP.\n' >long.cpy
truncate -s 300000000 zeros.dat
below_64_mb 0 import -l long.cpy --threads 2 zeros.dat long.csv
below_64_mb 0 import -l long.cpy --threads 8 --keep-bytes --limit 20000 zeros.dat kept.csv

# Lines of text and a table of them; all are refused where the number is none.
printf '01 R.\n 05 A PIC X(90).\n 05 N PIC 9(5).\n' >line.cpy
yes "$(printf '%-90s%05d' 'a line of a large file, with "quotes"' 12345)" | head -c 96000000 >lines.dat
below_64_mb 0 import -l line.cpy -c ascii --record-format D --threads 2 lines.dat lines.csv
below_64_mb 0 export -l line.cpy -c ascii --record-format D lines.csv again.dat
cmp lines.dat again.dat || failed=1
tr 5 x <lines.dat | head -c 20000000 >refused.dat
below_64_mb 1 import -l line.cpy -c ascii --record-format D --threads 4 refused.dat refused.csv

# Records of a byte; and of 4,000 numbers, good ones and bad.
printf '01 R.\n 05 A PIC X.\n' >short.cpy
head -c 10000000 zeros.dat | tr '\0' a >short.dat
below_64_mb 0 import -l short.cpy -c ascii --threads 4 short.dat short.csv
printf '01 R.\n 05 N PIC S9(5) COMP-3 OCCURS 4000.\n' >wide.cpy
head -c 6000000 zeros.dat | tr '\0' '\14' >bad.dat
yes "$(printf '\1\43\114')" | tr -d '\n' | head -c 12000000 >wide.dat
below_64_mb 1 import -l wide.cpy --threads 2 bad.dat bad.csv
below_64_mb 0 import -l wide.cpy --threads 4 wide.dat wide.csv
below_64_mb 0 export -l wide.cpy wide.csv wide.again.dat
exit "$failed"
