#!/bin/sh
# Renders the crafted documents of bench/gen_crafted.py, small inputs whose
# tables print far more than their size suggests, and reports for each the
# exit status, the output size, the wall time, the throughput and the peak
# memory (/usr/bin/time). A document the limits refuse exits 1 at once; one
# they let through must write at least TARGET_MBS MB/s (default 40) when its
# output is large, and is flagged "below target" otherwise. Each document is
# also run with --max-output 10M, which must stop it within 1 s and 500 MB.
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

printf '%-29s %-34s %4s %10s %8s %8s %8s %s\n' document options exit output_MB wall_s MB/s peak_MB note
for doc in wide-sparse tall-sparse layer-sparse many-layers big-layers huge-tab blank-lines \
    blank-lines-irregular blank-lines-irregular-labels; do
  case $doc in
    huge-tab) options="--show-empty --tab-separated" ;;
    blank-lines*) options="" ;;
    *) options="--show-empty" ;;
  esac
  input="$data/$doc-$scale.json"
  [ -s "$input" ] || python3 bench/gen_crafted.py "$doc" "$scale" >"$input"
  # Each document whole, then stopped at 10 MB as an untrusted one would be.
  for limit in "" "--max-output 10M"; do
    set +e
    # shellcheck disable=SC2086
    /usr/bin/time -f '%e %M' -o "$data/time" "$build/cli/omtext" $options $limit "$input" \
      >"$data/out" 2>/dev/null
    status=$?
    set -e
    # A failed command adds a line before the figures.
    tail -n 1 "$data/time" >"$data/time.last"
    read -r wall kb <"$data/time.last"
    bytes=$(wc -c <"$data/out")
    awk -v d="$doc" -v o="${options:--} $limit" -v s="$status" -v b="$bytes" -v w="$wall" \
        -v k="$kb" -v t="$target" -v limited="$limit" 'BEGIN {
      mb = b / 1e6; rate = w > 0 ? mb / w : 0
      if (limited != "")
        note = w > 1 || k > 500 * 1024 ? "over 1 s or 500 MB" : (s == 0 ? "" : (b == 0 ? "refused" : "stopped"))
      else
        note = s != 0 ? "refused" : (rate < t && mb >= 100 ? "below target" : "")
      printf "%-29s %-34s %4d %10.1f %8.2f %8.1f %8.1f %s\n", d, o, s, mb, w, rate, k / 1024, note
    }'
  done
done
rm -f "$data/out" "$data/time" "$data/time.last"
