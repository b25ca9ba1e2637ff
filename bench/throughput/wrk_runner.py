"""One wrk run against one upstream, with the upstream's CPU time."""

import os
import re
import subprocess

import proc_figures

LUA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "post.lua")


UNIT_SECONDS = {"us": 1e-6, "ms": 1e-3, "s": 1.0, "m": 60.0}


def elapsed_seconds(wrk_output):
    """The run's real length from "N requests in 10.01s, ..."."""
    value, unit = re.search(r"requests in ([\d.]+)(us|ms|s|m)\b",
                            wrk_output).groups()
    return float(value) * UNIT_SECONDS[unit]


class Run:
    def __init__(self, target, requests, rate, cpu):
        self.target = target
        self.requests = requests
        self.rate = rate
        self.cpu = cpu  # seconds of utime + stime during the run

    @property
    def cpu_per_request(self):
        return self.cpu / self.requests if self.requests else 0.0


class WrkRunner:
    def __init__(self, stack, envelope, content_type, auth, expected_status,
                 duration, connections):
        self.stack = stack
        self.env = dict(os.environ, BENCH_ENVELOPE=envelope,
                        BENCH_CONTENT_TYPE=content_type, BENCH_AUTH=auth)
        self.expected_status = expected_status
        self.duration = duration
        self.connections = connections

    def run(self, target, duration=None):
        """One wrk run of `duration` seconds (the runner's own by default)
        against "daemon" or "bare"."""
        port, pid = ((self.stack.port, self.stack.daemon_pid)
                     if target == "daemon"
                     else (self.stack.bare_port, self.stack.bare_pid))
        cpu_before = proc_figures.cpu_seconds(pid)
        done = subprocess.run(
            ["wrk", "-t2", "-c%d" % self.connections,
             "-d%ds" % (duration or self.duration), "-s", LUA,
             "http://127.0.0.1:%d/wsgated" % port],
            env=self.env, capture_output=True, text=True, check=True)
        cpu = proc_figures.cpu_seconds(pid) - cpu_before
        statuses = {int(code): int(n) for code, n in
                    re.findall(r"^status (\d+) (\d+)$", done.stdout, re.M)}
        unexpected = {code: n for code, n in statuses.items()
                      if code != self.expected_status}
        # A wrong status (502 from a full backlog, 401) is not the work
        # being measured: the run is void rather than quietly counted.
        if unexpected or "Socket errors" in done.stdout:
            raise RuntimeError("%s run had unexpected answers %r:\n%s"
                               % (target, unexpected, done.stdout))
        served = statuses.get(self.expected_status, 0)
        return Run(target, served, served / elapsed_seconds(done.stdout), cpu)
