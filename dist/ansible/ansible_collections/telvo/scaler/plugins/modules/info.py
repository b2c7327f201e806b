#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: 2026 Brackwell

from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: info
short_description: Read what a scaler is and how it is connected
description:
  - Reads the scaler's model, firmware, options, port, the line's rates and its power state with
    C(telvo-cli info). Only queries are sent; the device is left as it was found.
  - Never reports a change.
version_added: "2.0.0"
author:
  - Telvo Utility developers (@telvo)
extends_documentation_fragment:
  - telvo.scaler.common
options: {}
notes:
  - Supports check mode; it changes nothing either way.
'''

EXAMPLES = r'''
- name: What each scaler runs
  telvo.scaler.info:
    port: /dev/ttyUSB0
  register: scaler

- name: Say it
  ansible.builtin.debug:
    msg: "{{ scaler.model }} runs {{ scaler.firmware }} at {{ scaler.speed }} baud"
'''

RETURN = r'''
port:
  description: The port as given.
  returned: success
  type: str
  sample: /dev/ttyUSB0
model:
  description: The scaler's model.
  returned: success
  type: str
  sample: Gorda
firmware:
  description: The version of the firmware it runs.
  returned: success
  type: str
  sample: "1.24"
options:
  description: Its options, as C(Telvo.ini) gives them.
  returned: success
  type: str
  sample: SDI
com:
  description: The program's name of the port.
  returned: success
  type: str
  sample: COM1
device:
  description: The device file or address behind the port.
  returned: success
  type: str
  sample: /dev/ttyUSB0
speed:
  description: The line's rate now, in baud (null when not known).
  returned: success
  type: int
  sample: 19200
original_speed:
  description: The rate the scaler was found at, in baud (null when not known).
  returned: success
  type: int
  sample: 19200
transfer_speed:
  description: The rate of a firmware load, in baud (null when not known).
  returned: success
  type: int
  sample: 57600
state:
  description: The scaler's power state.
  returned: success
  type: str
  sample: Powered
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.telvo.scaler.plugins.module_utils.telvo_cli import (
    TelvoCli, common_options)

# telvo-cli's JSON names and the names returned here.
FIELDS = (('model', 'model'), ('firmware', 'firmware'), ('options', 'options'), ('com', 'com'),
          ('device', 'device'), ('speed', 'speed'), ('originalSpeed', 'original_speed'),
          ('transferSpeed', 'transfer_speed'), ('state', 'state'))


def main():
    module = AnsibleModule(argument_spec=common_options(), supports_check_mode=True)
    cli = TelvoCli(module)
    info = cli.info()
    out = dict(changed=False, port=cli.port)
    for key, name in FIELDS:
        out[name] = info.get(key)
    module.exit_json(**out)


if __name__ == '__main__':
    main()
