// The nst1 node-administration operations: the engine's records in and out
// of the functions of node_admin.h.
//
// A refusal (kWriteNotAuthorized, 401) is returned to the engine as it is,
// so the caller gets HTTP 401 and no result. Otherwise the operations
// answer SOAP success; only an engine that cannot allocate the response
// list makes SetLeaves fail (SOAP_EOM).

#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "contract/string_lists.h"
#include "host/service_context.h"
#include "soapH.h"

namespace {

// The items of an nst1 list element; an absent list has none.
std::vector<std::string> itemsOf(const struct nst1__ArrayOfString* list) {
  return list == nullptr ? std::vector<std::string>()
                         : StringsFromSoap(list->__sizestring, list->string);
}

}  // namespace

int __nst1__CreateNode(struct soap* soap, struct _nst1__CreateNode* request,
                       struct _nst1__CreateNodeResponse& response) {
  return createNode(service_context(soap), request->options,
                    request->basePath, itemsOf(request->paths),
                    itemsOf(request->values), response.CreateNodeResult);
}

int __nst1__SetLeaf(struct soap* soap, struct _nst1__SetLeaf* request,
                    struct _nst1__SetLeafResponse& response) {
  return setLeaf(service_context(soap), request->options, request->path,
                 request->value, response.SetLeafResult);
}

int __nst1__SetLeaves(struct soap* soap, struct _nst1__SetLeaves* request,
                      struct _nst1__SetLeavesResponse& response) {
  std::vector<std::string> results;
  const int rc = setLeaves(service_context(soap), request->options,
                           itemsOf(request->paths), itemsOf(request->values),
                           results);
  if (rc != SOAP_OK) return rc;
  return StringsToSoap(soap, std::move(results),
                       response.SetLeavesResult.__sizestring,
                       response.SetLeavesResult.string) ? SOAP_OK : SOAP_EOM;
}

// The options are accepted and not consulted: a restart has none.
int __nst1__Reset(struct soap* soap, struct _nst1__Reset*,
                  struct _nst1__ResetResponse& response) {
  return resetCard(service_context(soap), response.ResetResult);
}

int __nst1__RemoveNode(struct soap* soap, struct _nst1__RemoveNode* request,
                       struct _nst1__RemoveNodeResponse& response) {
  return removeNode(service_context(soap), request->options,
                    request->basePath, response.RemoveNodeResult);
}
