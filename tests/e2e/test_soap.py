"""SOAP through nginx: versions, faults, hostile input, the WSDL."""

import unittest

import harness
from core_calls import StackTestCase
from harness import NS, SOAP11, SOAP12

PLAIN_CALL = "<nsqv:whoAmI/>"
MIN_AVG_MAX = ("<nsqv:getMinAvgMaxValues><paths>/Devices</paths>"
               "<startTime>0</startTime><endTime>1</endTime>"
               "<ratePeriod>RatePeriodA</ratePeriod></nsqv:getMinAvgMaxValues>")


class SoapTest(StackTestCase):

    def assertServedNormally(self):
        """The daemon still answers a plain call in order."""
        reply = self.stack.soap(PLAIN_CALL)
        self.assertEqual(200, reply.status, reply.text)
        self.assertIn("<result>admin</result>", reply.text)

    def assertFault(self, reply, envelope_ns=SOAP12):
        self.assertIn(envelope_ns, reply.text, reply.text)
        self.assertIn("Fault", reply.text, reply.text)

    # -- versions -----------------------------------------------------
    def test_soap12_is_answered_in_soap12(self):
        reply = self.stack.soap(PLAIN_CALL, version=12)
        self.assertIn(SOAP12, reply.text)
        self.assertNotIn(SOAP11, reply.text)
        self.assertTrue(reply.headers.get("Content-Type", "")
                        .startswith("application/soap+xml"), reply.headers)

    def test_soap11_is_answered_in_soap11(self):
        reply = self.stack.soap(PLAIN_CALL, version=11)
        self.assertIn(SOAP11, reply.text)
        self.assertNotIn(SOAP12, reply.text)
        self.assertTrue(reply.headers.get("Content-Type", "")
                        .startswith("text/xml"), reply.headers)

    # -- dispatch faults ----------------------------------------------
    def test_unknown_and_wrong_case_operations_get_no_such_method(self):
        for body in ("<nsc1:getvalue><path>/x</path></nsc1:getvalue>",
                     "<nsqv:getValue><path>/x</path></nsqv:getValue>",
                     "<nsc1:noSuchOperation/>"):
            with self.subTest(body=body):
                reply = self.stack.soap(body)
                self.assertFault(reply)
                self.assertIn(reply.status, (400, 500))
        self.assertServedNormally()

    def test_min_avg_max_values_is_a_server_fault(self):
        # The engine's own code and text for error 2; SOAP 1.2 lets it
        # answer 400 or 500, SOAP 1.1 faults are always 500.
        reply = self.stack.soap(MIN_AVG_MAX)
        self.assertIn(reply.status, (400, 500))
        self.assertFault(reply)
        self.assertIn("Server fault", reply.text)
        reply11 = self.stack.soap(MIN_AVG_MAX, version=11)
        self.assertEqual(500, reply11.status)
        self.assertFault(reply11, SOAP11)
        self.assertIn("Server fault", reply11.text)

    # -- hostile input: each is refused, and the next call is served --
    def post_raw(self, body):
        return self.stack.request(body=body, headers={
            "Content-Type": "application/soap+xml; charset=utf-8"})

    def test_malformed_xml(self):
        reply = self.post_raw(b"<SOAP-ENV:Envelope xmlns:SOAP-ENV='%s'><oops"
                              % SOAP12.encode())
        self.assertGreaterEqual(reply.status, 400)
        self.assertServedNormally()

    def test_body_that_is_not_xml(self):
        reply = self.post_raw(b"GET / HTTP/1.1\r\nHost: x\r\n\r\n")
        self.assertGreaterEqual(reply.status, 400)
        self.assertServedNormally()

    def test_empty_body(self):
        reply = self.post_raw(b"")
        self.assertGreaterEqual(reply.status, 400)
        self.assertServedNormally()

    def test_entity_declarations_are_not_expanded(self):
        body = ('<?xml version="1.0"?><!DOCTYPE e [<!ENTITY x "EXPANDED">'
                '<!ENTITY y "&x;&x;&x;&x;&x;&x;&x;&x;">]>'
                '<SOAP-ENV:Envelope xmlns:SOAP-ENV="%s" xmlns:nsc1="%s">'
                "<SOAP-ENV:Body><nsc1:getValue><path>&y;</path>"
                "</nsc1:getValue></SOAP-ENV:Body></SOAP-ENV:Envelope>"
                % (SOAP12, NS["nsc1"])).encode()
        reply = self.post_raw(body)
        self.assertNotIn("EXPANDED", reply.text)
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

    def test_body_above_the_size_limit(self):
        filler = "x" * (17 * 1024 * 1024)
        reply = self.stack.soap("<nsc1:getValue><path>%s</path></nsc1:getValue>"
                                % filler)
        self.assertEqual(413, reply.status)
        self.assertServedNormally()

    def test_large_body_below_the_limit_reaches_the_daemon(self):
        filler = "x" * (8 * 1024 * 1024)
        reply = self.stack.soap("<nsc1:getValue><path>/%s</path></nsc1:getValue>"
                                % filler)
        self.assertIn(SOAP12, reply.text)
        self.assertServedNormally()

    # -- the front end ------------------------------------------------
    def test_soap_without_credentials_is_refused_by_nginx(self):
        reply = self.stack.soap(PLAIN_CALL, user=None)
        self.assertEqual(401, reply.status)

    def test_wsdl_names_the_address_the_client_used(self):
        reply = self.stack.request(method="GET", path="/wsgated?wsdl",
                                   user=None)
        self.assertEqual(200, reply.status)
        self.assertIn("http://127.0.0.1:%d/wsgated" % self.stack.port,
                      reply.text)
        self.assertNotIn("http://localhost/wsgated", reply.text)

    def test_zeep_loads_the_wsdl_and_calls_an_operation(self):
        import requests
        import zeep
        from zeep.transports import Transport
        session = requests.Session()
        session.auth = ("admin", harness.DEMO_USERS["admin"])
        client = zeep.Client("http://127.0.0.1:%d/wsgated?wsdl"
                             % self.stack.port,
                             transport=Transport(session=session))
        call = dict(paths=["/Devices"], startTime=0, endTime=1,
                    ratePeriod="RatePeriodA")
        with self.assertRaises(zeep.exceptions.Fault):
            client.service.getMinAvgMaxValues(**call)
        # A second call on the same client: the daemon answered the first.
        with self.assertRaises(zeep.exceptions.Fault):
            client.service.getMinAvgMaxValues(**call)


if __name__ == "__main__":
    unittest.main()
