"""Subscriptions through nginx on the sample store, each checked in the
publisher's area with cdsctl as the publisher would see it: the leaves of
a created subscription and their writer, replacement, updates, cancelling,
the subscribed paths read back, and requests that must write nothing.
What each operation answers in detail is the unit tests' (tests/publish)."""

import unittest
from xml.sax.saxutils import escape

from core_calls import Answer, StackTestCase

SUBS = "/Software/Data Servers/WS-Publisher/Subscriptions"
COUNT = "/Software/Data Servers/WS-Publisher/SubUpdateCount"
VOLTS = "/Devices/Meter1/VoltageL1N"        # 230.4, quality good
DEMAND = "/Devices/Meter1/PeakDemand"       # 14.9
HOURS = "/Devices/UPS1/Service/OperatingHours"  # 15342


def nodes(element, paths):
    """<nsc1:element> with one NodeSubscription per path (freshness 250 ms,
    dead band 2.5 %); None leaves the element out."""
    if paths is None:
        return ""
    items = "".join(
        "<nsc1:NodeSubscription><nsc1:Path>%s</nsc1:Path><nsc1:Requested"
        "Freshness>250</nsc1:RequestedFreshness><nsc1:DeadbandPercent>2.5"
        "</nsc1:DeadbandPercent></nsc1:NodeSubscription>" % escape(path)
        for path in paths)
    return "<nsc1:%s>%s</nsc1:%s>" % (element, items, element)


class SubscriptionTest(StackTestCase):
    def create(self, sid, paths, user="operator", log_options="Alarm Trend",
               version=12):
        body = ("<nsc1:createSubscription><nsc1:subscriptionId>%s</nsc1:"
                "subscriptionId><nsc1:replyUri>http://client.example/%s</nsc1:"
                "replyUri><nsc1:leaseDuration>60000</nsc1:leaseDuration>%s"
                "<nsc1:logSinceTime>1700000000000000</nsc1:logSinceTime>"
                "<nsc1:subscribeLogOptions>%s</nsc1:subscribeLogOptions>"
                "</nsc1:createSubscription>"
                % (escape(sid), escape(sid), nodes("realTimeNodes", paths),
                   log_options))
        return Answer("createSubscription",
                      self.stack.soap(body, version=version, user=user))

    def update(self, sid, add, remove, user="operator"):
        body = ("<nsc1:updateSubscriptionRealTimeNodes><nsc1:subscriptionId>"
                "%s</nsc1:subscriptionId>%s<nsc1:realTimeNodesToRemove>%s"
                "</nsc1:realTimeNodesToRemove>"
                "</nsc1:updateSubscriptionRealTimeNodes>"
                % (sid, nodes("realTimeNodesToAdd", add), "".join(
                    "<nsc1:string>%s</nsc1:string>" % p for p in remove)))
        return Answer("updateSubscriptionRealTimeNodes",
                      self.stack.soap(body, user=user))

    def count(self):
        return int(self.stored(COUNT))

    def children(self, sid):
        return self.stored("%s/%s/RTNodes:Children" % (SUBS, sid))

    def test_create_writes_every_leaf_as_the_caller(self):
        before = self.count()
        answer = self.create("meter view", [VOLTS, DEMAND])
        # Value, NumericValue, Quality and Time of each point, in order.
        self.assertEqual(["230.4", "230.4", "192"], answer.results[:3])
        self.assertEqual("14.9", answer.results[4])
        self.assertEqual(before + 1, self.count())
        sub = SUBS + "/meter view"
        rt = sub + "/RTNodes/Devices.Meter1.VoltageL1N"
        expected = {
            sub + "/ReplyURI/Value": "http://client.example/meter view",
            sub + "/LeaseDuration/Value": "60000",
            sub + "/LeaseDuration/Units": "milliseconds",
            sub + "/LogSinceTime/Value": "2023-11-14T22:13:20.000000Z",
            sub + "/LogOptions/Value": "5",
            sub + "/RTNodeCount/Value": "2",
            sub + "/RTNodes/HasDynamicChildren": "true",
            rt + "/RqstdFreshness/Value": "250",
            rt + "/Deadband/Value": "2.5",
            rt + "/Deadband/Units": "percent",
        }
        for path, text in expected.items():
            with self.subTest(path=path):
                self.assertEqual(text, self.stored(path))
                self.assertEqual("Web-Services:operator@127.0.0.1\n",
                                 self.stack.cdsctl("writer", path).stdout)

    def test_recreate_replaces_and_empty_identifier_writes_nothing(self):
        self.create("again", [VOLTS, DEMAND])
        self.assertEqual([], self.create("again", None, version=11).results)
        self.assertEqual("", self.children("again"))
        self.assertEqual("0", self.stored(SUBS + "/again/RTNodeCount/Value"))
        before, subscriptions = self.count(), self.stored(SUBS + ":Children")
        self.assertEqual([], self.create("", [VOLTS]).results)
        self.assertEqual(before, self.count())
        self.assertEqual(subscriptions, self.stored(SUBS + ":Children"))

    def test_update_adds_removes_and_recounts(self):
        self.create("upd", [VOLTS])
        before = self.count()
        answer = self.update("upd", [DEMAND, HOURS],
                             [VOLTS, "/Devices/Not/Subscribed"])
        self.assertIn("15342", answer.results)
        self.assertEqual("Devices.Meter1.PeakDemand;"
                         "Devices.UPS1.Service.OperatingHours",
                         self.children("upd"))
        self.assertEqual("2", self.stored(SUBS + "/upd/RTNodeCount/Value"))
        self.assertEqual(before, self.count())

    def test_cancel_removes_and_unknown_is_a_client_fault(self):
        self.create("gone", [VOLTS])
        before = self.count()
        self.call("cancelSubscription", user="operator", subscriptionId="gone")
        self.assertIsNone(self.stored(SUBS + "/gone/ReplyURI/Value"))
        self.assertEqual(before + 1, self.count())
        answer = self.call("cancelSubscription", subscriptionId="gone")
        self.assertFault(answer)
        self.assertIn("No such subscriptionId to cancel", answer.fault)

    def test_subscribed_paths_round_trip(self):
        odd = ["/Devices/Meter.1 A/Volt age", "/Devices/a%2Eb:c", VOLTS]
        self.create("paths", odd)
        for sid, paths in (("paths", odd), ("nope", [
                "? 28 No match for SubscriberId : nope"])):
            self.assertEqual(paths, self.results(
                "getSubscribedNodes", prefix="nst1", subscriptionId=sid))

    def test_bad_requests_write_nothing(self):
        self.create("mine", [VOLTS], user="viewer")
        before, subscriptions = self.count(), self.stored(SUBS + ":Children")
        for sid, options in (("a/b", "Alarm"), ("x" * 300, "Alarm"),
                             ("new", "Alarm Bogus"), ("new", "")):
            with self.subTest(sid=sid, options=options):
                self.assertFault(self.create(sid, [VOLTS],
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


if __name__ == "__main__":
    unittest.main()
