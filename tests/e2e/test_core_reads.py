"""Reads through nginx: getValue, getValues and getRelativeValues on the
sample device, with the caller's role, language and options."""

import unittest

from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase, StringArray

MISSING = "? 9 Node Not Found : CDS access failed"
UNAUTHORIZED = "? 2 Not Authorized : Unauthorized read"
# Operators may read the UPS's service data, Viewers may not (the store's
# access rule for /Devices/UPS1/Service).
SERVICE_POINT = "/Devices/UPS1/Service/OperatingHours"
# A multistate point (value 0 of "None;Overload;...") and a boolean one
# (true of "Open;Closed"), whose state names the catalogues translate.
TRIP_CAUSE = "/Devices/Breaker1/TripCause"
POSITION = "/Devices/Breaker1/Position"


class ReadTest(StackTestCase):
    # -- getValue -----------------------------------------------------
    def test_get_value_answers_in_the_callers_soap_version(self):
        for version in (12, 11):
            with self.subTest(version=version):
                answer = self.call("getValue", version=version,
                                   path=PLAIN_POINT)
                self.assertEqual(200, answer.status, answer.text)
                self.assertSoapVersion(answer, version)
                self.assertEqual(PLAIN_VALUE, answer.result)

    def test_get_value_of_attributes_in_both_path_forms(self):
        cases = {PLAIN_POINT + ":Value": PLAIN_VALUE,
                 PLAIN_POINT + "/Units": "V",
                 PLAIN_POINT + ":DisplayName": "Voltage L1-N",
                 PLAIN_POINT + "/.HighAlarmLimit": "253",
                 "/Devices/UPS1/Runtime/Value": "2460",
                 "/Devices/Meter1/Status": "Normal"}
        for path, expected in cases.items():
            with self.subTest(path=path):
                self.assertEqual(expected, self.value(path))

    def test_get_value_errors_are_result_texts(self):
        cases = [
            (None, "? 8 Bad Path Syntax : No Path provided"),
            ("", "? 8 Bad Path Syntax : CDS Error in supplied path"),
            ("/Devices/../Devices/Meter1/VoltageL1N",
             "? 8 Bad Path Syntax : CDS Error in supplied path"),
            ("Devices/Meter1/VoltageL1N",
             "? 8 Bad Path Syntax : CDS Error in supplied path"),
            ("/Devices/Nowhere", MISSING),
            (PLAIN_POINT + "/.NoSuchAttribute", MISSING),
            (PLAIN_POINT + "/Value.Bogus",
             "? 11 Illegal Attribute : Unknown sub-Attribute .Bogus"),
        ]
        for path, expected in cases:
            for version in (12, 11):
                with self.subTest(path=path, version=version):
                    answer = self.call("getValue", version=version,
                                       path=path)
                    self.assertEqual(200, answer.status, answer.text)
                    self.assertEqual(expected, answer.result)

    def test_sub_attributes(self):
        self.assertEqual("Persistent",
                         self.value("/Devices/UPS1/BeeperEnabled/Value.Source"))
        self.assertEqual("Normal", self.value(PLAIN_POINT + "/Value.Source"))
        self.assertEqual("Real", self.value(PLAIN_POINT + "/Value.AttribType"))
        self.assertEqual("Multistate",
                         self.value(TRIP_CAUSE + "/Value.AttribType"))
        time = self.value(PLAIN_POINT + "/Value.Time")
        self.assertRegex(time, r"^-?[1-9][0-9]*$")
        # Sub-attributes are told apart by their beginning.
        self.assertEqual(time, self.value(PLAIN_POINT + "/Value.Timestamp"))

    def test_error_results_take_the_callers_form(self):
        cases = {"errorPrefix=ERR": "ERR" + MISSING,
                 "errorString=N/A": "N/A",
                 "errorString=N/A;errorPrefix=#": "#N/A",
                 "errorString": "",
                 "errorString=QZX": MISSING}
        for options, expected in cases.items():
            with self.subTest(options=options):
                self.assertEqual(expected, self.value("/Devices/Nowhere",
                                                      options=options))
        # Options shape errors only, never a value.
        self.assertEqual(PLAIN_VALUE, self.value(PLAIN_POINT,
                                                 options="errorString=N/A"))

    # -- getValues and getRelativeValues ------------------------------
    def test_get_values_answers_each_path_at_its_position(self):
        paths = [PLAIN_POINT, "/Devices/Nowhere/Value", "/Devices/UPS1/Runtime",
                 "/Devices/Meter1/Status", PLAIN_POINT]
        expected = [PLAIN_VALUE, MISSING, "2460", "Normal", PLAIN_VALUE]
        for version in (12, 11):
            with self.subTest(version=version):
                answer = self.call("getValues", version=version,
                                   paths=StringArray(paths))
                self.assertSoapVersion(answer, version)
                self.assertEqual(expected, answer.results)

    def test_get_values_without_paths(self):
        self.assertEqual(["? 17 No Paths Provided : No paths"],
                         self.results("getValues", paths=StringArray()))
        self.assertEqual(["? 17 No Paths Provided : No Paths provided"],
                         self.results("getValues", paths=None))

    def test_get_values_with_a_malformed_path_among_good_ones(self):
        # A path the store cannot parse is never authorized, so the read
        # path refuses it before the store's own "bad path" status.
        results = self.results("getValues", paths=StringArray(
            [PLAIN_POINT, "/Devices/../x", "/Devices/UPS1/Runtime"]))
        self.assertEqual(PLAIN_VALUE, results[0])
        self.assertIn(results[1], (UNAUTHORIZED,
                                   "? 8 Bad Path Syntax : CDS access failed"))
        self.assertEqual("2460", results[2])

    def test_get_relative_values_joins_base_and_path_as_given(self):
        self.assertEqual(
            [PLAIN_VALUE, "50.01", MISSING],
            self.results("getRelativeValues", basePath="/Devices/Meter1/",
                         paths=["VoltageL1N", "Frequency", "Nowhere"]))
        # No separator is inserted: the caller writes "/" or ":".
        self.assertEqual(
            ["s", "Remaining runtime", "2460"],
            self.results("getRelativeValues", version=11,
                         basePath="/Devices/UPS1/Runtime",
                         paths=["/Units", ":DisplayName", ""]))

    def test_get_relative_values_without_a_base_reads_nothing(self):
        answer = self.call("getRelativeValues", paths=["/Devices/UPS1"])
        self.assertEqual(200, answer.status, answer.text)
        self.assertEqual([], answer.results)
        self.assertEqual(["? 17 No Paths Provided : No paths"],
                         self.results("getRelativeValues", basePath="/Devices"))

    # -- who may read -------------------------------------------------
    def test_viewer_is_refused_only_where_the_rule_says(self):
        self.assertEqual(UNAUTHORIZED, self.value(SERVICE_POINT, user="viewer"))
        self.assertEqual("15342", self.value(SERVICE_POINT, user="operator"))
        self.assertEqual(PLAIN_VALUE, self.value(PLAIN_POINT, user="viewer"))
        # The time of a value is not the value: readable without the right.
        self.assertRegex(self.value(SERVICE_POINT + "/Value.Time",
                                    user="viewer"), r"^-?[0-9]+$")
        self.assertEqual(
            ["2460", UNAUTHORIZED, UNAUTHORIZED, PLAIN_VALUE],
            self.results("getValues", user="viewer", paths=StringArray([
                "/Devices/UPS1/Runtime", SERVICE_POINT,
                "/Devices/UPS1/Service/ServiceCode", PLAIN_POINT])))

    def test_a_user_without_a_role_reads_nothing(self):
        self.assertEqual(UNAUTHORIZED, self.value(PLAIN_POINT, user="guest"))
        self.assertEqual([UNAUTHORIZED, UNAUTHORIZED],
                         self.results("getValues", user="guest",
                                      paths=StringArray([PLAIN_POINT,
                                                         SERVICE_POINT])))

    def test_no_credentials_are_refused_by_nginx(self):
        answer = self.call("getValue", user=None, path=PLAIN_POINT)
        self.assertEqual(401, answer.status)
        self.assertIsNone(answer.results)
        self.assertNotIn(PLAIN_VALUE, answer.text)

    # -- language and rendering ---------------------------------------
    def test_a_german_callers_first_request_reads_german_state_names(self):
        german = {"Accept-Language": "de-DE"}
        paths = StringArray([TRIP_CAUSE, POSITION, PLAIN_POINT])
        # Only an address's first request negotiates its language.
        self.assertEqual(["Keine", "Geschlossen", PLAIN_VALUE],
                         self.results("getValues", source="127.0.0.42",
                                      headers=german, paths=paths))
        self.assertEqual(["None", "Closed", PLAIN_VALUE],
                         self.results("getValues", source="127.0.0.42",
                                      headers=german, paths=paths))

    def test_locale_option(self):
        for options in ("locale=de-DE", "locale=de-DE.UTF-8"):
            with self.subTest(options=options):
                self.assertEqual("Keine", self.value(TRIP_CAUSE,
                                                     options=options))
        self.assertEqual("? 7 Locale Not Supported : xx-YY",
                         self.value(TRIP_CAUSE, options="locale=xx-YY"))
        self.assertEqual(["? 7 Locale Not Supported : xx-YY"],
                         self.results("getValues", options="locale=xx-YY",
                                      paths=StringArray([TRIP_CAUSE,
                                                         POSITION])))
        # A known caller without the option is served in English again.
        self.assertEqual("None", self.value(TRIP_CAUSE))

    def test_canonical_changes_booleans_only(self):
        self.assertEqual("Closed", self.value(POSITION))
        self.assertEqual("true", self.value(POSITION, options="canonical"))
        self.assertEqual("false", self.value("/Devices/Breaker1/TripCommand",
                                             options="canonical"))
        self.assertEqual("true", self.value(
            POSITION, options="locale=de-DE;canonical"))
        self.assertEqual("None", self.value(TRIP_CAUSE, options="canonical"))
        self.assertEqual("Closed", self.value(POSITION,
                                              options="canonical=false"))


if __name__ == "__main__":
    unittest.main()
