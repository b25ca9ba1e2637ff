#!/usr/bin/python3
"""The publisher delivering to SUBSCRIBERS subscriptions of POINTS points
each, all to receivers on 127.0.0.1 (one HTTP server, one path each):

* throughput: for SECONDS, setValues writes every point a new value as
  fast as the calls go; printed are the messages and values delivered a
  second;
* delay: ROUNDS single setValue calls, one after another, each waiting
  until every subscriber received its value; printed are the median and
  99th percentile of the delay from the call's start to each delivery, and
  their ratio to the publisher's look period;
* idle looks: for IDLE seconds nothing changes; printed is the publisher's
  CPU time per look, which is then the cost of looking: the area, the
  values and, with LOGS, each subscription's reading of the logs (the
  system and Delta loggers run beside it, so that the logs exist).

Builds nothing: cmake --build build --target publisher_bench.
Environment (all optional):
  BUILD_DIR    build tree (./build)
  SECONDS      length of the throughput phase (10)
  ROUNDS       setValue calls of the delay phase (50)
  SUBSCRIBERS  subscriptions (100)
  POINTS       points per subscription (10)
  CHECK        the publisher's --check-seconds (0.05)
  IDLE         length of the idle phase (5)
  LOGS         the subscriptions' log options ("Alarm NonAlarmEvent
               Trend"; "" for none)
  CARD_PUBLISHER_BIN  the publisher to run (the build tree's), to compare
               two builds side by side
"""

import http.server
import os
import re
import statistics
import threading
import time

import stack_env
import core_calls
import harness
import proc_figures
from core_calls import StringArray

SECONDS = float(os.environ.get("SECONDS", "10"))
ROUNDS = int(os.environ.get("ROUNDS", "50"))
SUBSCRIBERS = int(os.environ.get("SUBSCRIBERS", "100"))
POINTS = int(os.environ.get("POINTS", "10"))
CHECK = os.environ.get("CHECK", "0.05")
IDLE = float(os.environ.get("IDLE", "5"))
LOGS = os.environ.get("LOGS", "Alarm NonAlarmEvent Trend")
BASE = "/Devices/Bench"
CARD = os.path.join(stack_env.BUILD_DIR, "card")
os.environ.update(
    WSGATED_SUPERVISOR_BIN=os.path.join(CARD, "supervisor",
                                        "wsgated-supervisor"),
    CARD_SYSLOG_BIN=os.path.join(CARD, "syslog", "card-syslog"),
    CARD_DELTALOG_BIN=os.path.join(CARD, "deltalog", "card-deltalog"))
os.environ.setdefault("CARD_PUBLISHER_BIN",
                      os.path.join(CARD, "publisher", "card-publisher"))
VALUE = re.compile(rb"<nss1:Path>([^<]*)</nss1:Path><nss1:Value>([^<]*)<")


