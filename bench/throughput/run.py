#!/usr/bin/python3
"""Throughput through nginx: wsgated against a bare FastCGI responder.

One private nginx on 127.0.0.1 serves the project's /wsgated location
twice: on one port it passes to wsgated, on the other to bare_responder,
which answers the bytes wsgated answered for the same envelope. wrk POSTs
the envelope to each in turn (daemon, bare, daemon, bare) so that noise
shows as a spread; the daemon/bare rate ratio is what matters, not the
absolute rates of a shared machine.

Builds nothing. Environment (all optional):
  BUILD_DIR     build tree with wsgated, cdsctl, bare_responder (./build)
  ENVELOPE      the SOAP envelope file to POST (envelopes/get-value.xml);
                when a file of the same name ending in ".expect" exists,
                the daemon's answer must contain its text
  CONTENT_TYPE  its content type (application/soap+xml; charset=utf-8)
  DURATION      seconds per wrk run (10)
  CONNECTIONS   wrk connections (16)
  ROUNDS        daemon/bare pairs (2)
  MIN_REQUESTS  requests the daemon serves between the two memory
                readings; up to 6 extra daemon runs of at most 120 s
                each are added to reach it (100000)
"""

import os
import sys

import stack_env
import harness
import fcgi_client
import proc_figures
import upstreams
import wrk_runner

ENVELOPE = os.path.abspath(os.environ.get(
    "ENVELOPE", os.path.join(stack_env.HERE, "envelopes", "get-value.xml")))
CONTENT_TYPE = os.environ.get("CONTENT_TYPE",
                              "application/soap+xml; charset=utf-8")
DURATION = int(os.environ.get("DURATION", "10"))
CONNECTIONS = int(os.environ.get("CONNECTIONS", "16"))
ROUNDS = int(os.environ.get("ROUNDS", "2"))
MIN_REQUESTS = int(os.environ.get("MIN_REQUESTS", "100000"))
MAX_EXTRA_RUNS = 6
# A top-up run is sized from the rate seen so far, but never longer.
MAX_EXTRA_SECONDS = 120
RSS_AIM_KIB = 8 * 1024
USER = "admin"


def main():
    stack_env.stop_on_sigterm()
    build_dir = stack_env.BUILD_DIR
    stack_env.require(upstreams.BARE_BIN(build_dir), ENVELOPE)
    with open(ENVELOPE, "rb") as f:
        envelope = f.read()
    auth = stack_env.basic_auth(USER, harness.DEMO_USERS[USER])
    with upstreams.TwoUpstreams(stack_env.DAEMON_ARGS) as stack:
        reply = fcgi_client.request(stack.socket, upstreams.cgi_params(
            USER, CONTENT_TYPE, len(envelope)), envelope)
        check_expected_answer(reply)
        stack.start_bare(build_dir, reply)
        expected = upstreams.check_same_answer(stack, envelope, CONTENT_TYPE,
                                               auth)
        print("envelope %s -> HTTP %d, %d reply bytes"
              % (os.path.relpath(ENVELOPE, stack_env.SOURCE_DIR), expected,
                 len(reply)))
        runner = wrk_runner.WrkRunner(stack, ENVELOPE, CONTENT_TYPE, auth,
                                     expected, DURATION, CONNECTIONS)
        report(runner, stack)


def check_expected_answer(reply):
    """A benchmark of reads must time reads, not error results: the
    envelope's ".expect" text must be in the daemon's answer."""
    expect_file = os.path.splitext(ENVELOPE)[0] + ".expect"
    if not os.path.exists(expect_file):
        return
    with open(expect_file, "rb") as f:
        expected = f.read().strip()
    if expected not in reply:
        sys.exit("run.py: the daemon's answer lacks %r:\n%s"
                 % (expected, reply.decode("utf-8", "replace")))


def report(runner, stack):
    rss_before = proc_figures.rss_kib(stack.daemon_pid)
    runs = []
    for _ in range(ROUNDS):
        runs.append(runner.run("daemon"))
        runs.append(runner.run("bare"))
    served = sum(r.requests for r in runs if r.target == "daemon")
    # Top up to MIN_REQUESTS with daemon-only runs sized from the rate so
    # far; their number and length are bounded so that a slow daemon
    # cannot stretch the run without end.
    for _ in range(MAX_EXTRA_RUNS):
        if served >= MIN_REQUESTS:
            break
        rate = runs[-1].rate or 1.0
        seconds = (MIN_REQUESTS - served) / rate * 1.1 + 1
        extra = runner.run("daemon", min(int(seconds), MAX_EXTRA_SECONDS))
        runs.append(extra)
        served += extra.requests
    rss_after = proc_figures.rss_kib(stack.daemon_pid)

    print("\n%-7s %10s %10s %12s" % ("target", "requests", "req/s",
                                     "cpu us/req"))
    for r in runs:
        print("%-7s %10d %10.0f %12.1f" % (r.target, r.requests, r.rate,
                                           r.cpu_per_request * 1e6))
    daemon = [r for r in runs if r.target == "daemon"][:ROUNDS]
    bare = [r for r in runs if r.target == "bare"]
    rate = {name: sum(r.rate for r in group) / len(group)
            for name, group in (("daemon", daemon), ("bare", bare))}
    cpu = {name: sum(r.cpu for r in group) / sum(r.requests for r in group)
           for name, group in (("daemon", daemon), ("bare", bare))}
    print("\nrate ratio daemon/bare: %.2f (aim >= 0.8; spread: %s)"
          % (rate["daemon"] / rate["bare"], ", ".join(
              "%.2f" % (d.rate / b.rate) for d, b in zip(daemon, bare))))
    print("cpu per request daemon/bare: %.2f (aim <= 2)"
          % (cpu["daemon"] / cpu["bare"]))
    print("daemon VmRSS: %d KiB before, %d KiB after %d requests (%+d KiB; "
          "aim: flat, under %d KiB)" % (rss_before, rss_after, served,
                                        rss_after - rss_before, RSS_AIM_KIB))
    print("  of which anonymous %d KiB, program and libraries %d KiB"
          % proc_figures.rss_split(stack.daemon_pid))


if __name__ == "__main__":
    main()
