#!/usr/bin/python
# -*- coding: utf-8 -*-
# Copyright: 2026 Brackwell

from __future__ import absolute_import, division, print_function
__metaclass__ = type

DOCUMENTATION = r'''
---
module: firmware
short_description: Load firmware into a scaler, or finish a cut-off load
description:
  - Loads a firmware image (C(.frk)) or a list of images (C(.frl)) into the scaler with
    C(telvo-cli load).
  - With C(version), the scaler's firmware is read first (queries only); when it already runs that
    version nothing is sent and nothing changes.
  - A load that fails fails the task with the program's and the device's own text. The port's
    C(RestartLoader.txt) stays, and its path is returned in C(restart_file), so that a later task
    with C(resume=true) (or C(telvo-cli load --resume)) finishes the load.
version_added: "2.0.0"
author:
  - Telvo Utility developers (@telvo)
extends_documentation_fragment:
  - telvo.scaler.common
options:
  image:
    description:
      - Path of the image or image list on the managed machine.
      - Required unless C(resume=true).
    type: path
  version:
    description:
      - The version the image carries (C(2.81)). When the scaler already runs it, nothing is sent.
    type: str
  save_settings:
    description:
      - Save the scaler's settings before the load and restore them after it (the load gives
        factory settings).
    type: bool
    default: false
  resume:
    description:
      - Finish the port's cut-off or failed load from its C(RestartLoader.txt).
      - With no restart file there, nothing is sent and nothing changes.
    type: bool
    default: false
  timeout:
    description:
      - Seconds the load may take. Past them it is stopped as a signal stops it (the restart file
        stays) and the task fails. C(0) waits for as long as it takes.
      - A load whose transfer the device keeps refusing is retried by the program without end;
        this is what ends it.
    type: int
    default: 1800
notes:
  - Supports check mode; nothing is sent but the reading of the version.
'''

EXAMPLES = r'''
- name: Update the scalers that do not run 2.81 yet
  telvo.scaler.firmware:
    port: /dev/ttyUSB0
    image: /srv/firmware/gorda-2.81.frk
    version: "2.81"
    save_settings: true

- name: Finish a load that was cut off
  telvo.scaler.firmware:
    port: /dev/ttyUSB0
    resume: true
'''

RETURN = r'''
changed:
  description: Whether a load ran (or, in check mode, would run).
  returned: always
  type: bool
firmware:
  description: The version the scaler runs after the task (before it, in check mode).
  returned: success
  type: str
  sample: "2.81"
previous_firmware:
  description: The version read before the load, when C(version) was given.
  returned: when version was given
  type: str
  sample: "1.24"
image:
  description: The image loaded (the program's name for a resumed load).
  returned: when a load ran
  type: str
  sample: /srv/firmware/gorda-2.81.frk
device_failures:
  description: The failures the port's log told during the load, the device's refusals among them.
  returned: failure, when the log is found
  type: list
  elements: str
  sample:
    - Transfer Failed, 3000 Bytes processed.
restart_file:
  description: The port's C(RestartLoader.txt), kept after a failed or stopped load.
  returned: failure, when the file is there
  type: str
  sample: /var/lib/telvo/ports/dev_ttyUSB0/RestartLoader.txt
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.telvo.scaler.plugins.module_utils.telvo_cli import (
    TelvoCli, common_options)


def load(module, cli, args, image):
    result = cli.run(args, timeout=module.params['timeout'])
    objects = result.results()
    if result.rc != 0 or not objects:
        extra = dict(image=image, timed_out=result.timed_out)
        restart = cli.restart_file(result)
        if restart:
            extra['restart_file'] = restart
        msg = result.message()
        if result.timed_out:
            msg = 'the load did not end within %d s and was stopped: %s' % (module.params['timeout'], msg)
        told = cli.log_failures()
        if told:
            extra['device_failures'] = told
            msg += ' (the load: %s)' % told[-1]
        extra['msg'] = msg
        cli.fail(result, **extra)
    return objects[-1]


def main():
    options = common_options()
    options.update(image=dict(type='path'), version=dict(type='str'),
                   save_settings=dict(type='bool', default=False),
                   resume=dict(type='bool', default=False),
                   timeout=dict(type='int', default=1800))
    module = AnsibleModule(argument_spec=options, supports_check_mode=True,
                           required_if=[('resume', False, ('image',))],
                           mutually_exclusive=[('resume', 'image')])
    cli = TelvoCli(module)
    params = module.params
    out = dict(changed=False)

    if params['resume']:
        # A resume with nothing cut off has nothing to do.
        folder = cli.job_folder()
        if folder is not None and cli.restart_file() is None:
            module.exit_json(**out)
        if module.check_mode:
            module.exit_json(changed=True)
        done = load(module, cli, ['load', '--resume'], None)
        module.exit_json(changed=True, firmware=done.get('firmware'), image=done.get('file'))

    if params['version'] is not None:
        running = cli.info().get('firmware')
        out['previous_firmware'] = running
        out['firmware'] = running
        if running == params['version']:
            module.exit_json(**out)
    if module.check_mode:
        out['changed'] = True
        module.exit_json(**out)

    args = ['load']
    if params['save_settings']:
        args.append('--save-settings')
    args.append(params['image'])
    done = load(module, cli, args, params['image'])
    out.update(changed=True, firmware=done.get('firmware'), image=done.get('file'))
    module.exit_json(**out)


if __name__ == '__main__':
    main()
