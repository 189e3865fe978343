#!/bin/sh
# Builds the fuzz targets (clang-14, libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer over the whole library), runs the saved corpus
# as a regression pass, then fuzzes each target for SECONDS (default 60).
#
# Usage: scripts/fuzz.sh [SECONDS]
# Environment: FUZZ_BUILD (default build-fuzz), JOBS (default nproc),
# FUZZ_CMAKE_FLAGS (extra configure options),
# FUZZ_MERGE=1 to add what this run found to fuzz/corpus/, only inputs that
# reach new edges.
#
# Exit status 0 when no target found anything; 1 otherwise, with the
# offending inputs left in $FUZZ_BUILD/findings/.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
build=${FUZZ_BUILD:-build-fuzz}
jobs=${JOBS:-$(nproc)}
targets="loader render fold"

scripts/install-deps.sh clang-14 libclang-rt-14-dev
# FUZZ_CMAKE_FLAGS may add options such as -DOMTEXT_WERROR=ON.
CC=clang-14 CXX=clang++-14 cmake -S fuzz -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  ${FUZZ_CMAKE_FLAGS:-} >/dev/null
for t in $targets; do
  if ! cmake --build "$build" --target "fuzz_$t" -j "$jobs" >"$build/build.log" 2>&1; then
    tail -n 60 "$build/build.log" >&2
    exit 1
  fi
done

# Largest input per target. Documents past a few KB only make runs slower:
# the render target skips large tables anyway.
max_len() {
  case $1 in
    fold) echo 2048 ;;
    *) echo 4096 ;;
  esac
}
dict() {
  case $1 in
    fold) ;;
    *) echo "-dict=fuzz/document.dict" ;;
  esac
}
# The render target is guided by edges alone. Hit counts made it keep tens of
# thousands of features that differ only in how often a loop ran, and
# libFuzzer's bookkeeping of them took most of each run; without them it
# reaches new edges as fast while running several times as many inputs.
counters() {
  case $1 in
    render) echo "-use_counters=0" ;;
  esac
}

# Seeds from the example documents: as they stand for the loader; behind
# option bytes (see fuzz/RenderFuzzer.cpp) for the renderer, formatted,
# tab-separated, narrowed, paged, with every flag, through the destination
# and in the double-byte encoding.
seeds="$build/seeds"
rm -rf "$seeds"
mkdir -p "$seeds/loader" "$seeds/render" "$seeds/fold"
for doc in examples/*.json tests/data/reference/*.json; do
  name=$(echo "$doc" | tr '/' '-')
  cp "$doc" "$seeds/loader/$name"
  for header in default:'\000\000\004\004\004\001|\001_' tab:'\001\000\004\004\004\001|\001_' \
                w60:'\000\120\111\004\214\001|\001_' paged:'\002\120\077\004\046\001|\001_' \
                flags:'\354\121\020\004\004\001|\001_' destination:'\000\130\041\004\032\001|\001_' \
                dbcs:'\000\024\021\004\004\003 : \000'; do
    { printf "${header#*:}"; cat "$doc"; } > "$seeds/render/$name.${header%%:*}"
  done
done
# Tables built from bytes (a NUL byte after the options): a titled crosstab
# with footnotes, a layered table with a group, an empty table.
printf '\000\000\004\004\004\001|\001_\000\013\002T\007Caption\001a\002\000\002\001R\003\001a\001b\002\001C\000\003\001x\001y\001z\005\0011\006\002\0012\007\003\0013\010\004\001 \011\005\0014\012\006\0015' > "$seeds/render/table-crosstab"
printf '\001\020\017\004\004\001|\001_\000\000\003\002\002\001L\002\001p\001q\001\000\002\001R\002\004\001g\002\001a\001b\001c\002\002\003' > "$seeds/render/table-layered"
printf '\000\000\004\004\004\001|\001_\000' > "$seeds/render/table-empty"
printf '\000\001|\004\017\000\001\004hello world' > "$seeds/fold/words"
printf '\004\001|\031\021\000\002\004abcdefghij' > "$seeds/fold/restricted"
printf '\000\001|\004\017\000\003\004a\n\nb\r\nc' > "$seeds/fold/breaks"
printf '\006\002: \004\020\002\001\004\344\270\255\346\226\207 text \344\270\255' > "$seeds/fold/multibyte"
printf '\010\001|\004\022\001\001\004\003\016\017\020a b c d e' > "$seeds/fold/fold-points"

status=0
mkdir -p "$build/findings"
echo "Regression pass over fuzz/corpus/:"
for t in $targets; do
  mkdir -p "fuzz/corpus/$t"
  count=$(ls "fuzz/corpus/$t" | wc -l)
  if "$build/fuzz_$t" -runs=0 -timeout=10 -rss_limit_mb=2048 \
      -artifact_prefix="$build/findings/$t-" "fuzz/corpus/$t" >"$build/regression-$t.log" 2>&1; then
    echo "  fuzz_$t: $count inputs, no finding"
  else
    echo "  fuzz_$t: FINDING, see $build/regression-$t.log"
    status=1
  fi
done

echo "Fuzzing, $seconds s per target:"
for t in $targets; do
  work="$build/corpus/$t"
  mkdir -p "$work"
  log="$build/fuzz-$t.log"
  if "$build/fuzz_$t" -max_total_time="$seconds" -max_len="$(max_len $t)" $(dict $t) $(counters $t) \
      -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
      -artifact_prefix="$build/findings/$t-" "$work" "fuzz/corpus/$t" "$seeds/$t" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "  fuzz_$t: $runs executions, no finding"
  else
    echo "  fuzz_$t: FINDING, see $log and $build/findings/"
    tail -n 40 "$log" >&2
    status=1
  fi
  if [ "${FUZZ_MERGE:-0}" = 1 ]; then
    # Adds to the saved corpus only inputs that reach edges it misses (hit
    # counts aside, which would keep thousands of near-duplicates).
    "$build/fuzz_$t" -merge=1 -use_counters=0 -max_len="$(max_len $t)" -timeout=10 \
      -rss_limit_mb=2048 "fuzz/corpus/$t" "$work" "$seeds/$t" >"$build/merge-$t.log" 2>&1
    echo "  fuzz_$t: corpus merged, $(ls "fuzz/corpus/$t" | wc -l) inputs"
  fi
done
exit $status
