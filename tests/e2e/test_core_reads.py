"""Reads through nginx on the sample device: the read, array and locale
operations as the wire carries them, in both SOAP versions, with the
caller's language. What a read answers in each case is the unit tests'
(tests/common, tests/core); who may read what is the authorization
matrix's."""

import unittest

from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase, StringArray

MISSING = "? 9 Node Not Found : CDS access failed"
# A multistate point (value 0 of "None;Overload;...") and a boolean one
# (true of "Open;Closed"), whose state names the catalogues translate.
TRIP_CAUSE = "/Devices/Breaker1/TripCause"
POSITION = "/Devices/Breaker1/Position"
CAUSES = ["None", "Overload", "Short Circuit", "Ground Fault", "Remote Trip"]
# The largest xsd:unsignedLong.
ULONG_MAX = 2 ** 64 - 1


class ReadTest(StackTestCase):
    def test_each_read_answers_in_the_callers_soap_version(self):
        for version in (12, 11):
            with self.subTest(version=version):
                cases = [
                    ("getValue", dict(path=PLAIN_POINT), [PLAIN_VALUE]),
                    ("getValue", dict(path="/Devices/Nowhere"), [MISSING]),
                    ("getValues", dict(paths=StringArray(
                        [PLAIN_POINT, "/Devices/Nowhere", PLAIN_POINT])),
                     [PLAIN_VALUE, MISSING, PLAIN_VALUE]),
                    ("getRelativeValues", dict(
                        basePath="/Devices/UPS1/Runtime",
                        paths=["/Units", ":DisplayName", ""]),
                     ["s", "Remaining runtime", "2460"]),
                    ("getArray", dict(path=TRIP_CAUSE + "/PossibleValues"),
                     CAUSES),
                    ("getArraySize", dict(path=TRIP_CAUSE + "/PossibleValues"),
                     ["5"]),
                    ("getArrayRange", dict(path=TRIP_CAUSE + "/PossibleValues",
                                           index=1, count=2), CAUSES[1:3]),
                    ("getDefaultLocale", dict(options="locale=de-DE"),
                     ["en-US"]),
                ]
                for operation, fields, expected in cases:
                    answer = self.call(operation, version=version, **fields)
                    self.assertEqual(200, answer.status, answer.text)
                    self.assertSoapVersion(answer, version)
                    self.assertEqual(expected, answer.results, operation)

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
        self.assertServedNormally()

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


if __name__ == "__main__":
    unittest.main()
