"""Over the real accessibility bus: start the program against the in-process device, press
"Restore" with no Settings.txt, and read the alert's words from the accessibility tree, as a
screen reader would. Every wait is bounded; the program is ended whatever happens."""

import os
import subprocess
import sys
import time

import pyatspi
from gi.repository import GLib

WORDS = "There is no 'Settings' file (settings.txt) to restore from"
APP_NAME = "Telvo Utility"


def log(text):
    print(text, flush=True)


def pump():
    # Delivers the events the listener asked for.
    ctx = GLib.MainContext.default()
    while ctx.pending():
        ctx.iteration(False)


def poll(what, probe, seconds):
    """probe() until it gives something true, for at most `seconds`."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        pump()
        try:
            found = probe()
        except GLib.Error:
            found = None  # the tree changed under us: ask again
        if found:
            return found
        time.sleep(0.1)
    raise SystemExit("FAIL: no %s within %d s" % (what, seconds))


def application():
    desktop = pyatspi.Registry.getDesktop(0)
    for i in range(desktop.childCount):
        app = desktop.getChildAtIndex(i)
        if app is not None and app.name == APP_NAME:
            return app
    return None


def find(root, predicate):
    return pyatspi.findDescendant(root, predicate, breadth_first=True)


def fresh(obj):
    obj.clear_cache()
    return obj


def text_of(obj):
    try:
        t = obj.queryText()
    except NotImplementedError:
        return ""
    return t.getText(0, -1)


def main():
    telvo, home = os.path.abspath(sys.argv[1]), sys.argv[2]
    env = dict(os.environ,
               TELVO_HOME=home,
               TELVO_PORTS="sim",
               TELVO_REGISTRY_FILE=os.path.join(home, "registry.ini"),
               QT_QPA_PLATFORM="xcb",
               QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
               QT_ACCESSIBILITY="1",
               ASAN_OPTIONS="detect_leaks=0")
    heard = []

    def listener(event):
        if event.source is not None and event.source.name == "Status":
            heard.append((event.type, str(event.any_data)))

    pyatspi.Registry.registerEventListener(
        listener, "object:text-changed:insert", "object:property-change:accessible-description")
    program = subprocess.Popen([telvo], env=env, cwd=home)
    try:
        app = poll("'%s' on the accessibility bus" % APP_NAME, application, 60)
        log("found the application")
        restore = poll("enabled 'Restore' button", lambda: find(
            app, lambda o: o.name == "Restore" and o.getRole() == pyatspi.ROLE_PUSH_BUTTON
            and fresh(o).getState().contains(pyatspi.STATE_ENABLED)), 90)
        status = poll("status line", lambda: find(
            app, lambda o: o.name == "Status" and o.getRole() in (pyatspi.ROLE_STATUS_BAR,
                                                                  pyatspi.ROLE_ALERT)), 30)
        if os.path.exists(os.path.join(home, "Settings.txt")):
            raise SystemExit("FAIL: a Settings.txt stands in the program's folder")
        action = restore.queryAction()
        names = [action.getName(i) for i in range(action.nActions)]
        log("pressing Restore (actions %s)" % names)
        action.doAction(names.index("Press") if "Press" in names else 0)
        # The alert stands five seconds; its words are read from the tree while it does.
        said = poll("alert's words on the status line",
                    lambda: WORDS in text_of(status) and text_of(status), 5)
        log("status line text: %r" % said)
        description = fresh(status).description
        log("status line description: %r" % description)
        if WORDS not in description:
            raise SystemExit("FAIL: the status line's description lacks the alert's words")
        pump()
        log("events heard: %r" % heard)
        if not any(WORDS in data for _, data in heard):
            raise SystemExit("FAIL: no event carried the alert's words")
        log("PASS")
    finally:
        program.terminate()
        try:
            program.wait(10)
        except subprocess.TimeoutExpired:
            program.kill()
            program.wait(10)


if __name__ == "__main__":
    main()
