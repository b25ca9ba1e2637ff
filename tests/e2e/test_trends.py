"""Interval trends through nginx: getTrendPeriods, getDeviceTrendParams and
getTrendData over a log that the trend recorder (card-trends) back-filled
from the sample store, with the rights of the demo users; a trend log that
appears, is replaced or is damaged while the daemon runs; and the recorder
under wsgated-supervisor writing a new snapshot every period.

The request rules themselves (limits, retries, the order of the checks)
are the unit tests' (tests/trends); these check what the wire carries.
"""

import os
import shlex
import shutil
import signal
import subprocess
import unittest
import xml.etree.ElementTree as ET
from xml.sax.saxutils import escape

import harness
from core_calls import Answer, StackTestCase

METER = "/Devices/Meter1"
NO_PERIODS = "? 21 No History : No Trend periods data matching the request."
# A period of a few seconds for the live recorder, sampled twice a second.
PERIOD_S = 2
SAMPLE_S = 0.5


def trend_data_body(device=METER, points=(), periods=(60,), start=0, end=0,
                    most=10, ascending=True):
    fields = ["<devicePath>%s</devicePath>" % escape(device)]
    fields += ["<pointPaths>%s</pointPaths>" % escape(p) for p in points]
    fields += ["<periods>%d</periods>" % p for p in periods]
    fields.append("<startTime>%d</startTime><endTime>%d</endTime>"
                  "<nMaxToReturn>%d</nMaxToReturn>"
                  "<ascendingOrder>%s</ascendingOrder>"
                  % (start, end, most, "true" if ascending else "false"))
    return ("<nsqv:getTrendData><request>%s</request></nsqv:getTrendData>"
            % "".join(fields))


def recorder_argv(stack, *more):
    """card-trends on the stack's store and trend log."""
    return harness.program("CARD_TRENDS_BIN") + ["--store", stack.store,
            "--trend-log", stack.paths["WSGATED_TREND_LOG"],
            "--log-file", os.path.join(stack.dir, "trends.log")] + list(more)


def backfill(stack, log=None):
    """A week of history, into the stack's trend log or into `log`."""
    argv = recorder_argv(stack, "--backfill-days", "7")
    if log is not None:
        argv[argv.index("--trend-log") + 1] = log
    subprocess.run(argv, env=stack.env(), check=True, capture_output=True)


class TrendCalls(StackTestCase):
    prefix = "nsqv"

    def response(self, operation, body=None, user="admin", **fields):
        if body is None:
            answer = self.call(operation, user=user, **fields)
        else:
            answer = Answer(operation, self.stack.soap(body, user=user))
        self.assertEqual(200, answer.status, answer.text)
        self.assertIsNotNone(answer.response, answer.text)
        return answer.response

    def periods(self):
        found = self.response("getTrendPeriods")
        return found.findtext("result"), [
            (int(p.findtext("period")), int(p.findtext("max-entries")))
            for p in found.findall("periodProperties")]

    def trend_data(self, user="admin", **fields):
        return self.response("getTrendData", trend_data_body(**fields),
                             user=user)


