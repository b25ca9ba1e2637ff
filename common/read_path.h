// The read path: one attribute of the data store by its path, as text.
//
// Every read goes the same way: normalise the path, check the caller's read
// rights (sub-attributes such as ".Time" are exempt), read the leaf, render
// it (value_conversion.h). Failures are error results (bnws_error.h), never
// SOAP faults. Other subsystems (descriptors, attribute search,
// subscriptions, commands) read through these functions.

#ifndef COMMON_READ_PATH_H_
#define COMMON_READ_PATH_H_

#include <string>
#include <vector>

#include "platform/element.h"
#include "platform/types.h"

namespace toolkit {
class CCds;
class CPath;
}  // namespace toolkit

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

// Read `path` and put the rendered value or an error result into `result`.
void readValue(ServiceContext* context, const ServiceOptions& options,
               const std::string& path, std::string& result);

// The second half of a read, after the caller's own store call:
// `storeResult` is that call's return, `status`, `element` and `property`
// what it gave for the normalised `path`, which the context's caller must
// have the right to read. Returns true when `result` holds a value, false
// when it holds an error result. Sets `enumerated` as renderValue does.
bool readAttribute(ServiceContext* context, const ServiceOptions& options,
                   int storeResult, const toolkit::CPath& path,
                   api_status_t status, const toolkit::CElement& element,
                   element_property_t property, bool& enumerated,
                   std::string& result);

// Read many paths with one store call. Replaces `results` with one text per
// path, or with exactly one error text when the call as a whole fails (no
// paths, bad locale, store unavailable).
void readValues(ServiceContext* context, const ServiceOptions& options,
                const std::vector<std::string>& paths,
                std::vector<std::string>& results);

// The second half of readValues, after its store call: replaces `results`
// with one text per path from what get_leaves gave for `paths` (each
// normalised, or refused by normalize()), testing that the node of every
// good read still exists. Separate so that callers holding the store's
// answer already, and tests, can run it on its own.
void readLeafResults(ServiceContext* context, const ServiceOptions& options,
                     const std::vector<toolkit::CPath>& paths,
                     const std::vector<api_status_t>& statuses,
                     const std::vector<toolkit::CElement>& elements,
                     const std::vector<element_property_t>& properties,
                     std::vector<std::string>& results);

// getRelativeValues: readValues of `basePath` followed directly by each
// relative path; no separator is inserted, the client brings its own "/"
// or ":" ("a/b" and "c" read "a/bc"). Without a base path nothing is read
// and `results` is left empty.
void readRelativeValues(ServiceContext* context, const ServiceOptions& options,
                        const std::string* basePath,
                        const std::vector<std::string>& relativePaths,
                        std::vector<std::string>& results);

// readValue of "<path>:<suffix>" ("<path>" when `suffix` is empty).
void readValueWithSuffix(ServiceContext* context, const ServiceOptions& options,
                         const std::string& path, const std::string& suffix,
                         std::string& result);

}  // namespace wsgated

#endif  // COMMON_READ_PATH_H_
