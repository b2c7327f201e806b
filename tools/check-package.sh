#!/usr/bin/env bash
# A built .deb: lintian reports no error, and the package unpacked into a temporary root runs
# `telvo --version`. Usage: check-package.sh PACKAGE.deb
set -euo pipefail
deb=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb --info "$deb" | sed -n '/Package:/,$p'
# Run as root, lintian would refuse to unpack; --allow-root is its own answer to that.
lintian --fail-on error --allow-root --tag-display-limit 0 "$deb"
dpkg -x "$deb" "$root"
"$root/usr/bin/telvo" --version
echo "package check passed: $(basename "$deb")"
