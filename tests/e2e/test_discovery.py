"""Device discovery through nginx on the sample store: getDeviceTree,
getLeafDescriptors, getLocalAndUtcTime and findAttributeMatches as the
wire carries them. The selection rules are the unit tests' (tests/
discovery); who may see what is the authorization matrix's.

The daemon runs in a known time zone, and the store gets two nodes whose
DisplayName is long enough to make a backtracking pattern blow up.
"""

import time
import unittest

from core_calls import PLAIN_POINT, StackTestCase

RUNAWAY = "a" * 20000 + "!"


class DiscoveryTest(StackTestCase):
    prefix = "nsqv"
    stack_options = dict(env={"TZ": "CET-1CEST,M3.5.0,M10.5.0/3"})

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        for node in ("/Runaway/One", "/Runaway/Two"):
            cls.stack.cdsctl("add", node)
            cls.stack.cdsctl("set", node + "/DisplayName", RUNAWAY)

    def response(self, operation, **fields):
        answer = self.call(operation, **fields)
        self.assertEqual(200, answer.status, answer.text)
        self.assertIsNotNone(answer.response, answer.text)
        return answer.response

    def tree(self, start, recursive):
        found = self.response("getDeviceTree", startingPath=start,
                              bRecursive="true" if recursive else "false")
        self.assertEqual("", found.findtext("result"))
        return {device.findtext("devPath"): device
                for device in found.findall("devices")}

    def test_device_tree(self):
        devices = self.tree("", True)
        self.assertEqual(["/", "/Devices/Breaker1", "/Devices/Meter1",
                          "/Devices/UPS1"], sorted(devices))
        meter = devices["/Devices/Meter1"]
        self.assertEqual(["Device", "PM-3000 Power Meter", "192", "3"],
                         [meter.findtext(name) for name in
                          ("devType", "devDisplayName", "devQuality",
                           "devChangeCount")])
        # The counter's time stamp, in microseconds: the store's making.
        stamp = int(meter.findtext("devChangeTime")) / 1e6
        self.assertLess(abs(time.time() - stamp), 3600)
        self.assertEqual(["/"], list(self.tree("", False)))
        self.assertEqual(3, len(self.tree("/Devices", False)))
        self.assertFault(self.call("getDeviceTree", startingPath="/",
                                   bRecursive="perhaps"))
        self.assertServedNormally()

    def test_leaf_descriptors_of_every_type_and_of_many_leaves(self):
        found = self.response("getLeafDescriptors", basePath=PLAIN_POINT,
                              leafPaths=["", "/.HighAlarmLimit", "/Nope"])
        self.assertEqual("OK", found.findtext("result"))
        self.assertEqual(
            [("230.4", "LeafTypeNormal"), ("253", "LeafTypePersist"),
             ("? 9 Node Not Found : CDS access failed", "LeafTypeNormal")],
            [(d.findtext("result"), d.findtext("leafType"))
             for d in found.findall("descriptors")])
        found = self.response("getLeafDescriptors", basePath=PLAIN_POINT,
                              leafPaths=[""] * 10000)
        self.assertEqual(["230.4"] * 10000,
                         [d.findtext("result")
                          for d in found.findall("descriptors")])

    def test_local_and_utc_time_in_the_daemons_zone(self):
        found = self.response("getLocalAndUtcTime", version=11)
        utc = int(found.findtext("utcTime"))
        offset = round((int(found.findtext("localTime")) - utc) / 60e6) * 60
        self.assertLess(abs(time.time() - utc / 1e6), 60)
        self.assertEqual({3600: "CET", 7200: "CEST"}.get(offset),
                         found.findtext("timezone"))

    def search(self, recursive, pattern, start="/"):
        found = self.response(
            "findAttributeMatches", startingPath=start,
            bRecursive="true" if recursive else "false",
            attribMatch="DisplayName", regexMatchPattern=pattern)
        self.assertEqual("", found.findtext("result"))
        return ([n.text for n in found.findall("nodes")],
                [d.text for d in found.findall("data")])

    def test_search_by_pattern(self):
        self.assertEqual(
            (["/Devices/Meter1/VoltageL1N", "/Devices/Meter1/VoltageL2N",
              "/Devices/Meter1/VoltageL3N"],
             ["Voltage L1-N", "Voltage L2-N", "Voltage L3-N"]),
            self.search(True, r"^Voltage L\d-N$"))
        self.assertEqual(([], []), self.search(False, "Voltage"))

    def test_catastrophic_pattern_is_answered_and_serving_goes_on(self):
        nodes, data = self.search(True, "(a+)+$")
        # Short names ending in "a" match; the runaway values do not.
        self.assertTrue(all(text.endswith("a") for text in data), data)
        self.assertFalse([n for n in nodes if n.startswith("/Runaway")])
        # Boost.Regex stops a runaway match at a count of states or at its
        # memory for them, whichever comes first: the count in the x86-64
        # build, the memory in a 32-bit one (the device's).
        self.assertRegex(self.stack.daemon_log(),
                         "Exception in regular expression matching = "
                         "(The complexity of matching|Ran out of stack space)")
        self.assertServedNormally()


if __name__ == "__main__":
    unittest.main()
