"""Device discovery through nginx on the sample store: getDeviceTree,
getLeafDescriptors, whoAmI, getLocalAndUtcTime and findAttributeMatches,
each with a good call and one that fails, and getMinAvgMaxValues still a
fault.

The daemon runs in a known time zone (TZ below), and the store gets three
extra devices, /Dev1, /Dev1/Sub and /Dev10, to show that the device tree's
starting path is a plain text prefix, plus nodes whose DisplayName is long
enough to make a backtracking pattern blow up.
"""

import os
import time
import unittest
import xml.etree.ElementTree as ET

import harness
from harness import NS, SOAP12
from soap_calls import body

ZONE = "CET-1CEST,M3.5.0,M10.5.0/3"
NSQV = "{%s}" % NS["nsqv"]
RUNAWAY = "a" * 20000 + "!"
VOLTAGES = ["/Devices/Meter1/VoltageL1N", "/Devices/Meter1/VoltageL2N",
            "/Devices/Meter1/VoltageL3N"]


def response(reply, operation):
    """The <nsqv:operationResponse> element, or None (a fault, a page)."""
    try:
        root = ET.fromstring(reply.body)
    except ET.ParseError:
        return None
    return root.find(".//%s%sResponse" % (NSQV, operation))


def texts(element, name):
    return [child.text or "" for child in element.findall(name)]


class DiscoveryTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.saved_zone = os.environ.get("TZ")
        os.environ["TZ"] = ZONE  # the daemon inherits the environment
        time.tzset()
        cls.stack = harness.Stack()
        cls.stack.__enter__()
        for device, name in (("/Dev1", "One"), ("/Dev1/Sub", "Sub"),
                             ("/Dev10", "Ten")):
            cls.stack.cdsctl("add", device)
            cls.stack.cdsctl("set", device + "/NodeType", "Device")
            cls.stack.cdsctl("set", device + "/DisplayName", name)
        for node in ("/Runaway/One", "/Runaway/Two"):
            cls.stack.cdsctl("add", node)
            cls.stack.cdsctl("set", node + "/DisplayName", RUNAWAY)

    @classmethod
    def tearDownClass(cls):
        cls.stack.__exit__(None, None, None)
        if cls.saved_zone is None:
            os.environ.pop("TZ", None)
        else:
            os.environ["TZ"] = cls.saved_zone
        time.tzset()

    def call(self, operation, *fields, user="admin", version=12):
        """The response element of a call that must succeed."""
        reply = self.stack.soap(body("nsqv", operation, *fields),
                                user=user, version=version)
        self.assertEqual(200, reply.status, reply.text)
        found = response(reply, operation)
        self.assertIsNotNone(found, reply.text)
        return found

    def assertFault(self, reply):
        self.assertIn(reply.status, (400, 500), reply.text)
        self.assertIn("Fault", reply.text)

    def assertServedNormally(self):
        self.assertEqual("operator", self.call(
            "whoAmI", user="operator").findtext("result"))

    # -- getDeviceTree ------------------------------------------------
    def tree(self, start, recursive):
        found = self.call("getDeviceTree", ("startingPath", start),
                          ("bRecursive", "true" if recursive else "false"))
        self.assertEqual("", found.findtext("result"))
        return {device.findtext("devPath"): device
                for device in found.findall("devices")}

    def test_device_tree_with_recursion_lists_every_device(self):
        devices = self.tree("", True)
        self.assertEqual(["/", "/Dev1", "/Dev1/Sub", "/Dev10",
                          "/Devices/Breaker1", "/Devices/Meter1",
                          "/Devices/UPS1"], sorted(devices))
        meter = devices["/Devices/Meter1"]
        self.assertEqual("Device", meter.findtext("devType"))
        self.assertEqual("PM-3000 Power Meter",
                         meter.findtext("devDisplayName"))
        self.assertEqual("192", meter.findtext("devQuality"))
        self.assertEqual("3", meter.findtext("devChangeCount"))
        # The counter's time stamp: written when the store was made.
        stamp = int(meter.findtext("devChangeTime")) / 1e6
        self.assertLess(abs(time.time() - stamp), 3600)
        root = devices["/"]
        self.assertEqual("PM-3000 Network Card",
                         root.findtext("devDisplayName"))
        self.assertEqual("1", root.findtext("devChangeCount"))
        # A device without quality or change counter.
        sub = devices["/Dev1/Sub"]
        self.assertEqual("Sub", sub.findtext("devDisplayName"))
        self.assertEqual(["0", "0", "0"],
                         [sub.findtext(name) for name in
                          ("devQuality", "devChangeCount", "devChangeTime")])

    def test_device_tree_without_recursion(self):
        self.assertEqual(["/", "/Dev1", "/Dev10"],
                         sorted(self.tree("", False)))
        self.assertEqual(["/Devices/Breaker1", "/Devices/Meter1",
                          "/Devices/UPS1"], sorted(self.tree("/Devices",
                                                             False)))

    def test_device_tree_prefix_is_plain_text(self):
        self.assertEqual(["/Dev1", "/Dev1/Sub", "/Dev10"],
                         sorted(self.tree("/Dev1", True)))
        self.assertEqual({}, self.tree("/Nowhere", True))

    def test_device_tree_with_a_malformed_flag_is_a_fault(self):
        reply = self.stack.soap(body("nsqv", "getDeviceTree",
                                     ("startingPath", "/"),
                                     ("bRecursive", "perhaps")))
        self.assertFault(reply)
        self.assertServedNormally()

    # -- getLeafDescriptors -------------------------------------------
    def descriptors(self, base, leaves, user="admin"):
        fields = [("leafPaths", leaves)]
        if base is not None:
            fields.insert(0, ("basePath", base))
        found = self.call("getLeafDescriptors", *fields, user=user)
        return found.findtext("result"), [
            (d.findtext("result"), d.findtext("leafType"))
            for d in found.findall("descriptors")]

    def test_leaf_descriptors(self):
        result, leaves = self.descriptors(
            "/Devices/Meter1/VoltageL1N", ["", "/Units", "/.HighAlarmLimit",
                                           "/Nope"])
        self.assertEqual("OK", result)
        self.assertEqual([("230.4", "LeafTypeNormal"),
                          ("V", "LeafTypeNormal"),
                          ("253", "LeafTypePersist"),
                          ("? 9 Node Not Found : CDS access failed",
                           "LeafTypeNormal")], leaves)

    def test_leaf_descriptors_per_leaf_refusal(self):
        result, leaves = self.descriptors(
            "/Devices/UPS1/Service", ["/OperatingHours"], user="viewer")
        self.assertEqual("OK", result)
        self.assertEqual("? 2 Not Authorized : Unauthorized read",
                         leaves[0][0])

    def test_leaf_descriptors_without_leaves_is_error_17(self):
        result, leaves = self.descriptors("/Devices/Meter1", [])
        self.assertEqual("? 17 No Paths Provided : No paths provided", result)
        self.assertEqual([], leaves)

    def test_leaf_descriptors_of_many_and_odd_paths(self):
        # 10,000 leaves in one call, every one answered in order; ".." and
        # an empty base path are path errors of their own leaves.
        leaves = ["/Devices/Meter1/VoltageL1N"] * 10000
        result, found = self.descriptors("", leaves)
        self.assertEqual("OK", result)
        self.assertEqual(10000, len(found))
        self.assertTrue(all(text == "230.4" for text, _ in found))
        result, found = self.descriptors("/Devices/..", ["/Meter1", ""])
        self.assertEqual("OK", result)
        self.assertEqual(2, len(found))
        for text, _ in found:
            self.assertTrue(text.startswith("? 8 Bad Path Syntax"), text)
        self.assertServedNormally()

    # -- whoAmI -------------------------------------------------------
    def test_who_am_i_answers_the_basic_auth_user(self):
        for user in ("viewer", "operator", "admin", "guest"):
            with self.subTest(user=user):
                self.assertEqual(user, self.call(
                    "whoAmI", user=user).findtext("result"))

    def test_who_am_i_without_credentials_is_refused_by_the_web_server(self):
        reply = self.stack.soap(body("nsqv", "whoAmI"), user=None)
        self.assertEqual(401, reply.status)
        self.assertServedNormally()

    # -- getLocalAndUtcTime -------------------------------------------
    def test_local_and_utc_time_in_the_daemons_zone(self):
        found = self.call("getLocalAndUtcTime", version=11)
        self.assertEqual("", found.findtext("result"))
        utc = int(found.findtext("utcTime"))
        local = int(found.findtext("localTime"))
        self.assertLess(abs(time.time() - utc / 1e6), 60)
        daylight = time.localtime().tm_isdst > 0
        self.assertEqual("CEST" if daylight else "CET",
                         found.findtext("timezone"))
        self.assertEqual(7200 if daylight else 3600,
                         round((local - utc) / 1e6 / 60) * 60)

    def test_local_and_utc_time_in_another_namespace_is_no_method(self):
        reply = self.stack.soap("<nsc1:getLocalAndUtcTime/>")
        self.assertFault(reply)
        self.assertServedNormally()

    # -- findAttributeMatches -----------------------------------------
    def search(self, start, recursive, attribute, pattern, user="admin",
               options=None):
        fields = [("startingPath", start),
                  ("bRecursive", "true" if recursive else "false"),
                  ("attribMatch", attribute),
                  ("regexMatchPattern", pattern)]
        if options is not None:
            fields.insert(0, ("options", options))
        found = self.call("findAttributeMatches", *fields, user=user)
        nodes, data = texts(found, "nodes"), texts(found, "data")
        self.assertEqual(len(nodes), len(data))
        return found.findtext("result"), nodes, data

    def test_search_by_pattern(self):
        result, nodes, data = self.search("/", True, "DisplayName",
                                          r"^Voltage L\d-N$")
        self.assertEqual("", result)
        self.assertEqual(VOLTAGES, nodes)
        self.assertEqual(["Voltage L1-N", "Voltage L2-N", "Voltage L3-N"],
                         data)

    def test_recursive_search_from_root_walks_the_whole_tree(self):
        # Every node has a Name, so the empty pattern returns the whole
        # tree, depth first in the store's order: the order of an export.
        _, nodes, _ = self.search("/", True, "Name", "")
        exported = [line[1:-1] for line in
                    self.stack.cdsctl("export", "/").stdout.splitlines()
                    if line.startswith("[")]
        self.assertGreater(len(exported), 100)
        self.assertEqual(exported, nodes)
        # Without recursion: the root and its children.
        _, nodes, _ = self.search("/", False, "Name", "")
        self.assertEqual(["/", "/sDevChangeCount", "/ReadOnlyCDS",
                          "/Devices", "/Software", "/Alarms", "/Dev1",
                          "/Dev10", "/Runaway"], nodes)

    def test_search_skips_what_the_caller_may_not_read(self):
        _, admin_nodes, _ = self.search("/", True, "Name", "")
        _, viewer_nodes, _ = self.search("/", True, "Name", "",
                                         user="viewer")
        hidden = [n for n in admin_nodes if n not in viewer_nodes]
        self.assertIn("/Devices/UPS1/Service/OperatingHours", hidden)
        self.assertTrue(all(n.startswith(("/Software/Security",
                                          "/Devices/UPS1/Service"))
                            for n in hidden), hidden)

    def test_search_never_matches_error_results(self):
        # Most nodes have no Units: their reads are error results.
        result, nodes, _ = self.search("/", True, "Units", "Not Found")
        self.assertEqual(("", []), (result, nodes))
        _, nodes, data = self.search("/Devices/Meter1", False, "Units", "",
                                     options="errorPrefix=ERR")
        self.assertNotIn("/Devices/Meter1", nodes)
        self.assertIn("V", data)

    def test_search_with_an_invalid_pattern_finds_nothing(self):
        for pattern in ("(", "[a-", "a{2,1}"):
            with self.subTest(pattern=pattern):
                self.assertEqual(("", [], []), self.search(
                    "/", True, "DisplayName", pattern))
        self.assertServedNormally()

    def test_catastrophic_pattern_is_answered_and_serving_goes_on(self):
        result, nodes, data = self.search("/", True, "DisplayName",
                                          "(a+)+$")
        self.assertEqual("", result)
        # Short names ending in "a" match; the runaway values do not.
        self.assertTrue(all(text.endswith("a") for text in data), data)
        self.assertFalse([n for n in nodes if n.startswith("/Runaway")])
        self.assertIn("Exception in regular expression matching = "
                      "The complexity of matching", self.stack.daemon_log())
        self.assertServedNormally()

    # -- getMinAvgMaxValues -------------------------------------------
    def test_min_avg_max_values_is_still_a_server_fault(self):
        reply = self.stack.soap(body(
            "nsqv", "getMinAvgMaxValues", ("paths", ["/Devices"]),
            ("startTime", "0"), ("endTime", "1"),
            ("ratePeriod", "RatePeriodA")))
        self.assertFault(reply)
        self.assertIn(SOAP12, reply.text)
        self.assertServedNormally()


if __name__ == "__main__":
    unittest.main()
