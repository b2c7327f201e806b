#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: 2026 Brackwell

from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: settings
short_description: Make a scaler's settings what they should be
description:
  - Reads the named settings and sets only those that differ, with C(telvo-cli apply); each is
    read back after it is set.
  - Every value is checked against what the scaler takes before anything is sent; a value it
    would refuse fails the task and nothing is set.
  - In check mode (C(telvo-cli apply --check)) no set frame is sent; the task reports what would change.
version_added: "2.0.0"
author:
  - Telvo Utility developers (@telvo)
extends_documentation_fragment:
  - telvo.scaler.common
options:
  settings:
    description:
      - Setting name to value, with the names and values C(telvo-cli names) lists
        (C(Brightness), C(Output Type)); a list setting by its text (C(Digital)), a number as a number.
      - A YAML C(On) or C(Off) (read as true or false) is sent as C(On) or C(Off).
    type: dict
    required: true
notes:
  - Supports check mode and diff mode; the diff shows each named setting before and after.
'''

EXAMPLES = r'''
- name: The picture of the lobby scalers
  telvo.scaler.settings:
    port: /dev/ttyUSB0
    settings:
      Brightness: 5
      Contrast: -3
      Noise Reduction: Medium
      Output Type: Digital

- name: What would change, nothing sent
  telvo.scaler.settings:
    port: rfc2217://rack-3.example:4001
    settings:
      Sharpness: 6
  check_mode: true
  diff: true
'''

RETURN = r'''
settings:
  description: Each named setting as read, and as set or (in check mode) as it would be.
  returned: success
  type: list
  elements: dict
  contains:
    name:
      description: The setting's name.
      type: str
      sample: Brightness
    before:
      description: Its value before (a number, or a list setting's text).
      type: raw
      sample: 0
    after:
      description: Its value after.
      type: raw
      sample: 5
    before_text:
      description: The label's text before.
      type: str
      sample: "0"
    after_text:
      description: The label's text after.
      type: str
      sample: "5"
    changed:
      description: Whether this setting was (or would be) set.
      type: bool
      sample: true
  sample:
    - name: Brightness
      before: 0
      after: 5
      before_text: "0"
      after_text: "5"
      changed: true
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.telvo.scaler.plugins.module_utils.telvo_cli import (
    EXIT_DIFFERS, EXIT_DONE, TelvoCli, common_options, diff_text, value_text)


def main():
    options = common_options()
    options.update(settings=dict(type='dict', required=True))
    module = AnsibleModule(argument_spec=options, supports_check_mode=True)
    cli = TelvoCli(module)
    wanted = module.params['settings']
    if not wanted:
        module.exit_json(changed=False, settings=[])
    args = ['apply']
    if module.check_mode:
        args.append('--check')
    args += ['%s=%s' % (name, value_text(value)) for name, value in wanted.items()]
    # With --check, "something would change" is an answer, not a failure.
    accept = (EXIT_DONE, EXIT_DIFFERS) if module.check_mode else (EXIT_DONE,)
    result = cli.expect(args, accept=accept)
    objects = result.results()
    if not objects:
        cli.fail(result)
    report = objects[0]
    rows = []
    for item in report.get('settings', []):
        rows.append(dict(name=item.get('name'), before=item.get('before'), after=item.get('after'),
                         before_text=item.get('beforeText'), after_text=item.get('afterText'),
                         changed=bool(item.get('changed'))))
    changed = bool(report.get('changed')) or (module.check_mode and result.rc == EXIT_DIFFERS)
    out = dict(changed=changed, settings=rows)
    if module._diff:
        out['diff'] = diff_text([(r['name'], r['before_text'], r['after_text']) for r in rows])
    module.exit_json(**out)


if __name__ == '__main__':
    main()
