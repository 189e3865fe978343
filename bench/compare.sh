#!/bin/sh
# Times omtext against the tools users would otherwise pick, on the same
# table: one pivot table of ROWS rows (two nested row labels) by 8 statistics
# with 2 decimals, as output documents for omtext and as TSV for the peers.
# omtext reads two documents of the table: "numbers" (each cell a number with
# its decimals, gen_table's json) and "strings" (each cell the string of its
# text, a third of the bytes). Whole processes, in one run: wall time
# (hyperfine), peak memory (/usr/bin/time -f %M) and output size, then the
# ratios to `column -t` and the targets.
#
# Usage: bench/compare.sh [ROWS ...]   (default: 10000 100000 1000000)
# Environment: BENCH_BUILD (default build-bench), BENCH_DATA (default
# $BENCH_BUILD/data), RUNS (timing runs per tool; default 5, 3 from 1,000,000
# rows), SKIP_PYTHON=1 to leave out tabulate, pandas and the Python module,
# MEMORY_ROWS (default 4000000; empty to skip) for the sizes at which only
# the peak memory of the formatted and tab-separated runs is compared.
# The Python module's step renders the table as a DataFrame through
# omtext.from_dataframe and omtext.render (bench/python_render.py).
set -eu
cd "$(dirname "$0")/.."

scripts/install-deps.sh hyperfine python3-pandas python3-tabulate time bsdextrautils
build=${BENCH_BUILD:-build-bench}
data=${BENCH_DATA:-$build/data}
sizes=${*:-10000 100000 1000000}
python=/usr/bin/python3

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DOMTEXT_BUILD_TESTS=OFF >/dev/null
targets="omtext_cli gen_table"
[ "${SKIP_PYTHON:-0}" = 1 ] || targets="$targets omtext_python"
# shellcheck disable=SC2086
cmake --build "$build" --target $targets -j "$(nproc)" >/dev/null
omtext="$build/cli/omtext"
mkdir -p "$data"

fail() {
  echo "compare.sh: $*" >&2
  exit 1
}

# Tool names and their commands for a size ($2). An omtext tool reads the
# numbers document; its "-s" twin reads the strings document.
tools="omtext omtext-w100 omtext-tab omtext-s omtext-w100-s omtext-tab-s column"
[ "${SKIP_PYTHON:-0}" = 1 ] || tools="$tools tabulate pandas"
document_of() {
  case $1 in
    *-s) echo "$data/s$2.json" ;;
    *) echo "$data/t$2.json" ;;
  esac
}
command_of() {
  case $1 in
    omtext*) echo "$omtext $(options_of "$1") $(document_of "$1" "$2")" ;;
    column) echo "column -t -s '	' $data/t$2.tsv" ;;
    tabulate) echo "$python bench/peer_tabulate.py $data/t$2.tsv" ;;
    pandas) echo "$python bench/peer_pandas.py $data/t$2.tsv" ;;
  esac
}
options_of() {
  case $1 in
    omtext-w100*) echo "--width 100" ;;
    omtext-tab*) echo "--tab-separated" ;;
    *) echo "" ;;
  esac
}

summary="$build/results.md"
echo "# bench/compare.sh, $(date -u +%Y-%m-%dT%H:%MZ), commit $(git rev-parse --short HEAD)" >"$summary"
for rows in $sizes; do
  [ -s "$data/t$rows.json" ] || "$build/bench/gen_table" "$rows" json >"$data/t$rows.json"
  [ -s "$data/s$rows.json" ] || "$build/bench/gen_table" "$rows" json-strings >"$data/s$rows.json"
  [ -s "$data/t$rows.tsv" ] || "$build/bench/gen_table" "$rows" tsv >"$data/t$rows.tsv"
  runs=${RUNS:-5}
  [ "$rows" -ge 1000000 ] && runs=${RUNS:-3}
  results="$build/results-$rows.csv"
  echo "tool,seconds,stddev,peak_mb,output_mb" >"$results"
  for tool in $tools; do
    cmd=$(command_of "$tool" "$rows")
    out="$build/out-$tool-$rows.txt"
    # Peak memory and output size from one run that writes a file.
    sh -c "/usr/bin/time -f %M -o '$build/rss' $cmd >'$out'" || fail "$tool failed on $rows rows"
    peak=$(awk '{printf "%.1f", $1 / 1024}' "$build/rss")
    size=$(wc -c <"$out" | awk '{printf "%.1f", $1 / 1048576}')
    rm -f "$out"
    hyperfine --style none --runs "$runs" --warmup 0 --export-json "$build/h.json" \
      --output null "$cmd" >/dev/null 2>&1 || fail "hyperfine failed for $tool on $rows rows"
    timing=$($python -c 'import json,sys; r=json.load(open(sys.argv[1]))["results"][0]; print("%.3f,%.3f" % (r["mean"], r["stddev"] or 0))' "$build/h.json")
    echo "$tool,$timing,$peak,$size" >>"$results"
  done
  # Load and render shares of omtext's own time.
  for tool in omtext omtext-w100 omtext-tab omtext-s omtext-w100-s omtext-tab-s; do
    # shellcheck disable=SC2046
    "$omtext" --stats $(options_of "$tool") "$(document_of "$tool" "$rows")" 2>&1 >/dev/null |
      sed "s/^omtext: /$tool: /" >>"$build/stats-$rows.txt"
  done
  if [ "${SKIP_PYTHON:-0}" != 1 ]; then
    PYTHONPATH="$build/python" $python bench/python_render.py "$omtext" "$data/t$rows.tsv" \
      "$data/t$rows.json" "$runs" "$build/python-$rows.csv" || fail "the Python module failed on $rows rows"
  fi
  $python bench/report.py "$rows" "$results" "$build/stats-$rows.txt" | tee -a "$summary"
  rm -f "$build/stats-$rows.txt"
done
[ "$(echo "$sizes" | wc -w)" -gt 1 ] && $python bench/report.py --scaling "$build" $sizes | tee -a "$summary"

# Peak memory only, at sizes too large to time often: a formatted layer is
# written a band of rows at a time, so its peak stays near the tab-separated
# export's, which writes straight from the table.
for rows in ${MEMORY_ROWS-4000000}; do
  results="$build/memory-$rows.csv"
  echo "tool,peak_mb" >"$results"
  for tool in omtext omtext-tab omtext-s omtext-tab-s; do
    input=$(document_of "$tool" "$rows")
    case $tool in
      *-s) [ -s "$input" ] || "$build/bench/gen_table" "$rows" json-strings >"$input" ;;
      *) [ -s "$input" ] || "$build/bench/gen_table" "$rows" json >"$input" ;;
    esac
    # shellcheck disable=SC2046
    /usr/bin/time -f %M -o "$build/rss" "$omtext" $(options_of "$tool") "$input" >/dev/null ||
      fail "$tool failed on $rows rows"
    echo "$tool,$(awk '{printf "%.1f", $1 / 1024}' "$build/rss")" >>"$results"
  done
  $python bench/report.py --memory "$rows" "$results" | tee -a "$summary"
done
echo "Results: $summary"
