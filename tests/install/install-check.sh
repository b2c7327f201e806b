#!/bin/bash
# The installed program: `cmake --install` into a temporary prefix, the desktop files validated,
# the manual pages rendered, `telvo --version` and `telvo-cli --version` from the installed tree,
# the installed bash completion answering, and a first start with a fresh data folder that seeds
# Telvo.ini there and connects to vorix-sim.
# Usage: install-check.sh BUILD_DIR
set -u
build=$1
tmp=$(mktemp -d)
pids=()
cleanup() {
  for p in "${pids[@]}"; do kill "$p" 2>/dev/null; wait "$p" 2>/dev/null; done
  rm -rf "$tmp"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

prefix=$tmp/usr
cmake --install "$build" --prefix "$prefix" >/dev/null || fail "cmake --install"
for f in bin/telvo bin/telvo-cli bin/vorix-sim share/telvo/Telvo.ini \
         share/applications/io.github.telvo.Utility.desktop \
         share/metainfo/io.github.telvo.Utility.metainfo.xml \
         share/icons/hicolor/scalable/apps/telvo.svg share/icons/hicolor/48x48/apps/telvo.png \
         share/icons/hicolor/256x256/apps/telvo.png share/telvo/screens/scl-connected.png \
         share/man/man1/telvo.1.gz share/man/man1/telvo-cli.1.gz share/man/man1/vorix-sim.1.gz \
         share/bash-completion/completions/telvo-cli \
         share/doc/telvo/copyright share/doc/telvo/README.Debian; do
  [ -e "$prefix/$f" ] || fail "not installed: $f"
done

desktop-file-validate "$prefix/share/applications/io.github.telvo.Utility.desktop" ||
  fail "desktop-file-validate"
appstreamcli validate --no-net "$prefix/share/metainfo/io.github.telvo.Utility.metainfo.xml" ||
  fail "appstreamcli validate"
for page in telvo telvo-cli vorix-sim; do
  out=$(MANWIDTH=80 man -l "$prefix/share/man/man1/$page.1.gz" 2>&1) || fail "man -l $page"
  grep -q '^NAME' <<<"$out" || fail "man -l $page renders no NAME section"
  warn=$(MANWIDTH=80 man --warnings -l "$prefix/share/man/man1/$page.1.gz" 2>&1 >/dev/null)
  [ -z "$warn" ] || fail "man $page warns: $warn"
done

version=$("$prefix/bin/telvo" --version) || fail "telvo --version"
[ "$version" = "telvo (Telvo Utility) 2.0.151" ] || fail "telvo --version printed: $version"
"$prefix/bin/telvo" --no-such-option 2>"$tmp/err" && fail "an unknown option started the program"
grep -q '^Usage: telvo' "$tmp/err" || fail "no usage line for an unknown option"

# The command line from the installed tree: its version, one usage line, and its manual page
# names every command and exit status it has.
version=$("$prefix/bin/telvo-cli" --version) || fail "telvo-cli --version"
[ "$version" = "telvo-cli 2.0.151" ] || fail "telvo-cli --version printed: $version"
"$prefix/bin/telvo-cli" --no-such-option 2>"$tmp/err" && fail "telvo-cli took an unknown option"
[ "$(wc -l <"$tmp/err")" -eq 2 ] || fail "a usage error is not two lines: $(cat "$tmp/err")"
grep -q '^Usage: telvo-cli .*(see telvo-cli --help)$' "$tmp/err" || fail "no usage line: $(cat "$tmp/err")"
page=$(MANWIDTH=200 man -l "$prefix/share/man/man1/telvo-cli.1.gz" 2>/dev/null)
for word in ports info get set save restore diff load apply console ir gamma names \
            --port --baud --home --json --quiet --yes --power-on --trace --verbose --help --version \
            LogFile.1.txt RestartLoader.txt Settings.txt EXAMPLES; do
  grep -q -e "$word" <<<"$page" || fail "telvo-cli(1) does not name $word"
done
for code in 0 1 2 3 4 5 6 7 129 130 143; do
  grep -q "^       $code\b" <<<"$page" || fail "telvo-cli(1) has no exit status $code"
done
# The installed completion, sourced as bash-completion would, offers the commands.
# shellcheck source=/dev/null
commands=$(source "$prefix/share/bash-completion/completions/telvo-cli" &&
  COMP_WORDS=("$prefix/bin/telvo-cli" "") COMP_CWORD=1 && _telvo_cli && printf '%s ' "${COMPREPLY[@]}")
[ "$commands" = "ports info get set save restore diff load apply console ir gamma names " ] ||
  fail "the installed completion offers: $commands"

# First start: no TELVO_HOME, a fresh data folder; the device on a pseudo-terminal.
export XDG_DATA_HOME=$tmp/data XDG_CONFIG_HOME=$tmp/config QT_QPA_PLATFORM=offscreen
unset TELVO_HOME
"$prefix/bin/vorix-sim" --ini "$prefix/share/telvo/Telvo.ini" --link "$tmp/vorix" >"$tmp/sim.out" &
pids+=($!)
for _ in $(seq 200); do [ -e "$tmp/vorix" ] && break; sleep 0.05; done
[ -e "$tmp/vorix" ] || fail "vorix-sim made no terminal"
TELVO_PORTS=$tmp/vorix "$prefix/bin/telvo" >"$tmp/telvo.out" 2>&1 &
pids+=($!)
folder="$tmp/data/Telvo Utility"
# The search runs on the program's own clock; wait for its word in the log, or for its end.
for _ in $(seq 1200); do
  grep -q "Found on COM1 Operating @ 19200 baud" "$folder/LogFile.txt" 2>/dev/null && break
  kill -0 "${pids[1]}" 2>/dev/null || break
  sleep 0.1
done
[ -f "$folder/Telvo.ini" ] || fail "Telvo.ini not seeded in $folder"
cmp -s "$folder/Telvo.ini" "$prefix/share/telvo/Telvo.ini" || fail "the seeded Telvo.ini differs"
[ -d "$folder/Firmware Files" ] || fail "no Firmware Files folder in $folder"
grep -q "COM1 is $tmp/vorix" "$folder/LogFile.txt" ||
  fail "the log names no device file: $(cat "$folder/LogFile.txt" "$tmp/telvo.out" 2>&1)"
grep -q "Gorda Found on COM1 Operating @ 19200 baud" "$folder/LogFile.txt" ||
  fail "no connection: $(cat "$folder/LogFile.txt" "$tmp/telvo.out" 2>&1)"
[ ! -e "$prefix/bin/LogFile.txt" ] || fail "the installed program wrote beside its executable"
echo "install check passed"
