#!/usr/bin/env bash
# Runs every benchmark; each prints its ratios.
# BENCH_FIFO=1 runs the benchmarks of the line (they sleep on the line nearly all the time) with
# a realtime priority where the system allows it, so that on a loaded machine they measure the
# line and the program rather than the wait for a free processor after each wake-up.
set -euo pipefail
build=$1
export QT_QPA_PLATFORM=offscreen
for b in "$build"/bench/bench_*; do
  [ -f "$b" ] && [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  case "$(basename "$b")" in
    bench_xfr | bench_refresh | bench_exchange | bench_transfer | bench_netrefresh)
      if [ "${BENCH_FIFO:-0}" = 1 ] && chrt -f 10 true 2>/dev/null; then
        chrt -f 10 "$b"
        continue
      fi ;;
  esac
  "$b"
done
