// The write path: client texts into the data store, one leaf or many.
//
// A write checks the path, the caller's write rights, whether the leaf may
// be written at all (checkWritable), converts the text to the leaf's type
// (state names of multistate and boolean points included) and stores it with
// the change source "Web-Services:<user>@<address>". Refused write rights
// are the one failure that is not a result text: the operation answers
// HTTP 401 (kWriteNotAuthorized). Node administration uses the same path
// with `adminFlag` set, which relaxes the writability rules.

#ifndef COMMON_WRITE_PATH_H_
#define COMMON_WRITE_PATH_H_

#include <string>
#include <vector>

#include "platform/element.h"
#include "platform/types.h"

namespace toolkit {
class CCds;
class CPath;
}  // namespace toolkit

namespace wsgated {

struct RequestCaller;
struct ServiceContext;
struct ServiceOptions;

// What writeValue and writeValues return when the caller may not write;
// the operation returns it to the engine, which answers HTTP 401.
constexpr int kWriteNotAuthorized = 401;

// The origin recorded with every change this service makes.
extern const char* const kChangeOrigin;  // "Web-Services"

// The change source of a request of `caller`:
// "Web-Services:<user>@<address>".
std::string changeSource(const RequestCaller& caller);

// The fixed data type of attribute `code` for a leaf that has no type yet:
// 0 when the attribute has none, 7 for "the type of the node's Value".
data_type_t fixedAttributeType(int code);

// Write `value` to `path` (either may be null). Returns 0 with `result` the
// written text or an error result, or kWriteNotAuthorized with `result`
// untouched.
int writeValue(ServiceContext* context, bool adminFlag,
               const ServiceOptions& options, const std::string* path,
               const std::string* value, std::string& result);

// What checkWritable found; anything but kMayWrite leaves an error result.
enum WritableCheck {
  kMayWrite = 0,
  kLeafUnreadable = 1,        // the node is missing or the leaf unreadable
  kValueNotWritable = 2,      // a Value whose Writable is not true
  kAttributeNotWritable = 3,  // an attribute ordinary writers may not write
  kAutomaticAttribute = 4,    // computed by the store, or cleared by it
};

// Read the leaf at the normalised `path` into `element` and apply the
// writability rules. Anything but kMayWrite leaves the error result in
// `result`.
WritableCheck checkWritable(toolkit::CCds& cds, const toolkit::CPath& path,
                            bool adminFlag, const std::string& valueText,
                            toolkit::CElement& element, std::string& result,
                            const ServiceOptions& options);

// Validate the two lists of a multi-write. Returns true when they are
// usable; otherwise appends one error result to `results`.
bool checkWriteLists(const std::vector<std::string>& paths,
                     const std::vector<std::string>& values,
                     const ServiceOptions& options,
                     std::vector<std::string>& results);

// Write values[i] to paths[i], all surviving entries in one store call (all
// or nothing). Appends one result per path; returns 0, or
// kWriteNotAuthorized (nothing written, `results` untouched) when the
// caller may not write any one of the paths.
int writeValues(ServiceContext* context, bool adminFlag,
                const ServiceOptions& options,
                const std::vector<std::string>& paths,
                const std::vector<std::string>& values,
                std::vector<std::string>& results);

}  // namespace wsgated

#endif  // COMMON_WRITE_PATH_H_
