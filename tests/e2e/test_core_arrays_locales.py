"""Arrays and locale queries through nginx: getArray, getArrayRange,
getArraySize, getDefaultLocale and getSupportedLocales."""

import unittest

from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase

TRIP_CAUSES = "/Devices/Breaker1/TripCause/PossibleValues"
CAUSES = ["None", "Overload", "Short Circuit", "Ground Fault", "Remote Trip"]
NOT_AN_ARRAY = "? 24 Not an Array : Invalid attribute for array"
NO_PATH = "? 8 Bad Path Syntax : No Path provided"
MISSING = "? 9 Node Not Found : CDS access failed"
# The largest xsd:unsignedLong: only its low 32 bits count.
ULONG_MAX = 2 ** 64 - 1


class ArrayTest(StackTestCase):
    def array_range(self, index, count, path=TRIP_CAUSES, **kwargs):
        return self.results("getArrayRange", path=path, index=index,
                            count=count, **kwargs)

    # -- getArray -----------------------------------------------------
    def test_get_array_answers_the_items(self):
        for version in (12, 11):
            with self.subTest(version=version):
                answer = self.call("getArray", version=version,
                                   path=TRIP_CAUSES)
                self.assertSoapVersion(answer, version)
                self.assertEqual(CAUSES, answer.results)
        self.assertEqual(["Meter1", "UPS1", "Breaker1"],
                         self.results("getArray", path="/Devices:Children"))
        # "Value" is accepted: it occurs inside "PossibleValues".
        self.assertEqual(["en_US", "de_DE", "fr_FR"],
                         self.results("getArray", path="/Software/Locales"))

    def test_get_array_errors_are_one_item(self):
        cases = {None: NO_PATH, "": NO_PATH,
                 PLAIN_POINT + "/DisplayName": NOT_AN_ARRAY,
                 "/Devices/Nowhere/PossibleValues": MISSING,
                 "/Devices/../PossibleValues":
                     "? 8 Bad Path Syntax : CDS Error in supplied path"}
        for path, expected in cases.items():
            with self.subTest(path=path):
                self.assertEqual([expected],
                                 self.results("getArray", path=path))

    # -- getArraySize -------------------------------------------------
    def test_get_array_size(self):
        self.assertEqual("5", self.result("getArraySize", path=TRIP_CAUSES))
        self.assertEqual("5", self.result("getArraySize", version=11,
                                          path=TRIP_CAUSES))
        # A one-item array answers its item unless errors carry a prefix.
        self.assertEqual(PLAIN_VALUE,
                         self.result("getArraySize", path=PLAIN_POINT))
        self.assertEqual("1", self.result("getArraySize", path=PLAIN_POINT,
                                          options="errorPrefix=ERR"))

    def test_get_array_size_errors(self):
        self.assertEqual(NOT_AN_ARRAY, self.result(
            "getArraySize", path=PLAIN_POINT + "/Units"))
        self.assertEqual(MISSING, self.result(
            "getArraySize", path="/Devices/Nowhere/Children"))
        self.assertEqual(NO_PATH, self.result("getArraySize", path=None))

    # -- getArrayRange ------------------------------------------------
    def test_get_array_range(self):
        cases = [((1, 2), CAUSES[1:3]),
                 ((3, 10), CAUSES[3:]),
                 ((0, 0), CAUSES),          # count 0 wraps: everything
                 ((2, 0), CAUSES[:2]),      # index beyond the wrapped end
                 ((4, 1), CAUSES[4:])]
        for (index, count), expected in cases:
            with self.subTest(index=index, count=count):
                self.assertEqual(expected, self.array_range(index, count))
        self.assertEqual(CAUSES[1:3], self.array_range(1, 2, version=11))

    def test_get_array_range_uses_the_low_32_bits(self):
        self.assertEqual(CAUSES[1:2], self.array_range(2 ** 32 + 1, 1))
        self.assertEqual(CAUSES[1:], self.array_range(1, ULONG_MAX))
        self.assertEqual(CAUSES, self.array_range(0, ULONG_MAX))
        self.assertEqual([], self.array_range(ULONG_MAX, ULONG_MAX))

    def test_get_array_range_answers_no_items_for_errors(self):
        self.assertEqual([], self.array_range(5, 1))
        self.assertEqual([], self.array_range(0, 3, path="/Devices/Nowhere"
                                                         "/Children"))
        self.assertEqual([], self.array_range(0, 3, path=PLAIN_POINT
                                                         + "/Units"))
        self.assertEqual([], self.array_range(0, 3, path=None))

    def test_get_array_range_with_numbers_that_are_not_numbers(self):
        for index, count in (("abc", 1), (-1, 1), (2 ** 64, 1), (0, "")):
            with self.subTest(index=index, count=count):
                answer = self.call("getArrayRange", path=TRIP_CAUSES,
                                   index=index, count=count)
                self.assertFault(answer)
        self.assertServedNormally()

    # -- locales ------------------------------------------------------
    def test_default_locale_is_always_en_us(self):
        for options in (None, "", "locale=de-DE", "locale=xx-YY;canonical"):
            for version in (12, 11):
                with self.subTest(options=options, version=version):
                    answer = self.call("getDefaultLocale", version=version,
                                       options=options)
                    self.assertSoapVersion(answer, version)
                    self.assertEqual("en-US", answer.result)

    def test_supported_locales_are_the_stores_list(self):
        expected = ["de-DE", "en-US", "fr-FR"]
        for options in (None, "locale=de-DE", "locale=xx-YY", "x" * 1000):
            with self.subTest(options=options):
                self.assertEqual(expected, sorted(self.results(
                    "getSupportedLocales", options=options)))
        answer = self.call("getSupportedLocales", version=11)
        self.assertSoapVersion(answer, 11)
        self.assertEqual(expected, sorted(answer.results))


if __name__ == "__main__":
    unittest.main()
