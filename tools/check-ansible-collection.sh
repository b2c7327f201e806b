#!/usr/bin/env bash
# The collection as a package installed it under ROOT: ansible-doc renders every module from
# ROOT/usr/share/ansible/collections (and from there alone).
# Usage: check-ansible-collection.sh ROOT
set -euo pipefail
root=$1
share=$root/usr/share/ansible/collections
[ -f "$share/ansible_collections/telvo/scaler/galaxy.yml" ] || { echo "no collection under $share"; exit 1; }
ANSIBLE_HOME=$(mktemp -d)
export ANSIBLE_COLLECTIONS_PATH=$share ANSIBLE_HOME
trap 'rm -rf "$ANSIBLE_HOME"' EXIT
for module in info settings firmware backup restore; do
  page=$(ansible-doc -t module "telvo.scaler.$module")
  grep -q "^> TELVO.SCALER.${module^^} *(${share}/ansible_collections/telvo/scaler/plugins/modules/$module.py)" <<<"$page" ||
    { echo "ansible-doc telvo.scaler.$module: not from the installed tree"; echo "$page" | head -3; exit 1; }
  if ! grep -q '^EXAMPLES' <<<"$page" || ! grep -q '^RETURN VALUES' <<<"$page"; then
    echo "ansible-doc telvo.scaler.$module: no EXAMPLES or RETURN VALUES"; exit 1
  fi
done
echo "ansible-doc renders every module of telvo.scaler from $share"
