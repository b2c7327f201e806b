#!/usr/bin/env bash
# The cut sweep: every case of sweep_fw (SWEEP=full), split over JOBS processes (gtest shards),
# one row per case in case order, then "recovered N of M". Usage: run-sweep.sh BUILD JOBS [OUT]
set -euo pipefail
build=$1
jobs=${2:-2}
out=${3:-}
bin="$build/tests/firmware/sweep_fw"
export QT_QPA_PLATFORM=offscreen SWEEP=${SWEEP:-full}
export TELVO_SOURCE_DIR=$(cd "$(dirname "$0")/.." && pwd) TELVO_BINARY_DIR=$(cd "$build" && pwd)
export LSAN_OPTIONS="suppressions=$(cd "$(dirname "$0")/.." && pwd)/tests/lsan.supp"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
start=$(date +%s)
for ((i = 0; i < jobs; i++)); do
  GTEST_TOTAL_SHARDS=$jobs GTEST_SHARD_INDEX=$i "$bin" >"$tmp/shard$i.log" 2>&1 &
done
wait || true
{
  echo "Cut sweep (SWEEP=$SWEEP): 64 KB image at 57600 through the load routines against the emulated device"
  echo "(virtual clock; 'took' is the device's time from the cut to the end of the recovery)."
  echo
  printf '%4s|%-48s|%-7s|%-4s|%-10s|%-6s|%-9s|%-8s|%6s|%s\n' case cut "way in" save start struck "version" settings took result
  grep -h '^ROW|' "$tmp"/shard*.log | cut -d'|' -f2- | sort -n
  total=$(grep -h '^ROW|' "$tmp"/shard*.log | wc -l)
  good=$(grep -h '^ROW|' "$tmp"/shard*.log | grep -c '|recovered$' || true)
  echo
  echo "recovered $good of $total"
} | if [ -n "$out" ]; then tee "$out"; else cat; fi
echo "(wall time $(( $(date +%s) - start )) s, $jobs processes)" >&2
