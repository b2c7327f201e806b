#!/usr/bin/env bash
# Runs every libFuzzer binary under <build>/fuzz for FUZZ_SECONDS each, starting from the seeds
# committed in tests/fuzz/corpus/<name> (name = target less "fuzz_"; tests/fuzz/make-seeds.py
# writes them) and in a subsystem's own tests/<name>/corpus where there is one. New inputs go to <build>/fuzz-corpus, findings
# to <build>/fuzz-findings; the first finding fails the run.
set -euo pipefail
build=${1:?usage: run-fuzz.sh BUILD_DIR}
seconds=${FUZZ_SECONDS:-60}
src=$(cd "$(dirname "$0")/.." && pwd)
shopt -s nullglob
targets=("$build"/fuzz/fuzz_*)
if [ ${#targets[@]} -eq 0 ]; then
  echo "run-fuzz: no fuzz targets in $build/fuzz" >&2; exit 1
fi
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
export QT_QPA_PLATFORM=offscreen TELVO_SOURCE_DIR="$src"
passed=0 failed=0
for bin in "${targets[@]}"; do
  target=$(basename "$bin"); name=${target#fuzz_}
  dirs=()
  for d in "$src/tests/fuzz/corpus/$name" "$src/tests/$name/corpus"; do
    [ -d "$d" ] && dirs+=("$d")
  done
  if [ ${#dirs[@]} -eq 0 ]; then
    echo "run-fuzz: $target has no seeds in tests/fuzz/corpus/$name" >&2; failed=$((failed+1)); continue
  fi
  work="$build/fuzz-corpus/$target"; findings="$build/fuzz-findings/$target"
  mkdir -p "$work" "$findings"
  echo "== $target: ${seconds}s from ${dirs[*]#$src/}"
  if "$bin" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 \
       -artifact_prefix="$findings/" "$work" "${dirs[@]}" >"$build/fuzz-$target.log" 2>&1; then
    grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb)|cov:' "$build/fuzz-$target.log" | tail -3
    passed=$((passed+1))
  else
    tail -40 "$build/fuzz-$target.log"
    echo "run-fuzz: $target found a problem; input kept in $findings" >&2
    failed=$((failed+1))
  fi
done
echo "fuzz: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
