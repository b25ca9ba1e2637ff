#!/usr/bin/python3
"""Writes the one WSDL document that wsgated publishes.

soapcpp2 writes one WSDL per service namespace and one XSD per namespace.
Clients want a single document that describes what really goes on the
wire, so this script joins them:

* every schema inline, in namespace order, with the trend records and
  enumSampleType moved into a schema of their own that has no target
  namespace (soapcpp2 cannot express "no namespace" and copies them into
  several namespaced schemas instead);
* one portType with all operations, in dispatch order;
* a SOAP 1.2 binding and a SOAP 1.1 binding, because the daemon answers
  both (soapcpp2 writes only the binding of the version it was asked for);
* one service with a port per binding at ENDPOINT.  The web server
  replaces the host part of ENDPOINT per request, so the literal text must
  stay as it is.

Element qualification is taken over from the schemas unchanged, so the
document agrees with the generated serializers.

Usage: make_wsdl.py --gen <soapcpp2 output folder> --out <wsgated.wsdl>
"""

import argparse
import os
import sys

from lxml import etree

WSDL = "http://schemas.xmlsoap.org/wsdl/"
SOAP11 = "http://schemas.xmlsoap.org/wsdl/soap/"
SOAP12 = "http://schemas.xmlsoap.org/wsdl/soap12/"
XSD = "http://www.w3.org/2001/XMLSchema"
HTTP_TRANSPORT = "http://schemas.xmlsoap.org/soap/http"

ENDPOINT = "http://localhost/wsgated"
SERVICE = "wsgated"
TARGET_NAMESPACE = "http://www.wsgated.example/wsgated.wsdl"

# Namespace prefixes in the order of the daemon's namespace table.
SCHEMA_PREFIXES = ["nst1", "nss1", "nsqv", "nsk7", "nsc1"]
# soapcpp2's per-service WSDLs, in dispatch order.
SERVICE_WSDLS = ["BACnetWSKestrelTest", "BACnetWSKestrelQV",
                 "BACnetWSKestrelK7", "BACnetWSKestrel"]

# Attributes of XML Schema whose values are QNames.
QNAME_ATTRIBUTES = ("type", "base", "ref", "itemType")


def xsd(tag):
    return "{%s}%s" % (XSD, tag)


def wsdl(tag):
    return "{%s}%s" % (WSDL, tag)


def c_name(definition):
    """The C identifier soapcpp2 notes in a comment inside each definition."""
    for child in definition:
        if isinstance(child, etree._Comment):
            return child.text.strip()
        break
    sys.exit("make_wsdl: no C name comment in %s %s (was soapcpp2 run with -u?)"
             % (etree.QName(definition).localname, definition.get("name")))


def is_definition(node):
    return (isinstance(node.tag, str) and
            node.tag in (xsd("complexType"), xsd("simpleType")))


def in_no_namespace(definition):
    # A C name without a "prefix__" belongs to no namespace.
    return "__" not in c_name(definition).lstrip("_")


