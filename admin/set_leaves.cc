// SetLeaves: many writes with administrative rights, in one store call.

#include "admin/node_admin.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "contract/string_lists.h"
#include "soapH.h"

namespace wsgated {

int setLeaves(ServiceContext* context, const std::string* optionsText,
              const std::vector<std::string>& paths,
              const std::vector<std::string>& values,
              std::vector<std::string>& results) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  if (!checkWriteLists(paths, values, options, results)) return 0;
  return writeValues(context, true, options, paths, values, results);
}

}  // namespace wsgated

// Only an engine that cannot allocate the response list fails a call that
// was not refused (SOAP_EOM).
int __nst1__SetLeaves(struct soap* soap, struct _nst1__SetLeaves* request,
                      struct _nst1__SetLeavesResponse& response) {
  std::vector<std::string> results;
  const int refused =
      wsgated::setLeaves(wsgated::serviceContext(soap), request->options,
                         wsgated::stringsFromList(request->paths),
                         wsgated::stringsFromList(request->values), results);
  if (refused != 0) return refused;
  return wsgated::stringsToSoap(soap, std::move(results),
                                response.SetLeavesResult.__sizestring,
                                response.SetLeavesResult.string)
             ? SOAP_OK
             : SOAP_EOM;
}
