#!/usr/bin/env bash
# Starts and ends the installed program many times on a virtual display and keeps a core and a
# backtrace of any start that dies. The build is installed into a temporary prefix; the starts
# take turns: on vorix-sim over a pseudo-terminal, on the in-process emulator, with no device;
# ended by the window's close box (WM_DELETE_WINDOW, as a user's click) or by SIGTERM, at once,
# a moment after the window shows, or once the device was found; half of them first starts.
# Usage: BUILD_DIR [STARTS] [KEEP_DIR]   (KEEP_DIR: where cores, backtraces and logs of deaths go)
# SOAK_STARTS_UNTIL=EPOCH_SECONDS stops earlier, at that time; SOAK_STARTS_FIRST=N numbers the
# starts from N (two loops at once take different turns); SOAK_VERBOSE=1 prints every start.
# Exit code: 0 when no start died, 1 otherwise.
set -uo pipefail
build=$(cd "$1" && pwd)
starts=${2:-100}
keep=${3:-$build/soak-starts}
here=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
xpid=
simpid=
cleanup() {
  [ -n "$simpid" ] && kill "$simpid" 2>/dev/null
  [ -n "$xpid" ] && kill "$xpid" 2>/dev/null
  wait 2>/dev/null
  rm -rf "$tmp"
}
trap cleanup EXIT
mkdir -p "$keep"
cmake --install "$build" --prefix "$tmp/usr" >/dev/null
prog=$tmp/usr/bin/telvo

# -noreset: without it the server resets whenever its last client leaves, and a program that
# connects during the reset cannot open the display (Qt then aborts: "could not connect").
# -displayfd: the server takes a free display and writes its number.
Xvfb -displayfd 3 -screen 0 1600x1200x24 -nolisten tcp -noreset 3>"$tmp/display" >/dev/null 2>&1 &
xpid=$!
for _ in $(seq 200); do [ -s "$tmp/display" ] && break; sleep 0.05; done
display=:$(head -1 "$tmp/display")
for _ in $(seq 100); do xdpyinfo -display "$display" >/dev/null 2>&1 && break; sleep 0.05; done
export DISPLAY=$display QT_QPA_PLATFORM=xcb XDG_CONFIG_HOME=$tmp/config
unset TELVO_HOME

"$tmp/usr/bin/vorix-sim" --ini "$tmp/usr/share/telvo/Telvo.ini" --link "$tmp/pty" --baud 19200 \
  >/dev/null 2>&1 &
simpid=$!
for _ in $(seq 100); do [ -e "$tmp/pty" ] && break; sleep 0.05; done

ulimit -c unlimited
deaths=0; by_window=0; by_term=0; unclosed=0
declare -A ways
first=${SOAK_STARTS_FIRST:-1}
done_starts=0
for run in $(seq "$first" $((first + starts - 1))); do
  [ -n "${SOAK_STARTS_UNTIL:-}" ] && [ "$(date +%s)" -ge "$SOAK_STARTS_UNTIL" ] && break
  done_starts=$((done_starts + 1))
  case $((run % 3)) in
    0) ports=$tmp/pty; device=vorix-sim ;;
    1) ports=sim; device=in-process ;;
    2) ports=$tmp/no-such-port; device=none ;;
  esac
  end=$(( (run / 3) % 2 ))            # 0: the close box, 1: SIGTERM
  when=$(( (run / 6) % 3 ))           # 0: at once, 1: a moment later, 2: once found
  dir=$tmp/run; rm -rf "$dir"; mkdir -p "$dir"
  export XDG_DATA_HOME=$tmp/data-$device TELVO_PORTS=$ports
  # Half the starts are a first start (a fresh data folder: Telvo.ini copied in), as
  # tools/bench-startup.sh makes every one.
  [ $(( (run / 18) % 2 )) = 0 ] && rm -rf "$XDG_DATA_HOME"
  log="$XDG_DATA_HOME/Telvo Utility/LogFile.txt"
  t0=$(date +%s%N)
  (cd "$dir" && exec "$prog") >"$dir/out.txt" 2>&1 &
  pid=$!
  win=
  for _ in $(seq 400); do
    win=$(xdotool search --onlyvisible --pid "$pid" 2>/dev/null | head -1)
    [ -n "$win" ] && break
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.025
  done
  case $when in
    1) sleep "0.$((RANDOM % 10))" ;;
    2) for _ in $(seq 150); do
         grep -q "Found on COM1\|not found\|No device" "$log" 2>/dev/null && break
         kill -0 "$pid" 2>/dev/null || break
         sleep 0.1
       done ;;
  esac
  way=term
  if [ "$end" = 0 ]; then
    way=window
    # Every window the program shows gets the close box (a message box first, then the main
    # window), until the program is gone.
    for _ in $(seq 30); do
      kill -0 "$pid" 2>/dev/null || break
      for w in $(xdotool search --onlyvisible --pid "$pid" 2>/dev/null | tac); do
        python3 "$here/close-window.py" "$w" 2>/dev/null
      done
      for _ in $(seq 10); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    done
    if kill -0 "$pid" 2>/dev/null; then
      unclosed=$((unclosed + 1)); way=window-then-term
      echo "start $run ($device): did not end by its window in 30 s; SIGTERM" >&2
      kill -TERM "$pid"
    fi
  else
    kill -TERM "$pid" 2>/dev/null
  fi
  wait "$pid"; rc=$?
  [ -n "${SOAK_VERBOSE:-}" ] && echo "start $run: $device, $way, stage $when, exit $rc," \
    "$(( ($(date +%s%N) - t0) / 1000000 )) ms" >&2
  ok=0
  case $way:$rc in
    window:0|term:143|window-then-term:143) ok=1 ;;
    term:0) ok=1 ;;   # it had ended on its own (a start that found nothing may)
  esac
  [ "$way" = window ] && by_window=$((by_window + 1))
  [ "$way" != window ] && by_term=$((by_term + 1))
  ways["$device $way"]=$(( ${ways["$device $way"]:-0} + 1 ))
  if [ "$ok" = 0 ]; then
    deaths=$((deaths + 1))
    k=$keep/start-$run
    mkdir -p "$k"
    cp "$dir/out.txt" "$k/" 2>/dev/null
    cp "$log" "$k/" 2>/dev/null
    core=$(ls "$dir"/core* 2>/dev/null | head -1)
    if [ -n "$core" ]; then
      mv "$core" "$k/core"
      gdb -batch -ex "thread apply all bt" "$prog" "$k/core" >"$k/backtrace.txt" 2>&1
    fi
    echo "start $run ($device, ended by $way, at stage $when): exit $rc$( [ "$rc" -gt 128 ] && echo " (signal $((rc - 128)))"); kept in $k" >&2
    tail -3 "$dir/out.txt" | sed 's/^/    /' >&2
  fi
done
echo "starts $done_starts: ended by the window $by_window, by SIGTERM $by_term, not ended by the window $unclosed, died $deaths"
for k in "${!ways[@]}"; do echo "  $k: ${ways[$k]}"; done | sort
[ "$deaths" = 0 ]
