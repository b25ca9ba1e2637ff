// Arrays: attributes whose text is a ";"-separated list, read through the
// read path and answered whole, as a stretch, or as their number of items.

#ifndef CORE_ARRAYS_H_
#define CORE_ARRAYS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "common/read_array.h"

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

// What the three array operations begin with: parse `optionsText` into
// `options`, then readArray.
std::vector<std::string> readRequestedArray(ServiceContext* context,
                                            const std::string* optionsText,
                                            const std::string* path,
                                            ServiceOptions& options);

// getArraySize's answer for what readArray gave.
std::string arraySizeResult(const std::vector<std::string>& items,
                            const ServiceOptions& options);

// getArrayRange's selection, in place: `count` items from `index` with the
// device's unsigned 32-bit arithmetic (see arrays.cc for its quirks).
void selectArrayRange(std::vector<std::string>& items, uint32_t index,
                      uint32_t count, const ServiceOptions& options);

}  // namespace wsgated

#endif  // CORE_ARRAYS_H_
