// SetLeaves: many writes with administrative rights, in one store call.

#include "admin/node_admin.h"
#include "core/service_options.h"
#include "core/write_path.h"
#include "host/service_context.h"

int setLeaves(ServiceContext* context, const std::string* optionsText,
              const std::vector<std::string>& paths,
              const std::vector<std::string>& values,
              std::vector<std::string>& results) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  if (checkWriteLists(paths, values, options, results) != 1) return 0;
  return writeValues(context, true, options, paths, values, results);
}
