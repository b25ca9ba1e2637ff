"""Active alarms and their acknowledgement through nginx: getActiveAlarms
over the sample store's alarm table and over alarms stamped with chosen
times; acknowledgeAlarm posting events that the card's alarm handler
(card-alarms) acts on, so that the next answers change; rights, a
read-only store and a request without an identity.
"""

import os
import sys
import xml.etree.ElementTree as ET

import harness
from core_calls import Answer, StackTestCase
from test_logs import log_request

sys.path.insert(0, os.path.join(harness.SOURCE_DIR, "bench", "throughput"))
import fcgi_client  # noqa: E402  (the project's FastCGI client)

BASE = 1700000000  # UNIX seconds of the stamped alarms
CURRENT = "/Devices/Meter1/CurrentL1"
SERVICE = "/Devices/UPS1/Service/OperatingHours"
# Numbers and times (seconds after BASE) of the stamped alarms.
STAMPED = [(101, 1), (102, 2), (103, 3), (104, 3), (105, 3), (106, 4)]


def local(tag):
    return tag.rsplit("}", 1)[-1]


def alarms_of(answer):
    """The answer's alarms as dicts of field -> text."""
    return [{local(f.tag): f.text or "" for f in element}
            for element in answer.response if local(element.tag) == "alarms"]


def field(answer, name):
    for element in answer.response:
        if local(element.tag) == name:
            return element.text or ""
    return None


def alarm_seed(name, source):
    """Seed text of a raised alarm /Alarms/<name> of `source`."""
    leaves = [("SourcePath", "String", source), ("SourceValue", "Real", "1.5"),
              ("AlarmMsg", "String", "Stamped alarm %s" % name),
              ("SequenceID", "Unsigned", name), ("AlarmLevel", "Unsigned", "1"),
              ("ConditionRaised", "Boolean", "true"), ("Note", "String", "")]
    return "".join("[/Alarms/%s/%s]\nValueType = %s\nValue = %s\n"
                   % (name, leaf, kind, value) for leaf, kind, value in leaves)


def ack_body(*entries):
    items = "".join(
        "<nsc1:AckRequest><nsc1:EventId>%d</nsc1:EventId>%s"
        "<nsc1:VariationLevel>1</nsc1:VariationLevel>"
        "<nsc1:Status>%s</nsc1:Status></nsc1:AckRequest>"
        % (number, "" if note is None else "<nsc1:Note>%s</nsc1:Note>" % note,
           status) for number, note, status in entries)
    return ("<nsc1:acknowledgeAlarm><nsc1:requests>%s</nsc1:requests>"
            "</nsc1:acknowledgeAlarm>" % items)


class AlarmCalls(StackTestCase):
    def active(self, user="admin", **request):
        """getActiveAlarms with the log request's fields (test_logs)."""
        answer = Answer("getActiveAlarms", self.stack.soap(
            "<nsqv:getActiveAlarms>%s</nsqv:getActiveAlarms>"
            % log_request(**request), user=user))
        self.assertEqual(200, answer.status, answer.text)
        return answer

    def acknowledge(self, *entries, user="operator"):
        return Answer("acknowledgeAlarm",
                      self.stack.soap(ack_body(*entries), user=user))

    def numbers(self, answer):
        return [int(a["EventId"]) for a in alarms_of(answer)]


