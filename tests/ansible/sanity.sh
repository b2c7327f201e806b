#!/usr/bin/env bash
# ansible-test sanity over the collection, offline. ansible-test runs most checks in virtual
# environments of its own that it fills with pip from the network; here each such environment is
# made from the system's Python with its site packages (Debian's ansible, voluptuous, PyYAML,
# pycodestyle, yamllint: all in the Makefile's PACKAGES), marked as complete, and reused. A check whose tool is not installed
# (pylint, shellcheck, pslint) is skipped by ansible-test itself.
# Usage: sanity.sh COLLECTION_DIR   (exit 77: no ansible-test)
set -euo pipefail
src=$(cd "$1" && pwd)
command -v ansible-test >/dev/null || { echo "ansible-test not installed"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# ansible-test wants the collection under ansible_collections/NAMESPACE/NAME; outside a git tree
# it takes every file there.
coll=$work/ansible_collections/telvo/scaler
mkdir -p "$(dirname "$coll")"
cp -r "$src" "$coll"
rm -rf "$coll/tests/output"
export HOME=$work/home ANSIBLE_LOCAL_TEMP=$work/tmp
mkdir -p "$HOME"
# Debian's own interpreter: its dist-packages hold the tools the checks import.
py=/usr/bin/python3
tests=(action-plugin-docs ansible-doc changelog compile empty-init future-import-boilerplate ignores
       import line-endings metaclass-boilerplate no-assert no-basestring no-dict-iteritems
       no-dict-iterkeys no-dict-itervalues no-get-exception no-illegal-filenames no-main-display
       no-smart-quotes no-unicode-literals pep8 replace-urlopen runtime-metadata shebang symlinks
       use-argspec-type-path use-compat-six validate-modules)
command -v yamllint >/dev/null && tests+=(yamllint)

# Turns every environment ansible-test began (no marker yet) into a complete one.
prime() {
  local d
  for d in "$HOME"/.ansible/test/venv/*/*/*/; do
    if [ ! -d "$d" ] || [ -f "$d/marker.txt" ]; then continue; fi
    rm -rf "$d"
    "$py" -m venv --system-site-packages --without-pip "$d"
    echo '[]' >"$d/meta.install.json"
    echo 'true' >"$d/meta.yaml.json"
    echo 'primed offline' >"$d/marker.txt"
  done
}

cd "$coll"
failed=0
for t in "${tests[@]}"; do
  out=$work/$t.txt
  # A check may begin several environments, one a run.
  for _ in 1 2 3 4; do
    ansible-test sanity --python 3.11 --color no --test "$t" >"$out" 2>&1 && break
    grep -q 'does not have pip available' "$out" || break
    prime
  done
  if grep -q '^ERROR\|^FATAL' "$out" || ! grep -q "Running sanity test \"$t\"" "$out"; then
    echo "== $t: FAILED"; cat "$out"; failed=1
  else
    echo "== $t: passed"
  fi
done
exit $failed
