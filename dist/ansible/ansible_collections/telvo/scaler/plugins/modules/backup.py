#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: 2026 Brackwell

from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: backup
short_description: Save a scaler's settings to a file on the managed machine
description:
  - Saves every setting of the scaler with C(telvo-cli save) into a temporary file beside C(dest),
    compares it with C(dest), and puts it in place only when the content differs.
  - A save reads the device and leaves it as it was found.
version_added: "2.0.0"
author:
  - Telvo Utility developers (@telvo)
extends_documentation_fragment:
  - telvo.scaler.common
options:
  dest:
    description:
      - The settings file on the managed machine. Its folder must exist.
    type: path
    required: true
notes:
  - Supports check mode; the device is read, C(dest) is left alone and the task says whether it
    would change.
'''

EXAMPLES = r'''
- name: Keep each scaler's settings
  telvo.scaler.backup:
    port: /dev/ttyUSB0
    dest: /var/backups/scalers/{{ inventory_hostname }}.txt
'''

RETURN = r'''
dest:
  description: The settings file.
  returned: always
  type: str
  sample: /var/backups/scalers/lobby-1.txt
lines:
  description: The number of lines the save wrote.
  returned: success
  type: int
  sample: 115
'''

import filecmp
import os
import tempfile

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.telvo.scaler.plugins.module_utils.telvo_cli import (
    TelvoCli, common_options)


def main():
    options = common_options()
    options.update(dest=dict(type='path', required=True))
    module = AnsibleModule(argument_spec=options, supports_check_mode=True)
    cli = TelvoCli(module)
    dest = module.params['dest']
    folder = os.path.dirname(os.path.abspath(dest))
    if not os.path.isdir(folder):
        module.fail_json(msg='the folder of dest does not exist: %s' % folder, dest=dest)

    # Beside dest, so that the rename into place stays on one file system.
    fd, temp = tempfile.mkstemp(prefix='.%s.' % os.path.basename(dest), suffix='.tmp', dir=folder)
    os.close(fd)
    try:
        result = cli.expect(['save', temp], dest=dest)
        saved = result.results()
        lines = saved[0].get('lines') if saved else None
        same = os.path.exists(dest) and filecmp.cmp(temp, dest, shallow=False)
        if same or module.check_mode:
            module.exit_json(changed=not same, dest=dest, lines=lines)
        module.atomic_move(temp, dest)
        module.exit_json(changed=True, dest=dest, lines=lines)
    finally:
        if os.path.exists(temp):
            os.remove(temp)


if __name__ == '__main__':
    main()
