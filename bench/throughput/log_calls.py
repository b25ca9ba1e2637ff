#!/usr/bin/python3
"""Log retrieval through nginx: getDeltaLog of 10,000 and getEventLog of
2,500 records from logs of about a million records each.

The stack is the end-to-end harness's (sample store, nginx, the daemon at
verbosity 2); log-history fills the Delta and the alarm/event log with
DAYS days of the sample device (about 10,000 Delta records and, with
CONDITIONS device conditions a day, as many events per day). Each row
makes CALLS calls after one untimed call, and prints per call the wall
time, the daemon's CPU time, records per second and response bytes. The
daemon's resident memory is taken before the first row (idle, after a few
plain reads), as its peak during each row (VmHWM, reset per row through
/proc/<pid>/clear_refs) and after each row, once the daemon's housekeeping
(at most 6 s after the last request) has given freed heap back: it should
be back at the idle size, or the log requests leak or hoard.

Builds nothing (cmake --build build --target log_calls_bench).
Environment (all optional):
  BUILD_DIR    build tree (./build)
  DAYS         days of history (100: about a million Delta records)
  CONDITIONS   device conditions a day (10000: about a million events)
  CALLS        timed calls per row (10)
"""

import os
import re
import subprocess
import sys
import time

import stack_env
import harness
import proc_figures

DAYS = int(os.environ.get("DAYS", "100"))
CONDITIONS = int(os.environ.get("CONDITIONS", "10000"))
CALLS = int(os.environ.get("CALLS", "10"))
SETTLE_LIMIT_S = 15
HISTORY_BIN = os.path.join(stack_env.BUILD_DIR, "tools", "history",
                           "log-history")
# (label, operation, request fields, user)
ROWS = [
    ("Delta 10000 newest", "getDeltaLog",
     dict(most=10000, latest="true"), "admin"),
    ("Delta 10000 oldest", "getDeltaLog", dict(most=10000), "admin"),
    ("Delta 10000 newest, Viewer", "getDeltaLog",
     dict(most=10000, latest="true"), "viewer"),
    ("Delta 10000 of /Devices/UPS1", "getDeltaLog",
     dict(most=10000, latest="true", path="/Devices/UPS1"), "admin"),
    ("Events 2500 newest", "getEventLog",
     dict(most=2500, latest="true"), "admin"),
    ("Events 2500 oldest", "getEventLog", dict(most=2500), "admin"),
]


def body(operation, most, latest="false", path=""):
    return ("<nsqv:%s><request><rqstType>LgRqTypAlarmEvents</rqstType>"
            "<startTime>0</startTime><endTime>0</endTime>"
            "<nMaxToReturn>%d</nMaxToReturn><bLatestEvents>%s</bLatestEvents>"
            "<bReverseOrder>false</bReverseOrder>"
            "<bTrimIncomplete>false</bTrimIncomplete><path>%s</path>"
            "</request></nsqv:%s>" % (operation, most, latest, path,
                                      operation))


def call(stack, operation, fields, user):
    """One call: (seconds, records answered, response bytes)."""
    started = time.perf_counter()
    reply = stack.soap(body(operation, **fields), user=user)
    seconds = time.perf_counter() - started
    if reply.status != 200 or "<result/>" not in reply.text:
        sys.exit("log_calls: %s failed: %s" % (operation, reply.text[:300]))
    records = len(re.findall(r"<(loggedValues|events)[ >]", reply.text))
    return seconds, records, len(reply.body)


def fill_logs(stack):
    paths = stack.paths
    started = time.perf_counter()
    shown = subprocess.run(
        [HISTORY_BIN, "--store", stack.store, "--days", str(DAYS),
         "--conditions-per-day", str(CONDITIONS), "--cap", "3000000",
         "--replace", "--delta-log", paths["WSGATED_DELTA_LOG"],
         "--event-log", paths["WSGATED_EVENT_LOG"],
         "--system-log", paths["WSGATED_SYSTEM_LOG"]],
        check=True, capture_output=True, text=True).stdout
    print(shown.strip())
    print("filled in %.0f s" % (time.perf_counter() - started))


def plain_read(stack):
    stack.soap("<nsc1:getValue><nsc1:path>/Devices/Meter1/VoltageL1N"
               "</nsc1:path></nsc1:getValue>")


def settled_rss(pid, idle):
    """Resident KiB once the daemon's housekeeping (at most 6 s after the
    last request) has given freed heap back, or after SETTLE_LIMIT_S."""
    deadline = time.monotonic() + SETTLE_LIMIT_S
    while time.monotonic() < deadline:
        rss = proc_figures.rss_kib(pid)
        if rss <= idle + 512:
            return rss
        time.sleep(0.25)
    return proc_figures.rss_kib(pid)


def main():
    stack_env.require(HISTORY_BIN)
    stack_env.stop_on_sigterm()
    with harness.Stack(daemon_args=stack_env.DAEMON_ARGS) as stack:
        fill_logs(stack)
        pid = stack.daemon_pid
        for _ in range(20):  # the allocator's and the store's pools settle
            plain_read(stack)
        idle = proc_figures.rss_kib(pid)
        print("daemon idle: %d KiB resident\n" % idle)
        print("| request | records | ms/call | CPU ms/call | records/s "
              "| bytes | peak KiB | after KiB |")
        print("|---|---:|---:|---:|---:|---:|---:|---:|")
        for label, operation, fields, user in ROWS:
            call(stack, operation, fields, user)
            proc_figures.reset_peak(pid)
            cpu = proc_figures.cpu_seconds(pid)
            timed = [call(stack, operation, fields, user)
                     for _ in range(CALLS)]
            cpu = (proc_figures.cpu_seconds(pid) - cpu) / CALLS
            peak = proc_figures.status_kib(pid, "VmHWM")
            seconds = sorted(t[0] for t in timed)[CALLS // 2]
            records, size = timed[0][1], timed[0][2]
            print("| %s | %d | %.1f | %.1f | %.0f | %d | %d | %d |"
                  % (label, records, seconds * 1000, cpu * 1000,
                     records / seconds, size, peak,
                     settled_rss(pid, idle)))
        print("\ndaemon after all rows: %d KiB resident (idle %d KiB)"
              % (proc_figures.rss_kib(pid), idle))


if __name__ == "__main__":
    main()
