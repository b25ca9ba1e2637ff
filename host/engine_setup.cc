// Engine limits and modes.

#include "host/engine_setup.h"

#include <stdsoap2.h>

namespace wsgated {

const char* const kAuthenticationRealm = "wsgated";

void applyInputLimits(struct soap* soap) {
  soap->maxlevel = kMaxXmlDepth;
  soap->maxlength = kMaxTextLength;
  soap->maxoccurs = kMaxOccurs;
  soap->recv_maxlength = kMaxMessageBytes;
}

void useLiteralTrees(struct soap* soap) {
  soap_imode(soap, soap->imode | SOAP_XML_TREE);
  soap_omode(soap, soap->omode | SOAP_XML_TREE);
}

void useAuthenticationRealm(struct soap* soap) {
  soap->authrealm = kAuthenticationRealm;
}

void enableUtf8Modes(struct soap* soap) {
  soap_imode(soap, soap->imode | SOAP_C_UTFSTRING | SOAP_IO_KEEPALIVE);
  soap_omode(soap, soap->omode | SOAP_IO_KEEPALIVE);
}

}  // namespace wsgated
