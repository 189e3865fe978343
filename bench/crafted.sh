#!/bin/sh
# Renders the crafted documents of bench/gen_crafted.py, small inputs whose
# tables print far more than their size suggests, and reports for each the
# exit status, the output size, the wall time, the throughput and the peak
# memory (/usr/bin/time). A document the limits refuse exits 1 at once; one
# they let through must write at least TARGET_MBS MB/s (default 40), which
# is flagged "below target" otherwise.
#
# Usage: bench/crafted.sh [SCALE]   (SCALE divides the leaf counts; default 1)
# Environment: BENCH_BUILD (default build-bench), TARGET_MBS.
set -eu
cd "$(dirname "$0")/.."
scale=${1:-1}
build=${BENCH_BUILD:-build-bench}
target=${TARGET_MBS:-40}

scripts/install-deps.sh time
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DOMTEXT_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target omtext_cli -j "$(nproc)" >/dev/null
data="$build/crafted"
mkdir -p "$data"

printf '%-12s %-32s %4s %10s %8s %8s %8s %s\n' document options exit output_MB wall_s MB/s peak_MB note
for doc in wide-sparse tall-sparse layer-sparse many-layers big-layers huge-tab blank-lines; do
  case $doc in
    huge-tab) options="--show-empty --tab-separated" ;;
    blank-lines) options="" ;;
    *) options="--show-empty" ;;
  esac
  input="$data/$doc-$scale.json"
  [ -s "$input" ] || python3 bench/gen_crafted.py "$doc" "$scale" >"$input"
  set +e
  # shellcheck disable=SC2086
  /usr/bin/time -f '%e %M' -o "$data/time" "$build/cli/omtext" $options "$input" \
    >"$data/out" 2>/dev/null
  status=$?
  set -e
  read -r wall kb <"$data/time"
  bytes=$(wc -c <"$data/out")
  awk -v d="$doc" -v o="${options:--}" -v s="$status" -v b="$bytes" -v w="$wall" -v k="$kb" \
      -v t="$target" 'BEGIN {
    mb = b / 1e6; rate = w > 0 ? mb / w : 0
    note = s != 0 ? "refused" : (rate < t ? "below target" : "")
    printf "%-12s %-32s %4d %10.1f %8.2f %8.1f %8.1f %s\n", d, o, s, mb, w, rate, k / 1024, note
  }'
done
rm -f "$data/out"
