// Leaf descriptors: one store call, then the shared read path renders each
// leaf.

#include "discovery/leaf_descriptors.h"

#include "common/bnws_error.h"
#include "common/read_path.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "platform/cds.h"
#include "platform/path.h"

namespace wsgated {

void describeLeaves(ServiceContext* context, const ServiceOptions& options,
                    const std::string& basePath,
                    const std::vector<std::string>& leafPaths,
                    std::string& result,
                    std::vector<LeafDescriptor>& descriptors) {
  descriptors.clear();
  if (leafPaths.empty()) {
    setBnwsError(kBnwsNoPathsProvided, "No paths provided", result, &options);
    return;
  }
  std::vector<toolkit::CPath> paths;
  std::vector<std::string> texts;
  for (const std::string& leaf : leafPaths) {
    paths.emplace_back(basePath + leaf);
    // A path normalize() refuses goes to the store as it is, which answers
    // it with its own status.
    texts.push_back(paths.back().normalize() == 0 ? paths.back().getPath()
                                                  : paths.back().original());
  }
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  // The read and every leaf's rights test and rendering in one snapshot.
  toolkit::CCdsSnapshot snapshot(context->cds);
  const int stored =
      context->cds.get_leaves(texts, statuses, elements, properties);
  if (stored != 0) {
    setBnwsError(kBnwsNodeNotFound, "CDS access failed", result, &options);
    return;
  }
  result = "OK";
  descriptors.resize(paths.size());
  for (size_t i = 0; i < paths.size(); ++i) {
    bool enumerated = false;
    readAttribute(context, options, stored, paths[i], statuses[i], elements[i],
                  properties[i], enumerated, descriptors[i].result);
    descriptors[i].changeTime = qrx_UNIXtoQRXtime64(&elements[i].get_time());
    descriptors[i].leafType = properties[i];
  }
}

}  // namespace wsgated
