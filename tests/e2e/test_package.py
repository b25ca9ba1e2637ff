"""The Debian package, built by cpack from this build and unpacked with
dpkg-deb into a scratch root, never installed: its contents, its manual
pages and unit files, the seed step, and the daemon run from the scratch
root behind nginx with a configuration made from the packaged site."""

import glob
import grp
import os
import re
import shutil
import stat
import subprocess
import tempfile
import unittest

import harness
from core_calls import PLAIN_POINT, PLAIN_VALUE, call

PROGRAMS = ["usr/sbin/wsgated", "usr/sbin/wsgated-supervisor",
            "usr/bin/cdsctl", "usr/libexec/wsgated/prepare",
            "usr/libexec/wsgated/start"]
COMPANIONS = ["alarms", "commands", "deltalog", "publisher", "simulator",
              "syslog", "trends"]
PROGRAMS += ["usr/sbin/card-" + name for name in COMPANIONS]
UNITS = "usr/lib/systemd/system"
FILES = [UNITS + "/wsgated.service", UNITS + "/wsgated-card@.service",
         "usr/share/man/man8/wsgated.8.gz", "usr/share/man/man1/cdsctl.1.gz",
         "etc/nginx/sites-available/wsgated",
         "etc/nginx/snippets/wsgated.conf",
         "usr/share/polkit-1/rules.d/50-wsgated-reboot.rules"] + [
    "usr/share/wsgated/" + name for name in
    ("wsgated.wsdl", "wsgated-subscriber.wsdl", "paths.env",
     "sample-device.seed")] + [
    "usr/share/locale/%s/LC_MESSAGES/toolkit.mo" % lang
    for lang in ("de_DE", "fr_FR")]
SITE = "etc/nginx/sites-available/wsgated"
SNIPPET = "etc/nginx/snippets/wsgated.conf"


def replaced(text, moves):
    """`text` with each (old, new) of `moves` replaced; each old must be in."""
    for old, new in moves:
        assert old in text, "%r not in %s" % (old, text)
        text = text.replace(old, new)
    return text


