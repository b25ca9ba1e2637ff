"""The publisher delivering subscriptions made through nginx, to receivers
this test runs on 127.0.0.1: first values and changes (from the simulator
and from setValue), log records per log option, nothing after cancel, only
the new nodes after a re-create, nothing its owner may not read (judged
again at each look), nothing once the lease passed, and the others still served beside bad reply
addresses."""

import http.server
import os
import threading
import time
import unittest
import xml.etree.ElementTree as ET
from xml.sax.saxutils import escape

import zeep
from lxml import etree

import harness
from core_calls import StackTestCase, StringArray, call

VOLTS = "/Devices/Meter1/VoltageL1N"            # moved by the simulator
THRESHOLD = "/Devices/UPS1/LowBatteryThreshold"  # Operator-write
DEMAND = "/Devices/Meter1/PeakDemand"
HOURS = "/Devices/UPS1/Service/OperatingHours"  # Operator-read
SUBS = "/Software/Data Servers/WS-Publisher/Subscriptions"
NEW_NODE = "/Devices/UPS1/Published"
SLOW_S = 3  # a receiver this slow outlasts the publisher's 2 s per post


class Receiver(http.server.ThreadingHTTPServer):
    """Keeps (subscription path, [(point, value, real time)], [(event type,
    description)]) per post; answers each path with the status its name
    asks for."""

    def __init__(self):
        self.lock = threading.Lock()
        self.posts = []
        self.bodies = []
        super().__init__(("127.0.0.1", 0), ReceiverHandler)
        self.thread = threading.Thread(target=self.serve_forever, daemon=True)
        self.thread.start()

    def url(self, name):
        return "http://127.0.0.1:%d/%s" % (self.server_address[1], name)

    def values(self, name, point=None):
        with self.lock:
            return [v for path, values, _ in self.posts if path == "/" + name
                    for v in values if point in (None, v[0])]

    def events(self, name):
        with self.lock:
            return [e for path, _, events in self.posts if path == "/" + name
                    for e in events]


class ReceiverHandler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        values, events = [], []
        for item in ET.fromstring(body).iter():
            fields = {child.tag.split("}")[1]: child.text for child in item}
            if item.tag.endswith("}PublishedValue"):
                values.append((fields.get("Path"), fields.get("Value"),
                               fields.get("RealTime")))
            elif item.tag.endswith("}Event"):
                events.append((fields.get("EventType"),
                               " ".join((fields.get("Description") or
                                         "").split())))
        with self.server.lock:
            self.server.posts.append((self.path, values, events))
            self.server.bodies.append(body)
        if self.path.endswith("-slow"):
            time.sleep(SLOW_S)  # past the publisher's total time-out
        answer = b"<<garbage" if self.path.endswith("-garbage") else b""
        self.send_response(500 if self.path.endswith("-500") else 200)
        self.send_header("Content-Length", str(len(answer)))
        self.end_headers()
        self.wfile.write(answer)

    def log_message(self, *args):
        pass


