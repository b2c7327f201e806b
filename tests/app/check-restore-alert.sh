#!/usr/bin/env bash
# Runs check_restore_alert.py against the built program on a virtual display with a private
# D-Bus session (and so a private accessibility bus). Usage: check-restore-alert.sh TELVO INI
# Exit 77 (skipped) when a tool is missing; nothing it starts outlives it.
set -u
telvo=$1; ini=$2
here=$(cd "$(dirname "$0")" && pwd)
for tool in xvfb-run xauth Xvfb dbus-run-session timeout /usr/bin/python3; do
  command -v "$tool" >/dev/null 2>&1 || { echo "SKIP: $tool is not installed"; exit 77; }
done
/usr/bin/python3 -c 'import pyatspi' 2>/dev/null || { echo "SKIP: python3-pyatspi is not installed"; exit 77; }
[ -x /usr/libexec/at-spi-bus-launcher ] || { echo "SKIP: at-spi2-core is not installed"; exit 77; }

home=$(mktemp -d)
cp "$ini" "$home/Telvo.ini"
# timeout leads a process group of its own: the display, the buses, the registry and the program
# all live in it, and the group is killed at the end whatever happened.
timeout -k 5 180 xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp" \
  dbus-run-session -- /usr/bin/python3 "$here/check_restore_alert.py" "$telvo" "$home" &
group=$!
wait "$group"; rc=$?
kill -TERM -- "-$group" 2>/dev/null
sleep 0.2
kill -KILL -- "-$group" 2>/dev/null
rm -rf "$home"
[ "$rc" = 124 ] && echo "FAIL: the check ran out of time"
exit "$rc"
