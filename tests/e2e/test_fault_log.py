"""A fault leaves one line in the daemon's log that a person can act on:
the operation, the caller and the reason the client was given, at the
verbosity that shows errors (level 1; the harness needs 2 to see the
socket open). So does a refusal: one line per request, naming the path
refused and the role it needed, however many paths were refused."""

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


SECURITY = "/Software/Security"


class RefusalLogTest(unittest.TestCase):
    CASES = [
        # (what, user, body, expected line, refused paths)
        ("reads of the security area", "viewer",
         "<nsc1:getValues><nsc1:paths>"
         + "".join("<nsc1:string>%s/Users/%s</nsc1:string>" % (SECURITY, u)
                   for u in ("viewer", "operator", "admin"))
         + "<nsc1:string>/Devices/Meter1/VoltageL1N</nsc1:string>"
         "</nsc1:paths></nsc1:getValues>",
         "Refused nsc1:getValues to viewer@127.0.0.1 (role Viewer): read of "
         "/Software/Security/Users/viewer needs Administrator", 3),
        ("a write", "viewer",
         "<nsc1:setValue><nsc1:path>/Devices/Meter1/VoltageL1N</nsc1:path>"
         "<nsc1:value>1</nsc1:value></nsc1:setValue>",
         "Refused nsc1:setValue to viewer@127.0.0.1 (role Viewer): write of "
         "/Devices/Meter1/VoltageL1N needs Operator", 1),
        ("a reset", "operator", "<nst1:Reset/>",
         "Refused nst1:Reset to operator@127.0.0.1 (role Operator): reset of "
         "/ needs Administrator", 1),
        ("a search through the security area", "viewer",
         "<nsqv:findAttributeMatches><startingPath>%s</startingPath>"
         "<bRecursive>true</bRecursive><attribMatch>Value</attribMatch>"
         "<regexMatchPattern>.</regexMatchPattern>"
         "</nsqv:findAttributeMatches>" % SECURITY,
         "Refused nsqv:findAttributeMatches to viewer@127.0.0.1 (role "
         "Viewer): read of /Software/Security", None),
    ]

    def test_one_line_per_refused_request(self):
        with harness.Stack(daemon_args=("-d", "-D", "2")) as stack:
            for what, user, body, expected, refused in self.CASES:
                with self.subTest(what):
                    before = stack.daemon_log()
                    stack.soap(body, user=user)
                    lines = [line for line in stack.daemon_log()[
                        len(before):].splitlines() if "Refused " in line]
                    self.assertEqual(1, len(lines), lines)
                    self.assertIn(expected, lines[0])
                    count = re.search(r"; (\d+) refusals in all$", lines[0])
                    if refused == 1:
                        self.assertIsNone(count, lines[0])
                    elif refused is not None:
                        self.assertEqual(str(refused), count.group(1))
                    else:  # a search counts every node it could not read
                        self.assertGreater(int(count.group(1)), 3, lines[0])


if __name__ == "__main__":
    unittest.main()
