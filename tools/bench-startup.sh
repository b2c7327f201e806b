#!/usr/bin/env bash
# Start-up time and memory of the installed program (not asserted; goals: first window within
# 300 ms warm, 60 MB at rest). The build is installed into a temporary prefix and started on a
# virtual X display with a fresh data folder and the device emulator inside the program; the
# first window is the first of the program's windows the X server shows. Usage: BUILD_DIR [RUNS]
set -uo pipefail
build=$1
runs=${2:-5}
tmp=$(mktemp -d)
xpid=
cleanup() {
  [ -n "$xpid" ] && kill "$xpid" 2>/dev/null
  rm -rf "$tmp"
}
trap cleanup EXIT
cmake --install "$build" --prefix "$tmp/usr" >/dev/null

display=:$((90 + RANDOM % 400))
# -noreset: without it the server resets whenever its last client leaves, and a program that
# connects during the reset cannot open the display (Qt then aborts: "could not connect").
Xvfb "$display" -screen 0 1600x1200x24 -nolisten tcp -noreset >/dev/null 2>&1 &
xpid=$!
for _ in $(seq 100); do xdpyinfo -display "$display" >/dev/null 2>&1 && break; sleep 0.05; done
export DISPLAY=$display QT_QPA_PLATFORM=xcb XDG_CONFIG_HOME=$tmp/config TELVO_PORTS=sim
unset TELVO_HOME

now_ms() { echo $(( $(date +%s%N) / 1000000 )); }
firsts=()
for run in $(seq "$runs"); do
  export XDG_DATA_HOME=$tmp/data$run
  folder="$XDG_DATA_HOME/Telvo Utility"
  start=$(now_ms)
  "$tmp/usr/bin/telvo" >/dev/null 2>&1 &
  pid=$!
  shown=
  for _ in $(seq 2000); do
    if xdotool search --onlyvisible --pid "$pid" >/dev/null 2>&1; then shown=$(now_ms); break; fi
    kill -0 "$pid" 2>/dev/null || break
  done
  [ -n "$shown" ] && firsts+=($((shown - start)))
  # At rest: connected to the emulator, the panels read, nothing more to do.
  for _ in $(seq 600); do
    grep -q "Found on COM1" "$folder/LogFile.txt" 2>/dev/null && break
    sleep 0.1
  done
  sleep 3
  rss=$(awk '/^VmRSS/ {print $2}' "/proc/$pid/status" 2>/dev/null)
  pss=$(awk '/^Pss:/ {print $2}' "/proc/$pid/smaps_rollup" 2>/dev/null)
  kill "$pid" 2>/dev/null
  wait "$pid" 2>/dev/null
  printf 'run %d: first window %s ms, at rest RSS %s MB, PSS %s MB\n' "$run" \
    "${firsts[-1]:-?}" "$(awk -v k="${rss:-0}" 'BEGIN{printf "%.1f", k/1024}')" \
    "$(awk -v k="${pss:-0}" 'BEGIN{printf "%.1f", k/1024}')"
done
if [ "${#firsts[@]}" -gt 1 ]; then
  warm=$(printf '%s\n' "${firsts[@]:1}" | sort -n | awk '{a[NR]=$1} END{print a[int((NR+1)/2)]}')
  echo "first window, warm (median of runs 2-$runs): $warm ms (goal 300 ms); cold (run 1): ${firsts[0]} ms"
fi
echo "memory at rest: RSS of the last run above (goal 60 MB)"
