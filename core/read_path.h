// The read path: one attribute of the data store by its path, as text.
//
// Every read goes the same way: normalise the path, check the caller's read
// rights (sub-attributes such as ".Time" are exempt), read the leaf, render
// it (value_conversion.h). Failures are error results (bnws_error.h), never
// SOAP faults. Other subsystems (descriptors, attribute search,
// subscriptions, commands) read through these functions.

#ifndef CORE_READ_PATH_H_
#define CORE_READ_PATH_H_

#include <string>
#include <vector>

#include "platform/element.h"
#include "platform/types.h"

namespace toolkit {
class CCds;
class CPath;
}  // namespace toolkit

struct ServiceContext;
struct ServiceOptions;

// Read `path` and put the rendered value or an error result into `result`.
// Returns 0 (errors travel in the text).
int readValue(ServiceContext* context, const ServiceOptions& options,
              const std::string& path, std::string& result);

// The second half of a read, after the caller's own store call:
// `storeResult` is that call's return, `status`, `element` and `property`
// what it gave for the normalised `path`. Returns 0 when `result` holds a
// value, 1 when it holds an error result. Sets `enumerated` as renderValue
// does.
int readAttribute(toolkit::CCds& cds, const ServiceOptions& options,
                  int storeResult, const toolkit::CPath& path,
                  api_status_t status, const toolkit::CElement& element,
                  element_property_t property, bool& enumerated,
                  std::string& result);

// Read many paths with one store call. Appends one text per path to
// `results`, or exactly one error text when the call as a whole fails (no
// paths, bad locale, store unavailable). Returns 0.
int readValues(ServiceContext* context, const ServiceOptions& options,
               const std::vector<std::string>& paths,
               std::vector<std::string>& results);

// readValue of "<path>:<suffix>" ("<path>" when `suffix` is empty).
int readValueWithSuffix(ServiceContext* context, const ServiceOptions& options,
                        const std::string& path, const std::string& suffix,
                        std::string& result);

#endif  // CORE_READ_PATH_H_
