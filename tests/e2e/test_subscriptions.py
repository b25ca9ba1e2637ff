"""Subscriptions through nginx on the sample store, each checked in the
publisher's area with cdsctl as the publisher would see it: the leaves of
a created subscription and their writer, replacement, updates, cancelling,
the subscribed paths read back, and requests that must write nothing.
What each operation answers in detail is the unit tests' (tests/publish)."""

import unittest
from xml.sax.saxutils import escape

from core_calls import Answer, StackTestCase, StringArray, request_body

SUBS = "/Software/Data Servers/WS-Publisher/Subscriptions"
COUNT = "/Software/Data Servers/WS-Publisher/SubUpdateCount"
VOLTS = "/Devices/Meter1/VoltageL1N"        # 230.4, quality good
DEMAND = "/Devices/Meter1/PeakDemand"       # 14.9, quality 0
HOURS = "/Devices/UPS1/Service/OperatingHours"  # Operators read it
# 2023-11-14T22:13:20Z in device time (microseconds).
SINCE = 1700000000000000


def node_subscriptions(paths):
    """An nsc1:ArrayOfNodeSubscription of `paths` (None: an entry without
    a Path), each with freshness 250 ms and a dead band of 2.5 %."""
    items = []
    for path in paths:
        inner = ("" if path is None else
                 "<nsc1:Path>%s</nsc1:Path>" % escape(path))
        items.append("<nsc1:NodeSubscription>%s"
                     "<nsc1:RequestedFreshness>250</nsc1:RequestedFreshness>"
                     "<nsc1:DeadbandPercent>2.5</nsc1:DeadbandPercent>"
                     "</nsc1:NodeSubscription>" % inner)
    return "".join(items)