class Receiver(http.server.ThreadingHTTPServer):
    """Counts messages and values; keeps the first arrival of each
    (subscriber, point, value)."""
    daemon_threads = True

    def __init__(self):
        self.lock = threading.Lock()
        self.messages = self.values = 0
        self.arrivals = {}
        super().__init__(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        now = time.perf_counter()
        found = VALUE.findall(body)
        with self.server.lock:
            self.server.messages += 1
            self.server.values += len(found)
            for path, value in found:
                self.server.arrivals.setdefault(
                    (self.path, path.decode(), value.decode()), now)
        self.send_response(204)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def log_message(self, *args):
        pass


def points():
    return ["%s/P%d" % (BASE, i) for i in range(POINTS)]


def set_up(stack, receiver):
    for path in points():
        answer = core_calls.call(stack, "CreateNode", prefix="nst1",
                                 basePath=path + "/",
                                 paths=StringArray(["Value", "Writable"]),
                                 values=StringArray(["0", "true"]))
        if answer.status != 200:
            raise SystemExit("publisher.py: CreateNode failed:\n" + answer.text)
    nodes = "".join(
        "<nsc1:NodeSubscription><nsc1:Path>%s</nsc1:Path><nsc1:Requested"
        "Freshness>0</nsc1:RequestedFreshness><nsc1:DeadbandPercent>0"
        "</nsc1:DeadbandPercent></nsc1:NodeSubscription>" % p
        for p in points())
    port = receiver.server_address[1]
    log_options = ("<nsc1:subscribeLogOptions>%s</nsc1:subscribeLogOptions>"
                   % LOGS if LOGS else "")
    for i in range(SUBSCRIBERS):
        reply = stack.soap(
            "<nsc1:createSubscription><nsc1:subscriptionId>s%d</nsc1:"
            "subscriptionId><nsc1:replyUri>http://127.0.0.1:%d/s%d</nsc1:"
            "replyUri><nsc1:leaseDuration>0</nsc1:leaseDuration><nsc1:"
            "realTimeNodes>%s</nsc1:realTimeNodes>%s</nsc1:createSubscription>"
            % (i, port, i, nodes, log_options))
        if reply.status != 200:
            raise SystemExit("publisher.py: createSubscription failed:\n" +
                             reply.text)
    first = lambda: len(receiver.arrivals) >= SUBSCRIBERS * POINTS
    harness.wait_until(first, "the first values", limit_s=120)


def throughput(stack, receiver):
    with receiver.lock:
        messages, values = receiver.messages, receiver.values
    started = time.perf_counter()
    round_ = 0
    while time.perf_counter() - started < SECONDS:
        round_ += 1
        answer = core_calls.call(stack, "setValues",
                                 paths=points(),
                                 values=[str(round_)] * POINTS)
        if answer.status != 200 or answer.results != [str(round_)] * POINTS:
            raise SystemExit("publisher.py: setValues failed:\n" +
                             answer.text)
    seconds = time.perf_counter() - started
    with receiver.lock:
        return ((receiver.messages - messages) / seconds,
                (receiver.values - values) / seconds)


def delays(stack, receiver):
    found = []
    for round_ in range(ROUNDS):
        value = str(1000000 + round_)
        keys = [("/s%d" % i, points()[0], value) for i in range(SUBSCRIBERS)]
        started = time.perf_counter()
        answer = core_calls.call(stack, "setValue", path=points()[0],
                                 value=value)
        if answer.status != 200 or answer.results != [value]:
            raise SystemExit("publisher.py: setValue failed:\n" + answer.text)
        harness.wait_until(lambda: all(k in receiver.arrivals for k in keys),
                           "round %d" % round_, limit_s=60)
        with receiver.lock:
            found += [receiver.arrivals[k] - started for k in keys]
    found.sort()
    return statistics.median(found), found[int(len(found) * 0.99) - 1]


def idle_look_ms(pid):
    before = proc_figures.cpu_seconds(pid)
    time.sleep(IDLE)
    looks = IDLE / float(CHECK)
    return (proc_figures.cpu_seconds(pid) - before) * 1e3 / looks


def main():
    stack_env.stop_on_sigterm()
    stack_env.require(os.environ["WSGATED_SUPERVISOR_BIN"],
                      os.environ["CARD_PUBLISHER_BIN"])
    receiver = Receiver()
    with harness.Stack(daemon_args=stack_env.DAEMON_ARGS) as stack:
        card = harness.Companions(stack, {
            "syslog": [], "deltalog": [], "publisher": [
                "--check-seconds", CHECK, "--allow-address", "127.0.0.1",
                "--max-subscriptions", str(SUBSCRIBERS),
                "--max-nodes", str(SUBSCRIBERS * POINTS)]})
        try:
            set_up(stack, receiver)
            messages, values = throughput(stack, receiver)
            median, p99 = delays(stack, receiver)
            idle_ms = idle_look_ms(card.pid("publisher"))
        finally:
            card.stop()
            receiver.shutdown()
    check = float(CHECK)
    print("%d subscribers x %d points, logs: %s, look every %s s" % (
        SUBSCRIBERS, POINTS, LOGS or "none", CHECK))
    print("%-30s %12.0f" % ("messages delivered / s", messages))
    print("%-30s %12.0f" % ("values delivered / s", values))
    print("%-30s %9.1f ms  (%.1f looks)" % ("setValue -> delivery, median",
                                            median * 1e3, median / check))
    print("%-30s %9.1f ms  (%.1f looks)" % ("setValue -> delivery, p99",
                                            p99 * 1e3, p99 / check))
    print("%-30s %9.2f ms CPU" % ("publisher, one idle look", idle_ms))


if __name__ == "__main__":
    main()
