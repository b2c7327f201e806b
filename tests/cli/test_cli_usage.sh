#!/bin/bash
# The words each command takes, as telvo-cli tells a line that does not fit: text, JSON and exit
# code, byte for byte against tests/cli/golden/usage.txt. No device is needed: the words are
# checked before one is looked for (console's once connected, which here finds none).
# Usage: test_cli_usage.sh TELVO_CLI TELVO_INI GOLDEN
set -u
cli=$1 ini=$2 golden=$3
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
cp "$ini" "$home/Telvo.ini"
cases=(
  "info x"
  "get"
  "set"
  "save a b"
  "restore a b"
  "diff"
  "diff a b"
  "load"
  "load a b"
  "load --resume x"
  "load --resume --save-settings"
  "ports x"
  "names a b"
  "gamma"
  "gamma foo"
  "ir"
  "ir foo"
  "console x"
  "--json info x"
  "--json load --resume x"
  "--json gamma foo"
)
out=$(
  for c in "${cases[@]}"; do
    echo "\$ telvo-cli $c"
    # shellcheck disable=SC2086 # each case is its words
    "$cli" --home "$home" --port /nonexistent/tty $c 2>"$home/err"
    echo "exit=$?"
    sed 's/^/stderr: /' "$home/err"
  done
)
if ! diff -u "$golden" <(printf '%s\n' "$out"); then
  echo "telvo-cli's usage failures differ from $golden" >&2
  exit 1
fi
