#!/usr/bin/env bash
# Prepares the demo home folder: the sample Telvo.ini and the firmware folder.
set -euo pipefail
build=$1; home=$2
mkdir -p "$home/Firmware Files"
# A user's edited Telvo.ini is kept; a fresh demo gets the sample.
[ -f "$home/Telvo.ini" ] || cp data/Telvo.ini "$home/Telvo.ini"
if [ -x "$build/bin/vorix-sim" ]; then
  for v in 1.23 1.24; do
    f="$home/Firmware Files/Gorda_$v.frk"
    [ -f "$f" ] || "$build/bin/vorix-sim" --make-firmware "$f" --version "$v" --size 65536 >/dev/null
  done
fi
echo "Demo home: $home"
