// libFuzzer target for the service-options parser (common/service_options.h):
// any options text parses without a crash, in bounded work, and a boolean
// key given last always decides its option. Run it with scripts/fuzz.sh.

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/service_options.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  wsgated::ServiceOptions options;
  wsgated::parseServiceOptions(nullptr, &text, options);
  // Within the length that is read, a last "persist" token always counts.
  if (size < 1024) {
    const std::string withPersist = text + ";persist";
    wsgated::parseServiceOptions(nullptr, &withPersist, options);
    if (!options.persist) __builtin_trap();
  }
  return 0;
}
