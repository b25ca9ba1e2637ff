"""wsgated under wsgated-supervisor: a hung daemon (SIGSTOP) and a killed
one (SIGKILL) are restarted and serve again through nginx; SIGTERM to the
supervisor ends the daemon and the supervisor and leaves no watchdog row.

The daemon runs in the background as on a card, with a short watchdog
period. It pings about every 5 seconds whatever its period, so the period
must stay well above that or a healthy daemon would look hung."""

import os
import shlex
import signal
import subprocess
import unittest

import core_calls
import harness

PERIOD_S = 10
CHECK_S = 0.5
STOP_GRACE_S = 2
# Hang guard of a restart after SIGSTOP: about ten times the period, the
# check and the stop grace it takes.
HUNG_RESTART_LIMIT_S = 10 * (PERIOD_S + CHECK_S + STOP_GRACE_S)


def parent_pid(pid):
    with open("/proc/%d/stat" % pid) as f:
        return int(f.read().rsplit(")", 1)[1].split()[1])


class SupervisedStack(harness.Stack):
    """Store and nginx as usual; the supervisor starts the daemon."""

    def __init__(self):
        super().__init__(daemon_args=("-D", "2"), background=True)
        self.supervisor = None
        self.supervisor_log = os.path.join(self.dir, "supervisor.log")
        self.pid_file = os.path.join(self.dir, "supervisor.pid")

    def env(self):
        env = super().env()
        env["WSGATED_WATCHDOG_S"] = str(PERIOD_S)
        return env

    def start_daemon(self):
        command = " ".join(shlex.quote(word) for word in
                           harness.program("WSGATED_BIN") + self.daemon_args +
                           self.daemon_path_args())
        argv = harness.program("WSGATED_SUPERVISOR_BIN") + [
            "--store", self.store,
            "--log-file", self.supervisor_log, "-D", "2",
            "--check-seconds", str(CHECK_S),
            "--start-grace-seconds", "5",
            "--stop-grace-seconds", str(STOP_GRACE_S),
            "--backoff-seconds", "0.5", "--backoff-max-seconds", "2",
            "--pid-file", self.pid_file,
            "--program", "wsgated=" + command]
        self.supervisor = subprocess.Popen(
            argv, env=self.env(), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.daemon_pid = self.wait_for_daemon(None)
        # Seen by the supervisor too, so that what the test does next
        # happens to a daemon it knows.
        harness.wait_until(
            lambda: "wsgated registered its watchdog row: pid %d"
            % self.daemon_pid in self.supervisor_lines(),
            "the supervisor's sight of the daemon's row")

    def stop_daemon(self):
        """SIGTERM to the supervisor; returns its exit status."""
        if self.supervisor is None or self.supervisor.returncode is not None:
            return None if self.supervisor is None else self.supervisor.returncode
        self.supervisor.send_signal(signal.SIGTERM)
        try:
            return self.supervisor.wait(timeout=harness.START_LIMIT_S)
        except subprocess.TimeoutExpired:
            self.supervisor.kill()
            self.supervisor.wait()
            raise AssertionError("the supervisor ignored SIGTERM")
        finally:
            # A daemon the supervisor failed to end must not outlive the test.
            for _, pid in self.rows():
                if harness.pid_alive(pid):
                    os.kill(pid, signal.SIGKILL)

    def rows(self):
        """(name, pid) of every watchdog row."""
        rows = []
        for line in self.cdsctl("watchdogs").stdout.splitlines():
            fields = line.split("\t")
            rows.append((fields[0], int(fields[1].split()[1])))
        return rows

    def serving_pid(self, old_pid):
        """The pid of a daemon other than `old_pid` that has a row and
        answers a read through nginx; None while there is none."""
        pids = [pid for name, pid in self.rows()
                if name == "wsgated" and pid != old_pid
                and harness.pid_alive(pid)]
        if len(pids) != 1:
            return None
        answer = core_calls.call(self, "getValue", path=core_calls.PLAIN_POINT)
        return pids[0] if answer.results == [core_calls.PLAIN_VALUE] else None

    def wait_for_daemon(self, old_pid, limit_s=harness.START_LIMIT_S):
        found = []

        def serving():
            found[:] = [self.serving_pid(old_pid)]
            return found[0] is not None

        harness.wait_until(serving, "a daemon that serves, other than %s"
                           % old_pid, limit_s)
        return found[0]

    def supervisor_lines(self):
        with open(self.supervisor_log) as f:
            return f.read()


class SupervisorTest(unittest.TestCase):
    def needs_adoption(self, stack):
        """Skips under an emulator that keeps the supervisor from adopting
        the daemonised daemon: qemu-user 7 refuses PR_SET_CHILD_SUBREAPER,
        and init then reaps the daemon."""
        if harness.EMULATOR and ("Cannot adopt orphaned descendants"
                                 in stack.supervisor_lines()):
            self.skipTest("the emulator cannot make the supervisor adopt")

    def test_a_stopped_daemon_is_restarted_and_serves(self):
        with SupervisedStack() as stack:
            hung = stack.daemon_pid
            os.kill(hung, signal.SIGSTOP)
            new = stack.wait_for_daemon(hung, HUNG_RESTART_LIMIT_S)
            self.assertNotEqual(hung, new)
            harness.wait_until(lambda: not harness.pid_alive(hung),
                               "the hung daemon's end")
            self.assertIn("Restarting wsgated: its watchdog row is older than "
                          "its period (pid %d" % hung, stack.supervisor_lines())
            self.assertEqual(0, stack.stop_daemon())

    def test_a_killed_daemon_is_reaped_its_row_removed_and_restarted(self):
        with SupervisedStack() as stack:
            self.needs_adoption(stack)
            killed = stack.daemon_pid
            # The daemonised daemon stays the supervisor's child, so the
            # supervisor's reaping is what ends the pid, and only its
            # clean-up removes the row.
            self.assertEqual(stack.supervisor.pid, parent_pid(killed))
            os.kill(killed, signal.SIGKILL)
            new = stack.wait_for_daemon(killed)
            harness.wait_until(lambda: not harness.pid_alive(killed),
                               "the killed daemon reaped")
            self.assertEqual([("supervisor", stack.supervisor.pid),
                              ("wsgated", new)], sorted(stack.rows()))
            self.assertIn("Restarting wsgated: its process and its watchdog "
                          "row are gone", stack.supervisor_lines())
            self.assertEqual(0, stack.stop_daemon())

    def test_sigterm_ends_the_daemon_and_the_supervisor(self):
        with SupervisedStack() as stack:
            self.needs_adoption(stack)
            daemon = stack.daemon_pid
            with open(stack.pid_file) as f:
                self.assertEqual(stack.supervisor.pid, int(f.read()))
            # Its log names users, paths and pids: owner and group only.
            self.assertEqual(0o640, os.stat(stack.supervisor_log).st_mode
                             & 0o777)
            self.assertEqual(0, stack.stop_daemon())
            self.assertFalse(harness.pid_alive(daemon))
            self.assertEqual([], stack.rows())
            self.assertFalse(os.path.exists(stack.pid_file))


if __name__ == "__main__":
    unittest.main()
