// Steps that the single write (write_path.cc) and the multi-write
// (write_values.cc) take alike. Private to the write path: other
// subsystems write through write_path.h.

#ifndef COMMON_WRITE_STEPS_H_
#define COMMON_WRITE_STEPS_H_

#include <string>

#include "platform/element.h"
#include "platform/types.h"

namespace toolkit {
class CCds;
class CPath;
}  // namespace toolkit

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

// Parse and normalise the client's `text` into `path`. A refused path is
// logged and gives error 8 in `result`; returns false then.
bool normalizeWritePath(const std::string& text, toolkit::CPath& path,
                        std::string& result, const ServiceOptions& options);

// May the context's caller write `path`? Administrative writes relax
// the writability rules and reach any attribute, so they need the right to
// administer the store, not just to write there. A refusal is logged, since
// it leaves no result text behind: the client only sees HTTP 401.
bool writeAuthorized(ServiceContext* context, const toolkit::CPath& path,
                     bool adminFlag);

// False, with error 7 in `result`, when the options named a locale this
// device does not support.
bool writeLocaleValid(const ServiceOptions& options, std::string& result);

// Turn the leaf as read into the element to store: the client's text (as
// String, converted later) stamped with the present time.
void stampClientText(const std::string& text, toolkit::CElement& element);

// The store's persistence flag for this call's writes.
pcd_tribool_t persistenceFlag(const ServiceOptions& options);

// Attribute code of the attribute that `path` names (-1 when unknown).
int attributeCode(const toolkit::CPath& path);

// May a write of attribute `code` with target `type` name one of the node's
// states instead of a number? Only a Value or alarm value that is boolean
// or integer.
bool takesStateNames(int code, data_type_t type);

}  // namespace wsgated

#endif  // COMMON_WRITE_STEPS_H_
