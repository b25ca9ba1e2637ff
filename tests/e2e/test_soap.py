"""SOAP through nginx: versions, faults, hostile input, the WSDL and a
stock client built from it."""

import unittest

import harness
from core_calls import PLAIN_POINT, PLAIN_VALUE, StackTestCase
from harness import NS, SOAP11, SOAP12

PLAIN_CALL = "<nsqv:whoAmI/>"
MIN_AVG_MAX = ("<nsqv:getMinAvgMaxValues><paths>/Devices</paths>"
               "<startTime>0</startTime><endTime>1</endTime>"
               "<ratePeriod>RatePeriodA</ratePeriod></nsqv:getMinAvgMaxValues>")


class SoapTest(StackTestCase):
    def assertFaultIn(self, reply, envelope_ns=SOAP12):
        self.assertIn(reply.status, (400, 500), reply.text)
        self.assertIn(envelope_ns, reply.text)
        self.assertIn("Fault", reply.text)

    def test_each_version_is_answered_in_its_own(self):
        for version, own, other, content_type in (
                (12, SOAP12, SOAP11, "application/soap+xml"),
                (11, SOAP11, SOAP12, "text/xml")):
            with self.subTest(version=version):
                reply = self.stack.soap(PLAIN_CALL, version=version)
                self.assertIn(own, reply.text)
                self.assertNotIn(other, reply.text)
                self.assertTrue(reply.headers.get("Content-Type", "")
                                .startswith(content_type), reply.headers)

    def test_unknown_and_wrong_case_operations_get_no_such_method(self):
        for body in ("<nsc1:getvalue><path>/x</path></nsc1:getvalue>",
                     "<nsqv:getValue><path>/x</path></nsqv:getValue>",
                     "<nsc1:noSuchOperation/>"):
            with self.subTest(body=body):
                self.assertFaultIn(self.stack.soap(body))
        self.assertServedNormally()

    def test_min_avg_max_values_is_a_server_fault(self):
        # The engine's own code and text for error 2; SOAP 1.2 lets it
        # answer 400 or 500, SOAP 1.1 faults are always 500.
        reply = self.stack.soap(MIN_AVG_MAX)
        self.assertFaultIn(reply)
        self.assertIn("Server fault", reply.text)
        reply = self.stack.soap(MIN_AVG_MAX, version=11)
        self.assertEqual(500, reply.status)
        self.assertFaultIn(reply, SOAP11)
        self.assertIn("Server fault", reply.text)

    # -- hostile input: each is refused, and the next call is served --
    def post_raw(self, body):
        return self.stack.request(body=body, headers={
            "Content-Type": "application/soap+xml; charset=utf-8"})

    def test_bodies_that_are_no_soap_are_refused(self):
        for body in (b"<SOAP-ENV:Envelope xmlns:SOAP-ENV='%s'><oops"
                     % SOAP12.encode(), b"GET / HTTP/1.1\r\nHost: x\r\n\r\n",
                     b""):
            with self.subTest(body=body):
                self.assertGreaterEqual(self.post_raw(body).status, 400)
        # Entity declarations are not expanded.
        body = ('<?xml version="1.0"?><!DOCTYPE e [<!ENTITY x "EXPANDED">'
                '<!ENTITY y "&x;&x;&x;&x;&x;&x;&x;&x;">]>'
                '<SOAP-ENV:Envelope xmlns:SOAP-ENV="%s" xmlns:nsc1="%s">'
                "<SOAP-ENV:Body><nsc1:getValue><path>&y;</path>"
                "</nsc1:getValue></SOAP-ENV:Body></SOAP-ENV:Envelope>"
                % (SOAP12, NS["nsc1"])).encode()
        self.assertNotIn("EXPANDED", self.post_raw(body).text)
        self.assertServedNormally()

    def test_very_deep_nesting(self):
        # Elements the operation does not expect, as fields or inside a text
        # field, are skipped by counting tags, not by recursion, so depth
        # costs nothing; the operation sees no path and says so.
        depth = 100000
        inner = "<a>" * depth + "</a>" * depth
        for body in ("<nsc1:getValue>%s</nsc1:getValue>" % inner,
                     "<nsc1:getValue><path>%s</path></nsc1:getValue>" % inner):
            with self.subTest(inside_path="<path>" in body):
                reply = self.stack.soap(body)
                self.assertEqual(200, reply.status, reply.text[:500])
                self.assertIn("? 8 Bad Path Syntax : No Path provided",
                              reply.text)
        self.assertServedNormally()

    def test_bodies_below_the_size_limit_reach_the_daemon(self):
        for megabytes, status in ((17, 413), (8, 200)):
            with self.subTest(megabytes=megabytes):
                reply = self.stack.soap(
                    "<nsc1:getValue><path>/%s</path></nsc1:getValue>"
                    % ("x" * (megabytes * 1024 * 1024)))
                self.assertEqual(status, reply.status)
        self.assertServedNormally()

    def test_wsdl_names_the_address_the_client_used(self):
        reply = self.stack.request(method="GET", path="/wsgated?wsdl",
                                   user=None)
        self.assertEqual(200, reply.status)
        self.assertIn("http://127.0.0.1:%d/wsgated" % self.stack.port,
                      reply.text)
        self.assertNotIn("http://localhost/wsgated", reply.text)

    def test_stock_client_reads_and_writes_with_the_served_wsdl(self):
        import requests
        import zeep
        from zeep.transports import Transport
        session = requests.Session()
        session.auth = ("operator", harness.DEMO_USERS["operator"])
        client = zeep.Client("http://127.0.0.1:%d/wsgated?wsdl"
                             % self.stack.port,
                             transport=Transport(session=session))
        self.assertEqual(PLAIN_VALUE,
                         client.service.getValue(path=PLAIN_POINT))
        self.assertEqual([PLAIN_VALUE, "2460"], client.service.getValues(
            paths={"string": [PLAIN_POINT, "/Devices/UPS1/Runtime"]}))
        threshold = "/Devices/UPS1/LowBatteryThreshold/Value"
        self.assertEqual("33", client.service.setValue(path=threshold,
                                                       value="33"))
        self.assertEqual("33", self.stored(threshold))
        with self.assertRaises(zeep.exceptions.Fault):
            client.service.getMinAvgMaxValues(
                paths=["/Devices"], startTime=0, endTime=1,
                ratePeriod="RatePeriodA")


if __name__ == "__main__":
    unittest.main()