class ActiveAlarmsTest(AlarmCalls):
    """The table as the sample store and the tests stamp it; no handler
    runs, so nothing changes it behind the tests' backs."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        seed = os.path.join(cls.stack.dir, "alarms.seed")
        with open(seed, "w") as f:
            f.write("".join(alarm_seed(str(n), CURRENT) for n, _ in STAMPED))
            f.write(alarm_seed("201", SERVICE))
        cls.stack.cdsctl("load", seed)
        for number, second in STAMPED:
            cls.stack.cdsctl("set", "/Alarms/%d/SequenceID" % number,
                             str(number), "--time", str(BASE + second))

    def test_the_sample_alarms_are_answered_with_their_states(self):
        answer = self.active(path="^/Devices/(Meter1/Voltage|UPS1/Battery)")
        self.assertEqual("", field(answer, "result"))
        found = {a["EventId"]: a for a in alarms_of(answer)}
        self.assertEqual(["17", "18"], sorted(found))
        self.assertEqual(
            ("/Devices/Meter1/VoltageL1N", "254.6", "NotAcked", "2", "3",
             "true", "true", ""),
            tuple(found["17"][k] for k in (
                "SourcePath", "Value", "AckStatus", "VariationLevel",
                "BasePriority", "AutoClosing", "ConditionPresent", "Note")))
        self.assertEqual(
            ("Acked", "1", "2", "false", "Battery replacement ordered",
             "Battery charge low"),
            tuple(found["18"][k] for k in (
                "AckStatus", "VariationLevel", "BasePriority", "AutoClosing",
                "Note", "Description")))

    def test_order_latest_reverse_and_trimming(self):
        t = lambda second: (BASE + second) * 1000000  # noqa: E731
        cases = [
            (dict(), [101, 102, 103, 104, 105, 106], "0"),
            (dict(most=4, trim=True), [101, 102], "1"),
            (dict(most=4, latest=True, reverse=True), [106, 105, 104, 103],
             "0"),
            (dict(most=4, latest=True), [103, 104, 105, 106], "0"),
            (dict(most=2, start=t(3), trim=True), [], "3"),
            (dict(start=t(2), end=t(3)), [102, 103, 104, 105], "0"),
        ]
        for request, numbers, trimmed in cases:
            with self.subTest(**request):
                answer = self.active(path="CurrentL1$", **request)
                self.assertEqual(numbers, self.numbers(answer))
                self.assertEqual(trimmed, field(answer, "numTrimmedEvents"))

    def test_a_bad_pattern_answers_no_alarms_and_is_logged(self):
        answer = self.active(path="[")
        self.assertEqual(([], ""), (alarms_of(answer), field(answer, "result")))
        self.assertIn("Exception in regular expression matching of alarm "
                      "path = [", self.stack.daemon_log())

    def test_alarms_of_unreadable_sources_are_left_out(self):
        self.assertIn(201, self.numbers(self.active(user="operator")))
        self.assertNotIn(201, self.numbers(self.active(user="viewer")))

    def test_a_request_without_its_request_element_is_refused(self):
        answer = Answer("getActiveAlarms", self.stack.soap(
            "<nsqv:getActiveAlarms></nsqv:getActiveAlarms>"))
        self.assertTrue(field(answer, "result").startswith("? 33 "),
                        answer.text)


class AcknowledgementTest(AlarmCalls):
    """The daemon and the alarm handler on one store."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.addClassCleanup(cls.stack.stop_alarm_handler)
        cls.stack.start_alarm_handler()

    def event_log(self):
        answer = Answer("getEventLog", self.stack.soap(
            "<nsqv:getEventLog><request><rqstType>2</rqstType></request>"
            "</nsqv:getEventLog>"))
        return [{local(f.tag): f.text or "" for f in element}
                for element in answer.response if local(element.tag) == "events"]

    def alarm(self, number):
        found = [a for a in alarms_of(self.active())
                 if a["EventId"] == str(number)]
        return found[0] if found else None

    def test_an_operators_acknowledgement_reaches_table_and_log(self):
        answer = self.acknowledge((17, "Crew on the way", "Acked"))
        self.assertEqual([""], answer.results, answer.text)
        queued = self.stack.cdsctl("events").stdout
        for part in ("kind=16\tpath=/", "id=17", "quality=192\tack=1",
                     "note=Crew on the way", "var=1",
                     "source=Web-Services:operator@127.0.0.1"):
            self.assertIn(part, queued)
        harness.wait_until(lambda: self.alarm(17)["AckStatus"] == "Acked",
                           "the handler's acknowledgement")
        self.assertEqual("Crew on the way", self.alarm(17)["Note"])
        logged = [e for e in self.event_log() if e["EventId"] == "17"
                  and e.get("Note") == "Crew on the way"]
        self.assertEqual(["Acked"], [e["AckStatus"] for e in logged])

    def test_a_viewer_is_refused_and_nothing_is_sent(self):
        before = self.stack.cdsctl("events").stdout
        self.assertEqual(401, self.acknowledge((18, None, "Closed"),
                                               user="viewer").status)
        self.assertEqual(before, self.stack.cdsctl("events").stdout)

    def test_a_lowered_limit_raises_an_alarm_that_both_operations_show(self):
        self.stack.cdsctl("set", "/Devices/Meter1/VoltageL2N/.HighAlarmLimit",
                          "200")
        raised = lambda: [a for a in alarms_of(self.active())  # noqa: E731
                          if a["SourcePath"] == "/Devices/Meter1/VoltageL2N"]
        harness.wait_until(raised, "the raised alarm")
        alarm = raised()[0]
        self.assertEqual(("NotAcked", "true", "229.8"),
                         (alarm["AckStatus"], alarm["ConditionPresent"],
                          alarm["Value"]))
        self.assertGreater(int(alarm["EventId"]), 18)
        self.assertIn(alarm["EventId"],
                      [e["EventId"] for e in self.event_log()])

    def test_an_unknown_alarm_is_acknowledged_then_skipped(self):
        self.assertEqual([""], self.acknowledge((999999, None, "Acked")).results)
        harness.wait_until(
            lambda: "alarm 999999 by Web-Services:operator@127.0.0.1 skipped"
            in self.stack.alarm_handler_log(), "the handler's notice")

    def test_a_request_without_remote_user_faults_not_401(self):
        body = harness.envelope(ack_body((17, None, "Acked")))
        params = {"REQUEST_METHOD": "POST", "CONTENT_TYPE":
                  "application/soap+xml; charset=utf-8",
                  "CONTENT_LENGTH": str(len(body)), "REMOTE_ADDR": "127.0.0.1"}
        reply = fcgi_client.request(self.stack.socket, params, body,
                                    timeout=harness.START_LIMIT_S).decode()
        self.assertIn("Fault", reply)
        self.assertNotIn("401", reply.split("\r\n\r\n")[0])
        self.assertIn("Exception in __nsc1__acknowledgeAlarm()",
                      self.stack.daemon_log())

    def test_ten_thousand_entries_are_answered_one_by_one(self):
        entries = [(900000 + n, None, "NotAcked") for n in range(10000)]
        answer = self.acknowledge(*entries)
        self.assertEqual([""] * 10000, answer.results)
        self.assertServedNormally()


