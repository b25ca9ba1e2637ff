// Arrays: attributes whose text is a ";"-separated list ("Children",
// "PossibleValues", ...), read through the read path as lists of items.
// The array operations answer them whole, as a stretch or as a count
// (core/arrays.h); other subsystems read child lists with them
// (subscriptions).

#ifndef COMMON_READ_ARRAY_H_
#define COMMON_READ_ARRAY_H_

#include <string>
#include <vector>

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

// The attribute names read as arrays.
extern const char* const kArrayAttributes;
// "Attributes;Children;PossibleValues;WritableValues;.NotifyActions;.TrendTraits;.AlarmBatch"

// True when `attribute` occurs anywhere in kArrayAttributes. The loose test
// is the device's: "Value", "Trend" and "" pass too.
bool isArrayAttribute(const std::string& attribute);

// Fill `items` with the items of the array at `path` (may be null), or with
// exactly one item, an error result. Read rights apply as to any read.
void readArray(ServiceContext* context, const ServiceOptions& options,
               const std::string* path, std::vector<std::string>& items);

}  // namespace wsgated

#endif  // COMMON_READ_ARRAY_H_
