#!/usr/bin/env python3
# The collection's modules run as Ansible runs them (a module process given its arguments as
# JSON), against a stand-in telvo-cli that records what it was asked and answers from a plan:
# what each module sends, and how it reads each answer, exactly.
# Usage: test_modules.py COLLECTIONS_ROOT   (the folder holding ansible_collections/)
import json
import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.abspath(sys.argv.pop(1) if len(sys.argv) > 1 else
                       os.path.join(os.path.dirname(__file__), '../../dist/ansible'))
FAKE = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'fake_telvo_cli.py')
PORT = '/dev/ttyFAKE9'


class ModuleCase(unittest.TestCase):

    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.tmp = self.dir.name
        self.log = os.path.join(self.tmp, 'calls.log')
        self.plan_file = os.path.join(self.tmp, 'plan.json')

    def tearDown(self):
        self.dir.cleanup()

    def plan(self, **answers):
        with open(self.plan_file, 'w') as f:
            json.dump(answers, f)

    def run_module(self, name, check=False, diff=False, **params):
        args = dict(params, port=PORT, cli=FAKE, home=self.tmp,
                    _ansible_check_mode=check, _ansible_diff=diff)
        args_file = os.path.join(self.tmp, 'args.json')
        with open(args_file, 'w') as f:
            json.dump({'ANSIBLE_MODULE_ARGS': args}, f)
        # No bytecode beside the collection's sources.
        env = dict(os.environ, PYTHONPATH=ROOT, PYTHONDONTWRITEBYTECODE='1', FAKE_CLI_LOG=self.log,
                   FAKE_CLI_PLAN=self.plan_file)
        proc = subprocess.run([sys.executable, '-m',
                               'ansible_collections.telvo.scaler.plugins.modules.' + name, args_file],
                              env=env, capture_output=True, text=True, timeout=120)
        try:
            return json.loads(proc.stdout)
        except ValueError:
            self.fail('module %s printed no JSON: %s %s' % (name, proc.stdout, proc.stderr))

    def calls(self):
        if not os.path.exists(self.log):
            return []
        with open(self.log) as f:
            return [json.loads(line) for line in f]

    def base(self):
        return ['--json', '--home', self.tmp, '--port', PORT]


INFO = {"schema": 1, "command": "info", "port": PORT, "model": "Gorda", "firmware": "1.24",
        "options": "SDI", "com": "COM1", "device": PORT, "speed": 19200, "originalSpeed": 19200,
        "transferSpeed": 57600, "state": "Powered"}


def apply_report(check, changed, rows):
    return {"schema": 1, "command": "apply", "port": PORT, "check": check, "changed": changed,
            "settings": [dict(name=n, before=b, after=a, beforeText=str(b), afterText=str(a),
                              changed=b != a) for n, b, a in rows]}


class Info(ModuleCase):

    def test_reads_and_never_changes(self):
        self.plan(info=[{"stdout": [INFO]}])
        r = self.run_module('info')
        self.assertFalse(r['changed'])
        self.assertEqual((r['model'], r['firmware'], r['speed'], r['original_speed'],
                          r['transfer_speed'], r['state'], r['port']),
                         ('Gorda', '1.24', 19200, 19200, 57600, 'Powered', PORT))
        self.assertEqual(self.calls(), [self.base() + ['info']])

    def test_failure_carries_the_programs_text(self):
        text = PORT + ": opened, but silent at 19200, 57600 baud"
        self.plan(info=[{"stdout": [{"schema": 1, "command": "info", "port": PORT,
                                     "error": text, "exit": 3}], "exit": 3}])
        r = self.run_module('info')
        self.assertTrue(r['failed'])
        self.assertEqual(r['msg'], text)
        self.assertEqual(r['rc'], 3)


class Settings(ModuleCase):

    def test_check_mode_asks_apply_check_and_reports_what_would_change(self):
        self.plan(apply=[{"stdout": [apply_report(True, True, [('Brightness', 0, 5),
                                                               ('Contrast', -3, -3)])],
                          "exit": 6}])
        r = self.run_module('settings', check=True, diff=True,
                            settings={'Brightness': 5, 'Contrast': -3})
        self.assertTrue(r['changed'])
        self.assertEqual(self.calls(), [self.base() + ['apply', '--check', 'Brightness=5',
                                                       'Contrast=-3']])
        self.assertEqual(r['diff'], {'before': 'Brightness = 0\nContrast = -3\n',
                                     'after': 'Brightness = 5\nContrast = -3\n'})
        self.assertEqual([s['changed'] for s in r['settings']], [True, False])

    def test_apply_changed_then_unchanged(self):
        self.plan(apply=[{"stdout": [apply_report(False, True, [('Noise Reduction', 'Off', 'Medium')])]},
                         {"stdout": [apply_report(False, False, [('Noise Reduction', 'Medium', 'Medium')])]}])
        first = self.run_module('settings', settings={'Noise Reduction': 'Medium', 'HDMI Audio': True})
        second = self.run_module('settings', settings={'Noise Reduction': 'Medium', 'HDMI Audio': True})
        self.assertTrue(first['changed'])
        self.assertFalse(second['changed'])
        self.assertNotIn('diff', first)
        # YAML's On read as true goes back as the list's text.
        self.assertEqual(self.calls()[0], self.base() + ['apply', 'Noise Reduction=Medium', 'HDMI Audio=On'])
        self.assertEqual(first['settings'][0], dict(name='Noise Reduction', before='Off', after='Medium',
                                                    before_text='Off', after_text='Medium', changed=True))

    def test_refused_value_fails_with_the_programs_text(self):
        text = 'Brightness: 99 is out of range (-50 to 50); nothing was sent'
        self.plan(apply=[{"stdout": [{"schema": 1, "command": "apply", "port": PORT, "error": text,
                                      "exit": 2}], "exit": 2}])
        r = self.run_module('settings', settings={'Brightness': 99})
        self.assertTrue(r['failed'])
        self.assertEqual(r['msg'], text)

    def test_check_mode_nothing_differs(self):
        self.plan(apply=[{"stdout": [apply_report(True, False, [('Brightness', 5, 5)])], "exit": 0}])
        r = self.run_module('settings', check=True, settings={'Brightness': 5})
        self.assertFalse(r['changed'])


