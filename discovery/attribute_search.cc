// The attribute search: matchNode and matchChildren over the store's tree.

#include "discovery/attribute_search.h"

#include <exception>

#include "common/log.h"
#include "common/read_path.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "platform/cds.h"
#include "platform/path.h"

namespace wsgated {

namespace {

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// One search: the query, its compiled pattern and the matches so far.
class AttributeSearch {
 public:
  AttributeSearch(ServiceContext* context, const ServiceOptions& options,
                  const AttributeQuery& query, const PatternSettings& settings,
                  AttributeMatches& matches)
      : context_(context),
        options_(options),
        query_(query),
        pattern_(query.pattern, settings),
        matches_(matches) {}

  // Test one node and record it when it matches.
  bool matchNode(const std::string& path);
  // Test the children of `path` (and, when `recursive`, all descendants),
  // depth first.
  void matchChildren(const std::string& path, bool recursive);

 private:
  // Is `text` an error result rather than a value?
  bool isErrorResult(const std::string& text) const;
  bool patternFoundIn(const std::string& text);

  ServiceContext* const context_;
  const ServiceOptions& options_;
  const AttributeQuery& query_;
  SearchPattern pattern_;
  AttributeMatches& matches_;
};

bool AttributeSearch::isErrorResult(const std::string& text) const {
  return startsWith(text, "?") || (!options_.errorPrefix.empty() &&
                                   startsWith(text, options_.errorPrefix));
}

bool AttributeSearch::patternFoundIn(const std::string& text) {
  if (query_.pattern.empty()) return true;
  std::string error;
  switch (pattern_.search(text, error)) {
    case PatternResult::kFound:
      return true;
    case PatternResult::kNotFound:
      return false;
    case PatternResult::kBadPattern:
      // An invalid pattern simply finds nothing; the walk stops at once
      // (matchChildren), as no later node could match either.
      return false;
    case PatternResult::kFailed:
      logError(kLogErrors, "Exception in regular expression matching = %s",
               error.c_str());
      return false;
  }
  return false;
}

bool AttributeSearch::matchNode(const std::string& path) {
  // Failed reads arrive as error results, which never match.
  std::string text;
  readValueWithSuffix(context_, options_, path, query_.attribute, text);
  if (isErrorResult(text) || !patternFoundIn(text)) return false;
  matches_.nodes.push_back(path);
  matches_.data.push_back(std::move(text));
  return true;
}

void AttributeSearch::matchChildren(const std::string& path, bool recursive) {
  std::vector<std::string> children;
  if (toolkit::CPath::getChildPaths(context_->cds, path, children) != 0) {
    return;
  }
  for (const std::string& child : children) {
    // Once the pattern can find nothing more, reading the rest of the tree
    // would only change the time the answer takes.
    if (!query_.pattern.empty() && pattern_.exhausted()) return;
    matchNode(child);
    if (recursive) matchChildren(child, true);
  }
}

void reportUnexpected(const char* what, AttributeMatches& matches) {
  logError(kLogErrors, "findAttributeMatches: Unexpected Exception %s", what);
  matches.result = std::string("? ") + what;
}

}  // namespace

void findAttributeMatches(ServiceContext* context,
                          const ServiceOptions& options,
                          const AttributeQuery& query,
                          AttributeMatches& matches,
                          const PatternSettings& settings) {
  try {
    // One read snapshot for the whole walk: the tree is searched as it
    // stood, and the store's locks are taken once, not per node.
    toolkit::CCdsSnapshot snapshot(context->cds);
    AttributeSearch search(context, options, query, settings, matches);
    search.matchNode(query.startingPath);
    search.matchChildren(query.startingPath, query.recursive);
    matches.result.clear();
  } catch (const std::exception& e) {
    reportUnexpected(e.what(), matches);
  } catch (...) {
    reportUnexpected("of unknown type", matches);
  }
}

}  // namespace wsgated
