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
  ENVELOPE      the SOAP envelope file to POST
                (envelopes/get-min-avg-max-values.xml)
  CONTENT_TYPE  its content type (application/soap+xml; charset=utf-8)
  DURATION      seconds per wrk run (10)
  CONNECTIONS   wrk connections (16)
  ROUNDS        daemon/bare pairs (2)
  MIN_REQUESTS  requests the daemon serves between the two memory
                readings; up to 6 extra daemon runs are added to reach
                it (100000)
"""

import base64
import os
import signal
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.path.dirname(os.path.dirname(HERE))
BUILD_DIR = os.path.abspath(os.environ.get("BUILD_DIR", "build"))
ENVELOPE = os.path.abspath(os.environ.get(
    "ENVELOPE", os.path.join(HERE, "envelopes", "get-min-avg-max-values.xml")))
CONTENT_TYPE = os.environ.get("CONTENT_TYPE",
                              "application/soap+xml; charset=utf-8")
DURATION = int(os.environ.get("DURATION", "10"))
CONNECTIONS = int(os.environ.get("CONNECTIONS", "16"))
ROUNDS = int(os.environ.get("ROUNDS", "2"))
MIN_REQUESTS = int(os.environ.get("MIN_REQUESTS", "100000"))
MAX_EXTRA_RUNS = 6
USER = "admin"
# The daemon at the verbosity a deployment runs it (scripts/serve.sh).
DAEMON_ARGS = ("-d", "-D", "2")

# The end-to-end harness starts the store, nginx and the daemon; it reads
# its paths from the environment when imported.
os.environ.update(
    WSGATED_BIN=os.path.join(BUILD_DIR, "host", "wsgated"),
    CDSCTL_BIN=os.path.join(BUILD_DIR, "tools", "cdsctl", "cdsctl"),
    WSGATED_WSDL=os.path.join(BUILD_DIR, "contract", "wsgated.wsdl"),
    WSGATED_LOCALE_BUILD=os.path.join(BUILD_DIR, "locale"),
    SOURCE_DIR=SOURCE_DIR)
sys.dont_write_bytecode = True
sys.path[:0] = [os.path.join(SOURCE_DIR, "tests", "e2e"), HERE]
import harness  # noqa: E402
import fcgi_client  # noqa: E402
import proc_figures  # noqa: E402
import upstreams  # noqa: E402
import wrk_runner  # noqa: E402


def stop_on_sigterm():
    """SIGTERM unwinds like Ctrl-C, so every `finally` stops its process."""
    def handler(signum, frame):
        raise SystemExit(128 + signum)
    signal.signal(signal.SIGTERM, handler)


def main():
    stop_on_sigterm()
    for path in (os.environ["WSGATED_BIN"], os.environ["CDSCTL_BIN"],
                 upstreams.BARE_BIN(BUILD_DIR), ENVELOPE):
        if not os.path.exists(path):
            sys.exit("run.py: missing %s (build wsgated, cdsctl and "
                     "bare_responder into BUILD_DIR)" % path)
    with open(ENVELOPE, "rb") as f:
        envelope = f.read()
    token = "%s:%s" % (USER, harness.DEMO_USERS[USER])
    auth = "Basic " + base64.b64encode(token.encode()).decode()
    with upstreams.TwoUpstreams(DAEMON_ARGS) as stack:
        reply = fcgi_client.request(stack.socket, upstreams.cgi_params(
            USER, CONTENT_TYPE, len(envelope)), envelope)
        stack.start_bare(BUILD_DIR, reply)
        expected = upstreams.check_same_answer(stack, envelope, CONTENT_TYPE,
                                               auth)
        print("envelope %s -> HTTP %d, %d reply bytes"
              % (os.path.relpath(ENVELOPE, SOURCE_DIR), expected, len(reply)))
        runner = wrk_runner.WrkRunner(stack, ENVELOPE, CONTENT_TYPE, auth,
                                     expected, DURATION, CONNECTIONS)
        report(runner, stack)


def report(runner, stack):
    rss_before = proc_figures.rss_kib(stack.daemon_pid)
    runs = []
    for _ in range(ROUNDS):
        runs.append(runner.run("daemon"))
        runs.append(runner.run("bare"))
    served = sum(r.requests for r in runs if r.target == "daemon")
    # Top up to MIN_REQUESTS with daemon-only runs, a bounded number so a
    # slow daemon cannot stretch the run without end.
    for _ in range(MAX_EXTRA_RUNS):
        if served >= MIN_REQUESTS:
            break
        extra = runner.run("daemon")
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
    print("daemon VmRSS: %d KiB before, %d KiB after %d requests (%+d KiB)"
          % (rss_before, rss_after, served, rss_after - rss_before))


if __name__ == "__main__":
    main()