class ReadOnlyStoreTest(AlarmCalls):
    @classmethod
    def setUpClass(cls):
        cls.stack = harness.Stack()
        cls.addClassCleanup(cls.stack.close)
        cls.stack.create_store()
        cls.stack.cdsctl("set", "/ReadOnlyCDS", "true")
        cls.stack.start_nginx()
        cls.stack.start_daemon()

    def test_every_entry_answers_error_20(self):
        answer = self.acknowledge((17, None, "Acked"), (18, "x", "Closed"))
        self.assertEqual(["? 20 Write Failed : CDS event_send failed"] * 2,
                         answer.results, answer.text)


class LargeTableTest(AlarmCalls):
    """10,000 alarms of one long source path."""

    SOURCE = "/Devices/Meter1/" + "a" * 30 + "!"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        seed = os.path.join(cls.stack.dir, "large.seed")
        with open(seed, "w") as f:
            f.write("".join(alarm_seed(str(n), cls.SOURCE)
                            for n in range(1000, 11000)))
        cls.stack.cdsctl("load", seed)

    def test_every_alarm_is_answered(self):
        answer = self.active(path="a!$")
        self.assertEqual(10000, len(alarms_of(answer)))

    def test_a_backtracking_pattern_is_cut_short_and_logged_briefly(self):
        answer = self.active(path="(a|aa)+$")
        self.assertEqual(([], ""), (alarms_of(answer), field(answer, "result")))
        self.assertLessEqual(self.stack.daemon_log().count(
            "Exception in regular expression matching"), 10)
        self.assertServedNormally()
