"""HTTPS through nginx: the daemon learns the scheme from the HTTPS
parameter and records it with each new caller."""

import unittest

import harness
from harness import SOAP12

# Every operation answers today, with a result or with a fault: either is
# an answer from the daemon, which is what these tests need.
MIN_AVG_MAX = ("<nsqv:getMinAvgMaxValues><paths>/Devices</paths>"
               "<startTime>0</startTime><endTime>1</endTime>"
               "<ratePeriod>RatePeriodA</ratePeriod></nsqv:getMinAvgMaxValues>")


class TlsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # Verbosity 2 is where the new-connection line is written; a line
        # logged at a lower priority would be missing here.
        cls.stack = harness.Stack(daemon_args=("-d", "-D", "2"), tls=True)
        cls.stack.__enter__()

    @classmethod
    def tearDownClass(cls):
        cls.stack.__exit__(None, None, None)

    def assertSoapAnswer(self, reply):
        self.assertIn(reply.status, (200, 400, 500), reply.text)
        self.assertIn(SOAP12, reply.text)
        self.assertIn("Envelope", reply.text)

    # Each test calls from its own address: only the first request from an
    # address makes a connection entry, and so a log line.
    def test_a_call_over_tls_is_recorded_as_https(self):
        reply = self.stack.soap(MIN_AVG_MAX, https=True, source="127.0.0.2")
        self.assertSoapAnswer(reply)
        log = self.stack.daemon_log()
        self.assertIn("New wsgated connection", log)
        self.assertIn("admin@https:127.0.0.2", log)
        self.assertNotIn("@http:127.0.0.2", log)

    def test_a_plain_call_is_recorded_as_http(self):
        reply = self.stack.soap(MIN_AVG_MAX, user="viewer",
                                source="127.0.0.3")
        self.assertSoapAnswer(reply)
        log = self.stack.daemon_log()
        self.assertIn("viewer@http:127.0.0.3", log)
        self.assertNotIn("@https:127.0.0.3", log)

    def test_tls_also_requires_credentials(self):
        reply = self.stack.soap(MIN_AVG_MAX, https=True, user=None,
                                source="127.0.0.4")
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
