#!/bin/bash
# The bash completion of telvo-cli, sourced into this shell: COMPREPLY for commands, options,
# setting names (from `telvo-cli names`, which reads Telvo.ini), a list's values, rates and
# command options. Usage: test_cli_completion.sh COMPLETION_FILE TELVO_CLI SAMPLE_INI
set -u
completion=$1 cli=$2 ini=$3
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
cp "$ini" "$home/Telvo.ini"
export TELVO_HOME=$home
unset TELVO_PORTS
failures=0

# shellcheck source=/dev/null
source "$completion"

# Completes the line as typed (the last word the one completed; "=" its own word, as bash
# splits it) and prints COMPREPLY one a line.
complete_line() {
    COMP_WORDS=("$cli" "$@")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _telvo_cli
    printf '%s\n' "${COMPREPLY[@]}"
}

expect() {
    local what=$1 want=$2 got=$3
    if [[ $got != "$want" ]]; then
        echo "FAIL: $what"
        echo "  want: $(printf '%q' "$want")"
        echo "  got:  $(printf '%q' "$got")"
        failures=$((failures + 1))
    fi
}

# Each of the wanted lines stands in what was completed.
expect_has() {
    local what=$1 got=$2 want
    shift 2
    for want in "$@"; do
        grep -qxF -e "$want" <<<"$got" || {
            echo "FAIL: $what: no $(printf '%q' "$want") in: $(printf '%q' "$got")"
            failures=$((failures + 1))
        }
    done
}

expect "commands" "$(printf '%s\n' ports info get set save restore diff load apply console ir gamma names)" \
    "$(complete_line "")"
expect "a command by its start" "$(printf '%s\n' get gamma)" "$(complete_line g)"
expect_has "short options" "$(complete_line -p COM1 -)" -p -b -j -q -y -v -h -V --json --yes
expect "long options" "$(printf '%s\n' --port --power-on)" "$(complete_line --po)"
expect "a command's own options" "$(printf '%s\n' --restore-defaults --resume)" \
    "$(complete_line load --re)"
expect "ports --probe" "--probe" "$(complete_line ports --pr)"
expect "--jobs" "--jobs" "$(complete_line --jo)"
expect "the value of --jobs is no command" "info" "$(complete_line --jobs 2 inf)"
expect "setting names" "$(printf '%q\n' Brightness "Black Level" "Blue Gain" "Blue Offset")" \
    "$(complete_line get B)"
expect "a name with a blank, escaped" "Noise\\ Reduction" "$(complete_line get 'Noise\ R')"
expect "a name with a blank, quoted" "Noise\\ Reduction" "$(complete_line get '"Noise R')"
expect "names takes names" "Sharpness" "$(complete_line names Sharp)"
expect "set offers NAME=" "Input=" "$(complete_line set Inpu)"
expect "apply offers NAME=" "Input=" "$(complete_line apply --check Inpu)"
expect "apply: a list's values" "$(printf '%s\n' Off Low Medium High)" \
    "$(complete_line apply 'Noise\ Reduction' =)"
expect "apply --check" "--check" "$(complete_line apply --ch)"
expect "apply --file takes a file" "$home/Telvo.ini" "$(complete_line apply --file "$home/Telvo.")"
expect "set: a list's values" "$(printf '%s\n' HDMI-1 HDMI-2 HDMI-3 HDMI-4)" \
    "$(complete_line set Input = HD)"
expect "set: right after =" "$(printf '%s\n' Off Low Medium High)" \
    "$(complete_line set 'Noise\ Reduction' =)"
expect "set: a value with a blank" 'S\ D\ I' "$(complete_line set Input = S\ )"
expect "rates of Telvo.ini" "$(printf '%s\n' 19200 14400)" "$(complete_line -b 1)"
expect "rates after --home" "57600" "$(complete_line --home "$home" --baud 5)"
expect "ir sub-commands" "$(printf '%s\n' code gen-all)" "$(complete_line ir "")"
expect "gamma sub-commands" "$(printf '%s\n' make export)" "$(complete_line gamma "")"
expect_has "ports include COM names" "$(complete_line --port COM)" COM1
expect "TELVO_PORTS gives the COM names" "$(printf '%s\n' COM1 COM2 COM3)" \
    "$(TELVO_PORTS=sim,sim,sim complete_line --port COM)"

if ((failures > 0)); then
    echo "$failures completion check(s) failed"
    exit 1
fi
echo "completion checks passed"
