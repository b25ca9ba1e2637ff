"""Writes through nginx: setValue and setValues on the sample device, seen
by a second process (cdsctl), with the caller's role; and the stock SOAP
client (zeep) reading and writing with the published WSDL."""

import unittest

import harness
from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase

THRESHOLD = "/Devices/UPS1/LowBatteryThreshold/Value"      # integer, 25
RATED = "/Devices/Breaker1/RatedCurrent/Value"              # real, 630
TRIP = "/Devices/Breaker1/TripCommand/Value"                # Idle;Trip, false
BEEPER = "/Devices/UPS1/BeeperEnabled/Value"                # Disabled;Enabled
# Only Administrators may write the UPS's service data.
SERVICE_CODE = "/Devices/UPS1/Service/ServiceCode/Value"


class WriteTest(StackTestCase):
    def set_value(self, path, value, **kwargs):
        return self.result("setValue", path=path, value=value, **kwargs)

    def set_values(self, pairs, **kwargs):
        return self.results("setValues", paths=[p for p, _ in pairs],
                            values=[v for _, v in pairs], **kwargs)

    def leaf_property(self, path):
        """The leaf's property as cdsctl shows it: normal, persistent..."""
        node, attribute = path.rsplit("/", 1)
        for line in self.stack.cdsctl("show", node, "--depth", "0").stdout \
                .splitlines():
            if line.strip().startswith(attribute + " "):
                return line.rsplit("[", 1)[1].rstrip("]")
        self.fail("no %s in cdsctl show %s" % (attribute, node))

    # -- setValue -----------------------------------------------------
    def test_set_value_is_seen_at_once_by_another_process(self):
        for version, value in ((12, "30"), (11, "31")):
            with self.subTest(version=version):
                answer = self.call("setValue", version=version,
                                   user="operator", path=THRESHOLD,
                                   value=value)
                self.assertSoapVersion(answer, version)
                self.assertEqual(value, answer.result)
                self.assertEqual(value, self.stored(THRESHOLD))
        self.assertEqual("31", self.value(THRESHOLD))

    def test_set_value_matches_state_names(self):
        self.assertEqual("Trip", self.set_value(TRIP, "Trip", user="operator"))
        self.assertEqual("true", self.stored(TRIP))
        self.assertEqual("Trip", self.value(TRIP))
        self.assertEqual("Idle", self.set_value(TRIP, "Idle"))
        self.assertEqual("false", self.stored(TRIP))
        self.assertEqual(
            "? 12 Bad Value Format : Cannot find PossibleValue match to write",
            self.set_value(TRIP, "Sideways"))
        self.assertEqual("false", self.stored(TRIP))

    def test_set_value_errors_leave_the_store_alone(self):
        cases = [
            (None, "1", "? 8 Bad Path Syntax : No Path provided"),
            (THRESHOLD, None, "? 12 Bad Value Format : No Value provided"),
            ("/Devices/UPS1/../x", "1",
             "? 8 Bad Path Syntax : CDS Error in supplied path"),
            ("/Devices/Nowhere/Value", "1",
             "? 9 Node Not Found : Node does not exist"),
            (THRESHOLD, "abc", "? 12 Bad Value Format : Could not transform abc"),
            (THRESHOLD, "99999999999",
             "? 12 Bad Value Format : Could not transform 99999999999"),
            (THRESHOLD, "12x", "? 12 Bad Value Format : Could not transform 12x"),
            (RATED, "1e999", "? 12 Bad Value Format : Could not transform 1e999"),
            (PLAIN_POINT, "231", "? 15 Not Writable : Value is not Writable"),
            ("/Devices/UPS1/BeeperEnabled/DisplayName", "Beeper",
             "? 11 Illegal Attribute : Attribute DisplayName is not Writable"),
        ]
        before = [self.stored(p) for p in (THRESHOLD, RATED, PLAIN_POINT)]
        for path, value, expected in cases:
            with self.subTest(path=path, value=value):
                self.assertEqual(expected, self.set_value(path, value))
        self.assertEqual(before,
                         [self.stored(p) for p in (THRESHOLD, RATED,
                                                   PLAIN_POINT)])

    def test_an_operator_writes_alarm_limits(self):
        limit = "/Devices/Meter1/VoltageL1N/.HighAlarmLimit"
        self.assertEqual("254", self.set_value(limit, "254", user="operator"))
        self.assertEqual("254", self.stored(limit))

    # -- who may write ------------------------------------------------
    def test_who_may_write(self):
        mark = self.log_mark()
        answer = self.call("setValue", user="viewer", path=THRESHOLD,
                           value="40")
        self.assertRefusedByDaemon(answer, THRESHOLD, mark)
        mark = self.log_mark()
        answer = self.call("setValue", user="guest", path=THRESHOLD,
                           value="40")
        self.assertRefusedByDaemon(answer, THRESHOLD, mark)
        mark = self.log_mark()
        answer = self.call("setValue", user="operator", path=SERVICE_CODE,
                           value="SVC-0")
        self.assertRefusedByDaemon(answer, SERVICE_CODE, mark)
        self.assertEqual("SVC-7Q2", self.stored(SERVICE_CODE))
        # Without credentials nginx answers; the daemon never sees it.
        mark = self.log_mark()
        answer = self.call("setValue", user=None, path=THRESHOLD, value="40")
        self.assertEqual(401, answer.status)
        self.assertEqual("", self.log_since(mark))
        self.assertNotEqual("40", self.stored(THRESHOLD))
        self.assertEqual("SVC-1", self.set_value(SERVICE_CODE, "SVC-1",
                                                 user="admin"))
        self.assertEqual("SVC-1", self.stored(SERVICE_CODE))

    # -- setValues ----------------------------------------------------
    def test_set_values_writes_each_entry(self):
        results = self.set_values([(THRESHOLD, "44"), (RATED, "400"),
                                   (BEEPER, "Disabled")], user="operator")
        # Each result is the text of the element written.
        self.assertEqual(["44", "400", "false"], results)
        self.assertEqual(["44", "400", "false"],
                         [self.stored(p) for p in (THRESHOLD, RATED, BEEPER)])
        self.assertEqual("Disabled", self.value(BEEPER))

    def test_set_values_keeps_going_past_a_bad_entry(self):
        results = self.set_values(
            [(THRESHOLD, "45"), (THRESHOLD.replace("Value", "Units"), "%"),
             (RATED, "lots"), (PLAIN_POINT, "1"), (BEEPER, "Enabled")],
            version=11)
        self.assertEqual(["45",
                          "? 11 Illegal Attribute : Attribute Units is not "
                          "Writable",
                          "? 12 Bad Value Format : Could not transform lots",
                          "? 15 Not Writable : Value is not Writable",
                          "true"], results)
        self.assertEqual(["45", "true"],
                         [self.stored(THRESHOLD), self.stored(BEEPER)])

    def test_set_values_list_errors(self):
        cases = [
            (dict(paths=[THRESHOLD, RATED], values=["1"]),
             "? 14 Index Out of Range : Mismatched array sizes"),
            (dict(paths=None, values=["1"]),
             "? 17 No Paths Provided : No Paths provided"),
            (dict(paths=[THRESHOLD], values=None),
             "? 23 Empty Array : No Values provided"),
        ]
        for fields, expected in cases:
            with self.subTest(**fields):
                self.assertEqual([expected],
                                 self.results("setValues", **fields))

    def test_one_forbidden_path_writes_nothing(self):
        before = [self.stored(p) for p in (THRESHOLD, RATED, SERVICE_CODE)]
        mark = self.log_mark()
        answer = self.call("setValues", user="operator",
                           paths=[THRESHOLD, SERVICE_CODE, RATED],
                           values=["50", "SVC-9", "500"])
        self.assertRefusedByDaemon(answer, SERVICE_CODE, mark)
        self.assertEqual(before,
                         [self.stored(p) for p in (THRESHOLD, RATED,
                                                   SERVICE_CODE)])

    # -- persistence --------------------------------------------------
    def test_persist_decides_the_written_leafs_property(self):
        # Without "persist" a write makes a persistent leaf normal again.
        self.assertEqual("normal", self.leaf_property(TRIP))
        self.assertEqual("Trip", self.set_value(TRIP, "Trip",
                                                options="persist"))
        self.assertEqual("persistent", self.leaf_property(TRIP))
        self.assertEqual("Idle", self.set_value(TRIP, "Idle"))
        self.assertEqual("normal", self.leaf_property(TRIP))
        limit = "/Devices/Meter1/VoltageL2N/.HighAlarmLimit"
        self.assertEqual("persistent", self.leaf_property(limit))
        self.assertEqual(["252"], self.set_values([(limit, "252")]))
        self.assertEqual("normal", self.leaf_property(limit))
        self.assertEqual(["251"], self.set_values([(limit, "251")],
                                                  options="persist=true"))
        self.assertEqual("persistent", self.leaf_property(limit))
        self.assertEqual("251", self.stored(limit))


class StockClientTest(unittest.TestCase):
    """zeep builds its requests from the WSDL that nginx serves."""

    def test_zeep_reads_and_writes_as_an_operator(self):
        import requests
        import zeep
        from zeep.transports import Transport
        with harness.Stack() as stack:
            session = requests.Session()
            session.auth = ("operator", harness.DEMO_USERS["operator"])
            client = zeep.Client("http://127.0.0.1:%d/wsgated?wsdl"
                                 % stack.port,
                                 transport=Transport(session=session))
            self.assertEqual(PLAIN_VALUE,
                             client.service.getValue(path=PLAIN_POINT))
            self.assertEqual(
                [PLAIN_VALUE, "2460"],
                client.service.getValues(paths={"string": [
                    PLAIN_POINT, "/Devices/UPS1/Runtime"]}))
            self.assertEqual("33", client.service.setValue(
                options="persist", path=THRESHOLD, value="33"))
            self.assertEqual("33", stack.cdsctl("get", THRESHOLD).stdout
                             .strip())
            self.assertEqual("33", client.service.getValue(path=THRESHOLD))


if __name__ == "__main__":
    unittest.main()
