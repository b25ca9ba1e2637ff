"""Node administration through nginx on the sample store: SetLeaf,
SetLeaves, CreateNode, RemoveNode and Reset, with the reboot program
replaced (harness.Stack.reboot_cmd) so that no test restarts the machine."""

import os
import unittest

import harness
from core_calls import StackTestCase
from soap_calls import Items, answer, body

RESET = body("nst1", "Reset")
FAILED_REBOOT = "? System Reboot Failed: No such file or directory"
RESET_LOG = ("Network Card Reset requested via web services by admin "
             "at 127.0.0.1")


class AdminTest(StackTestCase):
    def nst1(self, operation, *fields, user="admin"):
        """The result texts of an nst1 call that must succeed."""
        reply = self.stack.soap(body("nst1", operation, *fields), user=user)
        self.assertEqual(200, reply.status, reply.text)
        texts = answer(reply, operation)
        self.assertIsNotNone(texts, reply.text)
        return texts

    def leaf(self, path):
        """The stored text, or None when the leaf cannot be read."""
        done = self.stack.cdsctl("get", path, check=False)
        return done.stdout.strip() if done.returncode == 0 else None

    def node_exists(self, path):
        return self.leaf(path + ":Name") is not None

    # -- SetLeaf, SetLeaves -------------------------------------------
    def test_set_leaf(self):
        path = "/Devices/UPS1/Load/Units"
        self.assertEqual(["percent"], self.nst1(
            "SetLeaf", ("path", path), ("value", "percent")))
        self.assertEqual("percent", self.leaf(path))
        self.assertEqual(["? 8 Bad Path Syntax : CDS Error in supplied path"],
                         self.nst1("SetLeaf", ("path", "Devices/UPS1"),
                                   ("value", "x")))

    def test_set_leaves(self):
        paths = ["/Devices/UPS1/Runtime/Units", "/Devices/UPS1/Runtime:Note"]
        self.assertEqual(["min", "checked"], self.nst1(
            "SetLeaves", ("paths", Items(paths)),
            ("values", Items(["min", "checked"]))))
        self.assertEqual("checked", self.leaf(paths[1]))
        self.assertEqual(["? 14 Index Out of Range : Mismatched array sizes"],
                         self.nst1("SetLeaves", ("paths", Items(paths)),
                                   ("values", Items(["s"]))))
        self.assertEqual("min", self.leaf(paths[0]))

    def test_odd_paths_and_many_leaves(self):
        # ".." never reaches the store, and an empty base path creates
        # nothing; 10,000 leaves are written in one call.
        self.assertEqual(["? 8 Bad Path Syntax : CDS Error in supplied path"],
                         self.nst1("SetLeaf", ("path", "/Devices/../Units"),
                                   ("value", "x")))
        self.assertEqual(["? 8 Bad Path Syntax : CDS Error in supplied path"],
                         self.nst1("RemoveNode", ("basePath", "/Devices/..")))
        self.assertTrue(self.node_exists("/Devices"))
        self.assertEqual(["? 16 Write Failed : CreateNode()"],
                         self.nst1("CreateNode", ("basePath", ""),
                                   ("paths", Items(["Value"])),
                                   ("values", Items(["1"]))))
        paths = ["/Devices/UPS1/Load:Note%05d" % i for i in range(10000)]
        results = self.nst1("SetLeaves", ("paths", Items(paths)),
                            ("values", Items(["n"] * 10000)))
        self.assertEqual(["n"] * 10000, results)
        self.assertEqual("n", self.leaf(paths[-1]))

    # -- CreateNode ---------------------------------------------------
    def test_create_node_with_trailing_slash(self):
        self.assertEqual(["12"], self.nst1(
            "CreateNode", ("basePath", "/Devices/UPS1/Fan/"),
            ("paths", Items(["Units", "Value"])),
            ("values", Items(["rpm", "12"]))))
        self.assertEqual("12", self.leaf("/Devices/UPS1/Fan/Value"))
        self.assertEqual("rpm", self.leaf("/Devices/UPS1/Fan/Units"))

    def test_create_node_without_trailing_slash(self):
        self.assertEqual(["? 16 Write Failed : CDS write access failed"],
                         self.nst1("CreateNode",
                                   ("basePath", "/Devices/UPS1/Pump"),
                                   ("paths", Items(["Value"])),
                                   ("values", Items(["1"]))))
        self.assertTrue(self.node_exists("/Devices/UPS1/Pump"))
        self.assertIsNone(self.leaf("/Devices/UPS1/Pump/Value"))

    def test_create_node_without_base_path(self):
        self.assertEqual(["? 8 Bad Path Syntax : No node path provided"],
                         self.nst1("CreateNode",
                                   ("paths", Items(["Value"])),
                                   ("values", Items(["1"]))))

    # -- RemoveNode ---------------------------------------------------
    def test_remove_node_of_an_attribute_path_clears_the_leaf(self):
        path = "/Devices/UPS1/LowBatteryThreshold:.RangeHigh"
        self.assertEqual("60", self.leaf(path))
        self.assertEqual([""], self.nst1("RemoveNode", ("basePath", path)))
        self.assertIsNone(self.leaf(path))
        self.assertEqual("25", self.leaf(
            "/Devices/UPS1/LowBatteryThreshold/Value"))

    def test_remove_node_removes_the_subtree(self):
        self.nst1("CreateNode", ("basePath", "/Devices/UPS1/Gone/Deep/"))
        self.assertEqual([""], self.nst1("RemoveNode",
                                         ("basePath", "/Devices/UPS1/Gone")))
        self.assertFalse(self.node_exists("/Devices/UPS1/Gone/Deep"))
        self.assertEqual(["? 9 Node Not Found : CDS Error removing node"],
                         self.nst1("RemoveNode",
                                   ("basePath", "/Devices/UPS1/Gone")))

    # -- Reset --------------------------------------------------------
    def device_log(self):
        return self.stack.cdsctl("syslog").stdout

    def test_reset_refused_for_an_operator(self):
        reply = self.stack.soap(RESET, user="operator")
        self.assertEqual(401, reply.status, reply.text)
        self.assertNotIn("by operator", self.device_log())
        self.assertIn("operator is Not authorized for Reset",
                      self.stack.daemon_log())

    def test_reset_that_cannot_start_the_program_answers_why(self):
        self.assertEqual([FAILED_REBOOT], self.nst1("Reset"))
        self.assertIn(RESET_LOG, self.device_log())
        self.assertIn(FAILED_REBOOT, self.stack.daemon_log())
        # The daemon goes on serving.
        self.assertEqual([FAILED_REBOOT], self.nst1("Reset"))


