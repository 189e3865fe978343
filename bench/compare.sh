#!/bin/sh
# Times omtext against the tools users would otherwise pick, on the same
# table: one pivot table of ROWS rows (two nested row labels) by 8 statistics
# with 2 decimals, as an output document for omtext and as TSV for the peers.
# Whole processes, in one run: wall time (hyperfine), peak memory
# (/usr/bin/time -f %M) and output size, then the ratios and the targets.
#
# Usage: bench/compare.sh [ROWS ...]   (default: 10000 100000 1000000)
# Environment: BENCH_BUILD (default build-bench), BENCH_DATA (default
# $BENCH_BUILD/data), RUNS (timing runs per tool; default 5, 2 from 1,000,000
# rows), SKIP_PYTHON=1 to leave out tabulate, pandas and the Python module.
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

# Tool names and their commands; FILE is replaced by the input of the size.
tools="omtext omtext-w100 omtext-tab column"
[ "${SKIP_PYTHON:-0}" = 1 ] || tools="$tools tabulate pandas"
command_of() {
  case $1 in
    omtext) echo "$omtext $data/t$2.json" ;;
    omtext-w100) echo "$omtext --width 100 $data/t$2.json" ;;
    omtext-tab) echo "$omtext --tab-separated $data/t$2.json" ;;
    column) echo "column -t -s '	' $data/t$2.tsv" ;;
    tabulate) echo "$python bench/peer_tabulate.py $data/t$2.tsv" ;;
    pandas) echo "$python bench/peer_pandas.py $data/t$2.tsv" ;;
  esac
}
options_of() {
  case $1 in
    omtext-w100) echo "--width 100" ;;
    omtext-tab) echo "--tab-separated" ;;
    *) echo "" ;;
  esac
}

summary="$build/results.md"
echo "# bench/compare.sh, $(date -u +%Y-%m-%dT%H:%MZ), commit $(git rev-parse --short HEAD)" >"$summary"
for rows in $sizes; do
  [ -s "$data/t$rows.json" ] || "$build/bench/gen_table" "$rows" json >"$data/t$rows.json"
  [ -s "$data/t$rows.tsv" ] || "$build/bench/gen_table" "$rows" tsv >"$data/t$rows.tsv"
  runs=${RUNS:-5}
  [ "$rows" -ge 1000000 ] && runs=${RUNS:-2}
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
  for tool in omtext omtext-w100 omtext-tab; do
    # shellcheck disable=SC2046
    "$omtext" --stats $(options_of "$tool") "$data/t$rows.json" 2>&1 >/dev/null |
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
echo "Results: $summary"