class Firmware(ModuleCase):

    def test_already_that_version_sends_nothing_but_the_info(self):
        self.plan(info=[{"stdout": [dict(INFO, firmware='2.81')]}])
        r = self.run_module('firmware', image=os.path.join(self.tmp, 'x.frk'), version='2.81')
        self.assertFalse(r['changed'])
        self.assertEqual(self.calls(), [self.base() + ['info']])

    def test_other_version_loads_with_save_settings(self):
        image = os.path.join(self.tmp, 'x.frk')
        self.plan(info=[{"stdout": [INFO]}],
                  load=[{"stdout": [{"schema": 1, "command": "load", "port": PORT, "file": image,
                                     "firmware": "2.81"}]}])
        r = self.run_module('firmware', image=image, version='2.81', save_settings=True)
        self.assertTrue(r['changed'])
        self.assertEqual((r['firmware'], r['previous_firmware']), ('2.81', '1.24'))
        self.assertEqual(self.calls(), [self.base() + ['info'],
                                        self.base() + ['load', '--save-settings', image]])

    def test_check_mode_loads_nothing(self):
        self.plan(info=[{"stdout": [INFO]}])
        r = self.run_module('firmware', check=True, image='/x.frk', version='2.81')
        self.assertTrue(r['changed'])
        self.assertEqual(self.calls(), [self.base() + ['info']])

    def restart_file(self):
        folder = os.path.join(self.tmp, 'ports', 'dev_ttyFAKE9')
        os.makedirs(folder, exist_ok=True)
        path = os.path.join(folder, 'RestartLoader.txt')
        with open(path, 'w') as f:
            f.write('COM1,19200,57600,0\r\n')
        return path

    def test_failed_load_fails_with_its_text_and_names_the_restart_file(self):
        path = self.restart_file()
        text = 'Could not set the Firmware update mode'
        self.plan(load=[{"stdout": [{"schema": 1, "command": "load", "port": PORT, "error": text,
                                     "exit": 1}], "exit": 1}])
        r = self.run_module('firmware', image='/x.frk')
        self.assertTrue(r['failed'])
        self.assertEqual(r['msg'], text)
        self.assertEqual(r['restart_file'], path)

    def test_a_load_past_its_time_is_stopped_and_keeps_the_restart_file(self):
        # Pins a departure (docs/ARCHITECTURE.md): the module ends a load the device keeps refusing.
        path = self.restart_file()
        kept = ('terminated (SIGTERM); RestartLoader.txt is kept: run "telvo-cli --port %s load '
                '--resume" to finish the load' % PORT)
        self.plan(load=[{"sleep": 60, "stderr": "Click 'Continue' to restart transfer\n",
                         "on_term": {"schema": 1, "command": "load", "port": PORT, "error": kept,
                                     "exit": 143}}])
        with open(os.path.join(os.path.dirname(path), 'LogFile.txt'), 'w') as f:
            f.write("Sent: (STX)3005AD(NUL)1(NUL)(ETX) on COM1 @ 57600\r\n"
                    "Transfer Failed, 3100 Bytes processed.\r\n"
                    "               Click 'Continue' to restart transfer     \r\n"
                    "Transfer Failed, 3000 Bytes processed.\r\n"
                    "Breakpoint: Make sure the Gorda is Displaying message: 'Load frk File now.'.\r\n")
        r = self.run_module('firmware', image='/x.frk', timeout=1)
        self.assertTrue(r['failed'])
        self.assertTrue(r['timed_out'])
        self.assertEqual(r['rc'], 143)
        self.assertEqual(r['msg'], "the load did not end within 1 s and was stopped: " + kept +
                         " (the load: Transfer Failed, 3000 Bytes processed.)")
        self.assertEqual(r['device_failures'], ['Transfer Failed, 3100 Bytes processed.',
                                                'Transfer Failed, 3000 Bytes processed.'])
        self.assertEqual(r['restart_file'], path)

    def test_resume_without_restart_file_does_nothing(self):
        self.plan()
        r = self.run_module('firmware', resume=True)
        self.assertFalse(r['changed'])
        self.assertEqual(self.calls(), [])

    def test_resume_with_restart_file(self):
        self.restart_file()
        self.plan(load=[{"stdout": [{"schema": 1, "command": "load", "port": PORT,
                                     "file": "the cut-off load", "firmware": "2.80"}]}])
        r = self.run_module('firmware', resume=True)
        self.assertTrue(r['changed'])
        self.assertEqual(r['firmware'], '2.80')
        self.assertEqual(self.calls(), [self.base() + ['load', '--resume']])


