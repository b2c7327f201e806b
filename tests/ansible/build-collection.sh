#!/usr/bin/env bash
# ansible-galaxy packs the collection, at the program's version, with every module in it.
# Usage: build-collection.sh COLLECTION_DIR VERSION [OUT_DIR]   (exit 77: no ansible-galaxy)
set -euo pipefail
src=$1 version=$2
command -v ansible-galaxy >/dev/null || { echo "ansible-galaxy not installed"; exit 77; }
out=${3:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
[ -n "$out" ] || out=$work
ansible-galaxy collection build --force --output-path "$out" "$src"
tarball=$out/telvo-scaler-$version.tar.gz
[ -f "$tarball" ] || { echo "no $tarball: galaxy.yml's version is not $version"; exit 1; }
listing=$(tar -tzf "$tarball")
for f in MANIFEST.json FILES.json README.md LICENSE meta/runtime.yml plugins/module_utils/telvo_cli.py \
         plugins/doc_fragments/common.py plugins/modules/{info,settings,firmware,backup,restore}.py \
         playbooks/scalers.yml playbooks/inventory.yml; do
  grep -qx "$f" <<<"$listing" || { echo "missing from the collection: $f"; exit 1; }
done
if grep -q '^tests/output' <<<"$listing"; then echo "test output packed"; exit 1; fi
echo "built $(basename "$tarball")"
