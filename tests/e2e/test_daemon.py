"""The daemon's life through nginx: background and foreground start, the
watchdog, the connection record, orderly shutdown on SIGTERM; and HTTPS,
whose scheme the daemon learns from the HTTPS parameter and records with
each new caller."""

import unittest

import harness
from core_calls import StackTestCase

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


class TlsTest(StackTestCase):
    # Verbosity 2 is where the new-connection line is written; a line
    # logged at a lower priority would be missing here.
    stack_options = dict(daemon_args=("-d", "-D", "2"), tls=True)

    # Each call comes from its own address: only the first request from an
    # address makes a connection entry, and so a log line.
    def test_each_call_is_recorded_with_its_scheme(self):
        for https, user, source, scheme, other in (
                (True, "admin", "127.0.0.2", "https", "http"),
                (False, "viewer", "127.0.0.3", "http", "https")):
            with self.subTest(https=https):
                reply = self.stack.soap(WHO, https=https, user=user,
                                        source=source)
                self.assertIn("<result>%s</result>" % user, reply.text)
                log = self.stack.daemon_log()
                self.assertIn("New wsgated connection", log)
                self.assertIn("%s@%s:%s" % (user, scheme, source), log)
                self.assertNotIn("@%s:%s" % (other, source), log)

    def test_tls_also_requires_credentials(self):
        reply = self.stack.soap(WHO, https=True, user=None, source="127.0.0.4")
        self.assertEqual(401, reply.status)
        self.assertNotIn("127.0.0.4", self.stack.daemon_log())

    def test_wsdl_over_tls_names_the_https_address(self):
        reply = self.stack.request(method="GET", path="/wsgated?wsdl",
                                   user=None, https=True)
        self.assertEqual(200, reply.status)
        self.assertIn("https://127.0.0.1:%d/wsgated" % self.stack.tls_port,
                      reply.text)


if __name__ == "__main__":
    unittest.main()
