"""Per-process figures from /proc: resident memory and CPU time."""

import os

CLOCK_TICKS = os.sysconf("SC_CLK_TCK")


def rss_kib(pid):
    """VmRSS of the process, in KiB."""
    with open("/proc/%d/status" % pid) as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    raise ValueError("no VmRSS for pid %d" % pid)


def cpu_seconds(pid):
    """utime + stime of the process so far, in seconds."""
    with open("/proc/%d/stat" % pid) as f:
        # The command name may hold spaces: fields count from after ")".
        fields = f.read().rsplit(")", 1)[1].split()
    utime, stime = int(fields[11]), int(fields[12])
    return (utime + stime) / CLOCK_TICKS
