"""A fault leaves one line in the daemon's log that a person can act on:
the operation, the caller and the reason the client was given, at the
verbosity that shows errors (level 1; the harness needs 2 to see the
socket open)."""

import re
import unittest

import harness


class FaultLogTest(unittest.TestCase):
    CASES = [
        # (what, user, body, operation, engine code)
        ("a value of the wrong XML type", "viewer",
         "<nsc1:getArrayRange><nsc1:path>/Devices/UPS1/OperatingMode/"
         "PossibleValues</nsc1:path><nsc1:index>x</nsc1:index>"
         "<nsc1:count>1</nsc1:count></nsc1:getArrayRange>",
         "nsc1:getArrayRange", None),
        ("an operation the service does not have", "operator",
         "<nsc1:getEverything/>", "nsc1:getEverything", None),
        ("an operation the device does not offer", "viewer",
         "<nsqv:getMinAvgMaxValues/>", "nsqv:getMinAvgMaxValues", 2),
        ("a reset the caller may not make", "viewer",
         "<nst1:Reset/>", "nst1:Reset", 401),
    ]

    def test_each_fault_names_operation_caller_and_reason(self):
        with harness.Stack(daemon_args=("-d", "-D", "2")) as stack:
            for what, user, body, operation, code in self.CASES:
                with self.subTest(what):
                    reply = stack.soap(body, user=user)
                    self.assertNotEqual(200, reply.status, reply.text)
                    line = re.search(
                        r"Fault for %s by %s@127\.0\.0\.1: (.+) "
                        r"\(engine code (\d+)\)" % (operation, user),
                        stack.daemon_log())
                    self.assertIsNotNone(line, stack.daemon_log())
                    reason = line.group(1)
                    self.assertNotEqual("no reason", reason)
                    # The reason is the one the client was given.
                    self.assertIn(reason.split(": ")[0], reply.text)
                    if code is not None:
                        self.assertEqual(str(code), line.group(2))


if __name__ == "__main__":
    unittest.main()
