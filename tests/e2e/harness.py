"""End-to-end harness: a private store, nginx and wsgated on 127.0.0.1.

Everything lives in one temporary folder (store, socket, nginx prefix,
logs); every process started is stopped by its pid, also when a test fails.
Paths come from the environment that ctest sets (see CMakeLists.txt):
WSGATED_BIN, CDSCTL_BIN, WSGATED_WSDL, WSGATED_LOCALE_BUILD, SOURCE_DIR, and
in a cross build WSGATED_EMULATOR.
"""

import base64
import http.client
import os
import shlex
import shutil
import shlex
import signal
import socket
import ssl
import subprocess
import tempfile
import time

SOURCE_DIR = os.environ.get("SOURCE_DIR", "")
NGINX_DIR = os.path.join(SOURCE_DIR, "deploy", "nginx")
SEED = os.path.join(SOURCE_DIR, "deploy", "seed", "sample-device.seed")

SOAP12 = "http://www.w3.org/2003/05/soap-envelope"
SOAP11 = "http://schemas.xmlsoap.org/soap/envelope/"
NS = {
    "nsc1": "http://www.wsgated.example/BACnetWSKestrel",
    "nsqv": "http://www.wsgated.example/BACnetWSKestrelQV",
    "nst1": "http://www.wsgated.example/BACnetWSKestrelTest",
    "nsk7": "http://www.wsgated.example/BACnetWSKestrelK7",
}
DEMO_USERS = {"viewer": "viewer-demo", "operator": "operator-demo",
              "admin": "admin-demo"}
# Known to the web server but given no role by the store: the store refuses
# them, not nginx. Test-only; the shipped user list has no such account.
TEST_USERS = dict(DEMO_USERS, guest="guest-test")
# A cross build's programs run through an emulator (qemu-user: nothing on
# this machine starts a foreign program by itself).
EMULATOR = shlex.split(os.environ.get("WSGATED_EMULATOR", ""))
# Bounded waits for start-up and shutdown; reaching one is a failure,
# never a measurement. Emulated programs run several times slower than
# native ones, and their bound grows with them.
START_LIMIT_S = 20 * (5 if EMULATOR else 1)


def program(variable):
    """The argv start of the built program that `variable` names."""
    return EMULATOR + [os.environ[variable]]


def envelope(body, version=12):
    """A SOAP envelope around `body` declaring every service prefix."""
    env_ns = SOAP12 if version == 12 else SOAP11
    decls = " ".join('xmlns:%s="%s"' % item for item in NS.items())
    return ('<?xml version="1.0" encoding="UTF-8"?>'
            '<SOAP-ENV:Envelope xmlns:SOAP-ENV="%s" %s>'
            "<SOAP-ENV:Body>%s</SOAP-ENV:Body></SOAP-ENV:Envelope>"
            % (env_ns, decls, body)).encode()


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def card_paths(data_dir):
    """deploy/paths.env read by the shell it is written for, with its
    files under `data_dir`; the folders are made."""
    script = ". %s && env" % os.path.join(SOURCE_DIR, "deploy", "paths.env")
    shown = subprocess.run(["sh", "-c", script], check=True,
                           capture_output=True, text=True,
                           env={"WSGATED_DATA_DIR": data_dir,
                                "PATH": os.environ.get("PATH", "")}).stdout
    paths = dict(line.split("=", 1) for line in shown.splitlines()
                 if line.startswith("WSGATED_"))
    os.makedirs(paths["WSGATED_LOG_DIR"], exist_ok=True)
    os.makedirs(paths["WSGATED_WAVEFORM_DIR"], exist_ok=True)
    return paths


def wait_until(predicate, what, limit_s=START_LIMIT_S):
    """Polls `predicate`; `limit_s` is a hang guard, never a measurement."""
    deadline = time.monotonic() + limit_s
    while time.monotonic() < deadline:
        if predicate():
            return
        time.sleep(0.05)
    raise AssertionError("gave up waiting: " + what)


def pid_alive(pid):
    try:
        os.kill(pid, 0)
        return True
    except ProcessLookupError:
        return False


class Response:
    def __init__(self, status, headers, body):
        self.status = status
        self.headers = headers
        self.body = body
        self.text = body.decode("utf-8", "replace")