class Backup(ModuleCase):

    def test_changed_only_when_the_content_changed(self):
        dest = os.path.join(self.tmp, 'lobby.txt')
        saved = {"stdout": [{"schema": 1, "command": "save", "file": "x", "lines": 2}],
                 "write": "A=1\nB=2\n"}
        self.plan(save=[saved, saved, dict(saved, write="A=1\nB=3\n"), dict(saved, write="A=1\nB=4\n")])
        first = self.run_module('backup', dest=dest)
        second = self.run_module('backup', dest=dest)
        self.assertEqual((first['changed'], second['changed']), (True, False))
        checked = self.run_module('backup', check=True, dest=dest)
        self.assertTrue(checked['changed'])
        with open(dest) as f:
            self.assertEqual(f.read(), "A=1\nB=2\n")  # check mode left it
        third = self.run_module('backup', dest=dest)
        self.assertTrue(third['changed'])
        with open(dest) as f:
            self.assertEqual(f.read(), "A=1\nB=4\n")
        # Each save went to a file beside dest, and none stayed.
        for call in self.calls():
            self.assertEqual(os.path.dirname(call[-1]), self.tmp)
            self.assertNotEqual(call[-1], dest)
        self.assertEqual(sorted(os.listdir(self.tmp)), ['args.json', 'calls.log', 'lobby.txt', 'plan.json'])

    def test_failed_save_leaves_dest_and_no_temporary_file(self):
        dest = os.path.join(self.tmp, 'lobby.txt')
        self.plan(save=[{"stdout": [{"schema": 1, "command": "save", "port": PORT,
                                     "error": "the device is in standby: give --power-on to power it up",
                                     "exit": 3}], "exit": 3}])
        r = self.run_module('backup', dest=dest)
        self.assertTrue(r['failed'])
        self.assertEqual(r['msg'], 'the device is in standby: give --power-on to power it up')
        self.assertEqual(sorted(os.listdir(self.tmp)), ['args.json', 'calls.log', 'plan.json'])


class Restore(ModuleCase):
    DIFF = {"schema": 1, "command": "diff", "port": PORT, "setting": "Brightness",
            "state": "Input Video 1", "file": 5, "device": 0, "fileCode": "B15", "deviceCode": "B10"}

    def test_equal_sends_no_restore(self):
        self.plan(diff=[{"stdout": [{"schema": 1, "command": "diff", "port": PORT,
                                     "differing": 0, "compared": 115}]}])
        r = self.run_module('restore', src='/s.txt')
        self.assertFalse(r['changed'])
        self.assertEqual(self.calls(), [self.base() + ['diff', '/s.txt']])

    def test_differing_restores_and_shows_the_diff(self):
        self.plan(diff=[{"stdout": [self.DIFF], "exit": 6}],
                  restore=[{"stdout": [{"schema": 1, "command": "restore", "port": PORT, "file": "/s.txt"}]}])
        r = self.run_module('restore', diff=True, src='/s.txt')
        self.assertTrue(r['changed'])
        self.assertEqual(self.calls(), [self.base() + ['diff', '/s.txt'], self.base() + ['restore', '/s.txt']])
        self.assertEqual(r['diff'], {'before': 'Brightness (Input Video 1) = 0\n',
                                     'after': 'Brightness (Input Video 1) = 5\n'})

    def test_check_mode_is_the_diff_alone(self):
        self.plan(diff=[{"stdout": [self.DIFF], "exit": 6}])
        r = self.run_module('restore', check=True, src='/s.txt')
        self.assertTrue(r['changed'])
        self.assertEqual(self.calls(), [self.base() + ['diff', '/s.txt']])

    def test_refused_settings_fail_and_are_named(self):
        self.plan(diff=[{"stdout": [self.DIFF], "exit": 6}],
                  restore=[{"stdout": [{"schema": 1, "command": "restore", "port": PORT,
                                        "error": "could not restore 1 setting(s): Brightness",
                                        "exit": 1, "failed": ["Brightness"]}], "exit": 1}])
        r = self.run_module('restore', src='/s.txt')
        self.assertTrue(r['failed'])
        self.assertEqual(r['msg'], 'could not restore 1 setting(s): Brightness')
        self.assertEqual(r['failed_settings'], ['Brightness'])


if __name__ == '__main__':
    unittest.main(verbosity=2)
