"""The manual pages render without a groff warning and keep up with the
programs: every option the daemon's usage text names, every command and
option of cdsctl's help, and every variable the daemon reads is documented.

usage: test_man_pages.py SOURCE_DIR WSGATED CDSCTL
"""
import os
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

SOURCE, WSGATED, CDSCTL = map(os.path.abspath, sys.argv[1:4])
MAN = os.path.join(SOURCE, "docs", "man")
# The folders the daemon is built from; tests and card processes excluded.
DAEMON_FOLDERS = ["host", "common", "core", "publish", "logs", "trends",
                  "discovery", "waveforms", "commands", "admin", "platform"]


def run(program, *args):
    """Output of a built program, through the emulator in a cross build."""
    emulator = shlex.split(os.environ.get("WSGATED_EMULATOR", ""))
    with tempfile.TemporaryDirectory() as scratch:
        # Never a real store: the daemon opens its store before parsing.
        env = dict(os.environ, TOOLKIT_CDS_PATH=scratch + "/none.db")
        return subprocess.run(emulator + [program, *args], env=env, cwd=scratch,
                              capture_output=True, text=True, timeout=60).stdout


def page(name):
    with open(os.path.join(MAN, name), encoding="utf-8") as f:
        return f.read()


def plain(roff):
    """Roff text with font changes, quotes and escaped hyphens taken out."""
    text = re.sub(r"\\f[BIRP]", "", roff).replace("\\-", "-")
    return re.sub(r'^\.(BI|BR|IR|RB|B|I) ', "", text, flags=re.M).replace('"', "")


def tags(roff):
    """The item names of a page: the line after each .TP, made plain."""
    return [plain(t).strip() for t in re.findall(r"^\.TP\n(.*)$", roff, re.M)]


class ManPages(unittest.TestCase):
    def test_pages_render_without_warnings(self):
        for name in ("wsgated.8", "cdsctl.1"):
            with self.subTest(page=name):
                path = os.path.join(MAN, name)
                shown = subprocess.run(
                    ["man", "--warnings", "-l", path], capture_output=True,
                    text=True, env=dict(os.environ, MANWIDTH="80"))
                self.assertEqual(shown.returncode, 0)
                self.assertEqual(shown.stderr, "")
                self.assertIn("NAME", shown.stdout)
                # mandb's index reads the NAME line: "name - summary".
                whatis = subprocess.run(["lexgrog", path], capture_output=True,
                                        text=True)
                self.assertEqual(whatis.returncode, 0, whatis.stdout)

    def test_every_daemon_option_has_an_item(self):
        usage = run(WSGATED, "--no-such-option")
        options = re.findall(r"^\t -(\w):", usage, re.M)
        self.assertGreaterEqual(len(options), 12, usage)
        items = {t.split()[0] for t in tags(page("wsgated.8"))}
        for letter in options:
            self.assertIn("-" + letter, items)

    def test_every_cdsctl_command_and_option_is_described(self):
        usage = run(CDSCTL, "--help")
        commands = re.findall(r"^  ([a-z]+(?: (?:set|remove|show|create|"
                              r"append|chart))?)\b", usage, re.M)
        self.assertGreaterEqual(len(commands), 25, usage)
        items = tags(page("cdsctl.1"))
        for command in commands:
            with self.subTest(command=command):
                self.assertTrue(any(t.split(" [")[0].startswith(command)
                                    for t in items), command)
        text = plain(page("cdsctl.1"))
        for option in set(re.findall(r"--[a-z-]+", usage)):
            self.assertIn(option, text)

    def test_every_variable_the_daemon_reads_is_listed(self):
        named = set()
        for folder in DAEMON_FOLDERS:
            for root, _, files in os.walk(os.path.join(SOURCE, folder)):
                for f in files:
                    if f.endswith((".cc", ".h")):
                        with open(os.path.join(root, f), encoding="utf-8") as s:
                            named |= set(re.findall(
                                r'"((?:WSGATED|TOOLKIT)_[A-Z0-9_]+)"', s.read()))
        self.assertIn("WSGATED_SOCKET", named)
        listed = set(tags(page("wsgated.8")))
        self.assertEqual(named - listed, set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
