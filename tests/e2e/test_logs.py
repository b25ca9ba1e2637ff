"""getEventLog and getDeltaLog through nginx on the demo's history: the
sample store's week made by log-history with a fixed seed and end. What
the answers should hold is worked out from the logs as a second reader
(cdsctl log show) sees them. The retry and trimming rules in detail are
the unit tests' (tests/logs); here they meet real files, locks and rights.
"""

import itertools
import os
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ET

import harness
from core_calls import Answer, StackTestCase

END = 1772971200  # 2026-03-08T12:00:00Z
XSI_TYPE = "{http://www.w3.org/2001/XMLSchema-instance}type"
SOFTWARE = "/Software"
CONFIGURATION = "/Software/System Settings/Configuration Changed"
SERVICE = "/Devices/UPS1/Service"
# The German of the configuration changes' details and whole texts.
GERMAN = {"Configuration changed :  Network settings": "Netzwerkeinstellungen",
          "Configuration changed :  Alarm limits": "Alarmgrenzen",
          "Configuration changed :  Users and passwords": "Benutzerverwaltung",
          "Configuration changed :  Date and time": "Datum und Uhrzeit",
          "Firmware updated": "Firmware aktualisiert",
          "": "Device Node Structure Changed"}
# Holds the alarm/event log under an exclusive lock for 1.5 s.
LOCKER = """
import sqlite3, sys, time
db = sqlite3.connect(sys.argv[1], isolation_level=None)
db.executescript("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE;"
                 "UPDATE meta SET value = value WHERE key = 'rows';")
print("locked", flush=True)
time.sleep(1.5)
db.execute("COMMIT")
"""


def log_request(options=None, rqst_type=2, start=0, end=0, most=0,
                latest=False, reverse=False, trim=False, path=None):
    fields = [("options", options), ("rqstType", rqst_type),
              ("startTime", start), ("endTime", end), ("nMaxToReturn", most),
              ("bLatestEvents", latest), ("bReverseOrder", reverse),
              ("bTrimIncomplete", trim), ("path", path)]
    return "<request>%s</request>" % "".join(
        "<%s>%s</%s>" % (name, str(value).lower() if isinstance(value, bool)
                         else value, name)
        for name, value in fields if value is not None)


