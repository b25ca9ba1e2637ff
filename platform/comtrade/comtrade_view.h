// CComtradeView: maps the URL a client names a waveform record by to the
// record's path inside the waveform folder, refusing anything that could
// reach outside it.
//
// Accepted forms (docs/comtrade.md has the full list of refusals):
//   "fault-2026-11-01", "sub/fault-1", "fault-1.cfg"
//       a record name relative to the folder, with or without extension;
//   "http://host/wsgated/waveforms/fault-1.cfg" (or https, any host/port)
//       the path after the prefix kUrlPrefix names the record; a query
//       ("?...") or fragment ("#...") is ignored. The web server serves the
//       same prefix read-only from the folder.
// Percent escapes are decoded once ("%20" is a blank, "%C3%A9" is "é"),
// except that escapes of "/", ".", "\" and NUL (%2F, %2E, %5C, %00, any
// case), of other control characters, and malformed escapes are refused.
// The decoded name must not be absolute, contain "\", control characters,
// empty, "." or ".." components. Symbolic links are allowed as long as
// every file the reader could open for the record, and every folder on
// the way, resolves to a place inside the folder.

#ifndef PLATFORM_COMTRADE_COMTRADE_VIEW_H_
#define PLATFORM_COMTRADE_COMTRADE_VIEW_H_

#include <string>

namespace toolkit {

class CComtradeView {
 public:
  static constexpr const char* kUrlPrefix = "/wsgated/waveforms/";

  // Maps `url` to "<folder>/<name>" (the folder resolved to its real,
  // absolute path) in `path`. Returns 0, or COMTRADE_ERR_PATH (path left
  // empty) for a refused URL or folder: an empty or relative folder, or one
  // that does not exist. Opens no record file; only looks names up.
  static int parseUrlToFilepath(const std::string& url,
                                const std::string& folder, std::string& path);
};

}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_COMTRADE_VIEW_H_
