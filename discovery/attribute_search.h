// The attribute search: nodes whose value of one attribute matches a
// regular expression, from a starting node down through its descendants.
//
// The walk is depth first and tests the starting node too: matchNode on the
// start, then matchChildren, which tests each child before its own
// descendants (only when the search is recursive) and before its next
// sibling. A node matches when its attribute can be read without an error
// result and the pattern (search_pattern.h) occurs in the text; an empty
// pattern matches every readable value. Error results never match: texts
// beginning with "?" and, when the caller set an errorPrefix, texts
// beginning with that prefix.
//
// Every visited node costs one store read; there is no limit on depth or on
// the number of results. Depth is bounded by the store itself: a path is at
// most 1024 bytes (path.h), so a tree is at most 512 levels deep and the
// walk may recurse.

#ifndef DISCOVERY_ATTRIBUTE_SEARCH_H_
#define DISCOVERY_ATTRIBUTE_SEARCH_H_

#include <string>
#include <vector>

#include "common/search_pattern.h"

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

struct AttributeQuery {
  std::string startingPath;
  bool recursive = false;
  std::string attribute;  // read as "<node>:<attribute>"; "" reads Value
  std::string pattern;    // "" matches every readable value
};

struct AttributeMatches {
  // Empty after every search that ends normally, also when nothing matched
  // or the pattern was invalid; "? <text>" after an unexpected exception.
  std::string result;
  std::vector<std::string> nodes;  // matching node paths, in walk order
  std::vector<std::string> data;   // data[i]: the attribute text of nodes[i]
};

// run the search under the caller's parsed `options` (read rights, locale,
// errorPrefix) and fill `matches`. Never throws: an exception that escapes
// the walk is logged ("findAttributeMatches: Unexpected Exception %s"),
// reported in `result`, and the matches found so far are kept.
void findAttributeMatches(ServiceContext* context,
                          const ServiceOptions& options,
                          const AttributeQuery& query,
                          AttributeMatches& matches,
                          const PatternSettings& settings = PatternSettings());

}  // namespace wsgated

#endif  // DISCOVERY_ATTRIBUTE_SEARCH_H_
