"""What every throughput script sets up before it starts a stack.

The end-to-end harness (tests/e2e/harness.py) starts the store, nginx and
the daemon; it reads the programs' paths from the environment when it is
imported, so import this module first, then harness. BUILD_DIR (./build)
is the build tree that holds wsgated, cdsctl and bare_responder.
"""

import base64
import os
import signal
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE_DIR = os.path.dirname(os.path.dirname(HERE))
BUILD_DIR = os.path.abspath(os.environ.get("BUILD_DIR", "build"))
# The daemon at the verbosity a deployment runs it (scripts/serve.sh).
DAEMON_ARGS = ("-d", "-D", "2")

os.environ.update(
    WSGATED_BIN=os.path.join(BUILD_DIR, "host", "wsgated"),
    CDSCTL_BIN=os.path.join(BUILD_DIR, "tools", "cdsctl", "cdsctl"),
    WSGATED_WSDL=os.path.join(BUILD_DIR, "contract", "wsgated.wsdl"),
    WSGATED_LOCALE_BUILD=os.path.join(BUILD_DIR, "locale"),
    SOURCE_DIR=SOURCE_DIR)
sys.dont_write_bytecode = True
sys.path[:0] = [os.path.join(SOURCE_DIR, "tests", "e2e")]


def stop_on_sigterm():
    """SIGTERM unwinds like Ctrl-C, so every `finally` stops its process."""
    def handler(signum, frame):
        raise SystemExit(128 + signum)
    signal.signal(signal.SIGTERM, handler)


def require(*paths):
    """Exit with a hint when a program or input is missing."""
    for path in (os.environ["WSGATED_BIN"], os.environ["CDSCTL_BIN"]) + paths:
        if not os.path.exists(path):
            sys.exit("%s: missing %s (build wsgated, cdsctl and "
                     "bare_responder into BUILD_DIR)"
                     % (os.path.basename(sys.argv[0]), path))


def basic_auth(user, password):
    token = "%s:%s" % (user, password)
    return "Basic " + base64.b64encode(token.encode()).decode()
