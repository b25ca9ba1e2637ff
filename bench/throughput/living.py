#!/usr/bin/python3
"""getValue through nginx beside the living device's companions: the same
calls timed on an idle stack, then while the field-device simulator writes
every STEP seconds and the Delta and system loggers look every STEP
seconds, under wsgated-supervisor. Printed: calls a second in each phase
and their ratio, and what the companions did meanwhile (the simulator's
leaf writes and the Delta records appended, a second).

Builds nothing: cmake --build build --target living_calls_bench.
Environment (all optional):
  BUILD_DIR   build tree (./build)
  SECONDS     length of each timed phase (10)
  STEP        the companions' pace in seconds (0.1)
"""

import os
import subprocess
import time

import stack_env
import core_calls
import harness
import proc_figures

SECONDS = float(os.environ.get("SECONDS", "10"))
STEP = os.environ.get("STEP", "0.1")
POINT = "/Devices/Meter1/VoltageL1N"
CARD = os.path.join(stack_env.BUILD_DIR, "card")
os.environ.update(
    WSGATED_SUPERVISOR_BIN=os.path.join(CARD, "supervisor",
                                        "wsgated-supervisor"),
    CARD_SIMULATOR_BIN=os.path.join(CARD, "simulator", "card-simulator"),
    CARD_DELTALOG_BIN=os.path.join(CARD, "deltalog", "card-deltalog"),
    CARD_SYSLOG_BIN=os.path.join(CARD, "syslog", "card-syslog"))


def phase(stack):
    """getValue calls for SECONDS: calls a second, daemon CPU ms a call,
    simulator steps and Delta records a second."""
    records, steps = delta_records(stack), leaf_changes(stack)
    cpu = proc_figures.cpu_seconds(stack.daemon_pid)
    started = time.perf_counter()
    calls = 0
    while time.perf_counter() - started < SECONDS:
        answer = core_calls.call(stack, "getValue", path=POINT)
        if answer.status != 200 or not answer.results:
            raise SystemExit("living.py: getValue failed:\n" + answer.text)
        calls += 1
    seconds = time.perf_counter() - started
    return dict(rate=calls / seconds,
                cpu=(proc_figures.cpu_seconds(stack.daemon_pid) - cpu) /
                calls * 1e3,
                steps=(leaf_changes(stack) - steps) / seconds,
                records=(delta_records(stack) - records) / seconds)


def delta_records(stack):
    shown = stack.cdsctl("log", "show", stack.paths["WSGATED_DELTA_LOG"],
                         check=False).stdout
    return len(shown.splitlines())


def leaf_changes(stack):
    """The simulator's writes so far: the change counts of its leaves."""
    shown = stack.cdsctl("get", POINT + "/.ChangeCount", check=False).stdout
    return int(shown.strip() or 0)


def main():
    stack_env.stop_on_sigterm()
    stack_env.require(*[os.environ[name] for name in (
        "WSGATED_SUPERVISOR_BIN", "CARD_SIMULATOR_BIN", "CARD_DELTALOG_BIN",
        "CARD_SYSLOG_BIN")])
    with harness.Stack(daemon_args=stack_env.DAEMON_ARGS) as stack:
        core_calls.call(stack, "getValue", path=POINT)  # untimed
        idle = phase(stack)
        card = harness.Companions(stack, {
            "simulator": ["--step-seconds", STEP, "--seed", "1"],
            "deltalog": ["--check-seconds", STEP],
            "syslog": ["--check-seconds", STEP]})
        try:
            harness.wait_until(lambda: delta_records(stack) > 0,
                               "the first Delta records")
            busy = phase(stack)
        finally:
            card.stop()
    print("%-26s %9s %13s %10s %10s" % ("phase", "calls/s", "cpu ms/call",
                                        "sim st/s", "delta r/s"))
    for name, row in (("idle", idle), ("companions, pace %s s" % STEP, busy)):
        print("%-26s %9.0f %13.3f %10.1f %10.1f" % (
            name, row["rate"], row["cpu"], row["steps"], row["records"]))
    print("\nratio busy / idle: calls/s %.2f, daemon cpu/call %.2f"
          % (busy["rate"] / idle["rate"], busy["cpu"] / idle["cpu"]))


if __name__ == "__main__":
    main()
