"""The device command queue through nginx on the sample store: commands
carried out by the meter's handler (card-commands, started beside the
daemon) and their answers fetched until they age out; a second device
without a handler for the queue's capacity, schema versions and stored
answers; and command numbers taken by the daemon and by cdsctl at once.
What each refusal answers is the unit tests' (tests/commands)."""

import os
import re
import subprocess
import unittest
import xml.etree.ElementTree as ET

import harness
from core_calls import StackTestCase

METER = "/Devices/Meter1"
UPS = "/Devices/UPS1"
BREAKER = "/Devices/Breaker1"
COUNTER = "/Software/Commands/nextCommandID"
# How long the handler keeps answers and takes for a harmonics reading.
RESULT_S = 3
READING_S = 1
# Hang guard of waits for the handler: ten times what they take.
HANDLER_LIMIT_S = 10 * (RESULT_S + READING_S + 1)
# A device of the sample without a handler: a queue that holds only its
# capacity (not a number), schema version 2; and one whose queue is large.
AREAS = """
[/Software/Commands/UPS1/WsdlVersion]
Value:Integer = 2
[/Software/Commands/UPS1/cmdList/cmdLine/SELF TEST]
[/Software/Commands/UPS1/inpQueue]
HasDynamicChildren = true
[/Software/Commands/UPS1/inpQueue/maxCount]
Value = unread
[/Software/Commands/UPS1/outQueue/1000]
[/Software/Commands/Breaker1/WsdlVersion]
Value:Integer = 1
[/Software/Commands/Breaker1/cmdList/cmdLine/TRIP TEST]
[/Software/Commands/Breaker1/inpQueue]
HasDynamicChildren = true
[/Software/Commands/Breaker1/inpQueue/maxCount]
Value:Unsigned = 1000
"""


def command_line(text, version=1):
    return ("<cmdVersion>%d</cmdVersion><cmdLine>%s</cmdLine>"
            % (version, text))


class CommandTest(StackTestCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        seed = os.path.join(cls.stack.dir, "areas.seed")
        with open(seed, "w") as f:
            f.write(AREAS)
        cls.stack.cdsctl("load", seed)
        cls.stack.start_companion(
            os.environ["WSGATED_CARD_COMMANDS_BIN"], "--device", METER,
            "--every", "0.2", "--result-seconds", str(RESULT_S),
            "--harmonics-seconds", str(READING_S), "-D", "2")

    def send(self, device, command):
        """(result, handle) of sendDeviceCmd."""
        root = ET.fromstring(self.stack.soap(
            "<nsk7:sendDeviceCmd><devPath>%s</devPath><command>%s</command>"
            "</nsk7:sendDeviceCmd>" % (device, command), user="operator").body)
        return (root.findtext(".//result") or "",
                int(root.findtext(".//cmdHandle")))

    def answer(self, device, handle):
        """The getDeviceCmdResultResponse element."""
        return ET.fromstring(self.stack.soap(
            "<nsk7:getDeviceCmdResult><devPath>%s</devPath><cmdHandle>%d"
            "</cmdHandle></nsk7:getDeviceCmdResult>" % (device, handle),
            user="operator").body).find(
                ".//{%s}getDeviceCmdResultResponse" % harness.NS["nsk7"])

    def final_answer(self, handle):
        """The meter's answer once the handler has finished the command."""
        found = []
        harness.wait_until(lambda: found.append(self.answer(METER, handle))
                           or found[-1].findtext("numericStatus") not in (
                               "cmdPending", "cmdFailHandle"),
                           "the handler's answer", HANDLER_LIMIT_S)
        return found[-1]

    def test_commands_are_carried_out_answered_and_aged_out(self):
        result, reset = self.send(METER, command_line("RESET ENERGY"))
        self.assertEqual("", result)
        answer = self.final_answer(reset)
        self.assertEqual("cmdSuccess", answer.findtext("numericStatus"))
        self.assertEqual("Energy counters cleared",
                         answer.findtext("cmdResults/resText"))
        self.assertEqual("0", self.stored(METER + "/ActiveEnergy"))
        _, reading = self.send(METER, command_line("READ HARMONICS"))
        answer = self.final_answer(reading)
        self.assertEqual([50, 150, 250, 350], [
            int(h.findtext("frequency"))
            for h in answer.findall("cmdResults/resHarms/hData")])
        self.assertEqual("maxCount", self.stored(
            "/Software/Commands/Meter1/inpQueue:Children"))
        harness.wait_until(
            lambda: self.answer(METER, reset).findtext("numericStatus")
            == "cmdFailHandle", "the answer's ageing", HANDLER_LIMIT_S)
        self.assertEqual("? 32 Handle Invalid or Expired : %s for cmd #%d"
                         % (METER, reset),
                         self.answer(METER, reset).findtext("result"))

    def test_capacity_versions_and_stored_answers(self):
        # Only the capacity leaf: taken without reading it; the version the
        # device accepts is enough, a higher one is refused.
        result, first = self.send(UPS, command_line("SELF TEST", 2))
        self.assertEqual("", result)
        self.assertEqual("? 30 Wrong Version : Wrong WSDL Version requested",
                         self.send(UPS, command_line("SELF TEST", 3))[0])
        self.stack.cdsctl("set", "/Software/Commands/UPS1/inpQueue/maxCount",
                          "2", "--type", "Unsigned")
        self.assertEqual("", self.send(UPS, command_line("SELF TEST"))[0])
        self.assertEqual("? 31 Device Busy or Not Available : Input Queue "
                         "already full",
                         self.send(UPS, command_line("SELF TEST"))[0])
        # No handler answers this device.
        self.assertEqual("cmdFailHandle", self.answer(UPS, first)
                         .findtext("numericStatus"))
        self.stack.cdsctl(
            "set", "/Software/Commands/UPS1/outQueue/1000/Value",
            "<nsk7:getDeviceCmdResultResponse xmlns:nsk7=\"%s\"><result/>"
            "<cmdHandle>999</cmdHandle><numericStatus>cmdSuccess"
            "</numericStatus><cmdStatus/></nsk7:getDeviceCmdResultResponse>"
            % harness.NS["nsk7"], "--type", "String")
        self.assertEqual("? 22 No Data Available : "
                         "/Software/Commands/UPS1/outQueue/1000",
                         self.answer(UPS, 1000).findtext("result"))
        self.assertServedNormally()

    def test_daemon_and_cdsctl_never_share_a_number(self):
        # cdsctl takes numbers for a second or two; the daemon queues
        # commands all the while.
        taker = subprocess.Popen(
            [os.environ["CDSCTL_BIN"], "--store", self.stack.store, "take",
             COUNTER, "--count", "5000"], stdout=subprocess.PIPE, text=True)
        handles = []
        while taker.poll() is None and len(handles) < 400:
            handles.append(self.send(BREAKER, command_line("TRIP TEST"))[1])
        numbers = [int(n) for n in taker.communicate()[0].split()]
        self.assertEqual(5000, len(numbers))
        self.assertGreater(len(handles), 0)
        self.assertEqual(len(numbers) + len(handles),
                         len(set(numbers) | set(handles)))
        queued = self.stored("/Software/Commands/Breaker1/inpQueue:Children")
        self.assertEqual(sorted(handles), sorted(
            int(n) for n in re.findall(r"\d+", queued)))

if __name__ == "__main__":
    unittest.main()
