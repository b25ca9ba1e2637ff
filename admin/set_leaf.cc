// SetLeaf: one write with administrative rights.

#include "admin/node_admin.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "soapH.h"

namespace wsgated {

int setLeaf(ServiceContext* context, const std::string* optionsText,
            const std::string* path, const std::string* value,
            std::string& result) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  return writeValue(context, true, options, path, value, result);
}

}  // namespace wsgated

int __nst1__SetLeaf(struct soap* soap, struct _nst1__SetLeaf* request,
                    struct _nst1__SetLeafResponse& response) {
  return wsgated::setLeaf(wsgated::serviceContext(soap), request->options,
                          request->path, request->value,
                          response.SetLeafResult);
}
