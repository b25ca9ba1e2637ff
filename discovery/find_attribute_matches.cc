// nsqv:findAttributeMatches - nodes whose attribute matches a regular
// expression (attribute_search.h), with the matching texts.
//
// Missing text fields count as empty. Every outcome is answered with SOAP
// success; only an engine that cannot allocate the lists fails the call.

#include <string>
#include <utility>

#include "contract/operation.h"
#include "contract/string_lists.h"
#include "core/service_options.h"
#include "discovery/attribute_search.h"
#include "host/service_context.h"
#include "soapH.h"

int __nsqv__findAttributeMatches(
    struct soap* soap, struct _nsqv__findAttributeMatches* request,
    struct _nsqv__findAttributeMatchesResponse& response) {
  ServiceContext* context = service_context(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  AttributeQuery query;
  query.startingPath = OptionalText(request->startingPath);
  query.recursive = request->bRecursive;
  query.attribute = OptionalText(request->attribMatch);
  query.pattern = OptionalText(request->regexMatchPattern);
  AttributeMatches matches;
  FindAttributeMatches(context, options, query, matches);
  response.result = std::move(matches.result);
  const bool stored =
      StringsToSoap(soap, std::move(matches.nodes), response.__sizenodes,
                    response.nodes) &&
      StringsToSoap(soap, std::move(matches.data), response.__sizedata,
                    response.data);
  return stored ? SOAP_OK : SOAP_EOM;
}
