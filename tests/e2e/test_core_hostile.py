"""Odd and oversized input to the data-access operations: every request is
answered (a result text or a fault, never a hang), and afterwards the
daemon still serves a plain read."""

import unittest

from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase, StringArray

BAD_PATH = "? 8 Bad Path Syntax : CDS Error in supplied path"
MISSING = "? 9 Node Not Found : CDS access failed"
LONG_NAME = "N" * 2000


class HostileInputTest(StackTestCase):
    def tearDown(self):
        self.assertServedNormally()

    def test_odd_paths_in_single_reads_and_writes(self):
        not_writable = "? 15 Not Writable : Value is not Writable"
        cases = {
            "/Devices/Meter1/..": (BAD_PATH, BAD_PATH),
            "/Devices/Meter1/VoltageL1N\t": (BAD_PATH, BAD_PATH),
            "/Devices/Met\x7fer1/VoltageL1N": (BAD_PATH, BAD_PATH),
            "/Devices/" + LONG_NAME: (BAD_PATH, BAD_PATH),
            PLAIN_POINT + ":" + LONG_NAME: (BAD_PATH, BAD_PATH),
            # Repeated and trailing slashes are only spelling.
            "//Devices//Meter1///VoltageL1N/": (PLAIN_VALUE, not_writable),
        }
        for path, (read, write) in cases.items():
            with self.subTest(path=path[:40]):
                self.assertEqual(read, self.value(path))
                self.assertEqual(write, self.result("setValue", path=path,
                                                    value="1"))

    def test_control_characters_that_xml_cannot_carry(self):
        # XML 1.0 has no way to write U+0001; the engine may refuse the
        # message, or pass the character on to the path check.
        reply = self.stack.soap("<nsc1:getValue><nsc1:path>/Devices/&#1;"
                                "</nsc1:path></nsc1:getValue>")
        if reply.status == 200:
            self.assertIn(BAD_PATH, reply.text)
        else:
            self.assertIn(reply.status, (400, 500))

    def test_empty_and_missing_fields(self):
        no_paths = "? 17 No Paths Provided : No Paths provided"
        cases = [
            ("getValues", dict(paths=StringArray()),
             ["? 17 No Paths Provided : No paths"]),
            ("getValues", dict(paths=None), [no_paths]),
            ("setValues", dict(paths=None, values=["1"]), [no_paths]),
            ("setValues", dict(paths=[PLAIN_POINT], values=None),
             ["? 23 Empty Array : No Values provided"]),
            ("getRelativeValues", dict(paths=["/Devices/UPS1"]), []),
            ("setValue", dict(path="", value="1"),
             ["? 8 Bad Path Syntax : No Path provided"]),
            ("setValue", dict(path=PLAIN_POINT, value=""),
             ["? 12 Bad Value Format : No Value provided"]),
            ("getArray", dict(path=None),
             ["? 8 Bad Path Syntax : No Path provided"]),
        ]
        for operation, fields, expected in cases:
            with self.subTest(operation=operation, **fields):
                self.assertEqual(expected, self.results(operation, **fields))
        # An operation element with nothing inside at all.
        for operation in ("getValue", "getArray", "getArraySize", "setValue"):
            with self.subTest(operation=operation):
                self.assertRegex(self.result(operation), r"^\? (8|12) ")

    def test_an_options_text_of_100_kib(self):
        unknown = ";".join(["someOption=%d" % i for i in range(10000)])[:102400]
        self.assertEqual(PLAIN_VALUE, self.value(PLAIN_POINT, options=unknown))
        prefix = "P" * 102400
        self.assertEqual(prefix + MISSING,
                         self.value("/Devices/Nowhere",
                                    options="errorPrefix=" + prefix))
        locale = "de" * 51200
        self.assertEqual("? 7 Locale Not Supported : " + locale,
                         self.value(PLAIN_POINT, options="locale=" + locale))

    def test_ten_thousand_paths_in_one_get_values(self):
        points = ["/Devices/Meter1/VoltageL1N", "/Devices/Meter1/Frequency",
                  "/Devices/UPS1/Runtime", "/Devices/Meter1/Status"]
        values = [PLAIN_VALUE, "50.01", "2460", "Normal"]
        missing = ["/Devices/Meter1/P%05d" % i for i in range(5000)]
        self.assertEqual(values * 1250 + [MISSING] * 5000, self.results(
            "getValues", paths=StringArray(points * 1250 + missing)))


if __name__ == "__main__":
    unittest.main()
