"""The operation reference shows what the daemon answers: every example
response in docs/api matches a fresh answer to its request (times and the
values an example masks aside). scripts/api_examples.py --update rewrites
them after a deliberate change."""

import os
import subprocess
import sys
import unittest

import harness


class ReferenceExamples(unittest.TestCase):
    def test_every_example_response_is_what_the_daemon_answers(self):
        script = os.path.join(harness.SOURCE_DIR, "scripts", "api_examples.py")
        done = subprocess.run([sys.executable, script, "--check"],
                              capture_output=True, text=True,
                              timeout=20 * harness.START_LIMIT_S)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


if __name__ == "__main__":
    unittest.main()
