#!/usr/bin/env bash
# Runs every benchmark; each prints its ratios.
set -euo pipefail
build=$1
export QT_QPA_PLATFORM=offscreen
for b in "$build"/bench/bench_*; do
  [ -f "$b" ] && [ -x "$b" ] || continue
  echo "== $(basename "$b")"
  "$b"
done
