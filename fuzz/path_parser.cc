// libFuzzer target for the path grammar (platform/path.h): any text parses
// or is refused without a crash, what parses is in its normal form (it
// parses again to itself), and PathToNodeName is undone exactly by
// DottedPathToNodePath. Run it with scripts/fuzz.sh.

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/path.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  toolkit::CPath path(text);
  if (path.normalize() == 0) {
    toolkit::CPath again(path.getPath());
    if (again.normalize() != 0 || again.getPath() != path.getPath()) {
      __builtin_trap();
    }
  }
  if (text.size() > 1 && text[0] == '/') {
    const std::string name = toolkit::CPath::PathToNodeName(text);
    if (toolkit::CPath::DottedPathToNodePath(name) != text) __builtin_trap();
  }
  return 0;
}
