#!/usr/bin/python3
"""Writes the subscriber WSDL: the messages the card's publisher posts to
a subscription's reply address, for building a receiver.

The delivery messages are the publisher's own, so they are described here
and never in the service's document. Their records are the service's
nss1 types, so this document carries the service document's schemas
unchanged (they import one another) and adds one schema of its own for the
envelope's body, `wsn:notify`:

    subscriptionId  string
    values          nss1:ArrayOfPublishedValue
    events          nss1:ArrayOfEvent (alarm updates as nss1:AlarmUpdate)

One operation, `notify`, one-way over SOAP 1.2: the receiver answers any
2xx status, and its body is not read (docs/publish.md, "Delivery").

Usage: make_subscriber_wsdl.py --service <wsgated.wsdl> --out <wsgated-subscriber.wsdl>
"""

import argparse
import copy

from lxml import etree

WSDL = "http://schemas.xmlsoap.org/wsdl/"
SOAP12 = "http://schemas.xmlsoap.org/wsdl/soap12/"
XSD = "http://www.w3.org/2001/XMLSchema"
HTTP_TRANSPORT = "http://schemas.xmlsoap.org/soap/http"
# As the publisher writes it (card/publisher/notification.cc).
SUBSCRIBER_NS = "urn:wsgated:subscriber"
NSS1 = "http://www.wsgated.example/BACnetWSKestrelSubscriber"
SERVICE = "wsgatedSubscriber"
# A receiver lives wherever its subscription's reply address says.
ENDPOINT = "http://localhost/notify"


def tag(namespace, name):
    return "{%s}%s" % (namespace, name)


def notify_schema():
    schema = etree.Element(
        tag(XSD, "schema"), nsmap={"xsd": XSD, "nss1": NSS1,
                                   "wsn": SUBSCRIBER_NS},
        targetNamespace=SUBSCRIBER_NS, elementFormDefault="qualified")
    etree.SubElement(schema, tag(XSD, "import"), namespace=NSS1)
    element = etree.SubElement(schema, tag(XSD, "element"), name="notify")
    sequence = etree.SubElement(
        etree.SubElement(element, tag(XSD, "complexType")),
        tag(XSD, "sequence"))
    for name, kind in (("subscriptionId", "xsd:string"),
                       ("values", "nss1:ArrayOfPublishedValue"),
                       ("events", "nss1:ArrayOfEvent")):
        etree.SubElement(sequence, tag(XSD, "element"), name=name, type=kind,
                         minOccurs="0")
    return schema


def write(service_wsdl, out):
    service = etree.parse(service_wsdl).getroot()
    nsmap = {"wsdl": WSDL, "soap12": SOAP12, "wsn": SUBSCRIBER_NS}
    root = etree.Element(tag(WSDL, "definitions"), nsmap=nsmap, name=SERVICE,
                         targetNamespace=SUBSCRIBER_NS)
    types = etree.SubElement(root, tag(WSDL, "types"))
    for schema in service.find(tag(WSDL, "types")):
        # Types are named by QNames in attribute values: the copy must keep
        # every prefix the schema saw, its document's included.
        kept = etree.SubElement(types, schema.tag, attrib=dict(schema.attrib),
                                nsmap=schema.nsmap)
        for child in schema:
            kept.append(copy.deepcopy(child))
    types.append(notify_schema())
    message = etree.SubElement(root, tag(WSDL, "message"), name="notifyIn")
    etree.SubElement(message, tag(WSDL, "part"), name="parameters",
                     element="wsn:notify")
    port_type = etree.SubElement(root, tag(WSDL, "portType"),
                                 name=SERVICE + "PortType")
    op = etree.SubElement(port_type, tag(WSDL, "operation"), name="notify")
    etree.SubElement(op, tag(WSDL, "input"), message="wsn:notifyIn")
    binding = etree.SubElement(root, tag(WSDL, "binding"),
                               name=SERVICE + "Soap12",
                               type="wsn:%sPortType" % SERVICE)
    etree.SubElement(binding, tag(SOAP12, "binding"), style="document",
                     transport=HTTP_TRANSPORT)
    op = etree.SubElement(binding, tag(WSDL, "operation"), name="notify")
    etree.SubElement(op, tag(SOAP12, "operation"), soapAction="",
                     style="document")
    etree.SubElement(etree.SubElement(op, tag(WSDL, "input")),
                     tag(SOAP12, "body"), use="literal")
    port = etree.SubElement(
        etree.SubElement(root, tag(WSDL, "service"), name=SERVICE),
        tag(WSDL, "port"), name=SERVICE + "Soap12",
        binding="wsn:%sSoap12" % SERVICE)
    etree.SubElement(port, tag(SOAP12, "address"), location=ENDPOINT)
    etree.ElementTree(root).write(out, xml_declaration=True, encoding="UTF-8",
                                  pretty_print=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--service", required=True,
                        help="the service's WSDL (make_wsdl.py)")
    parser.add_argument("--out", required=True, help="the WSDL to write")
    args = parser.parse_args()
    write(args.service, args.out)


if __name__ == "__main__":
    main()
