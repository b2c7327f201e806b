#!/usr/bin/env bash
# The cut sweeps: every case of sweep_fw (in-process line) or sweep_kill (a real process killed
# over a pseudo-terminal), split over JOBS processes (gtest shards), one row per case in case
# order, then "recovered N of M". Usage: run-sweep.sh BUILD JOBS [OUT] [sweep_fw|sweep_kill]
# Run by `make sweep` and `make sweep-kill`, which also give it the leak checker's suppressions.
set -euo pipefail
build=$1
jobs=${2:-2}
out=${3:-}
name=${4:-sweep_fw}
bin="$build/tests/firmware/$name"
export QT_QPA_PLATFORM=offscreen SWEEP=${SWEEP:-full}
export TELVO_SOURCE_DIR=$(cd "$(dirname "$0")/.." && pwd) TELVO_BINARY_DIR=$(cd "$build" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
start=$(date +%s)
for ((i = 0; i < jobs; i++)); do
  GTEST_TOTAL_SHARDS=$jobs GTEST_SHARD_INDEX=$i "$bin" >"$tmp/shard$i.log" 2>&1 &
done
wait || true
{
  if [ "$name" = sweep_kill ]; then
    echo "Real-kill sweep (SWEEP=$SWEEP): the program as its own process loads a 64 KB image at 57600 over a"
    echo "pseudo-terminal into a vorix-sim process (wall clock) and is sent SIGKILL at the cut point; the device"
    echo "stays on, the program is started again and the user takes the offered recovery."
    echo "'device at the kill': the device's mode when the program died; in its loader, the image bytes it held"
    echo "then / once the bytes already written by the dead program had arrived. 'took': wall time from the"
    echo "kill to the end of the recovery. Settings: D3, D1, B1 and B6 of input 2, set before the load."
    echo "'user': what the user did beyond Continue at each prompt and the offered recovery."
    echo
    printf '%4s|%-44s|%-7s|%-4s|%-10s|%-6s|%-26s|%-16s|%-8s|%-24s|%6s|%s\n' case cut "way in" save start struck \
      "device at the kill" "device after" settings user took result
  else
    echo "Cut sweep (SWEEP=$SWEEP): 64 KB image at 57600 through the load routines against the emulated device"
    echo "(virtual clock; 'took' is the device's time from the cut to the end of the recovery)."
    echo
    printf '%4s|%-48s|%-7s|%-4s|%-10s|%-6s|%-9s|%-8s|%6s|%s\n' case cut "way in" save start struck "version" settings took result
  fi
  grep -h '^ROW|' "$tmp"/shard*.log | cut -d'|' -f2- | sort -n
  total=$(grep -h '^ROW|' "$tmp"/shard*.log | wc -l)
  good=$(grep -h '^ROW|' "$tmp"/shard*.log | grep -c '|recovered$' || true)
  if grep -qh '^DETAIL|' "$tmp"/shard*.log; then
    echo
    echo "Not recovered, what was seen:"
    grep -h '^DETAIL|' "$tmp"/shard*.log | cut -d'|' -f2- | sort -n
  fi
  echo
  echo "recovered $good of $total"
} | if [ -n "$out" ]; then tee "$out"; else cat; fi
echo "(wall time $(( $(date +%s) - start )) s, $jobs processes)" >&2