class ResetProgramTest(unittest.TestCase):
    """A Reset that starts the reboot program: the program replaces the
    daemon's process, so this test has a stack of its own."""

    def test_reboot_program_replaces_the_daemon(self):
        stack = harness.Stack()
        record = os.path.join(stack.dir, "reboot-argv")
        stack.reboot_cmd = os.path.join(stack.dir, "reboot")
        with open(stack.reboot_cmd, "w") as f:
            f.write('#!/bin/sh\necho "$# $*" > %s\nexit 7\n' % record)
        os.chmod(stack.reboot_cmd, 0o755)
        # Leaving the block closes the stack, whose daemon is gone by then.
        with stack:
            pid = stack.daemon_pid
            reply = stack.soap(RESET, user="admin")
            # The daemon's process is the script now; it ends without an
            # answer, and nginx reports the broken upstream.
            self.assertEqual(502, reply.status, reply.text)
            harness.wait_until(lambda: stack.daemon_proc.poll() is not None,
                               "the reboot program's exit")
            self.assertEqual(7, stack.daemon_proc.returncode)
            self.assertEqual(pid, stack.daemon_proc.pid)
            with open(record) as f:
                self.assertEqual("0 \n", f.read())
            self.assertIn(RESET_LOG, stack.cdsctl("syslog").stdout)

if __name__ == "__main__":
    unittest.main()