class Joiner:
    def __init__(self, gen):
        self.gen = gen
        self.schemas = {}        # prefix -> parsed xsd root
        self.uri_prefix = {XSD: "xsd"}
        for prefix in SCHEMA_PREFIXES:
            root = etree.parse(os.path.join(gen, prefix + ".xsd")).getroot()
            self.schemas[prefix] = root
            self.uri_prefix[root.get("targetNamespace")] = prefix
        self.no_namespace = {}   # name -> definition (first copy seen)
        for root in self.schemas.values():
            for node in root:
                if is_definition(node) and in_no_namespace(node):
                    self.no_namespace.setdefault(node.get("name"), node)

    def nsmap(self):
        m = {"xsd": XSD}
        for uri, prefix in self.uri_prefix.items():
            m[prefix] = uri
        return m

    def rewrite_qname(self, value, scope):
        prefix, _, local = value.rpartition(":")
        uri = scope.get(prefix or None)
        if local in self.no_namespace and uri != XSD:
            return local
        if uri not in self.uri_prefix:
            sys.exit("make_wsdl: unknown namespace in QName %s" % value)
        return "%s:%s" % (self.uri_prefix[uri], local)

    def copy(self, source, parent):
        """Copies an xsd element below parent, re-prefixing QName values."""
        node = etree.SubElement(parent, source.tag)
        for name, value in source.attrib.items():
            if name in QNAME_ATTRIBUTES:
                value = self.rewrite_qname(value, source.nsmap)
            node.set(name, value)
        for child in source:
            if not isinstance(child.tag, str):
                continue
            if source.tag == xsd("list") and child.tag == xsd("restriction"):
                # soapcpp2 puts the item restriction of a bit-flag
                # enumeration straight into <list>; XML Schema wants it
                # inside an anonymous <simpleType>.
                self.copy(child, etree.SubElement(node, xsd("simpleType")))
            else:
                self.copy(child, node)
        return node

    def uses_no_namespace(self, root):
        for node in root.iter():
            if not isinstance(node.tag, str) or self.dropped(node):
                continue
            for name in QNAME_ATTRIBUTES:
                value = node.get(name)
                if value and value.rpartition(":")[2] in self.no_namespace \
                        and node.nsmap.get(value.rpartition(":")[0] or None) != XSD:
                    return True
        return False

    def dropped(self, node):
        for ancestor in node.iterancestors():
            if is_definition(ancestor) and in_no_namespace(ancestor):
                return True
        return is_definition(node) and in_no_namespace(node)

    def add_schema(self, types, source):
        # Every schema declares all prefixes itself, so that it stays valid
        # when a tool lifts it out of the WSDL.
        schema = etree.SubElement(types, xsd("schema"), nsmap=self.nsmap())
        for name in ("targetNamespace", "elementFormDefault",
                     "attributeFormDefault"):
            if source.get(name):
                schema.set(name, source.get(name))
        own = source.get("targetNamespace")
        for uri in [self.schemas[p].get("targetNamespace")
                    for p in SCHEMA_PREFIXES]:
            if uri != own:
                etree.SubElement(schema, xsd("import"), namespace=uri)
        if self.uses_no_namespace(source):
            etree.SubElement(schema, xsd("import"))
        for node in source:
            if not isinstance(node.tag, str) or node.tag == xsd("import"):
                continue
            if is_definition(node) and in_no_namespace(node):
                continue
            self.copy(node, schema)

    def add_no_namespace_schema(self, types):
        schema = etree.SubElement(types, xsd("schema"), nsmap=self.nsmap(),
                                  elementFormDefault="unqualified",
                                  attributeFormDefault="unqualified")
        for definition in self.no_namespace.values():
            self.copy(definition, schema)

    def operations(self):
        """(name, input element, output element) in dispatch order."""
        found = []
        for service in SERVICE_WSDLS:
            doc = etree.parse(os.path.join(self.gen, service + ".wsdl"))
            root = doc.getroot()
            parts = {}
            for message in root.iter(wsdl("message")):
                part = message.find(wsdl("part"))
                parts[message.get("name")] = self.rewrite_qname(
                    part.get("element"), part.nsmap)
            for port_type in root.iter(wsdl("portType")):
                for op in port_type.iter(wsdl("operation")):
                    def element(kind):
                        ref = op.find(wsdl(kind)).get("message")
                        return parts[ref.rpartition(":")[2]]
                    found.append((op.get("name"), element("input"),
                                  element("output")))
        return found

    def write(self, out):
        nsmap = {"wsdl": WSDL, "soap": SOAP11, "soap12": SOAP12,
                 "tns": TARGET_NAMESPACE}
        nsmap.update(self.nsmap())
        root = etree.Element(wsdl("definitions"), nsmap=nsmap,
                             name=SERVICE, targetNamespace=TARGET_NAMESPACE)
        types = etree.SubElement(root, wsdl("types"))
        for prefix in SCHEMA_PREFIXES:
            self.add_schema(types, self.schemas[prefix])
        self.add_no_namespace_schema(types)

        operations = self.operations()
        for name, request, response in operations:
            for suffix, element in (("SoapIn", request), ("SoapOut", response)):
                message = etree.SubElement(root, wsdl("message"),
                                           name=name + suffix)
                etree.SubElement(message, wsdl("part"), name="parameters",
                                 element=element)
        port_type = etree.SubElement(root, wsdl("portType"),
                                     name=SERVICE + "PortType")
        for name, _, _ in operations:
            op = etree.SubElement(port_type, wsdl("operation"), name=name)
            etree.SubElement(op, wsdl("input"), message="tns:%sSoapIn" % name)
            etree.SubElement(op, wsdl("output"), message="tns:%sSoapOut" % name)

        bindings = (("Soap12", SOAP12), ("Soap", SOAP11))
        for suffix, soap in bindings:
            binding = etree.SubElement(root, wsdl("binding"),
                                       name=SERVICE + suffix,
                                       type="tns:%sPortType" % SERVICE)
            etree.SubElement(binding, "{%s}binding" % soap, style="document",
                             transport=HTTP_TRANSPORT)
            for name, _, _ in operations:
                op = etree.SubElement(binding, wsdl("operation"), name=name)
                etree.SubElement(op, "{%s}operation" % soap, soapAction="",
                                 style="document")
                for kind in ("input", "output"):
                    body = etree.SubElement(op, wsdl(kind))
                    etree.SubElement(body, "{%s}body" % soap, use="literal")
        service = etree.SubElement(root, wsdl("service"), name=SERVICE)
        for suffix, soap in bindings:
            port = etree.SubElement(service, wsdl("port"),
                                    name=SERVICE + suffix,
                                    binding="tns:%s%s" % (SERVICE, suffix))
            etree.SubElement(port, "{%s}address" % soap, location=ENDPOINT)

        etree.ElementTree(root).write(out, xml_declaration=True,
                                      encoding="UTF-8", pretty_print=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--gen", required=True,
                        help="folder with soapcpp2's WSDL and XSD files")
    parser.add_argument("--out", required=True, help="the WSDL to write")
    args = parser.parse_args()
    Joiner(args.gen).write(args.out)


if __name__ == "__main__":
    main()
