# -*- coding: utf-8 -*-
# Copyright: 2026 Brackwell
# The options every module of the collection shares: where the scaler hangs and which telvo-cli
# drives it.

from __future__ import absolute_import, division, print_function
__metaclass__ = type


class ModuleDocFragment(object):

    DOCUMENTATION = r'''
options:
  port:
    description:
      - The scaler's port on the managed machine, as C(telvo-cli --port) takes it.
      - A device file (C(/dev/ttyUSB0), a C(/dev/serial/by-id/...) link), a port name of the
        program (C(COM1)), or a serial-to-network server (C(rfc2217://host:port), C(tcp://host:port)).
    type: str
    required: true
  baud:
    description:
      - The rate to look for the scaler at. Without it, C(Baud) of the program's C(Telvo.ini).
    type: int
  home:
    description:
      - The program's folder on the managed machine (C(telvo-cli --home)), with its C(Telvo.ini) and,
        under C(ports/) each port's log and restart files.
      - Without it, the folder C(telvo-cli) finds on its own.
    type: path
  cli:
    description:
      - Path of C(telvo-cli) on the managed machine. Without it, C(telvo-cli) is looked up in the PATH.
    type: path
notes:
  - Each task runs C(telvo-cli --json) on the managed machine; two tasks on one port wait for each other.
requirements:
  - telvo-cli (the Telvo Utility's command line) on the managed machine
'''
