// libFuzzer target for the request body's guard (host/input_guard.h): it
// never admits more than it was given, never more attributes than its
// limit, and admits the same bytes however the message is cut into reads.
// Run it with scripts/fuzz.sh.

#include <cstddef>
#include <cstdint>

#include "host/input_guard.h"

namespace {

size_t admitInReads(wsgated::InputGuard& guard, const char* text,
                    size_t size, size_t read) {
  size_t admitted = 0;
  for (size_t at = 0; at < size; at += read) {
    const size_t part = size - at < read ? size - at : read;
    const size_t passed = guard.admit(text + at, part);
    if (passed > part) __builtin_trap();
    admitted += passed;
    if (passed < part) break;
  }
  return admitted;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* text = reinterpret_cast<const char*>(data);
  wsgated::InputLimits limits;
  limits.attributesPerElement = 4;
  limits.namespaceDeclarations = 8;
  wsgated::InputGuard whole(limits), pieces(limits);
  const size_t admitted = admitInReads(whole, text, size, size + 1);
  if (admitInReads(pieces, text, size, 3) != admitted) __builtin_trap();
  if (whole.refused() != pieces.refused()) __builtin_trap();
  if (whole.attributesAdmitted() != pieces.attributesAdmitted()) {
    __builtin_trap();
  }
  return 0;
}