class LogsTest(StackTestCase):
    prefix = "nsqv"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        paths = cls.stack.paths
        cls.files = {"delta": paths["WSGATED_DELTA_LOG"],
                     "alarms": paths["WSGATED_EVENT_LOG"],
                     "system": paths["WSGATED_SYSTEM_LOG"]}
        subprocess.run(harness.program("LOG_HISTORY_BIN") + [
            "--store", cls.stack.store, "--delta-log", cls.files["delta"],
            "--event-log", cls.files["alarms"], "--system-log",
            cls.files["system"], "--end", str(END), "--seed", "1"],
            check=True, capture_output=True)

    def stored(self, log):
        """The log's records as cdsctl shows them: (time, kind, path,
        value, description), oldest first."""
        shown = self.stack.cdsctl("log", "show", self.files[log]).stdout
        return [(f[0], int(f[1]), f[2], f[4], f[7]) for f in
                (line.split("\t") for line in shown.splitlines())]

    def call_log(self, operation, user="admin", version=12, **request):
        body = "<nsqv:%s>%s</nsqv:%s>" % (operation, log_request(**request),
                                          operation)
        answer = Answer(operation, self.stack.soap(body, version=version,
                                                   user=user))
        self.assertEqual(200, answer.status, answer.text)
        response = answer.response
        self.assertIsNotNone(response, answer.text)
        items = response.findall("events") or response.findall("loggedValues")
        records = [dict({child.tag.split("}")[1]: child.text or ""
                         for child in item}, type=item.get(XSI_TYPE))
                   for item in items]
        trimmed = response.findtext("numTrimmedEvents") or response.findtext(
            "numTrimmedPoints")
        return response.findtext("result"), int(trimmed), records

    def test_maxima_and_which_log_each_request_type_reads(self):
        result, _, records = self.call_log("getEventLog", most=2501)
        self.assertEqual("? 34 Result Too Big to Return : Please request less "
                         "than 2500 records.", result)
        self.assertEqual([], records)
        stored = self.stored("alarms")
        dropped = [r for r in stored if r[2].startswith(SOFTWARE) and
                   not (r[2].startswith(CONFIGURATION) and r[3] == "true")]
        self.assertTrue(dropped)
        result, trimmed, records = self.call_log("getEventLog", most=2500)
        self.assertEqual(("", len(dropped)), (result, trimmed))
        self.assertEqual(len(stored) - len(dropped), len(records))
        system = self.stored("system")
        for rqst_type in (1, 3, "LgRqTypDeltas", 0, 7):
            result, trimmed, records = self.call_log("getEventLog",
                                                     rqst_type=rqst_type)
            self.assertEqual([r[4] for r in system if r[2] == "/"],
                             [r["Description"] for r in records
                              if r["SourcePath"] == "/"], rqst_type)
            self.assertEqual(len([r for r in system
                                  if r[2].startswith(SOFTWARE)]), trimmed)

        self.assertEqual("? 34 Result Too Big to Return : Please request "
                         "less than 10000 records.",
                         self.call_log("getDeltaLog", most=10001)[0])
        result, trimmed, values = self.call_log("getDeltaLog", version=11)
        self.assertEqual(("", 0, 10000), (result, trimmed, len(values)))
        self.assertGreater(len(self.stored("delta")), 10000)

    def test_trimming_reports_what_the_log_holds_at_the_cut(self):
        # (index of its first record, size) of each sample instant
        groups, first = [], 0
        for _, group in itertools.groupby(r[0] for r in self.stored("delta")):
            size = len(list(group))
            groups.append((first, size))
            first += size
        # The second instant at which three or more points logged, cut
        # after two of its records.
        first, size = [g for g in groups if g[1] >= 3][1]
        result, trimmed, values = self.call_log("getDeltaLog", most=first + 2,
                                                trim=True)
        self.assertEqual(("", size, first), (result, trimmed, len(values)))

    def test_configuration_changes_and_state_names_in_german(self):
        stored = self.stored("alarms")
        applied = [GERMAN[r[4]] for r in stored
                   if r[2].startswith(CONFIGURATION) and r[3] == "true"]
        result, _, records = self.call_log("getEventLog",
                                           options="locale=de-DE")
        changes = [r for r in records if r["EventType"] == "StructureChanged"]
        # Compared by their last halves: the head, "Konfiguration geändert",
        # is not plain ASCII, which the engine's output mode re-encodes.
        self.assertEqual(applied, [r["Description"].split(" : ")[-1]
                                   for r in changes])
        self.assertFalse([r for r in changes
                          if "Configuration changed" in r["Description"]])
        self.assertEqual({"/"}, {r["SourcePath"] for r in changes})
        _, _, values = self.call_log("getDeltaLog", options="locale=de-DE",
                                     path="/Devices/Breaker1")
        shown = {(v["Path"], v["NumericValue"], v["Value"]) for v in values}
        self.assertLessEqual({("/Devices/Breaker1/Position", "0", "Offen"),
                              ("/Devices/Breaker1/Position", "1",
                               "Geschlossen"),
                              ("/Devices/Breaker1/TripCause", "0", "Keine")},
                             shown)
        self.call_log("getDeltaLog", options="locale=en-US", most=1)

    def test_alarm_records_are_alarm_updates_for_zeep_too(self):
        _, _, records = self.call_log("getEventLog",
                                      path="/Devices/Meter1/VoltageL1N")
        alarms = [r for r in records if r["EventType"] == "Alarm"]
        self.assertTrue(alarms)
        self.assertEqual({"nss1:AlarmUpdate"}, {r["type"] for r in alarms})
        import requests
        import zeep
        from zeep.transports import Transport
        session = requests.Session()
        session.auth = ("operator", "operator-demo")
        client = zeep.Client("http://127.0.0.1:%d/wsgated?wsdl"
                             % self.stack.port,
                             transport=Transport(session=session))
        answer = client.service.getEventLog(request=dict(
            rqstType="LgRqTypAlarmEvents", startTime=0, endTime=0,
            nMaxToReturn=0, bLatestEvents=True, bReverseOrder=True,
            bTrimIncomplete=False, path="/Devices/UPS1/BatteryCharge"))
        latest = answer.events[0]
        # The store's alarm table: /Alarms/18, acknowledged, with its note.
        self.assertEqual(("AlarmUpdate", 18, "Acked", "18.5",
                          "Battery replacement ordered", "2"),
                         (type(latest).__name__, latest.EventId,
                          latest.AckStatus, latest.Value, latest.Note,
                          latest.BasePriority))

    def test_a_viewer_sees_no_records_of_the_service_data(self):
        for operation in ("getDeltaLog", "getEventLog"):
            seen = {}
            for user in ("admin", "viewer"):
                before = self.stack.daemon_log()
                _, trimmed, records = self.call_log(
                    operation, user=user, path="/Devices/UPS1")
                hidden = [r for r in records if r.get(
                    "Path", r.get("SourcePath")).startswith(SERVICE)]
                seen[user] = (trimmed, len(records), len(hidden))
                refused = [line for line in self.stack.daemon_log()[
                    len(before):].splitlines() if "Refused " in line]
                self.assertEqual(int(user == "viewer"), len(refused), refused)
            # The daemon log tells the viewer's refusals in one line.
            self.assertIn("Refused nsqv:%s to viewer@127.0.0.1 (role Viewer): "
                          "read of %s" % (operation, SERVICE), refused[0])
            admin, viewer = seen["admin"], seen["viewer"]
            self.assertGreater(admin[2], 0, operation)
            self.assertEqual(0, viewer[2], operation)
            self.assertEqual(admin[1] - admin[2], viewer[1], operation)
            if operation == "getEventLog":
                self.assertEqual(admin[0] + admin[2], viewer[0])

    def test_missing_locked_and_foreign_logs(self):
        system = self.files["system"]
        shutil.move(system, system + ".away")
        with open(system + ".away", "rb") as f:
            log = f.read()
        no_history = ("? 21 No History : Failed to open event log database")
        no_data = ("? 22 No Data Available : Database retrieval failed with "
                   "these params")
        # A valid header over a truncated file, and a file whose record
        # pages are overwritten: both open, neither can be read.
        cases = [("missing", None, no_history),
                 ("not SQLite", b"not a database\n", no_history),
                 ("truncated", log[:8192], no_data),
                 ("corrupt", log[:4096] + b"\xff" * (len(log) - 4096), no_data)]
        try:
            for name, content, expected in cases:
                if content is not None:
                    with open(system, "wb") as f:
                        f.write(content)
                self.assertEqual(expected, self.call_log(
                    "getEventLog", rqst_type=1)[0], name)
        finally:
            shutil.move(system + ".away", system)

        locker = subprocess.Popen([sys.executable, "-c", LOCKER,
                                   self.files["alarms"]],
                                  stdout=subprocess.PIPE, text=True)
        try:
            self.assertEqual("locked\n", locker.stdout.readline())
            result, _, records = self.call_log("getEventLog", most=10)
            self.assertEqual(("", 10), (result, len(records)))
            self.assertIn("failed (attempt 1), dbResult = 4",
                          self.stack.daemon_log())
        finally:
            locker.wait(timeout=20)
        self.assertServedNormally()

    def test_bad_requests_are_answered(self):
        answer = self.call("getEventLog")
        self.assertEqual("? 33 Argument Invalid/Not Supported : No request "
                         "given", answer.response.findtext("result"))
        everything = len(self.call_log("getEventLog")[2])
        cases = [("end before start", dict(start=END * 10**6,
                                            end=(END - 3600) * 10**6), 0),
                 ("negative bounds", dict(start=-5, end=-1), everything),
                 ("far future", dict(start=(END + 10**8) * 10**6), 0),
                 ("wildcards", dict(path="/Devices/%"), 0),
                 ("quotes", dict(path="/Devices/Meter1' OR '1'='1"), 0),
                 ("huge bound", dict(start=2**63 - 1, end=2**63 - 1), 0)]
        for name, request, count in cases:
            result, _, records = self.call_log("getEventLog", **request)
            self.assertEqual(("", count), (result, len(records)), name)
        self.assertFault(Answer("getEventLog", self.stack.soap(
            "<nsqv:getEventLog>%s</nsqv:getEventLog>"
            % log_request(rqst_type="NoSuchLog"))))
        self.assertServedNormally()


if __name__ == "__main__":
    import unittest
    unittest.main()
