#!/usr/bin/python3
"""Batching through nginx: getValues of 1 to 1000 points next to a lone
getValue, and setValues of 100 points.

The store is the sample device plus POINTS writable Real points
/Bench/P0000, /Bench/P0001, ... (loaded with cdsctl). Each row POSTs one
envelope with wrk for DURATION seconds after an untimed second; before
that, one POST must answer every path with a value (never an error text),
so that what is timed is reads and writes, not refusals. The daemon's
CPU time (utime + stime from /proc) per call and per path is the figure
compared; the wall time per call (1 / rate) is printed next to it. A path
of a large getValues should cost at most 5% of a lone getValue, or
batching does not pay.

Builds nothing. Environment (all optional):
  BUILD_DIR     build tree with wsgated and cdsctl (./build)
  DURATION      seconds per row (5)
  CONNECTIONS   wrk connections (4)
"""

import os
import sys

import stack_env
import core_calls
import harness
import wrk_runner

DURATION = int(os.environ.get("DURATION", "5"))
CONNECTIONS = int(os.environ.get("CONNECTIONS", "4"))
CONTENT_TYPE = "application/soap+xml; charset=utf-8"
POINTS = 1000
# (operation, paths per call, user). Writes are an Operator's.
ROWS = [("getValue", 1, "admin"), ("getValues", 1, "admin"),
        ("getValues", 10, "admin"), ("getValues", 100, "admin"),
        ("getValues", 1000, "admin"), ("setValues", 100, "operator")]
PER_PATH_AIM = 0.05
WARM_UP_SECONDS = 1


def point(i):
    return "/Bench/P%04d/Value" % i


def bench_seed():
    lines = ["[/Bench]", "NodeType = Collection", "ValueType = None", ""]
    for i in range(POINTS):
        lines += ["[%s]" % point(i).rsplit("/", 1)[0], "NodeType = Point",
                  "ValueType = Real", "Value = %d.5" % i, "Units = V",
                  "Writable = true", ""]
    return "\n".join(lines)


def request(operation, count):
    """The request body and the results a correct answer holds."""
    paths = [point(i) for i in range(count)]
    if operation == "getValue":
        return (core_calls.request_body(operation, {"path": paths[0]}),
                ["0.5"])
    if operation == "getValues":
        return (core_calls.request_body(operation, {
            "paths": core_calls.StringArray(paths)}),
            ["%d.5" % i for i in range(count)])
    values = ["%d.25" % i for i in range(count)]
    return (core_calls.request_body(operation, {"paths": paths,
                                                "values": values}), values)


class Row:
    def __init__(self, operation, count, run):
        self.operation = operation
        self.count = count
        self.run = run

    @property
    def cpu_per_call(self):
        return self.run.cpu_per_request

    @property
    def wall_per_call(self):
        return 1.0 / self.run.rate if self.run.rate else 0.0


def time_row(stack, operation, count, user):
    body, expected = request(operation, count)
    reply = stack.request(body=harness.envelope(body), user=user,
                          headers={"Content-Type": CONTENT_TYPE})
    answer = core_calls.Answer(operation, reply)
    if answer.status != 200 or answer.results != expected:
        sys.exit("batch.py: %s of %d paths is not answered with its values:"
                 "\n%s" % (operation, count, reply.text[:2000]))
    envelope_file = os.path.join(stack.dir, "%s-%d.xml" % (operation, count))
    with open(envelope_file, "wb") as f:
        f.write(harness.envelope(body))
    auth = stack_env.basic_auth(user, harness.DEMO_USERS[user])
    runner = wrk_runner.WrkRunner(stack, envelope_file, CONTENT_TYPE, auth,
                                  200, DURATION, CONNECTIONS)
    # One untimed second first, so that no row pays for the caches and
    # allocations of a request kind seen for the first time.
    runner.run("daemon", WARM_UP_SECONDS)
    return Row(operation, count, runner.run("daemon"))


def report(rows):
    single = rows[0]
    print("\n%-10s %6s %8s %8s %10s %12s %12s %10s" % (
        "operation", "paths", "calls", "calls/s", "ms/call", "cpu us/call",
        "cpu us/path", "path/lone"))
    for row in rows:
        per_path = row.cpu_per_call / row.count
        print("%-10s %6d %8d %8.0f %10.2f %12.1f %12.2f %9.1f%%" % (
            row.operation, row.count, row.run.requests, row.run.rate,
            row.wall_per_call * 1e3, row.cpu_per_call * 1e6, per_path * 1e6,
            100.0 * per_path / single.cpu_per_call))
    largest = max((r for r in rows if r.operation == "getValues"),
                  key=lambda r: r.count)
    cpu_share = largest.cpu_per_call / largest.count / single.cpu_per_call
    wall_share = largest.wall_per_call / largest.count / single.wall_per_call
    print("\na path of getValues(%d) costs %.1f%% of a lone getValue in "
          "daemon CPU, %.1f%% in wall time (aim <= %d%%): %s"
          % (largest.count, 100 * cpu_share, 100 * wall_share,
             100 * PER_PATH_AIM, "met" if cpu_share <= PER_PATH_AIM
             else "MISSED"))
    for row in rows:
        if row.operation == "setValues":
            print("setValues of %d points: %.2f ms per call (wall), "
                  "%.0f us daemon CPU per call"
                  % (row.count, row.wall_per_call * 1e3,
                     row.cpu_per_call * 1e6))


def main():
    stack_env.stop_on_sigterm()
    stack_env.require()
    with harness.Stack(daemon_args=stack_env.DAEMON_ARGS) as stack:
        seed = os.path.join(stack.dir, "bench.seed")
        with open(seed, "w") as f:
            f.write(bench_seed())
        stack.cdsctl("load", seed)
        rows = [time_row(stack, *row) for row in ROWS]
        report(rows)


if __name__ == "__main__":
    main()
