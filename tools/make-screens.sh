#!/usr/bin/env bash
# Renders docs/screens under a headless X server: main window, System Debugger, first-run window.
set -euo pipefail
build=${1:-build}
out=${2:-docs/screens}
cmake --build "$build" --target telvo_screens vorix-sim >/dev/null
QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x1024x24" "$build/bin/telvo_screens" "$out"
# The loader's windows: LDR mid-load, RS, EX and DG.
cmake --build "$build" --target telvo_screens_firmware >/dev/null
QT_QPA_PLATFORM=xcb xvfb-run -a -s "-screen 0 1280x1024x24" "$build/bin/telvo_screens_firmware" "$out"
