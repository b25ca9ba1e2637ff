// SetLeaf: one write with administrative rights.

#include "admin/node_admin.h"
#include "core/service_options.h"
#include "core/write_path.h"
#include "host/service_context.h"

int setLeaf(ServiceContext* context, const std::string* optionsText,
            const std::string* path, const std::string* value,
            std::string& result) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  return writeValue(context, true, options, path, value, result);
}
