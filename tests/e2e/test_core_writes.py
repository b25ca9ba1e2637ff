"""Writes through nginx on the sample device: setValue and setValues seen
at once by a second process (cdsctl). Conversions, error texts,
persistence and all-or-nothing refusals are the unit tests' (tests/common);
which caller gets HTTP 401 is the authorization matrix's."""

import unittest

from core_calls import PLAIN_POINT, StackTestCase

THRESHOLD = "/Devices/UPS1/LowBatteryThreshold/Value"      # integer, 25
RATED = "/Devices/Breaker1/RatedCurrent/Value"              # real, 630
BEEPER = "/Devices/UPS1/BeeperEnabled/Value"                # Disabled;Enabled


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


if __name__ == "__main__":
    unittest.main()
