"""Request bodies for the e2e tests and the texts of their answers.

The nsc1 and nst1 namespaces qualify the fields of their messages, nsqv
does not (contract/wsgated.h). A field value is a text, a list of texts
(the element repeated), or Items([...]) for the list records whose items
travel as <prefix:string> children.
"""

import xml.etree.ElementTree as ET
from xml.sax.saxutils import escape

QUALIFIED = ("nsc1", "nst1")


class Items(list):
    """A list record: <prefix:field><prefix:string>item</...>...</...>."""


def body(prefix, operation, *fields):
    """<prefix:operation> with `fields`, pairs of (name, value) in order."""
    def tag(name):
        return "%s:%s" % (prefix, name) if prefix in QUALIFIED else name

    def element(name, text):
        return "<%s>%s</%s>" % (tag(name), escape(text), tag(name))

    parts = []
    for name, value in fields:
        if isinstance(value, Items):
            inner = "".join(element("string", item) for item in value)
            parts.append("<%s>%s</%s>" % (tag(name), inner, tag(name)))
        elif isinstance(value, list):
            parts.extend(element(name, item) for item in value)
        else:
            parts.append(element(name, value))
    return "<%s:%s>%s</%s:%s>" % (prefix, operation, "".join(parts),
                                  prefix, operation)


def answer(reply, operation):
    """The texts of the leaf elements of <operation>Response, in document
    order, or None when the reply holds no such element."""
    try:
        root = ET.fromstring(reply.body)
    except ET.ParseError:
        return None
    for element in root.iter():
        if element.tag.endswith("}" + operation + "Response"):
            return [leaf.text or "" for leaf in element.iter()
                    if len(leaf) == 0 and leaf is not element]
    return None
