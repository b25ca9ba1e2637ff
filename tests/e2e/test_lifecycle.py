"""The daemon's life: background and foreground start, watchdog, the
connection record, orderly shutdown on SIGTERM."""

import unittest

import harness

WHO = "<nsqv:whoAmI/>"


class ForegroundTest(unittest.TestCase):
    def test_foreground_registers_no_watchdog_and_shuts_down_in_order(self):
        with harness.Stack(daemon_args=("-d", "-D", "6")) as stack:
            self.assertIsNone(stack.registered_pid())
            self.assertEqual("4", stack.app_status())
            stack.soap(WHO, source="127.0.0.1")
            stack.soap(WHO, source="127.0.0.1")
            self.assertEqual(1, len(stack.connections()))
            # Without Accept-Language the first request's environment is
            # logged, once.
            self.assertEqual(1, stack.daemon_log().count(
                "Received envp[] = REMOTE_USER=admin"))
            self.assertEqual(0, stack.stop_daemon())
            log = stack.daemon_log()
            order = ["Caught term signal", "Cleanup", "Exiting wsgated"]
            positions = [log.find(line) for line in order]
            self.assertTrue(all(p >= 0 for p in positions), log)
            self.assertEqual(sorted(positions), positions)
            self.assertEqual("2", stack.app_status())
            self.assertEqual([], stack.connections())


class BackgroundTest(unittest.TestCase):
    def test_background_daemonises_registers_and_clears_the_watchdog(self):
        with harness.Stack(daemon_args=("-D", "6"), background=True) as stack:
            pid = stack.registered_pid()
            self.assertIsNotNone(pid)
            self.assertEqual(pid, stack.daemon_pid)
            reply = stack.soap(WHO)
            self.assertIn(harness.SOAP12, reply.text)
            stack.stop_daemon()
            self.assertIsNone(stack.registered_pid())
            self.assertEqual("2", stack.app_status())


if __name__ == "__main__":
    unittest.main()
