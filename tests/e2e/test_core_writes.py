"""Writes through nginx on the sample device: setValue and setValues seen
at once by a second process (cdsctl), and refusals answered with HTTP 401
by the daemon or by nginx. Conversions, error texts and persistence are
the unit tests' (tests/common)."""

import unittest

from core_calls import PLAIN_POINT, StackTestCase

THRESHOLD = "/Devices/UPS1/LowBatteryThreshold/Value"      # integer, 25
RATED = "/Devices/Breaker1/RatedCurrent/Value"              # real, 630
BEEPER = "/Devices/UPS1/BeeperEnabled/Value"                # Disabled;Enabled
# Only Administrators may write the UPS's service data.
SERVICE_CODE = "/Devices/UPS1/Service/ServiceCode/Value"


class WriteTest(StackTestCase):
    def test_writes_are_seen_at_once_by_another_process(self):
        for version, value in ((12, "30"), (11, "31")):
            with self.subTest(version=version):
                answer = self.call("setValue", version=version,
                                   user="operator", path=THRESHOLD,
                                   value=value)
                self.assertSoapVersion(answer, version)
                self.assertEqual(value, answer.result)
                self.assertEqual(value, self.stored(THRESHOLD))
        # Each entry answers on its own; the good ones are written.
        self.assertEqual(
            ["44", "? 12 Bad Value Format : Could not transform lots",
             "? 15 Not Writable : Value is not Writable", "false"],
            self.results("setValues", user="operator",
                         paths=[THRESHOLD, RATED, PLAIN_POINT, BEEPER],
                         values=["44", "lots", "1", "Disabled"]))
        self.assertEqual(["44", "630", "false"],
                         [self.stored(p) for p in (THRESHOLD, RATED, BEEPER)])

    def test_refused_writes_change_nothing(self):
        before = [self.stored(p) for p in (THRESHOLD, RATED, SERVICE_CODE)]
        cases = [
            ("viewer", "setValue", dict(path=THRESHOLD, value="40"),
             THRESHOLD),
            ("guest", "setValue", dict(path=THRESHOLD, value="40"), THRESHOLD),
            ("operator", "setValue", dict(path=SERVICE_CODE, value="SVC-0"),
             SERVICE_CODE),
            # One forbidden path refuses the whole call.
            ("operator", "setValues", dict(paths=[THRESHOLD, SERVICE_CODE,
                                                  RATED],
                                           values=["50", "SVC-9", "500"]),
             SERVICE_CODE),
        ]
        for user, operation, fields, refused in cases:
            with self.subTest(user=user, operation=operation):
                mark = self.log_mark()
                self.assertRefusedByDaemon(
                    self.call(operation, user=user, **fields), refused, mark)
        # Without credentials nginx answers; the daemon never sees it.
        mark = self.log_mark()
        answer = self.call("setValue", user=None, path=THRESHOLD, value="40")
        self.assertEqual(401, answer.status)
        self.assertEqual("", self.log_since(mark))
        self.assertEqual(before, [self.stored(p) for p in
                                  (THRESHOLD, RATED, SERVICE_CODE)])
        self.assertEqual("SVC-1", self.result("setValue", path=SERVICE_CODE,
                                              value="SVC-1"))
        self.assertEqual("SVC-1", self.stored(SERVICE_CODE))


if __name__ == "__main__":
    unittest.main()
