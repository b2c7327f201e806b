#!/usr/bin/env bash
# Runs a test script with the Python that Ansible itself runs on (the modules import ansible).
# Exit 77 (skipped) when Ansible is not installed.
pb=$(command -v ansible-playbook) || { echo "ansible-playbook not installed"; exit 77; }
py=$(head -1 "$pb" | sed 's/^#! *//')
# shellcheck disable=SC2086 # "/usr/bin/env python3" is two words
exec $py "$@"