class Stack:
    """Store + nginx + wsgated. Use as a context manager."""

    def __init__(self, daemon_args=("-d", "-D", "6"), background=False,
                 tls=False, env=None):
        self.daemon_args = list(daemon_args)
        self.background = background
        # env: more environment for the daemon (a time zone, say).
        self.extra_env = dict(env or {})
        # tls: nginx also serves HTTPS on tls_port with a self-signed
        # certificate made by deploy/nginx/make-cert.sh.
        self.tls = tls
        self.dir = tempfile.mkdtemp(prefix="wsgated_e2e.")
        self.store = os.path.join(self.dir, "cds.db")
        self.socket = os.path.join(self.dir, "wsgated.socket")
        self.log = os.path.join(self.dir, "wsgated.log")
        self.prefix = os.path.join(self.dir, "nginx")
        self.port = free_port()
        self.tls_port = free_port() if tls else None
        self.daemon_pid = None
        self.daemon_proc = None
        self.nginx_pid = None
        # The daemon's reboot program (WSGATED_REBOOT_CMD): a file that does
        # not exist, so that a Reset in any test fails instead of restarting
        # the machine. A test may point it at a script before __enter__.
        self.reboot_cmd = os.path.join(self.dir, "no-reboot")
        # The card's data files (deploy/paths.env) under this stack's folder.
        self.paths = card_paths(os.path.join(self.dir, "data"))
        # Card processes started by start_companion, stopped by close().
        self.companions = []

    # -- set-up -------------------------------------------------------
    def __enter__(self):
        try:
            self.create_store()
            self.start_nginx()
            self.start_daemon()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *exc):
        self.close()

    def cdsctl(self, *args, check=True):
        return subprocess.run(program("CDSCTL_BIN") + ["--store", self.store]
                              + list(args), check=check, capture_output=True,
                              text=True)

    def create_store(self):
        self.cdsctl("create", "--replace", SEED)

    def env(self):
        env = dict(os.environ)
        env.update(TOOLKIT_CDS_PATH=self.store, WSGATED_SOCKET=self.socket,
                   WSGATED_LOCALE_DIR=os.environ["WSGATED_LOCALE_BUILD"],
                   TOOLKIT_LOG_FILE=self.log,
                   WSGATED_REBOOT_CMD=self.reboot_cmd)
        env.update(self.extra_env)
        return env

    def render(self, template, target, **words):
        with open(os.path.join(NGINX_DIR, template)) as f:
            text = f.read()
        for key, value in words.items():
            text = text.replace("@%s@" % key, value)
        with open(target, "w") as f:
            f.write(text)

    def start_nginx(self):
        for sub in ("logs", "tmp"):
            os.makedirs(os.path.join(self.prefix, sub))
        # Workers run as our user so they can reach the daemon's socket.
        user = "user root;" if os.getuid() == 0 else ""
        words = dict(PREFIX=self.prefix, PORT=str(self.port),
                     SOCKET=self.socket, WSDL=os.environ["WSGATED_WSDL"],
                     USER_LINE=user, TLS_PORT=str(self.tls_port),
                     WAVEFORMS=self.paths["WSGATED_WAVEFORM_DIR"])
        self.render("wsgated.conf.template",
                    os.path.join(self.prefix, "nginx.conf"), **words)
        self.render("wsgated-location.conf.template",
                    os.path.join(self.prefix, "wsgated-location.conf"), **words)
        tls_conf = os.path.join(self.prefix, "wsgated-tls.conf")
        if self.tls:
            subprocess.run(["bash", os.path.join(NGINX_DIR, "make-cert.sh"),
                            self.prefix], check=True, capture_output=True)
            self.render("wsgated-tls.conf.template", tls_conf, **words)
        else:
            open(tls_conf, "w").close()
        self.write_users(os.path.join(self.prefix, "htpasswd"))
        self.run_nginx()
        self.read_nginx_pid()

    def write_users(self, path):
        """The test users' htpasswd file for nginx."""
        with open(path, "w") as f:
            for user_name, password in TEST_USERS.items():
                hashed = subprocess.run(
                    ["openssl", "passwd", "-apr1", password], check=True,
                    capture_output=True, text=True).stdout.strip()
                f.write("%s:%s\n" % (user_name, hashed))

    def read_nginx_pid(self):
        pid_file = os.path.join(self.prefix, "nginx.pid")
        wait_until(lambda: os.path.exists(pid_file), "nginx pid file")
        with open(pid_file) as f:
            self.nginx_pid = int(f.read().strip())

    def run_nginx(self):
        """Starts nginx on the rendered configuration. Our ports were free
        when chosen, but a test running beside us may take one before nginx
        binds it: then new ports are chosen and nginx is tried again."""
        for attempt in range(5):
            done = subprocess.run(["nginx", "-p", self.prefix, "-c",
                                   os.path.join(self.prefix, "nginx.conf")],
                                  capture_output=True, text=True)
            if done.returncode == 0:
                return
            if "Address already in use" not in done.stderr or attempt == 4:
                raise RuntimeError("nginx did not start: " + done.stderr)
            self.rebind_nginx_ports()

    def rebind_nginx_ports(self):
        """New free ports in place of the ones in the rendered files."""
        moves = [(self.port, free_port())]
        if self.tls:
            moves.append((self.tls_port, free_port()))
        self.port = moves[0][1]
        self.tls_port = moves[-1][1] if self.tls else None
        for name in ("nginx.conf", "wsgated-tls.conf"):
            path = os.path.join(self.prefix, name)
            with open(path) as f:
                text = f.read()
            for old, new in moves:
                text = text.replace("127.0.0.1:%d" % old, "127.0.0.1:%d" % new)
            with open(path, "w") as f:
                f.write(text)

    def daemon_path_args(self):
        """The data files' locations as the daemon's options."""
        return ["-h", self.paths["WSGATED_DELTA_LOG"],
                "-a", self.paths["WSGATED_EVENT_LOG"],
                "-s", self.paths["WSGATED_SYSTEM_LOG"],
                "-t", self.paths["WSGATED_TREND_LOG"],
                "-w", self.paths["WSGATED_WAVEFORM_DIR"]]

    def daemon_program(self):
        """The argv start of the daemon (a subclass may run another)."""
        return program("WSGATED_BIN")

    def start_daemon(self):
        argv = (self.daemon_program() + self.daemon_args +
                self.daemon_path_args())
        if self.background:
            done = subprocess.run(argv, env=self.env(), capture_output=True)
            assert done.returncode == 0, done
            wait_until(lambda: self.registered_pid() is not None,
                       "the daemon's watchdog registration")
            self.daemon_pid = self.registered_pid()
        else:
            self.daemon_proc = subprocess.Popen(
                argv, env=self.env(), stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL)
            self.daemon_pid = self.daemon_proc.pid
        wait_until(lambda: "FCGI app listening" in self.daemon_log()
                   or not pid_alive(self.daemon_pid), "the daemon's socket")
        assert pid_alive(self.daemon_pid), self.daemon_log()

    def start_companion(self, program, *args):
        """Starts a card process (docs/card.md) on this stack's store and
        log; it is stopped, by its pid, when the stack closes."""
        proc = subprocess.Popen(
            [program, "--store", self.store, "--log-file", self.log]
            + list(args), env=self.env(), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.companions.append(proc)
        return proc

    def registered_pid(self):
        # "wsgated\tpid 123\tperiod 90s\tlast ping ..."
        for line in self.cdsctl("watchdogs").stdout.splitlines():
            fields = line.split("\t")
            if fields[0] == "wsgated" and len(fields) > 1:
                return int(fields[1].split()[1])
        return None

    def app_status(self):
        return self.cdsctl("get", "/Software/Data Servers/BACnet WebServices"
                           "/AppStatus/Value").stdout.strip()

    def connections(self):
        """Numbered entries below the daemon's connection node."""
        shown = self.cdsctl("show", "/Software/Data Servers/Connections/"
                            "BACnet WebServices", "--depth", "1").stdout
        return [line for line in shown.splitlines()
                if line.strip().isdigit()]

    # -- the card's alarm handler (card-alarms, docs/alarms.md) --------
    def start_alarm_handler(self):
        """card-alarms beside the daemon on this stack's store and
        alarm/event log, stepping every 0.2 s; stop_alarm_handler ends it."""
        self.alarm_log = os.path.join(self.dir, "alarms.log")
        self.alarm_handler = subprocess.Popen(
            [os.environ["CARD_ALARMS_BIN"], "--store", self.store, "-D", "2",
             "--log-file", self.alarm_log, "--event-log",
             self.paths["WSGATED_EVENT_LOG"], "--pace-seconds", "0.2",
             "--rescan-seconds", "0.5"], env=self.env(),
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(lambda: "Alarm handler started" in self.alarm_handler_log()
                   or self.alarm_handler.poll() is not None,
                   "the alarm handler's start")
        assert self.alarm_handler.poll() is None, self.alarm_handler_log()

    def alarm_handler_log(self):
        with open(self.alarm_log, "a+", errors="replace") as f:
            f.seek(0)
            return f.read()

    def stop_alarm_handler(self):
        """SIGTERM the alarm handler by its pid and wait for it."""
        handler = getattr(self, "alarm_handler", None)
        if handler is not None and handler.poll() is None:
            os.kill(handler.pid, signal.SIGTERM)
            handler.wait(timeout=START_LIMIT_S)

    # -- tear-down ----------------------------------------------------
    def stop_daemon(self):
        """SIGTERM the daemon and wait for it; returns its exit status."""
        if self.daemon_pid is None:
            return None
        pid, self.daemon_pid = self.daemon_pid, None
        if pid_alive(pid):
            os.kill(pid, signal.SIGTERM)
        if self.daemon_proc is not None:
            try:
                return self.daemon_proc.wait(timeout=START_LIMIT_S)
            except subprocess.TimeoutExpired:
                self.daemon_proc.kill()
                self.daemon_proc.wait()
                raise AssertionError("daemon ignored SIGTERM")
        wait_until(lambda: not pid_alive(pid), "the daemon's exit")
        return 0

    def close(self):
        try:
            for proc in self.companions:
                if proc.poll() is None:
                    proc.terminate()
                    proc.wait(timeout=START_LIMIT_S)
            self.stop_daemon()
        finally:
            if self.nginx_pid is not None and pid_alive(self.nginx_pid):
                os.kill(self.nginx_pid, signal.SIGQUIT)
                wait_until(lambda: not pid_alive(self.nginx_pid),
                           "nginx's exit")
            self.nginx_pid = None
            if not os.environ.get("WSGATED_E2E_KEEP"):
                shutil.rmtree(self.dir, ignore_errors=True)

    # -- calls --------------------------------------------------------
    def daemon_log(self):
        try:
            with open(self.log, errors="replace") as f:
                return f.read()
        except FileNotFoundError:
            return ""

    def request(self, method="POST", path="/wsgated", body=b"", headers=None,
                user="admin", source="127.0.0.1", https=False):
        if https:
            # The certificate is self-signed: the tests check what reaches
            # the daemon, not the certificate chain.
            conn = http.client.HTTPSConnection(
                "127.0.0.1", self.tls_port, timeout=START_LIMIT_S,
                source_address=(source, 0),
                context=ssl._create_unverified_context())
        else:
            conn = http.client.HTTPConnection("127.0.0.1", self.port,
                                              timeout=START_LIMIT_S,
                                              source_address=(source, 0))
        all_headers = dict(headers or {})
        if user is not None:
            token = "%s:%s" % (user, TEST_USERS[user])
            all_headers["Authorization"] = (
                "Basic " + base64.b64encode(token.encode()).decode())
        try:
            conn.request(method, path, body=body, headers=all_headers)
            reply = conn.getresponse()
            return Response(reply.status, dict(reply.getheaders()),
                            reply.read())
        finally:
            conn.close()

    def soap(self, body, version=12, **kwargs):
        content_type = ("application/soap+xml; charset=utf-8" if version == 12
                        else "text/xml; charset=utf-8")
        headers = {"Content-Type": content_type}
        headers.update(kwargs.pop("headers", {}))
        return self.request(body=envelope(body, version), headers=headers,
                            **kwargs)


# -- the card's companions ----------------------------------------------------
# Any subset of the card's companion processes beside a stack, under
# wsgated-supervisor, on the stack's store and data files.
COMPANION_BINS = {"trends": "CARD_TRENDS_BIN",
                  "simulator": "CARD_SIMULATOR_BIN",
                  "deltalog": "CARD_DELTALOG_BIN",
                  "syslog": "CARD_SYSLOG_BIN",
                  # the publisher
                  "publisher": "CARD_PUBLISHER_BIN"}


def companion_argv(stack, name, *more):
    """The companion `name` on the stack's store and files; its log is
    NAME.log in the stack's folder."""
    paths = stack.paths
    files = {"trends": ["--trend-log", paths["WSGATED_TREND_LOG"]],
             "simulator": [],
             "deltalog": ["--delta-log", paths["WSGATED_DELTA_LOG"]],
             "syslog": ["--event-log", paths["WSGATED_EVENT_LOG"],
                        "--system-log", paths["WSGATED_SYSTEM_LOG"]],
             # the publisher
             "publisher": ["--delta-log", paths["WSGATED_DELTA_LOG"],
                           "--event-log", paths["WSGATED_EVENT_LOG"],
                           "--system-log", paths["WSGATED_SYSTEM_LOG"]]}
    return ([os.environ[COMPANION_BINS[name]], "--store", stack.store,
             "--log-file", os.path.join(stack.dir, name + ".log")]
            + files[name] + list(more))


class Companions:
    """wsgated-supervisor running `companions` ({name: [more options]})
    beside `stack`; stop() ends it (and them) by its pid."""

    def __init__(self, stack, companions, check_seconds="0.5"):
        programs = []
        for name, more in companions.items():
            command = " ".join(shlex.quote(word) for word in
                               companion_argv(stack, name, *more))
            programs += ["--program", "%s=%s" % (name, command)]
        self.stack = stack
        self.proc = subprocess.Popen(
            [os.environ["WSGATED_SUPERVISOR_BIN"], "--store", stack.store,
             "--log-file", os.path.join(stack.dir, "supervisor.log"),
             "--check-seconds", check_seconds] + programs,
            env=stack.env(), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def pid(self, name):
        """The pid in the watchdog row of `name`, or None."""
        for line in self.stack.cdsctl("watchdogs").stdout.splitlines():
            fields = line.split("\t")
            if fields[0] == name and len(fields) > 1:
                return int(fields[1].split()[1])
        return None

    def stop(self):
        self.proc.send_signal(signal.SIGTERM)
        try:
            self.proc.wait(timeout=START_LIMIT_S)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            self.proc.wait()
            raise
