// Names of the store's per-path statuses, for logs and tools.

#include "platform/types.h"

const char* pcd_status_name(api_status_t status) {
  // Indexed by the status value; the values are part of the store's
  // interface and are dense from 0, so a table is enough.
  static const char* const kNames[] = {
      "UNKNOWN",       "OK",        "NO_NODE",     "NO_ATTRIBUTE",
      "NOT_TYPED",     "BAD_PATH",  "READ_ONLY",   "TYPE_MISMATCH",
      "BUSY",          "IO_ERROR",  "EXISTS",      "NOT_OPEN",
      "ROLLED_BACK",   "READ_ONLY_LEAF",
  };
  const int count = static_cast<int>(sizeof(kNames) / sizeof(kNames[0]));
  const int index = static_cast<int>(status);
  if (index < 0 || index >= count) return "INVALID";
  return kNames[index];
}
