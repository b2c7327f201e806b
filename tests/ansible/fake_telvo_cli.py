#!/usr/bin/env python3
# A stand-in telvo-cli for the modules' own tests: it appends its arguments to $FAKE_CLI_LOG (one
# JSON list a line) and answers from $FAKE_CLI_PLAN, a JSON object mapping a command word
# ("info", "apply", "save", ...) to a list of answers taken in turn:
# {"stdout": [objects], "stderr": "text", "exit": N, "write": "text for the file argument",
#  "sleep": seconds}. The last answer of a list repeats.
import json
import os
import signal
import sys
import time


def main():
    args = sys.argv[1:]
    with open(os.environ['FAKE_CLI_LOG'], 'a') as log:
        log.write(json.dumps(args) + '\n')
    # The command is the first word after the options that take values.
    words = []
    skip = False
    for a in args:
        if skip:
            skip = False
            continue
        if a in ('--home', '--port', '--baud'):
            skip = True
            continue
        if a.startswith('--') and not words:
            continue
        words.append(a)
    command = words[0] if words else ''
    plan_file = os.environ['FAKE_CLI_PLAN']
    with open(plan_file) as f:
        plan = json.load(f)
    answers = plan.get(command, [{"stdout": [], "exit": 0}])
    answer = answers[0]
    if len(answers) > 1:
        plan[command] = answers[1:]
        with open(plan_file, 'w') as f:
            json.dump(plan, f)
    if 'write' in answer:
        with open(words[-1], 'w') as f:
            f.write(answer['write'])
    if answer.get('sleep'):
        stopped = []
        signal.signal(signal.SIGTERM, lambda *a: stopped.append(1))
        end = time.time() + answer['sleep']
        while time.time() < end and not stopped:
            time.sleep(0.05)
        if stopped:
            print(json.dumps(answer['on_term']))
            sys.stderr.write(answer.get('stderr', ''))
            sys.exit(143)
    for obj in answer.get('stdout', []):
        print(json.dumps(obj))
    sys.stderr.write(answer.get('stderr', ''))
    sys.exit(answer.get('exit', 0))


if __name__ == '__main__':
    main()
