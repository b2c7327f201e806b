# -*- coding: utf-8 -*-
# Copyright: 2026 Brackwell
# Runs telvo-cli --json for the modules of the collection: the common options, the JSON lines it
# prints, and its failures turned into failed tasks that carry the program's own text.

from __future__ import absolute_import, division, print_function
__metaclass__ = type

import json
import os
import re
import signal
import subprocess

from ansible.module_utils.common.text.converters import to_native

# telvo-cli's exit codes the modules read.
EXIT_DONE = 0
EXIT_DIFFERS = 6
EXIT_TERMINATED = 143

RESTART_FILE = 'RestartLoader.txt'
LOG_FILE = 'LogFile.txt'
# The log lines that tell a failure: the device's refusals as the program words them.
FAILURE_LINE = re.compile(r'fail|could not|unable|err:|timed out', re.IGNORECASE)


def common_options():
    """The options of the doc fragment telvo.scaler.common."""
    return dict(
        port=dict(type='str', required=True),
        baud=dict(type='int'),
        home=dict(type='path'),
        cli=dict(type='path'),
    )


def port_folder_name(port):
    """The port's own folder name under the program's ports/, as telvo-cli names it."""
    name = port
    # A device's other names (/dev/serial/by-id/...) share its folder.
    if port.startswith('/') and os.path.exists(port):
        name = os.path.realpath(port)
    name = re.sub(r'[^A-Za-z0-9.-]+', '_', name).lstrip('_')
    return name or 'port'


class CliResult(object):
    """One run: its exit code, the JSON objects of its output, its standard error."""

    def __init__(self, cmd, rc, stdout, stderr, timed_out=False):
        self.cmd = cmd
        self.rc = rc
        self.stdout = stdout
        self.stderr = stderr
        self.timed_out = timed_out
        self.objects = []
        self.unparsed = []
        for line in stdout.splitlines():
            line = line.strip()
            if not line:
                continue
            try:
                obj = json.loads(line)
            except ValueError:
                self.unparsed.append(line)
                continue
            if isinstance(obj, dict):
                self.objects.append(obj)

    def errors(self):
        return [o for o in self.objects if 'error' in o]

    def results(self):
        return [o for o in self.objects if 'error' not in o]

    def message(self):
        """The program's own text of the failure."""
        texts = [to_native(o['error']) for o in self.errors()]
        if texts:
            return '; '.join(texts)
        lines = [line for line in self.stderr.splitlines() if line.strip()]
        if lines:
            return lines[-1].strip()
        return 'telvo-cli ended with exit %d and said nothing' % self.rc


class TelvoCli(object):
    """telvo-cli on the managed machine, for the port of the module's options."""

    def __init__(self, module):
        self.module = module
        params = module.params
        self.port = params['port']
        self.baud = params.get('baud')
        self.home = params.get('home')
        self.cli = params.get('cli') or module.get_bin_path('telvo-cli', required=True)

    def command(self, args):
        cmd = [self.cli, '--json']
        if self.home:
            cmd += ['--home', self.home]
        cmd += ['--port', self.port]
        if self.baud:
            cmd += ['--baud', str(self.baud)]
        return cmd + [to_native(a) for a in args]

    def run(self, args, timeout=None):
        """Runs one job. Past `timeout` seconds it is stopped as SIGTERM stops it (a cut load
        keeps its restart file) and its own report of the stop is read."""
        cmd = self.command(args)
        try:
            proc = subprocess.Popen(cmd, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                    stderr=subprocess.PIPE)
        except OSError as e:
            self.module.fail_json(msg='cannot run %s: %s' % (cmd[0], to_native(e)), cmd=cmd)
        timed_out = False
        try:
            out, err = proc.communicate(timeout=timeout or None)
        except subprocess.TimeoutExpired:
            timed_out = True
            proc.send_signal(signal.SIGTERM)
            out, err = proc.communicate()
        return CliResult(cmd, proc.returncode, to_native(out, errors='surrogate_or_replace'),
                         to_native(err, errors='surrogate_or_replace'), timed_out)

    def expect(self, args, accept=(EXIT_DONE,), timeout=None, **extra):
        """Runs one job; any exit code not in `accept` fails the task."""
        result = self.run(args, timeout=timeout)
        if result.rc not in accept:
            self.fail(result, **extra)
        return result

    def info(self):
        """The scaler's info object (queries only); the task fails when it cannot be read."""
        result = self.expect(['info'])
        objects = result.results()
        if not objects:
            self.fail(result)
        return objects[0]

    def fail(self, result, **extra):
        details = dict(rc=result.rc, cmd=result.cmd, stderr=result.stderr,
                       stderr_lines=result.stderr.splitlines())
        for obj in result.errors():
            if 'failed' in obj:
                details['failed_settings'] = obj['failed']
        details.update(extra)
        msg = details.pop('msg', None) or result.message()
        self.module.fail_json(msg=msg, **details)

    def job_folder(self):
        """The folder of the port's working files, when the program's folder is known here."""
        home = self.home or os.environ.get('TELVO_HOME')
        if not home:
            return None
        if self.port.upper() == 'COM1':
            return home
        return os.path.join(home, 'ports', port_folder_name(self.port))

    def log_failures(self, limit=5):
        """The last failure lines of the port's log of this run (its LogFile.txt)."""
        folder = self.job_folder()
        if folder is None:
            return []
        try:
            with open(os.path.join(folder, LOG_FILE), 'rb') as f:
                text = to_native(f.read(), errors='surrogate_or_replace')
        except (IOError, OSError):
            return []
        lines = [line.strip() for line in text.splitlines() if FAILURE_LINE.search(line)]
        return lines[-limit:]

    def restart_file(self, result=None):
        """The path of the port's RestartLoader.txt when one is there, else None."""
        folder = self.job_folder()
        if folder is None and result is not None:
            # The program names its folder in the line it asks to run.
            m = re.search(r'--home (\S+)', result.message())
            if m:
                home = m.group(1)
                folder = home if self.port.upper() == 'COM1' else os.path.join(
                    home, 'ports', port_folder_name(self.port))
        if folder is None:
            return None
        path = os.path.join(folder, RESTART_FILE)
        return path if os.path.exists(path) else None


def value_text(value):
    """A setting's value as NAME=VALUE takes it."""
    # YAML 1.1 reads On and Off as booleans; the list settings mean their texts.
    if isinstance(value, bool):
        return 'On' if value else 'Off'
    return to_native(value)


def diff_text(rows):
    """Before and after for --diff: one `name = value` line a setting, in the order given."""
    before = ''.join('%s = %s\n' % (name, b) for name, b, dummy in rows)
    after = ''.join('%s = %s\n' % (name, a) for name, dummy, a in rows)
    return dict(before=before, after=after)
