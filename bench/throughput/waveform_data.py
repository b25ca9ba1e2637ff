#!/usr/bin/python3
"""getWaveformData through nginx: one channel of a 30 kHz record of one
second (30,000 samples), next to one channel of the demo's meter fault
(1,600 samples).

The large record is made here: eight channels (three voltages, four
currents, a residual voltage) of 16-bit binary data in the 1999 revision,
with a header, written into the stack's waveform folder before the
daemon's first call; wavectl writes the demo's records beside it. Each call
is one POST on a new connection, one at a time; before a record is timed,
one answer must hold "OK" and every sample. Printed per record: calls,
wall time per call (median and fastest), the daemon's CPU time per call
(utime + stime from /proc), the response's bytes, and wall and CPU time per
sample. Then the daemon's memory: VmRSS before the first waveform call,
its peak (VmHWM) over the large record's calls and VmRSS after them; the
peak is what one large answer costs while it is built (the decoded record,
the engine's array and the serialised envelope), after minus before what
stays.

Builds nothing: cmake --build build --target waveform_data_bench.
Environment (all optional):
  BUILD_DIR   build tree with wsgated, cdsctl and wavectl (./build)
  CALLS       timed calls per record (20)
"""

import math
import os
import statistics
import struct
import subprocess
import sys
import time

import stack_env
import core_calls
import harness
import proc_figures

CALLS = int(os.environ.get("CALLS", "20"))
RATE = 30000
SAMPLES = RATE  # one second
CHANNELS = ["VA", "VB", "VC", "IA", "IB", "IC", "IN", "VN"]
WAVECTL = os.path.join(stack_env.BUILD_DIR, "tools", "waveforms", "wavectl")
CONTENT_TYPE = "application/soap+xml; charset=utf-8"


def write_large_record(base):
    """8 channels of 50 Hz sines, 30 kHz, 16 bits each."""
    scale = 1.0 / 32767 * 400
    lines = ["Plant,Bench recorder,1999", "%d,%dA,0D" % (len(CHANNELS),
                                                           len(CHANNELS))]
    lines += ["%d,%s,,,V,%.9f,0,0,-32767,32767,1,1,P" % (i + 1, name, scale)
              for i, name in enumerate(CHANNELS)]
    lines += ["50", "1", "%d,%d" % (RATE, SAMPLES),
              "20/11/2026,10:00:00.000000", "20/11/2026,10:00:00.500000",
              "BINARY", "1"]
    with open(base + ".cfg", "w") as f:
        f.write("\r\n".join(lines) + "\r\n")
    record = struct.Struct("<II%dh" % len(CHANNELS))
    with open(base + ".dat", "wb") as f:
        for n in range(SAMPLES):
            angle = 2 * math.pi * 50 * n / RATE
            values = [int(30000 * math.sin(angle - k * 2 * math.pi / 3))
                      for k in range(len(CHANNELS))]
            f.write(record.pack(n + 1, round(n * 1e6 / RATE), *values))
    with open(base + ".hdr", "w") as f:
        f.write("Event: benchmark record\nTrigger channel: IA\n")


def body(url, channel):
    return ("<nsqv:getWaveformData><request><options></options><url>%s</url>"
            "<channel>%s</channel></request></nsqv:getWaveformData>"
            % (url, channel))


def call(stack, url, channel, samples):
    """One call; its wall seconds and reply, checked."""
    started = time.perf_counter()
    reply = stack.request(body=harness.envelope(body(url, channel)),
                          headers={"Content-Type": CONTENT_TYPE})
    seconds = time.perf_counter() - started
    found = core_calls.Answer("getWaveData", reply).response
    if (reply.status != 200 or found is None or
            found.findtext("result") != "OK" or
            len(found.findall("data")) != samples):
        sys.exit("waveform_data.py: %s is not answered in full:\n%s"
                 % (url, reply.text[:2000]))
    return seconds, reply


def time_record(stack, url, channel, samples):
    call(stack, url, channel, samples)  # untimed: the first of its kind
    walls = []
    cpu_before = proc_figures.cpu_seconds(stack.daemon_pid)
    for _ in range(CALLS):
        seconds, reply = call(stack, url, channel, samples)
        walls.append(seconds)
    cpu = (proc_figures.cpu_seconds(stack.daemon_pid) - cpu_before) / CALLS
    return dict(record=url, samples=samples, median=statistics.median(walls),
                fastest=min(walls), cpu=cpu, bytes=len(reply.body))


def main():
    stack_env.stop_on_sigterm()
    stack_env.require(WAVECTL)
    with harness.Stack(daemon_args=stack_env.DAEMON_ARGS) as stack:
        folder = stack.paths["WSGATED_WAVEFORM_DIR"]
        subprocess.run([WAVECTL, "demo", folder], check=True)
        write_large_record(os.path.join(folder, "bench-30khz"))
        pid = stack.daemon_pid
        small = time_record(stack, "meter1-fault-2026-11-18", "IA", 1600)
        before = proc_figures.rss_kib(pid)
        proc_figures.reset_peak(pid)
        large = time_record(stack, "bench-30khz", "IB", SAMPLES)
        peak = proc_figures.status_kib(pid, "VmHWM")
        after = proc_figures.rss_kib(pid)
    print("\n%-24s %6s %8s %10s %10s %10s %10s %12s %12s" % (
        "record", "calls", "samples", "ms median", "ms fastest", "cpu ms",
        "bytes", "wall us/smp", "cpu us/smp"))
    for row in (small, large):
        print("%-24s %6d %8d %10.2f %10.2f %10.2f %10d %12.2f %12.2f" % (
            row["record"], CALLS, row["samples"], row["median"] * 1e3,
            row["fastest"] * 1e3, row["cpu"] * 1e3, row["bytes"],
            row["median"] / row["samples"] * 1e6,
            row["cpu"] / row["samples"] * 1e6))
    print("\nthe 30 kHz channel: %.1f times the small one's wall time, %.1f "
          "times its bytes (%.0f bytes per sample)"
          % (large["median"] / small["median"], large["bytes"] / small["bytes"],
             large["bytes"] / large["samples"]))
    print(proc_figures.peak_summary(before, peak, after))


if __name__ == "__main__":
    main()
