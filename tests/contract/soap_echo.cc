// soap_echo.cc - reads a SOAP request on stdin and writes its body's
// element back on stdout, as the generated serializers understood it.
//
// The element is read in strict mode, so an element the contract does not
// know (for example a field sent with the wrong qualification) is an
// error rather than silently skipped; the echo then shows exactly which
// fields survived.  Used by check_wsdl.py to hold clients generated from
// the published WSDL against the dispatcher.  Exit status 1 and the
// engine's fault on stderr when the request cannot be read.

#include <iostream>
#include <string>

#include "soapH.h"

namespace {

int Fail(struct soap* soap) {
  soap_stream_fault(soap, std::cerr);
  return 1;
}

int Echo(struct soap* soap) {
  soap->is = &std::cin;
  if (soap_begin_recv(soap) || soap_envelope_begin_in(soap) ||
      soap_recv_header(soap) || soap_body_begin_in(soap) ||
      soap_peek_element(soap))
    return Fail(soap);
  std::string tag = soap->tag;
  int type = 0;
  void* value = soap_getelement(soap, nullptr, &type);
  if (value == nullptr || soap_body_end_in(soap) ||
      soap_envelope_end_in(soap) || soap_end_recv(soap))
    return Fail(soap);
  soap->os = &std::cout;
  if (soap_begin_send(soap) ||
      soap_putelement(soap, value, tag.c_str(), 0, type) ||
      soap_end_send(soap))
    return Fail(soap);
  std::cout << std::endl;
  return 0;
}

}  // namespace

int main() {
  struct soap* soap = soap_new1(SOAP_XML_STRICT);
  int status = Echo(soap);
  soap_destroy(soap);
  soap_end(soap);
  soap_free(soap);
  return status;
}