class PackagedStack(harness.Stack):
    """Daemon, store helpers, catalogues, WSDL and nginx site from the
    package unpacked in `root`, the site's paths moved into our folder."""

    def __init__(self, root, socket_group):
        self.root = root
        self.socket_group = socket_group
        super().__init__(daemon_args=("-d", "-D", "2"))

    def env(self):
        env = super().env()
        env.update(WSGATED_DATA_DIR=os.path.join(self.dir, "data"),
                   WSGATED_SOCKET_GROUP=self.socket_group,
                   WSGATED_LOCALE_DIR=os.path.join(self.root,
                                                   "usr/share/locale"))
        return env

    def prepare(self):
        subprocess.run([os.path.join(self.root, "usr/libexec/wsgated/prepare")],
                       env=self.env(), check=True, capture_output=True)

    create_store = prepare

    def daemon_program(self):
        return [os.path.join(self.root, "usr/libexec/wsgated/start")]

    def daemon_path_args(self):
        return []  # the start helper adds them from paths.env

    def start_nginx(self):
        for sub in ("logs", "tmp"):
            os.makedirs(os.path.join(self.prefix, sub))
        conf = os.path.join(self.prefix, "nginx.conf")
        user = "user root;" if os.getuid() == 0 else ""
        self.render("wsgated.conf.template", conf, PREFIX=self.prefix,
                    PORT=str(self.port), USER_LINE=user)
        open(os.path.join(self.prefix, "wsgated-tls.conf"), "w").close()
        snippet = os.path.join(self.prefix, "wsgated.conf")
        with open(os.path.join(self.root, SITE)) as f:
            site = replaced(f.read(), [
                ("listen 80;", "listen 127.0.0.1:%d;" % self.port),
                ("listen [::]:80;", ""),
                ("include snippets/wsgated.conf;", "include %s;" % snippet)])
        # The demo's plain server block gives way to the packaged site.
        with open(conf) as f:
            text, count = re.subn(r"\n    server \{.*?\n    \}", "\n" + site,
                                  f.read(), count=1, flags=re.S)
        assert count == 1, text
        with open(conf, "w") as f:
            f.write(text)
        with open(os.path.join(self.root, SNIPPET)) as f:
            endpoint = replaced(f.read(), [
                ("/run/wsgated/wsgated.socket", self.socket),
                ("/etc/wsgated/htpasswd",
                 os.path.join(self.prefix, "htpasswd")),
                ("/usr/share/wsgated/",
                 os.path.join(self.root, "usr/share/wsgated/")),
                ("/var/lib/wsgated/waveforms",
                 self.paths["WSGATED_WAVEFORM_DIR"])])
        with open(snippet, "w") as f:
            f.write(endpoint)
        self.write_users(os.path.join(self.prefix, "htpasswd"))
        self.run_nginx()
        self.read_nginx_pid()


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.mkdtemp(prefix="wsgated_package.")
        cls.addClassCleanup(shutil.rmtree, cls.dir, True)
        build = os.environ["WSGATED_BUILD_DIR"]
        out = os.path.join(cls.dir, "out")
        packed = subprocess.run(
            ["cpack", "--config", os.path.join(build, "CPackConfig.cmake"),
             "-B", out], capture_output=True, text=True)
        if packed.returncode != 0:  # say why: a missing tool, most often
            raise AssertionError("cpack failed:\n%s%s"
                                 % (packed.stdout, packed.stderr))
        (cls.deb,) = glob.glob(os.path.join(out, "wsgated_*.deb"))
        cls.root = os.path.join(cls.dir, "root")
        subprocess.run(["dpkg-deb", "-x", cls.deb, cls.root], check=True)

    def path(self, relative):
        return os.path.join(self.root, relative)

    def test_holds_the_programs_and_files_under_usr_and_etc(self):
        for relative in PROGRAMS + FILES:
            with self.subTest(relative):
                self.assertTrue(os.path.isfile(self.path(relative)))
        for relative in PROGRAMS:
            with self.subTest(relative):
                self.assertTrue(os.access(self.path(relative), os.X_OK))
        self.assertEqual(["etc", "usr"], sorted(os.listdir(self.root)))
        self.assertFalse(os.path.exists(self.path("usr/local")))
        fields = subprocess.run(["dpkg-deb", "-f", self.deb, "Depends",
                                 "Recommends"], check=True, text=True,
                                capture_output=True).stdout
        for needed in ("adduser", "libfcgi", "libsqlite3", "nginx"):
            self.assertIn(needed, fields)

    def test_man_finds_the_pages(self):
        manpath = dict(os.environ, MANPATH=self.path("usr/share/man"),
                       MANWIDTH="80")
        for page, text in [(["8", "wsgated"], "WSGATED_SOCKET_GROUP"),
                           (["1", "cdsctl"], "create")]:
            with self.subTest(page):
                shown = subprocess.run(["man", "-P", "cat"] + page,
                                       env=manpath, capture_output=True,
                                       text=True)
                self.assertEqual(0, shown.returncode, shown.stderr)
                self.assertIn(text, shown.stdout)

    def test_unit_files_verify(self):
        if shutil.which("systemd-analyze") is None:
            self.skipTest("systemd-analyze is not installed: units unchecked")
        # The units' programs are those of the scratch root; the template
        # is checked as each companion's instance.
        checked = os.path.join(self.dir, "units")
        os.makedirs(checked, exist_ok=True)
        names = ["wsgated.service"] + [
            "wsgated-card@%s.service" % name for name in COMPANIONS]
        for name in names:
            source = re.sub(r"@[a-z]+\.", "@.", name)
            with open(os.path.join(self.root, UNITS, source)) as f, \
                    open(os.path.join(checked, name), "w") as out:
                out.write(f.read().replace("=/usr/", "=%s/usr/" % self.root))
        verified = subprocess.run(
            ["systemd-analyze", "verify"]
            + [os.path.join(checked, name) for name in names],
            env=dict(os.environ, MANPATH=self.path("usr/share/man")),
            capture_output=True, text=True)
        self.assertEqual(0, verified.returncode, verified.stderr)
        self.assertEqual("", verified.stderr)

    def test_serves_getvalue_behind_the_packaged_site(self):
        group = "nogroup" if os.getuid() == 0 else grp.getgrgid(
            os.getgid()).gr_name
        with PackagedStack(self.root, group) as stack:
            answer = call(stack, "getValue", path=PLAIN_POINT)
            self.assertEqual(PLAIN_VALUE, answer.result)
            socket = os.stat(stack.socket)
            self.assertEqual(0o660, stat.S_IMODE(socket.st_mode))
            self.assertEqual(grp.getgrnam(group).gr_gid, socket.st_gid)
            # A second start (an upgrade, a restart) keeps the store.
            stack.cdsctl("set", PLAIN_POINT, "1.5")
            stack.stop_daemon()
            stack.prepare()
            self.assertEqual("1.5", stack.cdsctl("get", PLAIN_POINT)
                             .stdout.strip())
            # A socket group that does not exist stops the daemon.
            stack.socket_group = "wsgated-no-such-group"
            failed = subprocess.run(stack.daemon_program() + ["-d"],
                                    env=stack.env(), capture_output=True,
                                    timeout=harness.START_LIMIT_S)
            self.assertEqual(1, failed.returncode)
            self.assertIn("Cannot restrict the FastCGI socket: socket group"
                          " wsgated-no-such-group does not exist",
                          stack.daemon_log())

