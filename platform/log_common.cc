// What the log reader and writer share: status names, the mapping of
// SQLite's result codes, the checks of the SQLite settings and the busy
// time-outs from the environment.

#include <cstdlib>

#include "platform/log_format.h"

const char* pcd_log_status_name(int status) {
  switch (status) {
    case LOG_STATUS_OK:
      return "OK";
    case LOG_STATUS_NO_FILE:
      return "NO_FILE";
    case LOG_STATUS_NOT_DATABASE:
      return "NOT_DATABASE";
    case LOG_STATUS_NOT_LOG:
      return "NOT_LOG";
    case LOG_STATUS_BUSY:
      return "BUSY";
    case LOG_STATUS_IO_ERROR:
      return "IO_ERROR";
    case LOG_STATUS_CORRUPT:
      return "CORRUPT";
    case LOG_STATUS_BAD_ARGUMENT:
      return "BAD_ARGUMENT";
    case LOG_STATUS_READ_ONLY:
      return "READ_ONLY";
    case LOG_STATUS_NOT_FOUND:
      return "NOT_FOUND";
    default:
      return "UNKNOWN";
  }
}

namespace toolkit {
namespace logdb {

bool valid_page_size(int page_size) {
  if (page_size == 0) return true;
  const bool power_of_two = page_size > 0 && (page_size & (page_size - 1)) == 0;
  return power_of_two && page_size >= 512 && page_size <= 65536;
}

int cache_size_kib(int cache_bytes) {
  const int kib = cache_bytes / 1024;
  return -(kib < 1 ? 1 : kib);
}

int busy_ms_from_env(const char* name, int fallback) {
  const char* text = getenv(name);
  if (text == nullptr || *text == '\0') return fallback;
  char* end = nullptr;
  const long ms = strtol(text, &end, 10);
  if (*end != '\0' || ms < 0 || ms > 3600 * 1000) return fallback;
  return static_cast<int>(ms);
}

int status_from_sqlite(int rc) {
  switch (rc & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return LOG_STATUS_OK;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return LOG_STATUS_BUSY;
    case SQLITE_NOTADB:
      return LOG_STATUS_NOT_DATABASE;
    case SQLITE_CORRUPT:
      return LOG_STATUS_CORRUPT;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return LOG_STATUS_READ_ONLY;
    default:
      return LOG_STATUS_IO_ERROR;
  }
}

}  // namespace logdb
}  // namespace toolkit
