"""Calls of the daemon's operations through the harness's stack, their
answers decoded, and the base class of the tests that share one stack.

nsc1 and nst1 qualify the fields of their messages, nsqv does not
(contract/wsgated.h). A field given as None is left out of the request (the
operations tell an absent text from an empty one); a list is written as
repeated elements, and a StringArray as one element holding repeated
<prefix:string> items (getValues' paths, SetLeaves' lists).
"""

import unittest
import xml.etree.ElementTree as ET
from xml.sax.saxutils import escape

import harness
from harness import SOAP11, SOAP12

QUALIFIED = ("nsc1", "nst1")

# A point whose value every role with read rights may see, and its value.
PLAIN_POINT = "/Devices/Meter1/VoltageL1N"
PLAIN_VALUE = "230.4"


class StringArray(list):
    """The items of an `ArrayOfString` field."""


def request_body(operation, fields, prefix="nsc1"):
    """<prefix:operation> with `fields`, a dict in the operation's order."""
    def tag(name):
        return "%s:%s" % (prefix, name) if prefix in QUALIFIED else name

    def field(name, value):
        if value is None:
            return ""
        if isinstance(value, StringArray):
            items = "".join(field("string", item) for item in value)
            return "<%s>%s</%s>" % (tag(name), items, tag(name))
        if isinstance(value, (list, tuple)):
            return "".join(field(name, item) for item in value)
        return "<%s>%s</%s>" % (tag(name), escape(str(value)), tag(name))

    return "<%s:%s>%s</%s:%s>" % (
        prefix, operation, "".join(field(k, v) for k, v in fields.items()),
        prefix, operation)


class Answer:
    """An HTTP reply decoded as the answer of one operation.

    response: the <operation>Response element; results: the texts of its
    leaf elements in document order (for nsc1, the results and the items
    of result lists). Both are None when the reply is no such response (a
    fault, or nginx's own page). fault: the fault's text, or None.
    """

    def __init__(self, operation, reply):
        self.status = reply.status
        self.text = reply.text
        self.envelope_ns = self.fault = self.response = self.results = None
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
        for element in root.iter():
            if element.tag.endswith("}%sResponse" % operation):
                self.response = element
                self.results = [leaf.text or "" for leaf in element.iter()
                                if len(leaf) == 0 and leaf is not element]
                return

    @property
    def result(self):
        """The one result of a single-result operation."""
        assert self.results is not None and len(self.results) == 1, self.text
        return self.results[0]


def call(stack, operation, prefix="nsc1", version=12, user="admin",
         source="127.0.0.1", headers=None, **fields):
    """POSTs one request; fields in the operation's own order."""
    reply = stack.soap(request_body(operation, fields, prefix),
                       version=version, user=user, source=source,
                       headers=headers or {})
    return Answer(operation, reply)


class StackTestCase(unittest.TestCase):
    """One stack (store, nginx, daemon) for all tests of a class, made with
    `stack_options`; the calls use the namespace `prefix`."""

    prefix = "nsc1"
    stack_options = {}

    @classmethod
    def setUpClass(cls):
        cls.stack = harness.Stack(**cls.stack_options)
        cls.stack.__enter__()
        cls.addClassCleanup(cls.stack.__exit__, None, None, None)

    def call(self, operation, **kwargs):
        kwargs.setdefault("prefix", self.prefix)
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
        return self.result("getValue", prefix="nsc1", options=options,
                           path=path, **kwargs)

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
        """The leaf's text as a second process (cdsctl) reads it now, or
        None when it cannot be read."""
        done = self.stack.cdsctl("get", path, check=False)
        return done.stdout.strip() if done.returncode == 0 else None