class PublisherTest(StackTestCase):
    witness = False

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.receiver = Receiver()
        cls.addClassCleanup(cls.receiver.server_close)
        cls.addClassCleanup(cls.receiver.shutdown)
        # Delta-logged for the log options' test.
        cls.stack.cdsctl("set", THRESHOLD + "/.LogInterval", "3600")
        cls.stack.cdsctl("set", THRESHOLD + "/.Deadband", "1", "--type",
                         "Real")
        fast = ["--watchdog-seconds", "10"]
        cls.card = harness.Companions(cls.stack, {
            "simulator": ["--step-seconds", "0.3", "--seed", "7"] + fast,
            "deltalog": ["--check-seconds", "0.2"] + fast,
            "syslog": ["--check-seconds", "0.2"] + fast,
            "publisher": ["--check-seconds", "0.1", "--allow-address",
                          "127.0.0.1", "--retries", "1", "--backoff-seconds",
                          "0.2", "--connect-seconds", "1", "--total-seconds",
                          "2", "--max-subscriptions", "50", "-D", "2"] + fast})
        cls.addClassCleanup(cls.card.stop)
        harness.wait_until(lambda: cls.card.pid("publisher"),
                           "the publisher's start")

    def subscribe(self, sid, points, user="operator", lease=600000, uri=None,
                  options="Alarm"):
        nodes = "".join(
            "<nsc1:NodeSubscription><nsc1:Path>%s</nsc1:Path>"
            "<nsc1:RequestedFreshness>0</nsc1:RequestedFreshness>"
            "<nsc1:DeadbandPercent>0</nsc1:DeadbandPercent>"
            "</nsc1:NodeSubscription>" % p for p in points)
        body = ("<nsc1:createSubscription><nsc1:subscriptionId>%s"
                "</nsc1:subscriptionId><nsc1:replyUri>%s</nsc1:replyUri>"
                "<nsc1:leaseDuration>%d</nsc1:leaseDuration><nsc1:"
                "realTimeNodes>%s</nsc1:realTimeNodes><nsc1:logSinceTime>"
                "1700000000000000</nsc1:logSinceTime><nsc1:subscribeLog"
                "Options>%s</nsc1:subscribeLogOptions></nsc1:"
                "createSubscription>"
                % (sid, escape(uri or self.receiver.url(sid)), lease, nodes,
                   options))
        reply = self.stack.soap(body, user=user)
        self.assertEqual(200, reply.status, reply.text)

    def set_threshold(self, value):
        answer = call(self.stack, "setValue", user="operator",
                      path=THRESHOLD, value=str(value))
        self.assertEqual(200, answer.status, answer.text)

    def received(self, sid, point, value, real_time="true"):
        harness.wait_until(
            lambda: (point, value, real_time) in self.receiver.values(
                sid, point),
            "%s of %s at %s" % (value, point, sid))

    def sync(self, value):
        """Sets the threshold and waits until the witness, a subscription
        made first, received it once more: by then every subscription of
        the same step had its turn."""
        sent = (THRESHOLD, str(value), "true")
        count = lambda: self.receiver.values("witness", THRESHOLD).count(sent)
        before = count()
        self.set_threshold(value)
        harness.wait_until(lambda: count() > before,
                           "%s at the witness" % value)

    def publisher_logged(self, text):
        with open(os.path.join(self.stack.dir, "publisher.log")) as log:
            return text in log.read()

    def setUp(self):
        if not PublisherTest.witness:
            self.subscribe("witness", [THRESHOLD])
            PublisherTest.witness = True

    def test_first_values_changes_and_cancel(self):
        self.subscribe("first", [VOLTS, THRESHOLD])
        self.received("first", THRESHOLD, self.value(THRESHOLD))
        harness.wait_until(lambda: len(set(
            v[1] for v in self.receiver.values("first", VOLTS))) >= 2,
            "the simulator's moves")
        self.sync(41)
        self.received("first", THRESHOLD, "41")
        answer = call(self.stack, "cancelSubscription", user="operator",
                      subscriptionId="first")
        self.assertEqual(200, answer.status, answer.text)
        self.sync(42)
        self.sync(43)
        self.assertEqual([], [v for v in self.receiver.values(
            "first", THRESHOLD) if v[1] in ("42", "43")])

    def test_log_records_per_option(self):
        self.subscribe("trend", [], options="Trend")
        self.subscribe("events", [], options="NonAlarmEvent Configuration")
        self.subscribe("alarms", [], options="Alarm")
        self.sync(61)
        self.assertEqual(["1"], self.results(
            "CreateNode", prefix="nst1", basePath=NEW_NODE + "/",
            paths=StringArray(["Value"]), values=StringArray(["1"])))
        self.received("trend", THRESHOLD, "61", real_time="false")
        harness.wait_until(lambda: (
            "StructureChanged", "Node created : " + NEW_NODE)
            in self.receiver.events("events"), "the configuration change")
        harness.wait_until(lambda: any(
            e[1].startswith("Process started : publisher")
            for e in self.receiver.events("events")), "a system event")
        self.sync(62)
        self.received("trend", THRESHOLD, "62", real_time="false")
        self.assertEqual([], self.receiver.events("trend"))
        self.assertEqual([], self.receiver.values("events"))
        # The sample card raises no alarms: none may come.
        self.assertEqual([], self.receiver.events("alarms"))

    def test_the_subscriber_document_reads_every_message(self):
        """A stock client builds the receiver from the subscriber WSDL: it
        reads every message posted so far as the publisher meant it."""
        self.sync(63)
        operation = zeep.Client(os.environ["WSGATED_SUBSCRIBER_WSDL"]).wsdl \
            .bindings["{urn:wsgated:subscriber}wsgatedSubscriberSoap12"] \
            .get("notify")
        with self.receiver.lock:
            bodies = list(self.receiver.bodies)
        values = 0
        for body in bodies:
            notify = operation.input.deserialize(etree.fromstring(body))
            self.assertTrue(notify.subscriptionId)
            for value in (notify.values.PublishedValue
                          if notify.values else []):
                self.assertTrue(value.Path.startswith("/"), value)
                values += 1
        self.assertGreater(values, 0)

    def test_recreate_delivers_only_the_new_nodes(self):
        self.subscribe("again", [THRESHOLD])
        self.received("again", THRESHOLD, self.value(THRESHOLD))
        self.subscribe("again", [DEMAND])
        self.received("again", DEMAND, self.value(DEMAND))
        self.sync(44)
        self.sync(45)
        self.assertEqual([], [v for v in self.receiver.values(
            "again", THRESHOLD) if v[1] in ("44", "45")])

    def test_only_what_the_owner_may_read(self):
        self.subscribe("viewer", [HOURS, THRESHOLD], user="viewer")
        self.sync(46)
        self.received("viewer", THRESHOLD, "46")
        self.assertEqual([], self.receiver.values("viewer", HOURS))

    def test_rights_taken_and_given_back_hold_from_the_next_look(self):
        self.sync(55)
        self.subscribe("demoted", [THRESHOLD], user="viewer")
        self.received("demoted", THRESHOLD, "55")
        self.stack.cdsctl("user", "set", "viewer", "None")
        self.addCleanup(self.stack.cdsctl, "user", "set", "viewer", "Viewer")
        harness.wait_until(lambda: self.publisher_logged(
            "viewer may not read %s: not sent" % THRESHOLD), "the refusal")
        self.sync(52)
        self.sync(53)
        self.sync(55)  # what it had last: nothing new once it may read again
        self.stack.cdsctl("user", "set", "viewer", "Viewer")
        self.sync(56)
        self.received("demoted", THRESHOLD, "56")
        self.assertEqual(["55", "56"], [v[1] for v in self.receiver.values(
            "demoted", THRESHOLD)])

    def test_nothing_once_the_lease_passed(self):
        self.subscribe("leased", [THRESHOLD], lease=1500)
        self.received("leased", THRESHOLD, self.value(THRESHOLD))
        harness.wait_until(lambda: self.stored(
            SUBS + "/leased/ReplyURI") is None, "the lease's end")
        self.sync(47)
        self.sync(48)
        self.assertEqual([], [v for v in self.receiver.values(
            "leased", THRESHOLD) if v[1] in ("47", "48")])

    def test_bad_receivers_leave_the_others_served(self):
        pid = self.card.pid("publisher")
        self.subscribe("ftp", [THRESHOLD], uri="ftp://127.0.0.1/x")
        self.subscribe("closed", [THRESHOLD], uri="http://127.0.0.1:1/x")
        self.subscribe("fails-500", [THRESHOLD])
        self.subscribe("elsewhere", [THRESHOLD], uri="http://127.0.0.2:9/x")
        self.subscribe("answers-slow", [THRESHOLD])
        self.subscribe("answers-garbage", [THRESHOLD])
        self.received("fails-500", THRESHOLD, self.value(THRESHOLD))
        self.sync(49)
        self.received("answers-garbage", THRESHOLD, "49")
        self.sync(50)
        self.received("answers-garbage", THRESHOLD, "50")
        self.assertEqual(pid, self.card.pid("publisher"))

        def logged(line):
            with open(self.stack.dir + "/publisher.log") as file:
                return line in file.read()
        for line in ("scheme ftp is not http or https",
                     "127.0.0.2 is loopback", "HTTP 500",
                     "Couldn't connect to server", "Timeout was reached"):
            harness.wait_until(lambda: logged(line), line)


if __name__ == "__main__":
    unittest.main()
