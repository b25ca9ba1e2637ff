"""Calls of the nsc1 data-access operations through the harness's stack,
and their answers decoded.

The nsc1 namespace qualifies its fields, so every field of a request is
written as <nsc1:name>. A field given as None is left out of the request
(the operations tell an absent text from an empty one); a list is written as
repeated elements, and an `ArrayOfString` (getValues' paths) as one element
holding repeated <nsc1:string> items.
"""

import unittest
import xml.etree.ElementTree as ET
from xml.sax.saxutils import escape

import harness
from harness import NS, SOAP11, SOAP12

NSC1 = "{%s}" % NS["nsc1"]

# A point whose value every role with read rights may see, and its value.
PLAIN_POINT = "/Devices/Meter1/VoltageL1N"
PLAIN_VALUE = "230.4"


class StringArray(list):
    """The items of an `ArrayOfString` field."""


def field(name, value):
    if value is None:
        return ""
    if isinstance(value, StringArray):
        items = "".join(field("string", item) for item in value)
        return "<nsc1:%s>%s</nsc1:%s>" % (name, items, name)
    if isinstance(value, (list, tuple)):
        return "".join(field(name, item) for item in value)
    return "<nsc1:%s>%s</nsc1:%s>" % (name, escape(str(value)), name)


def request_body(operation, fields):
    return "<nsc1:%s>%s</nsc1:%s>" % (
        operation, "".join(field(k, v) for k, v in fields.items()), operation)


class Answer:
    """An HTTP reply decoded as the answer of one nsc1 operation.

    results: the texts of the response's <op>Result elements in order (for
    a result that is an ArrayOfString, the texts of its items); None when
    the reply is not a response of that operation (a fault, or nginx's own
    page). fault: the fault's reason text, None without a fault.
    """

    def __init__(self, operation, reply):
        self.status = reply.status
        self.text = reply.text
        self.envelope_ns = None
        self.results = None
        self.fault = None
        try:
            root = ET.fromstring(reply.body)
        except ET.ParseError:
            return
        self.envelope_ns = root.tag[1:].split("}")[0]
        fault = root.find(".//{%s}Fault" % self.envelope_ns)
        if fault is not None:
            self.fault = " ".join(t.strip() for t in fault.itertext()
                                  if t.strip())
            return
        response = root.find(".//%s%sResponse" % (NSC1, operation))
        if response is None:
            return
        self.results = []
        for result in response.findall("%s%sResult" % (NSC1, operation)):
            items = result.findall(NSC1 + "string")
            if items:
                self.results.extend(item.text or "" for item in items)
            else:
                self.results.append(result.text or "")

    @property
    def result(self):
        """The one result of a single-result operation."""
        assert self.results is not None and len(self.results) == 1, self.text
        return self.results[0]


def call(stack, operation, version=12, user="admin", source="127.0.0.1",
         headers=None, **fields):
    """POSTs one nsc1 request; fields in the operation's own order."""
    reply = stack.soap(request_body(operation, fields), version=version,
                       user=user, source=source, headers=headers or {})
    return Answer(operation, reply)


def get_value(stack, path, options=None, **kwargs):
    return call(stack, "getValue", options=options, path=path, **kwargs)


class StackTestCase(unittest.TestCase):
    """One stack (store, nginx, daemon) for all tests of a class; the
    daemon runs at the highest verbosity so that its log shows why."""

    @classmethod
    def setUpClass(cls):
        cls.stack = harness.Stack()
        cls.stack.__enter__()

    @classmethod
    def tearDownClass(cls):
        cls.stack.__exit__(None, None, None)

    def call(self, operation, **kwargs):
        return call(self.stack, operation, **kwargs)

    def results(self, operation, **kwargs):
        """The result texts of a call that must succeed at the SOAP level."""
        answer = self.call(operation, **kwargs)
        self.assertEqual(200, answer.status, answer.text)
        self.assertIsNotNone(answer.results, answer.text)
        return answer.results

    def result(self, operation, **kwargs):
        results = self.results(operation, **kwargs)
        self.assertEqual(1, len(results), results)
        return results[0]

    def value(self, path, options=None, **kwargs):
        return self.result("getValue", options=options, path=path, **kwargs)

    def assertServedNormally(self):
        """After whatever came before, a plain read is still answered."""
        self.assertEqual(PLAIN_VALUE, self.value(PLAIN_POINT))

    def assertSoapVersion(self, answer, version):
        expected, other = (SOAP12, SOAP11) if version == 12 else (SOAP11,
                                                                   SOAP12)
        self.assertEqual(expected, answer.envelope_ns, answer.text)
        self.assertNotIn(other, answer.text)

    def assertFault(self, answer):
        self.assertIsNotNone(answer.fault, answer.text)
        self.assertIn(answer.status, (400, 500), answer.text)

    def stored(self, path):
        """The leaf's value as a second process (cdsctl) reads it now."""
        return self.stack.cdsctl("get", path).stdout.strip()

    def log_mark(self):
        """Where the daemon's log ends now; see log_since."""
        return len(self.stack.daemon_log())

    def log_since(self, mark):
        return self.stack.daemon_log()[mark:]

    def assertRefusedByDaemon(self, answer, path, mark):
        """A write refused with HTTP 401 by the daemon, not by nginx: since
        `mark` the daemon has logged the refused path."""
        self.assertEqual(401, answer.status, answer.text)
        self.assertIsNone(answer.results)
        self.assertIn("Unauthorized attempt to write to %s" % path,
                      self.log_since(mark))
