#!/usr/bin/python3
"""getTrendData through nginx: the largest answer a request may ask for,
833 snapshots of 20 parameters, next to the smallest (one snapshot of one
parameter).

The store is the sample device plus a device /Devices/Bench of 20 trended
Real points; card-trends back-fills a day of history (1440 one-minute
snapshots) into the stack's trend log before anything is timed. Each call
is one POST on a new connection, one at a time; before the calls are
timed, one answer must hold "OK" and every snapshot with every parameter.
Printed per size: calls, wall time per call (median and fastest), the
daemon's CPU time per call (utime + stime from /proc), the response's
bytes, and wall and CPU time per reported value. Then the daemon's memory:
VmRSS before the first trend call, its peak (VmHWM) and VmRSS after the
last; the peak is what one large answer costs the daemon while it is built
(the engine's records and the serialised envelope), after-call minus
before what stays (the open trend log and its page cache).

Builds nothing: cmake --build build --target trend_data_bench. Environment
(all optional):
  BUILD_DIR   build tree with wsgated, cdsctl and card-trends (./build)
  CALLS       timed calls per size (20)
"""

import os
import statistics
import subprocess
import sys
import time

import stack_env
import core_calls
import harness
import proc_figures

CALLS = int(os.environ.get("CALLS", "20"))
PARAMS = 20
SNAPSHOTS = 833
CONTENT_TYPE = "application/soap+xml; charset=utf-8"
CARD_TRENDS = os.path.join(stack_env.BUILD_DIR, "card", "trends",
                           "card-trends")
DEVICE = "/Devices/Bench"


def bench_seed():
    lines = ["[%s]" % DEVICE, "NodeType = Device", "DisplayName = Bench", ""]
    for i in range(PARAMS):
        lines += ["[%s/P%02d]" % (DEVICE, i), "NodeType = Point",
                  "ValueType = Real", "Value = %d.5" % (i + 10), "Units = A",
                  ".TrendEnable = true", ""]
    return "\n".join(lines)


def body(snapshots, params):
    points = "".join("<pointPaths>%s/P%02d</pointPaths>" % (DEVICE, i)
                     for i in range(params))
    return ("<nsqv:getTrendData><request><devicePath>%s</devicePath>%s"
            "<periods>60</periods><startTime>0</startTime><endTime>0</endTime>"
            "<nMaxToReturn>%d</nMaxToReturn><ascendingOrder>true"
            "</ascendingOrder></request></nsqv:getTrendData>"
            % (DEVICE, points, snapshots))


def call(stack, snapshots, params):
    """One call; its wall seconds and reply, checked."""
    started = time.perf_counter()
    reply = stack.request(body=harness.envelope(body(snapshots, params)),
                          headers={"Content-Type": CONTENT_TYPE})
    seconds = time.perf_counter() - started
    answer = core_calls.Answer("getTrendData", reply)
    found = answer.response
    if (reply.status != 200 or found is None or
            found.findtext("result") != "OK" or
            len(found.findall("data/samples")) != snapshots or
            len(found.findall("data/samples/data")) != snapshots * params):
        sys.exit("trend_data.py: %d x %d is not answered in full:\n%s"
                 % (snapshots, params, reply.text[:2000]))
    return seconds, reply


def time_size(stack, snapshots, params):
    call(stack, snapshots, params)  # untimed: the first of its kind
    walls = []
    cpu_before = proc_figures.cpu_seconds(stack.daemon_pid)
    for _ in range(CALLS):
        seconds, reply = call(stack, snapshots, params)
        walls.append(seconds)
    cpu = (proc_figures.cpu_seconds(stack.daemon_pid) - cpu_before) / CALLS
    return dict(size="%d x %d" % (snapshots, params), values=snapshots * params,
                median=statistics.median(walls), fastest=min(walls), cpu=cpu,
                bytes=len(reply.body))


def main():
    stack_env.stop_on_sigterm()
    stack_env.require(CARD_TRENDS)
    with harness.Stack(daemon_args=stack_env.DAEMON_ARGS) as stack:
        seed = os.path.join(stack.dir, "bench.seed")
        with open(seed, "w") as f:
            f.write(bench_seed())
        stack.cdsctl("load", seed)
        subprocess.run([CARD_TRENDS, "--store", stack.store, "--trend-log",
                        stack.paths["WSGATED_TREND_LOG"],
                        "--backfill-days", "1"],
                       env=stack.env(), check=True, capture_output=True)
        pid = stack.daemon_pid
        before = proc_figures.rss_kib(pid)
        proc_figures.reset_peak(pid)  # the calls' peak, not start-up's
        rows = [time_size(stack, 1, 1), time_size(stack, SNAPSHOTS, PARAMS)]
        peak = proc_figures.status_kib(pid, "VmHWM")
        after = proc_figures.rss_kib(pid)
    print("\n%-10s %6s %10s %10s %10s %10s %12s %12s" % (
        "size", "calls", "ms median", "ms fastest", "cpu ms", "bytes",
        "wall us/val", "cpu us/val"))
    for row in rows:
        print("%-10s %6d %10.2f %10.2f %10.2f %10d %12.2f %12.2f" % (
            row["size"], CALLS, row["median"] * 1e3, row["fastest"] * 1e3,
            row["cpu"] * 1e3, row["bytes"], row["median"] / row["values"] * 1e6,
            row["cpu"] / row["values"] * 1e6))
    small, large = rows
    print("\nthe large answer: %.0f times the small one's wall time, %.0f "
          "times its bytes (%.0f bytes per value)"
          % (large["median"] / small["median"], large["bytes"] / small["bytes"],
             large["bytes"] / large["values"]))
    print(proc_figures.peak_summary(before, peak, after))


if __name__ == "__main__":
    main()
