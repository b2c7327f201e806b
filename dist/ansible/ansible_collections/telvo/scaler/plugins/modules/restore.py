#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: 2026 Brackwell

from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: restore
short_description: Put a saved settings file back into a scaler
description:
  - Compares the scaler's settings with C(src) first (C(telvo-cli diff)); when nothing differs,
    nothing is sent and nothing changes.
  - Otherwise restores the file (C(telvo-cli restore)). Settings the device refuses fail the task
    and are listed in C(failed_settings).
version_added: "2.0.0"
author:
  - Telvo Utility developers (@telvo)
extends_documentation_fragment:
  - telvo.scaler.common
options:
  src:
    description:
      - A settings file on the managed machine, as M(telvo.scaler.backup) or C(telvo-cli save) wrote it.
    type: path
    required: true
notes:
  - Supports check mode (the comparison alone) and diff mode (each differing setting, device
    before and file after).
'''

EXAMPLES = r'''
- name: Put the lobby's settings back
  telvo.scaler.restore:
    port: /dev/ttyUSB0
    src: /var/backups/scalers/{{ inventory_hostname }}.txt
'''

RETURN = r'''
src:
  description: The settings file.
  returned: always
  type: str
  sample: /var/backups/scalers/lobby-1.txt
differences:
  description: The settings that differed before the restore.
  returned: success
  type: list
  elements: dict
  contains:
    setting:
      description: The setting's name.
      type: str
    state:
      description: The state it belongs to (null for a plain setting).
      type: str
    file:
      description: Its value in the file.
      type: raw
    device:
      description: Its value in the scaler.
      type: raw
  sample:
    - setting: Brightness
      state: Input Video 1
      file: 5
      device: 0
failed_settings:
  description: The settings the device refused, as the log names them.
  returned: failure, when the device refused some
  type: list
  elements: str
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.telvo.scaler.plugins.module_utils.telvo_cli import (
    EXIT_DIFFERS, EXIT_DONE, TelvoCli, common_options, diff_text)


def label(row):
    state = row.get('state')
    return '%s (%s)' % (row.get('setting'), state) if state else '%s' % row.get('setting')


def main():
    options = common_options()
    options.update(src=dict(type='path', required=True))
    module = AnsibleModule(argument_spec=options, supports_check_mode=True)
    cli = TelvoCli(module)
    src = module.params['src']
    compared = cli.expect(['diff', src], accept=(EXIT_DONE, EXIT_DIFFERS), src=src)
    rows = [o for o in compared.results() if 'setting' in o]
    differences = [dict(setting=o.get('setting'), state=o.get('state'), file=o.get('file'),
                        device=o.get('device')) for o in rows]
    out = dict(changed=compared.rc == EXIT_DIFFERS, src=src, differences=differences)
    if module._diff and differences:
        out['diff'] = diff_text([(label(r), r['device'], r['file']) for r in differences])
    if out['changed'] and not module.check_mode:
        cli.expect(['restore', src], src=src, differences=differences)
    module.exit_json(**out)


if __name__ == '__main__':
    main()
