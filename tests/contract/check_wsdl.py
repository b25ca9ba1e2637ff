#!/usr/bin/python3
"""Checks the published WSDL against the XML tools clients use.

1. The document is well-formed XML.
2. Every inline schema compiles with lxml (imports between the inline
   schemas resolved to each other).
3. zeep loads it offline and finds all operations on both ports, one port
   bound to SOAP 1.2 and one to SOAP 1.1.
4. The requests zeep builds from it are understood by the generated
   serializers field by field: each is fed to the echo helper, which reads
   it strictly and writes back what it decoded.

Usage: check_wsdl.py --wsdl wsgated.wsdl --echo wsgated_soap_echo
Exit status 0 when every check passed.
"""

import argparse
import os
import shlex
import subprocess
import sys
import tempfile

from lxml import etree

XSD = "http://www.w3.org/2001/XMLSchema"
WSDL = "http://schemas.xmlsoap.org/wsdl/"
OPERATION_COUNT = 36
ENDPOINT = "http://localhost/wsgated"

failures = []


def check(condition, message):
    if not condition:
        failures.append(message)
        print("FAIL:", message)


def compile_schemas(document, folder):
    """Writes each inline schema to its own file and compiles it."""
    schemas = document.findall(".//{%s}schema" % XSD)
    check(len(schemas) == 6, "expected 6 inline schemas, found %d" % len(schemas))
    files = {}
    for index, schema in enumerate(schemas):
        files[schema.get("targetNamespace", "")] = os.path.join(
            folder, "schema%d.xsd" % index)
    for schema in schemas:
        copy = etree.fromstring(etree.tostring(schema))
        for imp in copy.findall("{%s}import" % XSD):
            imp.set("schemaLocation", files[imp.get("namespace", "")])
        etree.ElementTree(copy).write(files[schema.get("targetNamespace", "")])
    for namespace, path in files.items():
        try:
            etree.XMLSchema(etree.parse(path))
        except etree.XMLSchemaParseError as error:
            check(False, "schema %r does not compile: %s" % (namespace, error))


def check_ports(client):
    service = client.wsdl.services["wsgated"]
    versions = set()
    for port in service.ports.values():
        operations = port.binding._operations
        check(len(operations) == OPERATION_COUNT,
              "port %s lists %d operations" % (port.name, len(operations)))
        check(port.binding_options["address"] == ENDPOINT,
              "port %s has address %s" % (port.name,
                                          port.binding_options["address"]))
        versions.add(type(port.binding).__name__)
    check(versions == {"Soap11Binding", "Soap12Binding"},
          "bindings found: %s" % sorted(versions))


def fields(element):
    """The element's descendants as (qualified name, text) pairs."""
    return [(node.tag, (node.text or "").strip())
            for node in element.iter() if isinstance(node.tag, str)]


def check_round_trip(client, echo, port, operation, **arguments):
    service = client.bind("wsgated", port)
    envelope = client.create_message(service, operation, **arguments)
    sent = envelope.find("{*}Body")[0]
    # A cross build names the emulator that runs the target's programs.
    emulator = shlex.split(os.environ.get("WSGATED_EMULATOR", ""))
    result = subprocess.run(emulator + [echo], input=etree.tostring(envelope),
                            capture_output=True)
    if result.returncode != 0:
        check(False, "%s via %s not understood: %s"
              % (operation, port, result.stderr.decode()))
        return
    echoed = etree.fromstring(result.stdout)
    check(fields(echoed) == fields(sent),
          "%s via %s decoded as %s, sent %s"
          % (operation, port, fields(echoed), fields(sent)))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--wsdl", required=True)
    parser.add_argument("--echo", required=True)
    args = parser.parse_args()

    document = etree.parse(args.wsdl)
    with tempfile.TemporaryDirectory() as folder:
        compile_schemas(document, folder)

    import zeep  # after the plain XML checks, which need no zeep
    client = zeep.Client("file://" + os.path.abspath(args.wsdl))
    check_ports(client)
    for port in ("wsgatedSoap12", "wsgatedSoap"):
        check_round_trip(client, args.echo, port, "getDeviceTree",
                         options="", startingPath="/Devices", bRecursive=True)
        check_round_trip(client, args.echo, port, "getEventLog",
                         request={"options": "", "rqstType": "LgRqTypDeltas",
                                  "startTime": 0, "endTime": 5,
                                  "nMaxToReturn": 10, "bLatestEvents": True,
                                  "bReverseOrder": False,
                                  "bTrimIncomplete": False, "path": "/a"})
        check_round_trip(client, args.echo, port, "createSubscription",
                         subscriptionId="s1", leaseDuration=20,
                         realTimeNodes={"NodeSubscription": [
                             {"Path": "/a", "RequestedFreshness": 5,
                              "DeadbandPercent": 1.5}]},
                         logSinceTime=0,
                         subscribeLogOptions=["NonAlarmEvent", "Alarm"])
        check_round_trip(client, args.echo, port, "SetLeaves",
                         paths={"string": ["/a", "/b"]},
                         values={"string": ["1", "2"]})
    print("%d failure(s)" % len(failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
