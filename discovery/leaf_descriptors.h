// Leaf descriptors: several leaves below one base path read in one store
// call, each answered with the text a read of it gives (its value, or its
// own error result), its change time and its property (Normal, Persistent,
// Automatic, MPL).
//
// Leaf paths are appended to the base path as they are, with no separator
// ("/a" and "b" read "/ab"): the client brings its own "/" or ":".

#ifndef DISCOVERY_LEAF_DESCRIPTORS_H_
#define DISCOVERY_LEAF_DESCRIPTORS_H_

#include <string>
#include <vector>

#include "platform/qrxtime.h"
#include "platform/types.h"

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

struct LeafDescriptor {
  std::string result;  // the rendered value or the leaf's error result
  qrx_time64_t changeTime = 0;
  element_property_t leafType = PCD_PROP_NORMAL;
};

// Describe `basePath` + each of `leafPaths`, in order, under the caller's
// parsed `options`. `result` becomes "OK" when the leaves could be read
// (each descriptor then carries its own outcome); otherwise an error result,
// error 17 without leaf paths or 9 when the store call failed, and no
// descriptors.
void describeLeaves(ServiceContext* context, const ServiceOptions& options,
                    const std::string& basePath,
                    const std::vector<std::string>& leafPaths,
                    std::string& result,
                    std::vector<LeafDescriptor>& descriptors);

}  // namespace wsgated

#endif  // DISCOVERY_LEAF_DESCRIPTORS_H_