class TrendQueriesTest(TrendCalls):
    """The back-filled sample log."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        backfill(cls.stack)

    def params(self, device, user="admin"):
        found = self.response("getDeviceTrendParams", user=user,
                              devicePath=device)
        return found.findtext("result"), [
            (p.findtext("path"), p.findtext("type"))
            for p in found.findall("deviceParams")]

    def test_the_periods_of_the_sample_store(self):
        self.assertEqual(("OK", [(60, 1440), (900, 2976), (3600, 744),
                                 (86400, 400)]), self.periods())

    def test_the_meters_parameters_and_what_each_user_sees(self):
        result, params = self.params(METER)
        self.assertEqual("OK", result)
        self.assertEqual(12, len(params))
        self.assertEqual((METER + "/VoltageL1N", "SAMPLE-TYPE-NORMAL"),
                         params[0])
        self.assertIn((METER + "/PowerFactor", "SAMPLE-TYPE-PF"), params)
        service = "/Devices/UPS1/Service/OperatingHours"
        self.assertIn(service, [p for p, _ in self.params("/Devices/UPS1")[1]])
        result, params = self.params("/Devices/UPS1", user="viewer")
        self.assertEqual("OK", result)
        self.assertEqual(4, len(params))
        self.assertNotIn(service, [p for p, _ in params])
        self.assertEqual(("? 2 Not Authorized : Unauthorized read", []),
                         self.params(METER, user="guest"))
        self.assertEqual(
            ("? 21 No History : No Trend data found for this device.", []),
            self.params(METER + "/"))

    def test_the_size_limit(self):
        found = self.trend_data(most=833)
        self.assertEqual("OK", found.findtext("result"))
        self.assertEqual(833, len(found.findall("data/samples")))
        found = self.trend_data(most=834)
        self.assertEqual("? 34 Result Too Big to Return : Please request less "
                         "than 833 records.", found.findtext("result"))
        self.assertEqual([], found.findall("data/samples"))

    def test_snapshots_in_order_and_missing_values_as_zero(self):
        found = self.trend_data(points=[METER + "/PeakDemand",
                                        METER + "/VoltageL1N"],
                                periods=[900, 3600], most=5, ascending=False)
        self.assertEqual("OK", found.findtext("result"))
        self.assertEqual([METER + "/VoltageL1N", METER + "/PeakDemand"],
                         [p.text for p in
                          found.findall("data/params/paramPaths")])
        snapshots = found.findall("data/samples")
        times = [int(s.findtext("timestamp")) for s in snapshots]
        self.assertEqual(sorted(times, reverse=True), times)
        self.assertEqual(0, times[0] % (900 * 10**6))
        for snapshot in snapshots:
            self.assertIn(snapshot.findtext("period"), ("900", "3600"))
            voltage, demand = snapshot.findall("data")
            self.assertEqual("true", voltage.findtext("avgValid"))
            self.assertLess(abs(float(voltage.findtext("avg")) - 230.4), 10)
            self.assertEqual(["0", "false"], [demand.findtext("max"),
                                              demand.findtext("maxValid")])
        # A week of quarter hours; the last hour's, both bounds included.
        found = self.trend_data(periods=[900], most=0)
        self.assertEqual(7 * 96, len(found.findall("data/samples")))
        found = self.trend_data(periods=[900], most=0,
                                start=times[0] - 3600 * 10**6, end=times[0])
        self.assertEqual(5, len(found.findall("data/samples")))

    def test_requests_that_match_nothing(self):
        found = self.trend_data(periods=[])
        self.assertEqual(NO_PERIODS, found.findtext("result"))
        found = self.trend_data(periods=[61])
        self.assertEqual(NO_PERIODS, found.findtext("result"))
        found = self.trend_data(points=[METER + "/Nope"])
        self.assertEqual("", found.findtext("result"))
        self.assertEqual([], found.findall("data/samples"))
        found = self.trend_data(user="guest")
        self.assertEqual("? 2 Not Authorized : Unauthorized read",
                         found.findtext("result"))
        found = self.response("getTrendData",
                              "<nsqv:getTrendData></nsqv:getTrendData>")
        self.assertEqual(NO_PERIODS, found.findtext("result"))

    def test_cdsctl_shows_and_charts_the_log(self):
        log = self.stack.paths["WSGATED_TREND_LOG"]
        shown = self.stack.cdsctl("trend", "show", log, "--last", "1").stdout
        self.assertIn("period 900 s, keeps 2976 snapshots", shown)
        self.assertIn("device /Devices/UPS1 (", shown)
        self.assertIn("  /Devices/Meter1/PowerFactor PF: min max avg actual",
                      shown)
        chart = self.stack.cdsctl(
            "trend", "chart", log, METER, "--period", "3600",
            "--point", METER + "/CurrentL1", "--point", METER + "/CurrentL2",
            "--value", "max").stdout
        svg = ET.fromstring(chart.encode())
        paths = svg.findall("{http://www.w3.org/2000/svg}path")
        self.assertEqual(["CurrentL1", "CurrentL2"],
                         [p.findtext("{http://www.w3.org/2000/svg}title")
                          for p in paths])
        # A week of hours: one line command per snapshot.
        self.assertEqual(7 * 24, paths[0].get("d").count("L") + 1)
        missing = self.stack.cdsctl("trend", "show", log + ".nope",
                                    check=False)
        self.assertEqual(2, missing.returncode, missing.stderr)

    def test_a_huge_period_list(self):
        found = self.trend_data(periods=[7] * 99999 + [60], most=1)
        self.assertEqual("OK", found.findtext("result"))
        self.assertEqual(1, len(found.findall("data/samples")))
        self.assertServedNormally()


class TrendFileTest(TrendCalls):
    """A trend log that appears, is replaced and is damaged under a daemon
    that has it open."""

    def replace_log(self, source):
        target = self.stack.paths["WSGATED_TREND_LOG"]
        for suffix in ("-wal", "-shm"):
            if os.path.exists(target + suffix):
                os.unlink(target + suffix)
        os.rename(source, target)

    def test_a_log_that_appears_is_replaced_or_is_damaged(self):
        self.assertEqual(("? 21 No History : Failed to open trend log "
                          "database", []), self.periods())
        backfill(self.stack)
        self.assertEqual("OK", self.periods()[0])
        # Another log with one more period takes the file's place.
        other = os.path.join(self.stack.dir, "other.db")
        self.stack.cdsctl("add", "/Software/Trends/Periods/Test")
        self.stack.cdsctl("set", "/Software/Trends/Periods/Test/Value", "5",
                          "--type", "Unsigned")
        self.stack.cdsctl("set", "/Software/Trends/Periods/Test:MaxEntries",
                          "9", "--type", "Unsigned")
        backfill(self.stack, other)
        self.replace_log(other)
        self.assertIn((5, 9), self.periods()[1])
        self.assertEqual(9, len(self.trend_data(periods=[5], most=0)
                                .findall("data/samples")))
        # Text where the log was, then a log whose pages are garbage.
        with open(other, "w") as f:
            f.write("not a database\n")
        self.replace_log(other)
        self.assertEqual(("? 21 No History : No Trend periods data.", []),
                         self.periods())
        backfill(self.stack, other)
        with open(other, "r+b") as f:
            f.seek(4096)
            f.write(b"\x5a" * (4096 * 8))
        self.replace_log(other)
        self.assertRegex(self.trend_data().findtext("result"),
                         r"^\? 2[12] No (History|Data Available) : ")
        self.assertServedNormally()


class TrendRecorderTest(TrendCalls):
    """card-trends under wsgated-supervisor with a period of seconds."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cdsctl = cls.stack.cdsctl
        cdsctl("add", "/Software/Trends/Periods/Test")
        cdsctl("set", "/Software/Trends/Periods/Test/Value", str(PERIOD_S),
               "--type", "Unsigned")
        cdsctl("set", "/Software/Trends/Periods/Test:MaxEntries", "100",
               "--type", "Unsigned")
        command = " ".join(shlex.quote(word) for word in recorder_argv(
            cls.stack, "--sample-seconds", str(SAMPLE_S),
            "--watchdog-seconds", "10"))
        cls.supervisor = subprocess.Popen(
            harness.program("WSGATED_SUPERVISOR_BIN") + [
                "--store", cls.stack.store,
                "--log-file", os.path.join(cls.stack.dir, "supervisor.log"),
                "--check-seconds", "0.5", "--program", "trends=" + command],
            env=cls.stack.env(), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        cls.addClassCleanup(cls.stop_supervisor)

    @classmethod
    def stop_supervisor(cls):
        cls.supervisor.send_signal(signal.SIGTERM)
        try:
            cls.supervisor.wait(timeout=harness.START_LIMIT_S)
        except subprocess.TimeoutExpired:
            cls.supervisor.kill()
            cls.supervisor.wait()
            raise

    def newest(self):
        """The newest snapshot of the test period, or None."""
        found = self.trend_data(periods=[PERIOD_S], most=1, ascending=False)
        snapshots = found.findall("data/samples")
        return snapshots[0] if snapshots else None

    def test_a_new_snapshot_every_period(self):
        first = []
        harness.wait_until(lambda: first.append(self.newest()) or first[-1]
                           is not None, "the recorder's first snapshot")
        before = int(first[-1].findtext("timestamp"))
        later = []
        harness.wait_until(
            lambda: later.append(self.newest()) or
            int(later[-1].findtext("timestamp")) > before,
            "a snapshot one period later", 10 * PERIOD_S)
        snapshot = later[-1]
        step = int(snapshot.findtext("timestamp")) - before
        self.assertEqual(0, step % (PERIOD_S * 10**6), step)
        voltage = snapshot.findall("data")[0]
        self.assertEqual(230.4, float(voltage.findtext("actual")))
        self.assertEqual("true", voltage.findtext("actualValid"))
        # Twelve points, the peak demand never valid: at most 11/12 valid.
        self.assertLessEqual(float(snapshot.findtext("percent-valid")),
                             100.0 * 11 / 12 + 1e-9)
        rows = self.stack.cdsctl("watchdogs").stdout
        self.assertIn("trends\tpid", rows)


if __name__ == "__main__":
    unittest.main()
