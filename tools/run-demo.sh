#!/usr/bin/env bash
# Starts the utility on the demo home, talking to the device emulator.
set -euo pipefail
build=$(cd "$1" && pwd); home=$(cd "$2" && pwd)
export TELVO_HOME="$home"
if [ -z "${TELVO_PORTS:-}" ] && [ -x "$build/bin/vorix-sim" ]; then
  link="$home/vorix-pty"
  "$build/bin/vorix-sim" --ini "$home/Telvo.ini" --link "$link" --baud 19200 \
      --trace "$home/vorix-trace.txt" &
  sim=$!
  trap 'kill $sim 2>/dev/null || true' EXIT
  for _ in $(seq 50); do [ -e "$link" ] && break; sleep 0.1; done
  export TELVO_PORTS="$link"
fi
export TELVO_PORTS="${TELVO_PORTS:-sim}"
echo "TELVO_PORTS=$TELVO_PORTS"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  # No display: a virtual one (the emulator is stopped by the trap when the program ends).
  xvfb-run -a "$build/bin/telvo" "$@"
else
  "$build/bin/telvo" "$@"
fi
