#!/usr/bin/env bash
# A built .deb: lintian reports no error, and the package unpacked into a temporary root runs
# `telvo --version` and `telvo-cli --version`, renders telvo-cli(1), and ansible-doc renders each
# module of the Ansible collection it carries.
# Usage: check-package.sh PACKAGE.deb
set -euo pipefail
deb=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb --info "$deb" | sed -n '/Package:/,$p'
# Run as root, lintian would refuse to unpack; --allow-root is its own answer to that.
lintian --fail-on error --allow-root --tag-display-limit 0 "$deb"
dpkg -x "$deb" "$root"
"$root/usr/bin/telvo" --version
"$root/usr/bin/telvo-cli" --version
[ -f "$root/usr/share/bash-completion/completions/telvo-cli" ]
page=$(MANWIDTH=80 man -l "$root/usr/share/man/man1/telvo-cli.1.gz")
grep -q '^EXIT STATUS' <<<"$page"
bash "$(dirname "$0")/check-ansible-collection.sh" "$root"
echo "package check passed: $(basename "$deb")"
