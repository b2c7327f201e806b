#!/usr/bin/env python3
"""The soak: hours of jobs against emulated devices while faults strike at random moments.

Several vorix-sim devices run on pseudo-terminals, one of them behind the real ser2net (RFC 2217).
Each device gets command-line jobs (telvo-cli info, set, save, restore, load) one after the other,
and a fault injector that writes faults into the device's control FIFO at random moments (garbage,
a flood, silence, a cut line, a reboot, a late reply, noise inside a reply; for the device behind ser2net also a server
that drops the connection). One long-running program (telvo-soak-app: the windows, refreshing
every few seconds) runs on its own device, with faults too, over the whole soak; its resident
memory, open descriptors and timers are sampled each minute.

A job that fails is recovered as the README tells a user: wait for the line to come back and run
it again, or `load --resume` when RestartLoader.txt stayed; no new fault strikes that device while
it recovers. A job still failing after three recoveries has failed for good. Exit code: 0 when no
job failed for good (and, with --check-flat, the program's descriptors and timers ended where
they started), 1 otherwise.
"""

import argparse
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

RECOVERIES = 3
JOB_LIMIT_S = 600  # a job this long is hung: killed and counted as failed


class Device:
    """One vorix-sim on a pseudo-terminal, its control FIFO and (maybe) a ser2net in front."""

    def __init__(self, soak, name, net_port=None):
        self.soak = soak
        self.name = name
        self.dir = os.path.join(soak.tmp, name)
        os.makedirs(os.path.join(self.dir, "Firmware Files"))
        # Without `Baud =` the search tries every rate, as the README tells a user whose device
        # may sit at another speed (a load leaves it at the transfer speed until the program sets
        # it back, a restore may set it): a fault at the wrong moment leaves it there.
        with open(soak.ini, encoding="latin-1") as src, \
                open(os.path.join(self.dir, "Telvo.ini"), "w", encoding="latin-1") as dst:
            dst.writelines(l for l in src if not l.replace(" ", "").lower().startswith("baud="))
        self.link = os.path.join(self.dir, "pty")
        self.control = os.path.join(self.dir, "control")
        self.events = os.path.join(self.dir, "events.txt")
        self.net_port = net_port
        self.ser2net = None
        self.quiet = threading.Event()  # set while the device's jobs recover
        self.sim = subprocess.Popen(
            [soak.sim_bin, "--ini", soak.ini, "--link", self.link, "--baud", "19200",
             "--control", self.control, "--events", self.events],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.sim.stdout.readline()  # the terminal's path: the link exists now
        if net_port:
            self.start_ser2net()
            self.port = "rfc2217://127.0.0.1:%d" % net_port
        else:
            self.port = self.link

    def start_ser2net(self):
        conf = os.path.join(self.dir, "ser2net.yaml")
        with open(conf, "w") as f:
            f.write("connection: &dev\n"
                    "  accepter: telnet(rfc2217),tcp(nodelay),127.0.0.1,%d\n"
                    "  connector: serialdev,%s,19200n81,local\n"
                    "  options:\n"
                    "    chardelay: false\n" % (self.net_port, os.path.realpath(self.link)))
        self.ser2net = subprocess.Popen(
            ["ser2net", "-n", "-d", "-c", conf, "-P", os.path.join(self.dir, "ser2net.pid")],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_port(self.net_port)

    def fault(self, line):
        with open(self.control, "w") as f:
            f.write(line + "\n")

    def drop_server(self):
        """The server drops every connection: it dies and comes back a moment later."""
        self.ser2net.kill()
        self.ser2net.wait()
        time.sleep(random.uniform(0.5, 2.0))
        self.start_ser2net()

    def stop(self):
        for p in (self.ser2net, self.sim):
            if p and p.poll() is None:
                p.terminate()
                try:
                    p.wait(5)
                except subprocess.TimeoutExpired:
                    p.kill()
                    p.wait()


def mb(counts, key):
    """A count in KB, as MB with one decimal ("?" when the program did not give it)."""
    return "%.1f" % (int(counts[key]) / 1024.0) if key in counts else "?"


def wait_port(port):
    import socket
    for _ in range(200):
        try:
            socket.create_connection(("127.0.0.1", port), 0.2).close()
            return
        except OSError:
            time.sleep(0.05)


class Soak:
    def __init__(self, args):
        self.args = args
        self.build = os.path.abspath(args.build)
        self.sim_bin = os.path.join(self.build, "bin", "vorix-sim")
        self.cli_bin = os.path.join(self.build, "bin", "telvo-cli")
        self.app_bin = os.path.join(self.build, "bin", "telvo-soak-app")
        self.ini = os.path.abspath(args.ini)
        self.tmp = tempfile.mkdtemp(prefix="telvo-soak-")
        self.lock = threading.RLock()
        self.jobs = self.faults = self.recovered = self.failed = self.hit = 0
        self.stop = threading.Event()
        self.out = open(args.out, "w") if args.out else None
        self.details = open(os.path.join(self.tmp, "details.txt"), "w")
        self.rng = random.Random(args.seed)
        self.image = os.path.join(self.tmp, "soak.frk")
        subprocess.run([self.sim_bin, "--make-firmware", self.image, "--version", "2.90",
                        "--size", str(args.image_size)], check=True, stdout=subprocess.DEVNULL)

    def say(self, text):
        print(text, flush=True)
        if self.out:
            self.out.write(text + "\n")
            self.out.flush()

    def note(self, text):
        with self.lock:
            self.details.write("%8.1f %s\n" % (time.monotonic() - self.t0, text))
            self.details.flush()

    # --- command-line jobs -------------------------------------------------------------------
    def cli(self, dev, words):
        cmd = [self.cli_bin, "--port", dev.port, "--home", dev.dir, "--yes", "--quiet"] + words
        try:
            p = subprocess.run(cmd, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                               timeout=self.args.job_limit, cwd=dev.dir, errors="replace")
            return p.returncode, p.stderr.strip().splitlines()[-1:] if p.stderr else []
        except subprocess.TimeoutExpired:
            return -1, ["hung: killed after %d s" % self.args.job_limit]

    def keep_evidence(self, dev, kind):
        """What a job that failed for good worked with, kept past the run: the device's folder
        (its settings file, the port folders' logs and restart files) as it stood then."""
        if not self.args.details:
            return
        where = os.path.join(os.path.dirname(os.path.abspath(self.args.details)), "soak-evidence",
                             "%07.1f-%s-%s" % (time.monotonic() - self.t0, dev.name, kind))
        for top, _, files in os.walk(dev.dir):
            for name in files:
                if name.endswith(".txt") or name.endswith(".ini"):
                    rel = os.path.relpath(os.path.join(top, name), dev.dir)
                    os.makedirs(os.path.dirname(os.path.join(where, rel)), exist_ok=True)
                    shutil.copy(os.path.join(top, name), os.path.join(where, rel))
        self.note("%s evidence kept in %s" % (dev.name, where))

    @staticmethod
    def load_pending(dev, err):
        """A cut-off load waits: telvo-cli said so, or a restart file stayed (in the program's
        folder, or in the port's own folder under it)."""
        if any("load --resume" in line for line in err):
            return True
        return any("RestartLoader.txt" in files for _, _, files in os.walk(dev.dir))

    def pick_job(self, rng):
        kind = rng.choices(["info", "set", "save", "restore", "load"], [30, 25, 15, 15, 15])[0]
        if kind == "set":
            return kind, ["set", "Brightness=%d" % rng.randint(-20, 20)]
        if kind == "save":
            return kind, ["save", "soak-settings.txt"]
        if kind == "restore":
            return kind, ["restore", "soak-settings.txt"]
        if kind == "load":
            return kind, ["load", self.image]
        return kind, ["info"]

    def worker(self, dev, seed):
        rng = random.Random(seed)
        while not self.stop.is_set():
            kind, words = self.pick_job(rng)
            if kind == "restore" and not os.path.exists(os.path.join(dev.dir, "soak-settings.txt")):
                kind, words = "save", ["save", "soak-settings.txt"]
            rc, err = self.cli(dev, words)
            with self.lock:
                self.jobs += 1
                tally = self.kinds.setdefault(kind, {"run": 0, "hit": 0, "died": 0})
                tally["run"] += 1
            if rc == 0:
                continue
            with self.lock:
                self.hit += 1
                tally["hit"] += 1
                if rc < 0 and rc != -1:
                    tally["died"] += 1  # a signal: the job crashed
            story = ["%s %s: exit %d %s" % (dev.name, kind, rc, " ".join(err))]
            self.note(story[0])
            dev.quiet.set()
            ok = False
            for attempt in range(RECOVERIES):
                # The user waits for the line to come back (every fault ends within seconds).
                time.sleep(6)
                again = words
                if self.load_pending(dev, err):
                    again = ["load", "--resume"]
                rc, err = self.cli(dev, again)
                story.append("%s   recovery %d (%s): exit %d %s" %
                             (dev.name, attempt + 1, " ".join(again), rc, " ".join(err)))
                self.note(story[-1])
                if rc == 0:
                    ok = True
                    break
            dev.quiet.clear()
            with self.lock:
                if ok:
                    self.recovered += 1
                else:
                    self.failed += 1
                    self.note("%s %s FAILED FOR GOOD" % (dev.name, kind))
                    self.keep_evidence(dev, kind)
                    self.failures.append(story)

    # --- faults ------------------------------------------------------------------------------
    def fault_line(self, rng, dev):
        kinds = ["garbage", "flood", "silence", "cut", "reboot", "late", "splice"]
        if dev.net_port:
            kinds.append("drop")
        if self.args.fault_kinds:
            kinds = [k for k in kinds if k in self.args.fault_kinds.split(",")] or ["garbage"]
        kind = rng.choice(kinds)
        if kind == "garbage":
            return kind, "garbage %d" % rng.randint(16, 4096)
        if kind == "flood":
            return kind, "flood %d" % rng.randint(64 * 1024, self.args.flood_max)
        if kind == "silence":
            return kind, "silence %d" % rng.randint(300, 4000)
        if kind == "cut":
            return kind, "cut %d" % rng.randint(300, 4000)
        if kind == "late":
            return kind, "late %d" % rng.randint(300, 2000)
        if kind == "splice":
            return kind, "splice %d" % rng.randint(1, 8)
        return kind, kind

    def injector(self, dev, seed):
        rng = random.Random(seed)
        while not self.stop.wait(rng.expovariate(1.0 / self.args.fault_every)):
            if dev.quiet.is_set():
                continue
            kind, line = self.fault_line(rng, dev)
            if kind == "drop":
                dev.drop_server()
            else:
                dev.fault(line)
            with self.lock:
                self.faults += 1
                self.fault_kinds[kind] = self.fault_kinds.get(kind, 0) + 1
            self.note("%s fault %s" % (dev.name, line))

    # --- the long-running program --------------------------------------------------------------
    def start_app(self, dev):
        env = dict(os.environ, TELVO_HOME=dev.dir, TELVO_PORTS=dev.link)
        self.xvfb = None
        if shutil.which("Xvfb") and not self.args.offscreen:
            # The server picks a free display itself and says which (-displayfd).
            rfd, wfd = os.pipe()
            self.xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(wfd), "-screen", "0",
                                          "1600x1200x24", "-nolisten", "tcp", "-noreset"],
                                         pass_fds=(wfd,), stdout=subprocess.DEVNULL,
                                         stderr=subprocess.DEVNULL)
            os.close(wfd)
            with os.fdopen(rfd) as r:
                display = ":" + r.readline().strip()
            env.update(DISPLAY=display, QT_QPA_PLATFORM="xcb")
            for _ in range(100):
                if subprocess.run(["xdpyinfo", "-display", display], stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL).returncode == 0:
                    break
                time.sleep(0.1)
        else:
            env.update(QT_QPA_PLATFORM="offscreen")
        self.app_err = open(os.path.join(dev.dir, "stderr.txt"), "w")
        self.app = subprocess.Popen([self.app_bin, str(self.args.refresh)], env=env, cwd=dev.dir,
                                    stdout=subprocess.PIPE, stderr=self.app_err, text=True)
        self.counts = None
        self.counts_ready = threading.Condition(self.lock)
        threading.Thread(target=self.read_app, daemon=True).start()

    def read_app(self):
        for line in self.app.stdout:
            line = line.strip()
            if line.startswith("counts "):
                with self.counts_ready:
                    self.counts = dict(w.split("=", 1) for w in line.split()[1:])
                    self.counts_ready.notify_all()
            elif line.startswith("box "):
                self.note("app " + line)

    def sample(self, empty_details=False):
        """The program's counts now: RSS (KB), descriptors, and its own counts line. With
        `empty_details`, the program first empties its Details box and gives back freed memory."""
        pid = self.app.pid
        with self.counts_ready:
            self.counts = None
            os.kill(pid, signal.SIGUSR1 if empty_details else signal.SIGUSR2)
            # The program answers from its event loop; a refresh in progress yields to it often.
            self.counts_ready.wait_for(lambda: self.counts is not None, timeout=60)
            counts = dict(self.counts or {})
        rss = 0
        # Resident memory in its three kinds: the program's own (anonymous), pages of its code
        # and fonts mapped from files (shared, given back under pressure), and the shared images
        # it draws into for the display.
        kinds = {"VmRSS:": None, "RssAnon:": "anonkb", "RssFile:": "filekb", "RssShmem:": "shmkb"}
        with open("/proc/%d/status" % pid) as f:
            for line in f:
                field = line.split()
                if field and field[0] in kinds:
                    if kinds[field[0]]:
                        counts[kinds[field[0]]] = field[1]
                    else:
                        rss = int(field[1])
        fds = len(os.listdir("/proc/%d/fd" % pid))
        # The program's own count is taken between two of its handlers, never while a routine
        # holds a file open for a moment.
        if "fds" in counts:
            fds = int(counts["fds"])
        return rss, fds, counts

    def row(self, minute, s):
        rss, fds, c = s
        timers = "%s/%s/%s" % (c.get("timers", "?"), c.get("events", "?"), c.get("qtimers", "?"))
        with self.lock:
            self.say("%6s %6d %6d %9d %7d %7d %7.1f %5s %5s %4s %5s %6s %4d %9s %9s %7s" % (
                minute, self.jobs, self.faults, self.recovered, self.failed, self.hit,
                rss / 1024.0, mb(c, "anonkb"), mb(c, "filekb"), mb(c, "shmkb"), mb(c, "heapkb"),
                mb(c, "pixmapkb"), fds, timers, c.get("refreshes", "?"), mb(c, "detailskb")))

    def wait_refreshes(self, n, limit_s):
        """Waits (on the program's own count) until it has refreshed `n` times."""
        end = time.monotonic() + limit_s
        while time.monotonic() < end and self.app.poll() is None:
            c = self.sample()[2]
            if int(c.get("refreshes", 0)) >= n:
                return True
            time.sleep(1)
        return False

    def run(self):
        self.t0 = time.monotonic()
        self.fault_kinds = {}
        self.kinds = {}
        self.failures = []
        args = self.args
        devices = []
        try:
            app_dev = Device(self, "app")
            devices.append(app_dev)
            for i in range(args.pty_devices):
                devices.append(Device(self, "pty%d" % (i + 1)))
            for i in range(args.net_devices):
                devices.append(Device(self, "net%d" % (i + 1), net_port=args.net_base + i))
            self.start_app(app_dev)
            # Its log appears once the start-up runs: counts may be asked for from then on.
            log = os.path.join(app_dev.dir, "LogFile.txt")
            for _ in range(600):
                if os.path.exists(log) or self.app.poll() is not None:
                    break
                time.sleep(0.1)
            # The program connects and reads every panel before the first count is taken.
            if not self.wait_refreshes(1, 300):
                self.say("the program did not refresh within 300 s")
                return 1
            self.say("soak: %d minutes; vorix-sim devices on pseudo-terminals: the program's, %d "
                     "for jobs, %d more for jobs behind ser2net (RFC 2217); a fault every ~%g s "
                     "per device; the program refreshing every %d s" % (
                         args.minutes, args.pty_devices, args.net_devices, args.fault_every,
                         args.refresh))
            self.say("%6s %6s %6s %9s %7s %7s %7s %5s %5s %4s %5s %6s %4s %9s %9s %7s" % (
                "minute", "jobs", "faults", "recovered", "failed", "hit", "RSS MB", "anon", "file",
                "shm", "heap", "pixmap", "fds", "timers", "refreshes", "Details"))
            # Measured as the end's emptied row is: the Details box empty, freed memory given back.
            first = self.sample(empty_details=True)
            self.t0_rows = time.monotonic()
            self.row(0, first)
            threads = []
            for i, dev in enumerate(devices):
                if dev is not app_dev:
                    threads.append(threading.Thread(target=self.worker, args=(dev, args.seed + i),
                                                    daemon=True))
                threads.append(threading.Thread(target=self.injector,
                                                args=(dev, args.seed + 100 + i), daemon=True))
            for t in threads:
                t.start()
            for minute in range(1, args.minutes + 1):
                if self.stop.wait(max(0, self.t_minute(minute))):
                    break
                if self.app.poll() is not None:
                    self.say("the program ended (exit %d)" % self.app.returncode)
                    self.failed += 1
                    break
                self.row(minute, self.sample())
            self.stop.set()
            for t in threads:
                t.join(self.args.job_limit * (RECOVERIES + 2))
            # The end is measured as the start was: the line quiet, a whole refresh done.
            done = int(self.sample()[2].get("refreshes", 0))
            self.wait_refreshes(done + 2, 300)
            last = self.sample()
            self.row("end", last)
            # The Details box keeps every line of the run by design: emptied, as a double-click
            # does, what stays is what grew beside it.
            emptied = self.sample(empty_details=True)
            self.row("emptied", emptied)
            return self.summary(first, last, emptied)
        finally:
            self.stop.set()
            if getattr(self, "app", None) and self.app.poll() is None:
                self.app.terminate()
                try:
                    self.app.wait(10)
                except subprocess.TimeoutExpired:
                    self.app.kill()
            for d in devices:
                d.stop()
            if getattr(self, "xvfb", None):
                self.xvfb.terminate()
                self.xvfb.wait()
            self.details.close()
            if args.keep:
                print("kept: %s" % self.tmp, file=sys.stderr)
            else:
                shutil.copy(os.path.join(self.tmp, "details.txt"), args.details) \
                    if args.details else None
                shutil.rmtree(self.tmp, ignore_errors=True)

    def t_minute(self, minute):
        return self.t0_rows + 60 * minute - time.monotonic()

    def summary(self, first, last, emptied):
        growth = (last[0] - first[0]) / 1024.0
        details = (int(last[2].get("detailskb", 0)) - int(first[2].get("detailskb", 0))) / 1024.0
        beside = (emptied[0] - first[0]) / 1024.0
        kinds = ", ".join("%s %d" % kv for kv in sorted(self.fault_kinds.items()))
        self.say("jobs run %d, faults injected %d (%s), jobs hit %d, recovered %d, "
                 "failed for good %d" % (self.jobs, self.faults, kinds, self.hit,
                                         self.recovered, self.failed))
        self.say("program: RSS %.1f -> %.1f MB (growth %+.1f MB; the Details box's lines %+.1f MB "
                 "of it, %s -> %s lines; with the box emptied %.1f MB, so %+.1f MB beside it), "
                 "descriptors %d -> %d, timers %s -> %s, clock events %s -> %s, Qt timers %s -> %s"
                 % (first[0] / 1024.0, last[0] / 1024.0, growth, details,
                     first[2].get("details"), last[2].get("details"), emptied[0] / 1024.0, beside,
                     first[1], last[1],
                     first[2].get("timers"), last[2].get("timers"), first[2].get("events"),
                     last[2].get("events"), first[2].get("qtimers"), last[2].get("qtimers")))

        def grew(key):
            return (int(emptied[2].get(key, 0)) - int(first[2].get(key, 0))) / 1024.0

        self.say("beside the Details box, by kind: the program's own memory %+.1f MB (the heap "
                 "in use %+.1f MB, drawn pieces the style keeps %+.1f MB), pages mapped from "
                 "files (code, fonts) %+.1f MB, images shared with the display %+.1f MB" % (
                     grew("anonkb"), grew("heapkb"), grew("pixmapkb"), grew("filekb"),
                     grew("shmkb")))
        self.say("jobs by kind: " + ", ".join(
            "%s %d (hit %d%s)" % (k, v["run"], v["hit"],
                                  ", crashed %d" % v["died"] if v["died"] else "")
            for k, v in sorted(self.kinds.items())))
        self.say("goals: 0 failed for good: %s; memory growth <= 2 MB: %s (%+.1f MB, %+.1f MB "
                 "beside the Details box); descriptors flat: %s" % (
                     "met" if self.failed == 0 else "NOT met (%d)" % self.failed,
                     "met" if growth <= 2 else ("met beside the Details box" if beside <= 2
                                                else "NOT met"), growth, beside,
                     "met" if last[1] <= first[1] else "NOT met"))
        for story in self.failures:
            self.say("failed for good:\n  " + "\n  ".join(story))
        ok = self.failed == 0
        if self.args.check_flat:
            flat = last[1] <= first[1] and last[2].get("timers") == first[2].get("timers")
            ok = ok and flat
        self.say("result: %s" % ("PASS" if ok else "FAIL"))
        return 0 if ok else 1


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--build", default="build")
    ap.add_argument("--ini", default="data/Telvo.ini")
    ap.add_argument("--minutes", type=int, default=int(os.environ.get("SOAK_MINUTES", "10")))
    ap.add_argument("--pty-devices", type=int, default=2)
    ap.add_argument("--net-devices", type=int, default=1)
    ap.add_argument("--net-base", type=int, default=0, help="first TCP port (default: a free one)")
    ap.add_argument("--fault-every", type=float, default=20, help="mean seconds between faults")
    ap.add_argument("--fault-kinds", help="only these faults, comma-separated (to find a cause)")
    ap.add_argument("--flood-max", type=int, default=1024 * 1024)
    ap.add_argument("--refresh", type=int, default=5, help="seconds between refreshes")
    ap.add_argument("--image-size", type=int, default=16384)
    ap.add_argument("--seed", type=int, default=int(time.time()))
    ap.add_argument("--out", help="the table goes here too")
    ap.add_argument("--details", help="every fault and failed job goes here")
    ap.add_argument("--check-flat", action="store_true",
                    help="fail too when descriptors or timers ended above their start")
    ap.add_argument("--job-limit", type=int, default=JOB_LIMIT_S,
                    help="seconds after which a job counts as hung and is killed")
    ap.add_argument("--offscreen", action="store_true", help="no Xvfb")
    ap.add_argument("--keep", action="store_true", help="keep the working folder")
    args = ap.parse_args()
    if args.net_devices and not shutil.which("ser2net"):
        print("soak: no ser2net; the devices behind it are left out", file=sys.stderr)
        args.net_devices = 0
    if args.net_devices and not args.net_base:
        import socket
        s = socket.socket()
        s.bind(("127.0.0.1", 0))
        args.net_base = s.getsockname()[1]
        s.close()
    soak = Soak(args)
    soak.say("seed %d" % args.seed)
    return soak.run()


if __name__ == "__main__":
    sys.exit(main())
