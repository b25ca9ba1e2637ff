"""The data-access operations through nginx on the sample device: what
only the wire carries (32-bit array bounds, numbers that are no numbers,
locale names, the caller's language), writes in both SOAP versions seen at
once by a second process (cdsctl), and odd or oversized input, after which
the daemon still serves a plain read. What each answers is the unit tests'
(tests/common, tests/core); which caller may do what, and each operation's
answer, the authorization matrix's."""

import unittest

from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase, StringArray

MISSING = "? 9 Node Not Found : CDS access failed"
BAD_PATH = "? 8 Bad Path Syntax : CDS Error in supplied path"
LONG_NAME = "N" * 2000
# A multistate point (value 0 of "None;Overload;...") and a boolean one
# (true of "Open;Closed"), whose state names the catalogues translate.
TRIP_CAUSE = "/Devices/Breaker1/TripCause"
POSITION = "/Devices/Breaker1/Position"
CAUSES = ["None", "Overload", "Short Circuit", "Ground Fault", "Remote Trip"]
# The largest xsd:unsignedLong.
ULONG_MAX = 2 ** 64 - 1
THRESHOLD = "/Devices/UPS1/LowBatteryThreshold/Value"      # integer, 25
RATED = "/Devices/Breaker1/RatedCurrent/Value"              # real, 630
BEEPER = "/Devices/UPS1/BeeperEnabled/Value"                # Disabled;Enabled


class CoreTest(StackTestCase):
    def tearDown(self):
        self.assertServedNormally()

    def test_array_range_uses_the_low_32_bits(self):
        cases = [((2 ** 32 + 1, 1), CAUSES[1:2]), ((1, ULONG_MAX), CAUSES[1:]),
                 ((0, ULONG_MAX), CAUSES), ((ULONG_MAX, ULONG_MAX), [])]
        for (index, count), expected in cases:
            with self.subTest(index=index, count=count):
                self.assertEqual(expected, self.results(
                    "getArrayRange", path=TRIP_CAUSE + "/PossibleValues",
                    index=index, count=count))

    def test_numbers_that_are_not_numbers_are_faults(self):
        for index, count in (("abc", 1), (-1, 1), (2 ** 64, 1), (0, "")):
            with self.subTest(index=index, count=count):
                self.assertFault(self.call("getArrayRange", path=TRIP_CAUSE,
                                           index=index, count=count))

    def test_supported_locales_are_the_stores_list_in_wire_form(self):
        for options in (None, "locale=xx-YY", "x" * 1000):
            with self.subTest(options=options):
                self.assertEqual(["de-DE", "en-US", "fr-FR"], sorted(
                    self.results("getSupportedLocales", options=options)))

    def test_language_of_the_first_request_or_of_the_locale_option(self):
        german = {"Accept-Language": "de-DE"}
        paths = StringArray([TRIP_CAUSE, POSITION, PLAIN_POINT])
        # Only an address's first request negotiates its language.
        self.assertEqual(["Keine", "Geschlossen", PLAIN_VALUE],
                         self.results("getValues", source="127.0.0.42",
                                      headers=german, paths=paths))
        self.assertEqual(["None", "Closed", PLAIN_VALUE],
                         self.results("getValues", source="127.0.0.42",
                                      headers=german, paths=paths))
        self.assertEqual("Keine", self.value(TRIP_CAUSE,
                                             options="locale=de-DE"))
        self.assertEqual("? 7 Locale Not Supported : xx-YY",
                         self.value(TRIP_CAUSE, options="locale=xx-YY"))
        self.assertEqual("None", self.value(TRIP_CAUSE))

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

    def test_odd_paths_in_single_reads_and_writes(self):
        not_writable = "? 15 Not Writable : Value is not Writable"
        cases = {
            # Characters XML carries that no path may hold, and a long name.
            "/Devices/Meter1/VoltageL1N\t": (BAD_PATH, BAD_PATH),
            "/Devices/Met\x7fer1/VoltageL1N": (BAD_PATH, BAD_PATH),
            "/Devices/" + LONG_NAME: (BAD_PATH, BAD_PATH),
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

    def test_an_options_text_of_100_kib_is_read_up_to_64_kib(self):
        unknown = ";".join(["someOption=%d" % i for i in range(10000)])[:102400]
        self.assertEqual(PLAIN_VALUE, self.value(PLAIN_POINT, options=unknown))
        read = 64 * 1024
        prefix = "P" * 102400
        self.assertEqual(prefix[:read - len("errorPrefix=")] + MISSING,
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
        missing = ["/Devices/Meter1/P%05d" % i for i in range(5000)]
        self.assertEqual(values * 1250 + [MISSING] * 5000, self.results(
            "getValues", paths=StringArray(points * 1250 + missing)))


if __name__ == "__main__":
    unittest.main()
