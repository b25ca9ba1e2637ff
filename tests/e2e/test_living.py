"""The living sample device through nginx: the field-device simulator, the
Delta logger and the system logger under wsgated-supervisor with paces of
a fraction of a second, and what getValues, getDeltaLog and getEventLog
answer about them; companions killed with SIGKILL and restarted."""

import os
import signal
import time
import unittest

import harness
from core_calls import Answer, StackTestCase, StringArray, request_body
from test_logs import log_request

METER = "/Devices/Meter1/"
METER_POINTS = [METER + name for name in (
    "VoltageL1N", "CurrentL1", "Frequency", "ActivePower", "PowerFactor")]
THRESHOLD = "/Devices/UPS1/LowBatteryThreshold"
DEADBAND = 5
NEW_NODE = "/Devices/UPS1/Living"
RESET_LOG = ("Network Card Reset requested via web services by admin "
             "at 127.0.0.1")


class LivingDeviceTest(StackTestCase):
    # In the background, as the supervisor runs it: it registers its row.
    stack_options = {"daemon_args": ("-D", "6"), "background": True}

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        # A writable point of the sample store, Delta-logged for the test.
        cls.stack.cdsctl("set", THRESHOLD + "/.LogInterval", "3600")
        cls.stack.cdsctl("set", THRESHOLD + "/.Deadband", str(DEADBAND),
                         "--type", "Real")
        fast = ["--watchdog-seconds", "10"]
        cls.card = harness.Companions(cls.stack, {
            "simulator": ["--step-seconds", "0.3", "--seed", "7"] + fast,
            "deltalog": ["--check-seconds", "0.2"] + fast,
            "syslog": ["--check-seconds", "0.2"] + fast})
        cls.addClassCleanup(cls.card.stop)
        # The system logger begins at the journal's end when it first
        # starts: changes are its once it has recorded its own start.
        harness.wait_until(
            lambda: "Process started :  syslog" in cls.stack.cdsctl(
                "log", "show", cls.stack.paths["WSGATED_SYSTEM_LOG"],
                check=False).stdout, "the system logger's start")

    def log(self, operation, **request):
        """(description or value, path, time) of each record returned."""
        body = "<nsqv:%s>%s</nsqv:%s>" % (operation, log_request(**request),
                                          operation)
        answer = Answer(operation, self.stack.soap(body))
        self.assertEqual(200, answer.status, answer.text)
        result = answer.response.findtext("result") or ""
        if result.startswith("? 21 "):
            return []  # the logger has not made the log yet
        self.assertEqual("", result)
        items = (answer.response.findall("events") or
                 answer.response.findall("loggedValues"))
        return [{child.tag.split("}")[1]: child.text or "" for child in item}
                for item in items]

    def wait_for_record(self, operation, match, what, **request):
        found = []
        harness.wait_until(lambda: found.extend(
            r for r in self.log(operation, **request) if match(r)) or found,
            what)
        return found

    def delta(self, path):
        return self.log("getDeltaLog", path=path)

    def test_a_value_set_past_its_deadband_is_logged_one_within_is_not(self):
        self.wait_for_record("getDeltaLog", lambda r: True,
                             "the threshold's first record", path=THRESHOLD)
        within = str(40 + DEADBAND - 2)
        for value in ("40", within, "50"):
            self.assertEqual([value], self.results(
                "setValue", path=THRESHOLD, value=value))
            set_us = int(time.time() * 1e6)
            # Sampled after the write: a later meter value was logged.
            self.wait_for_record(
                "getDeltaLog", lambda r: int(r["Time"]) > set_us + 500000,
                "a meter record sampled after %s" % value, path=METER)
        values = [r["Value"] for r in self.delta(THRESHOLD)]
        self.assertIn("40", values)
        self.assertNotIn(str(40 + DEADBAND - 2), values)

    def test_a_created_node_is_a_configuration_change(self):
        self.assertEqual(["1"], self.results(
            "CreateNode", prefix="nst1", basePath=NEW_NODE + "/",
            paths=StringArray(["Value"]), values=StringArray(["1"])))
        # A request's locale may rejoin the translated halves with one blank.
        [change] = self.wait_for_record(
            "getEventLog",
            lambda r: r.get("Description", "").split() ==
            ["Node", "created", ":", NEW_NODE],
            "the configuration change", rqst_type=2)
        self.assertEqual("/", change["SourcePath"])

    def test_a_reset_and_the_daemons_start_are_in_the_system_log(self):
        self.results("Reset", prefix="nst1")
        self.wait_for_record("getEventLog",
                             lambda r: r.get("Description") == RESET_LOG,
                             "the Reset in the system log", rqst_type=1)
        started = "Web services started :  pid %d" % self.stack.daemon_pid
        self.wait_for_record("getEventLog",
                             lambda r: r.get("Description") == started,
                             "the daemon's start", rqst_type=1)

    def test_the_meter_moves_with_good_quality(self):
        paths = StringArray(METER_POINTS + [p + "/.Quality"
                                            for p in METER_POINTS])
        first = self.results("getValues", prefix="nsc1", paths=paths)
        later = []
        harness.wait_until(lambda: later.append(self.results(
            "getValues", prefix="nsc1", paths=paths)) or
            all(a != b for a, b in zip(first[:5], later[-1][:5])),
            "every meter value to move")
        self.assertEqual(["192"] * 5, later[-1][5:])
        self.assertTrue(self.delta(METER + "VoltageL1N"))

    def test_killed_companions_lose_and_repeat_nothing(self):
        for name in ("deltalog", "syslog"):
            pid = self.card.pid(name)
            self.assertIsNotNone(pid, name)
            os.kill(pid, signal.SIGKILL)
            harness.wait_until(lambda: self.card.pid(name) not in (None, pid),
                               "%s started again" % name)
        # Records made after the restarts.
        self.assertEqual(["33"], self.results("setValue", path=THRESHOLD,
                                              value="33"))
        self.wait_for_record("getDeltaLog", lambda r: r["Value"] == "33",
                             "the value 33 in the Delta log", path=THRESHOLD)
        records = self.delta("/Devices")
        keys = [(r["Path"], r["Time"]) for r in records]
        self.assertEqual(len(keys), len(set(keys)))
        system = [(r.get("Description"), r.get("Time"))
                  for r in self.log("getEventLog", rqst_type=1)]
        self.assertEqual(len(system), len(set(system)))


if __name__ == "__main__":
    unittest.main()
