// nsqv:findAttributeMatches - nodes whose attribute matches a regular
// expression (attribute_search.h), with the matching texts.
//
// Missing text fields count as empty. Every outcome is answered with SOAP
// success; only an engine that cannot allocate the lists fails the call.

#include <string>
#include <utility>

#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/operation.h"
#include "contract/string_lists.h"
#include "discovery/attribute_search.h"
#include "soapH.h"

using wsgated::AttributeMatches;
using wsgated::AttributeQuery;
using wsgated::findAttributeMatches;
using wsgated::optionalText;
using wsgated::parseServiceOptions;
using wsgated::ServiceContext;
using wsgated::serviceContext;
using wsgated::ServiceOptions;
using wsgated::stringsToSoap;

int __nsqv__findAttributeMatches(
    struct soap* soap, struct _nsqv__findAttributeMatches* request,
    struct _nsqv__findAttributeMatchesResponse& response) {
  ServiceContext* context = serviceContext(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  AttributeQuery query;
  query.startingPath = optionalText(request->startingPath);
  query.recursive = request->bRecursive;
  query.attribute = optionalText(request->attribMatch);
  query.pattern = optionalText(request->regexMatchPattern);
  AttributeMatches matches;
  findAttributeMatches(context, options, query, matches);
  response.result = std::move(matches.result);
  const bool stored = stringsToSoap(soap, std::move(matches.nodes),
                                    response.__sizenodes, response.nodes) &&
                      stringsToSoap(soap, std::move(matches.data),
                                    response.__sizedata, response.data);
  return stored ? SOAP_OK : SOAP_EOM;
}
