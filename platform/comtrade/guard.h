// NoThrow: the one place where the library's entry points turn an
// allocation failure into a status, since no exception may leave the
// library. Memory is bounded by the input, so this guards against a host
// that is simply out of memory.

#ifndef PLATFORM_COMTRADE_GUARD_H_
#define PLATFORM_COMTRADE_GUARD_H_

#include <new>
#include <string>

#include "platform/comtrade/comtrade.h"

namespace toolkit {
namespace comtrade {

// Returns body(), or COMTRADE_ERR_NO_MEMORY (with *why cleared) when it
// runs out of memory.
template <typename Body>
int NoThrow(std::string* why, Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    if (why != nullptr) why->clear();
    return COMTRADE_ERR_NO_MEMORY;
  }
}

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_GUARD_H_
