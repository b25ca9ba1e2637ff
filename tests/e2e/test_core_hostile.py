"""Odd and oversized input to the data-access operations: every request is
answered (a result text or a fault, never a hang), and afterwards the
daemon still serves a plain read."""

import unittest

from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase, StringArray

BAD_PATH = "? 8 Bad Path Syntax : CDS Error in supplied path"
UNAUTHORIZED = "? 2 Not Authorized : Unauthorized read"
LONG_NAME = "N" * 2000


class HostileInputTest(StackTestCase):
    def tearDown(self):
        self.assertServedNormally()

    def test_odd_paths_in_single_reads_and_writes(self):
        cases = {
            "/Devices/Meter1/..": BAD_PATH,
            "/Devices/./Meter1/VoltageL1N": BAD_PATH,
            "/Devices/Meter1/VoltageL1N\t": BAD_PATH,
            "/Devices/Met\x7fer1/VoltageL1N": BAD_PATH,
            "/Devices/" + LONG_NAME: BAD_PATH,
            "/Devices/Meter1/VoltageL1N:" + LONG_NAME: BAD_PATH,
            # Repeated and trailing slashes are only spelling.
            "//Devices//Meter1///VoltageL1N/": PLAIN_VALUE,
        }
        for path, expected in cases.items():
            with self.subTest(path=path[:40]):
                self.assertEqual(expected, self.value(path))
                self.assertEqual(BAD_PATH if expected == BAD_PATH
                                 else "? 15 Not Writable : Value is not Writable",
                                 self.result("setValue", path=path, value="1"))

    def test_control_characters_that_xml_cannot_carry(self):
        # XML 1.0 has no way to write U+0001; the engine may refuse the
        # message, or pass the character on to the path check.
        answer = self.stack.soap("<nsc1:getValue><nsc1:path>/Devices/&#1;"
                                 "</nsc1:path></nsc1:getValue>")
        if answer.status == 200:
            self.assertIn(BAD_PATH, answer.text)
        else:
            self.assertIn(answer.status, (400, 500))

    def test_odd_paths_among_many(self):
        paths = ["/Devices/Meter1/..", "/Devices/" + LONG_NAME, PLAIN_POINT,
                 "/Devices/\x0bx", "//Devices//Meter1/VoltageL1N"]
        results = self.results("getValues", paths=StringArray(paths))
        self.assertEqual(5, len(results), results)
        for i in (0, 1, 3):
            self.assertIn(results[i], (UNAUTHORIZED,
                                       "? 8 Bad Path Syntax : CDS access failed"))
        self.assertEqual([PLAIN_VALUE, PLAIN_VALUE], results[2::2])

    def test_empty_and_missing_fields(self):
        self.assertEqual(["? 17 No Paths Provided : No paths"],
                         self.results("getValues",
                                      paths=StringArray([])))
        self.assertEqual(["? 17 No Paths Provided : No Paths provided"],
                         self.results("setValues", paths=None,
                                      values=["1"]))
        self.assertEqual("? 8 Bad Path Syntax : No Path provided",
                         self.result("setValue", path="", value="1"))
        self.assertEqual("? 12 Bad Value Format : No Value provided",
                         self.result("setValue", path=PLAIN_POINT, value=""))
        # An operation element with nothing inside at all.
        for operation in ("getValue", "getArray", "getArraySize", "setValue"):
            with self.subTest(operation=operation):
                self.assertRegex(self.result(operation), r"^\? (8|12) ")

    def test_an_options_text_of_100_kib_is_read_up_to_64_kib(self):
        unknown = ";".join(["someOption=%d" % i for i in range(10000)])[:102400]
        self.assertEqual(PLAIN_VALUE, self.value(PLAIN_POINT, options=unknown))
        read = 64 * 1024
        prefix = "P" * 102400
        self.assertEqual(prefix[:read - len("errorPrefix=")] +
                         "? 9 Node Not Found : CDS access failed",
                         self.value("/Devices/Nowhere",
                                    options="errorPrefix=" + prefix))
        locale = "de" * 51200
        self.assertEqual("? 7 Locale Not Supported : " +
                         locale[:read - len("locale=")],
                         self.value(PLAIN_POINT, options="locale=" + locale))

    def test_ten_thousand_paths_in_one_get_values(self):
        points = ["/Devices/Meter1/VoltageL1N", "/Devices/Meter1/Frequency",
                  "/Devices/UPS1/Runtime", "/Devices/Meter1/Status"]
        values = [PLAIN_VALUE, "50.01", "2460", "Normal"]
        results = self.results("getValues",
                               paths=StringArray(points * 2500))
        self.assertEqual(values * 2500, results)

    def test_ten_thousand_distinct_missing_paths(self):
        paths = ["/Devices/Meter1/P%05d" % i for i in range(10000)]
        results = self.results("getValues", paths=StringArray(paths))
        self.assertEqual(["? 9 Node Not Found : CDS access failed"] * 10000,
                         results)


if __name__ == "__main__":
    unittest.main()
