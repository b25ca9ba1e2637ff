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
  CALLS       timed getValue calls per phase (400)
  STEP        the companions' pace in seconds (0.1)
"""

import os
import subprocess
import time

import stack_env
import core_calls
import harness

CALLS = int(os.environ.get("CALLS", "400"))
STEP = os.environ.get("STEP", "0.1")
POINT = "/Devices/Meter1/VoltageL1N"
CARD = os.path.join(stack_env.BUILD_DIR, "card")
os.environ.update(
    WSGATED_SUPERVISOR_BIN=os.path.join(CARD, "supervisor",
                                        "wsgated-supervisor"),
    CARD_SIMULATOR_BIN=os.path.join(CARD, "simulator", "card-simulator"),
    CARD_DELTALOG_BIN=os.path.join(CARD, "deltalog", "card-deltalog"),
    CARD_SYSLOG_BIN=os.path.join(CARD, "syslog", "card-syslog"))


def calls_per_second(stack):
    started = time.perf_counter()
    for _ in range(CALLS):
        answer = core_calls.call(stack, "getValue", path=POINT)
        if answer.status != 200 or not answer.results:
            raise SystemExit("living.py: getValue failed:\n" + answer.text)
    return CALLS / (time.perf_counter() - started)


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
        calls_per_second(stack)  # untimed warm-up
        idle = calls_per_second(stack)
        card = harness.Companions(stack, {
            "simulator": ["--step-seconds", STEP, "--seed", "1"],
            "deltalog": ["--check-seconds", STEP],
            "syslog": ["--check-seconds", STEP]})
        try:
            harness.wait_until(lambda: delta_records(stack) > 0,
                               "the first Delta records")
            records, writes = delta_records(stack), leaf_changes(stack)
            started = time.perf_counter()
            busy = calls_per_second(stack)
            seconds = time.perf_counter() - started
            records = delta_records(stack) - records
            writes = leaf_changes(stack) - writes
        finally:
            card.stop()
    print("%-34s %12s" % ("phase", "calls/s"))
    print("%-34s %12.0f" % ("idle", idle))
    print("%-34s %12.0f" % ("beside the companions (pace %s s)" % STEP, busy))
    print("\nratio busy / idle: %.2f" % (busy / idle))
    print("meanwhile: %.1f simulator steps/s (one point's writes), "
          "%.0f Delta records/s" % (writes / seconds, records / seconds))


if __name__ == "__main__":
    main()
