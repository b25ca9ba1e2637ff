// nsc1:getDefaultLocale: always the same answer.

#include "core/locales.h"
#include "soapH.h"

namespace wsgated {

const char* const kDefaultWireLocale = "en-US";

}  // namespace wsgated

// The options are not even parsed: nothing they say changes the answer.
int __nsc1__getDefaultLocale(struct soap*, struct _nsc1__getDefaultLocale*,
                             struct _nsc1__getDefaultLocaleResponse& response) {
  response.getDefaultLocaleResult = wsgated::kDefaultWireLocale;
  return SOAP_OK;
}
