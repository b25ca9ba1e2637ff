"""Node administration through nginx on the sample store: a large
SetLeaves and Reset, with the reboot program replaced
(harness.Stack.reboot_cmd) so that no test restarts the machine. Results,
store effects and refusals of each operation are the unit tests'
(tests/admin) and the authorization matrix's."""

import os
import unittest

import harness
from core_calls import StackTestCase, StringArray, request_body

RESET = request_body("Reset", {}, "nst1")
FAILED_REBOOT = "? System Reboot Failed: No such file or directory"
RESET_LOG = ("Network Card Reset requested via web services by admin "
             "at 127.0.0.1")


class AdminTest(StackTestCase):
    prefix = "nst1"

    def test_ten_thousand_leaves_in_one_set_leaves(self):
        paths = ["/Devices/UPS1/Load:Note%05d" % i for i in range(10000)]
        self.assertEqual(["n"] * 10000, self.results(
            "SetLeaves", paths=StringArray(paths),
            values=StringArray(["n"] * 10000)))
        self.assertEqual("n", self.stored(paths[-1]))

    def test_reset_that_cannot_start_the_program_answers_why(self):
        self.assertEqual(FAILED_REBOOT, self.result("Reset"))
        self.assertIn(RESET_LOG, self.stack.cdsctl("syslog").stdout)
        self.assertIn(FAILED_REBOOT, self.stack.daemon_log())
        self.assertServedNormally()


class ResetProgramTest(unittest.TestCase):
    """A Reset that starts the reboot program: the program replaces the
    daemon's process, so this test has a stack of its own."""

    def test_reboot_program_replaces_the_daemon(self):
        stack = harness.Stack()
        record = os.path.join(stack.dir, "reboot-argv")
        stack.reboot_cmd = os.path.join(stack.dir, "reboot")
        with open(stack.reboot_cmd, "w") as f:
            f.write('#!/bin/sh\necho "$# $*" > %s\nexit 7\n' % record)
        os.chmod(stack.reboot_cmd, 0o755)
        # Leaving the block closes the stack, whose daemon is gone by then.
        with stack:
            pid = stack.daemon_pid
            reply = stack.soap(RESET, user="admin")
            # The daemon's process is the script now; it ends without an
            # answer, and nginx reports the broken upstream.
            self.assertEqual(502, reply.status, reply.text)
            harness.wait_until(lambda: stack.daemon_proc.poll() is not None,
                               "the reboot program's exit")
            self.assertEqual(7, stack.daemon_proc.returncode)
            self.assertEqual(pid, stack.daemon_proc.pid)
            with open(record) as f:
                self.assertEqual("0 \n", f.read())
            self.assertIn(RESET_LOG, stack.cdsctl("syslog").stdout)


if __name__ == "__main__":
    unittest.main()
