#!/bin/sh
# Instruction counts of one benchmark under callgrind, for before/after
# comparisons that machine noise does not disturb: the inclusive cost of
# each named function divided by its number of calls.
#
# Usage: bench/callgrind.sh BENCH_PROGRAM FILTER FUNCTION...
#   bench/callgrind.sh build-bench/bench/BM_Fold '_Paragraph/40960$' \
#     'OmWinStringFolder::SplitString' 'OmWinStringFolder::MakeNode('
# Run one benchmark (FILTER) at a time: the counts are per call of the
# functions, over however many iterations the benchmark ran.
set -eu
[ $# -ge 3 ] || { sed -n '2,11p' "$0" >&2; exit 2; }
program=$1 filter=$2
shift 2
out=$(mktemp)
trap 'rm -f "$out"' EXIT
# Lazy symbol binding would count the dynamic linker's first-call work.
LD_BIND_NOW=1 valgrind --tool=callgrind --callgrind-out-file="$out" "$program" \
  --benchmark_filter="$filter" --benchmark_min_time=0.02 >/dev/null 2>&1
callgrind_annotate --inclusive=yes --tree=caller "$out" | python3 -c '
import re, sys
lines = sys.stdin.read().split("\n")
for want in sys.argv[1:]:
    for i, line in enumerate(lines):
        if "*  " in line and want in line:
            cost = int(line.split()[0].replace(",", ""))
            calls, j = 0, i - 1
            while j >= 0 and "<" in lines[j]:
                m = re.search(r"\(([\d,]+)x\)", lines[j])
                calls += int(m.group(1).replace(",", "")) if m else 0
                j -= 1
            print(f"{want}: {cost} Ir in {calls} calls, {cost / max(calls, 1):.1f} per call")
            break
    else:
        print(f"{want}: not called")
' "$@"
