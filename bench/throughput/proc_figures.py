"""Per-process figures from /proc: resident memory and CPU time."""

import os

CLOCK_TICKS = os.sysconf("SC_CLK_TCK")


def status_kib(pid, field):
    """A KiB figure of /proc/<pid>/status, e.g. "VmRSS"."""
    with open("/proc/%d/status" % pid) as f:
        for line in f:
            if line.startswith(field + ":"):
                return int(line.split()[1])
    raise ValueError("no %s for pid %d" % (field, pid))


def reset_peak(pid):
    """Makes VmHWM count from now on (/proc/<pid>/clear_refs)."""
    with open("/proc/%d/clear_refs" % pid, "w") as f:
        f.write("5")


def peak_summary(before, peak, after):
    """The line that says what a run of calls did to the daemon's memory."""
    return ("daemon VmRSS %d KiB before, peak (VmHWM) %d KiB, %d KiB after: "
            "the peak %+d KiB over before, %+d KiB left after"
            % (before, peak, after, peak - before, after - before))


def rss_kib(pid):
    """VmRSS of the process, in KiB."""
    return status_kib(pid, "VmRSS")


def rss_split(pid):
    """VmRSS as (anonymous, file-backed) KiB: memory the process made
    itself, and pages of its program and libraries that it touched."""
    return status_kib(pid, "RssAnon"), status_kib(pid, "RssFile")


def cpu_seconds(pid):
    """utime + stime of the process so far, in seconds."""
    with open("/proc/%d/stat" % pid) as f:
        # The command name may hold spaces: fields count from after ")".
        fields = f.read().rsplit(")", 1)[1].split()
    utime, stime = int(fields[11]), int(fields[12])
    return (utime + stime) / CLOCK_TICKS