class SubscriptionTest(StackTestCase):
    def create(self, sid, paths, user="operator", log_options="Alarm Trend",
               version=12):
        nodes = ("" if paths is None else "<nsc1:realTimeNodes>%s"
                 "</nsc1:realTimeNodes>" % node_subscriptions(paths))
        body = ("<nsc1:createSubscription>"
                "<nsc1:subscriptionId>%s</nsc1:subscriptionId>"
                "<nsc1:replyUri>http://client.example/%s</nsc1:replyUri>"
                "<nsc1:leaseDuration>60000</nsc1:leaseDuration>%s"
                "<nsc1:logSinceTime>%d</nsc1:logSinceTime>"
                "<nsc1:subscribeLogOptions>%s</nsc1:subscribeLogOptions>"
                "</nsc1:createSubscription>"
                % (escape(sid), escape(sid), nodes, SINCE, log_options))
        return Answer("createSubscription",
                      self.stack.soap(body, version=version, user=user))

    def update(self, sid, add, remove, user="operator"):
        body = request_body("updateSubscriptionRealTimeNodes", dict(
            subscriptionId=sid, realTimeNodesToAdd=None,
            realTimeNodesToRemove=StringArray(remove)))
        body = body.replace(
            "</nsc1:subscriptionId>", "</nsc1:subscriptionId>"
            "<nsc1:realTimeNodesToAdd>%s</nsc1:realTimeNodesToAdd>"
            % node_subscriptions(add), 1)
        return Answer("updateSubscriptionRealTimeNodes",
                      self.stack.soap(body, user=user))

    def subscribed(self, sid):
        return self.results("getSubscribedNodes", prefix="nst1",
                            subscriptionId=sid)

    def count(self):
        return int(self.stored(COUNT))

    def children(self, sid):
        return self.stored("%s/%s/RTNodes:Children" % (SUBS, sid))

    def test_create_writes_every_leaf_as_the_caller(self):
        before = self.count()
        answer = self.create("meter view", [VOLTS, None, "Devices/X", DEMAND,
                                            "/Devices/../X"])
        self.assertEqual(200, answer.status, answer.text)
        self.assertEqual(before + 1, self.count())
        results = [[leaf.text for leaf in item] for item in
                   answer.response.iter() if item.tag.endswith(
                       "}RealTimeNodeSubscriptionResult")]
        self.assertEqual(3, len(results), answer.text)
        self.assertEqual(["230.4", "230.4", "192"], results[0][:3])
        self.assertEqual(["14.9", "14.9", "0"], results[1][:3])
        self.assertEqual("? 8 Bad Path Syntax : CDS Error in supplied path",
                         results[2][0])
        sub = SUBS + "/meter view"
        rt = sub + "/RTNodes/Devices.Meter1.VoltageL1N"
        expected = {
            sub + "/ReplyURI/Value": "http://client.example/meter view",
            sub + "/LeaseDuration/Value": "60000",
            sub + "/LeaseDuration/Units": "milliseconds",
            sub + "/LogSinceTime/Value": "2023-11-14T22:13:20.000000Z",
            sub + "/LogOptions/Value": "5",
            sub + "/LogOptions/Units": "no-units",
            sub + "/RTNodeCount/Value": "3",
            sub + "/RTNodes/NodeType": "Collection",
            sub + "/RTNodes/HasDynamicChildren": "true",
            rt + "/RqstdFreshness/Value": "250",
            rt + "/Deadband/Value": "2.5",
            rt + "/Deadband/Units": "percent",
        }
        for path, text in expected.items():
            with self.subTest(path=path):
                self.assertEqual(text, self.stored(path))
                self.assertEqual("Web-Services:operator@127.0.0.1",
                                 self.stack.cdsctl("writer", path).stdout
                                 .strip())

    def test_recreate_replaces_and_empty_identifier_writes_nothing(self):
        self.create("again", [VOLTS, DEMAND])
        answer = self.create("again", None, version=11)
        self.assertEqual([], answer.results)
        self.assertEqual("", self.children("again"))
        self.assertEqual("0", self.stored(SUBS + "/again/RTNodeCount/Value"))
        before = self.count()
        subscriptions = self.stored(SUBS + ":Children")
        self.assertEqual([], self.create("", [VOLTS]).results)
        self.assertEqual(before, self.count())
        self.assertEqual(subscriptions, self.stored(SUBS + ":Children"))

    def test_update_adds_removes_and_recounts(self):
        self.create("upd", [VOLTS])
        before = self.count()
        answer = self.update("upd", [DEMAND, HOURS],
                             [VOLTS, "/Devices/Not/Subscribed"])
        self.assertEqual(200, answer.status, answer.text)
        self.assertEqual("Devices.Meter1.PeakDemand;"
                         "Devices.UPS1.Service.OperatingHours",
                         self.children("upd"))
        self.assertEqual("2", self.stored(SUBS + "/upd/RTNodeCount/Value"))
        self.assertEqual(before, self.count())
        self.assertIn("15342", answer.results)

    def test_cancel_removes_and_unknown_is_a_client_fault(self):
        self.create("gone", [VOLTS])
        before = self.count()
        self.assertEqual(200, self.call("cancelSubscription",
                                        user="operator",
                                        subscriptionId="gone").status)
        self.assertIsNone(self.stored(SUBS + "/gone/ReplyURI/Value"))
        self.assertEqual(before + 1, self.count())
        answer = self.call("cancelSubscription", subscriptionId="gone")
        self.assertFault(answer)
        self.assertIn("No such subscriptionId to cancel", answer.fault)
        self.assertEqual(before + 1, self.count())

    def test_subscribed_paths_round_trip(self):
        odd = ["/Devices/Meter.1 A/Volt age", "/Devices/a%2Eb:c", VOLTS]
        self.create("paths", odd)
        self.assertEqual(odd, self.subscribed("paths"))
        self.assertEqual(["? 28 No match for SubscriberId : nope"],
                         self.subscribed("nope"))

    def test_bad_requests_write_nothing(self):
        self.create("mine", [VOLTS], user="viewer")
        before = self.count()
        subscriptions = self.stored(SUBS + ":Children")
        for sid in ("a/b", "x" * 300):
            with self.subTest(sid=sid):
                self.assertFault(self.create(sid, [VOLTS]))
        for options in ("Alarm Bogus", ""):
            with self.subTest(options=options):
                self.assertFault(self.create("new", [VOLTS],
                                             log_options=options))
        # Another user's subscription: 401 for everyone but Administrators.
        self.assertEqual(401, self.create("mine", []).status)
        self.assertEqual(401, self.update("mine", [], [VOLTS]).status)
        self.assertEqual(401, self.call("cancelSubscription", user="operator",
                                        subscriptionId="mine").status)
        self.assertEqual("Devices.Meter1.VoltageL1N", self.children("mine"))
        self.assertEqual(before, self.count())
        self.assertEqual(subscriptions, self.stored(SUBS + ":Children"))
        self.assertEqual(200, self.create("mine", [], user="admin").status)
        self.assertServedNormally()


if __name__ == "__main__":
    unittest.main()
