// URL to record path mapping; see comtrade_view.h.

#include "platform/comtrade/comtrade_view.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <new>
#include <string_view>
#include <vector>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/record_files.h"
#include "platform/comtrade/text.h"

namespace toolkit {

namespace {

constexpr size_t kMaxNameLength = 1024;

bool IsControl(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  return u < 0x20 || u == 0x7F;
}

// The record name a URL carries: the path after kUrlPrefix of an http(s)
// URL, or the URL itself when it is a relative name. False when refused.
bool NameOfUrl(const std::string& url, std::string* name) {
  for (char c : url) {
    if (IsControl(c)) return false;  // NUL included
  }
  const std::string_view prefix = CComtradeView::kUrlPrefix;
  for (std::string_view scheme : {"http://", "https://"}) {
    if (url.size() < scheme.size() ||
        !comtrade::EqualsIgnoreCase(std::string_view(url).substr(
                                        0, scheme.size()), scheme)) {
      continue;
    }
    std::string_view rest = std::string_view(url).substr(scheme.size());
    const size_t slash = rest.find('/');
    if (slash == std::string_view::npos) return false;
    rest = rest.substr(slash);
    rest = rest.substr(0, rest.find_first_of("?#"));
    if (rest.substr(0, prefix.size()) != prefix) return false;
    *name = std::string(rest.substr(prefix.size()));
    return true;
  }
  if (url.find("://") != std::string::npos) return false;  // other schemes
  *name = url;
  return true;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Decodes percent escapes once; refuses escapes of separators, dots,
// backslashes and control characters, and malformed ones.
bool DecodePercent(const std::string& in, std::string* out) {
  out->clear();
  for (size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '%') {
      out->push_back(in[i]);
      continue;
    }
    if (in.size() - i < 3) return false;
    const int high = HexDigit(in[i + 1]), low = HexDigit(in[i + 2]);
    if (high < 0 || low < 0) return false;
    const char c = static_cast<char>(high * 16 + low);
    if (c == '/' || c == '.' || c == '\\' || IsControl(c)) return false;
    out->push_back(c);
    i += 2;
  }
  return true;
}

// Splits a relative name into components; false when it is absolute, too
// long, or holds a backslash, control character, or an empty, "." or ".."
// component.
bool SplitName(const std::string& name, std::vector<std::string>* parts) {
  if (name.empty() || name.size() > kMaxNameLength || name[0] == '/') {
    return false;
  }
  size_t start = 0;
  while (start <= name.size()) {
    size_t end = name.find('/', start);
    if (end == std::string::npos) end = name.size();
    const std::string part = name.substr(start, end - start);
    if (part.empty() || part == "." || part == "..") return false;
    for (char c : part) {
      if (c == '\\' || IsControl(c)) return false;
    }
    parts->push_back(part);
    start = end + 1;
  }
  return true;
}

std::string Join(const std::string& folder, const std::string& name) {
  return folder == "/" ? "/" + name : folder + "/" + name;
}

bool RealPath(const std::string& path, std::string* real) {
  char* resolved = realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return false;
  *real = resolved;
  free(resolved);
  return true;
}

bool Exists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
}

// True when `real` is `root` or lies below it (on a component boundary:
// "/data/wave2" is not inside "/data/wave").
bool Inside(const std::string& real, const std::string& root) {
  if (root == "/") return true;
  return real.compare(0, root.size(), root) == 0 &&
         (real.size() == root.size() || real[root.size()] == '/');
}

// "<root>/<folders...>" with every existing folder resolved; false when
// one resolves outside root (or is a dangling link).
bool ResolveFolders(const std::string& root,
                    const std::vector<std::string>& folders,
                    std::string* resolved) {
  std::string current = root;
  for (size_t i = 0; i < folders.size(); ++i) {
    const std::string next = Join(current, folders[i]);
    if (!Exists(next)) {
      // Nothing below exists, so nothing below can lead elsewhere.
      for (size_t k = i; k < folders.size(); ++k) {
        current = Join(current, folders[k]);
      }
      break;
    }
    if (!RealPath(next, &current) || !Inside(current, root)) return false;
  }
  *resolved = current;
  return true;
}

// True when every record file the reader may open for `record` is absent
// or resolves inside root.
bool FilesStayInside(const std::string& record, const std::string& root) {
  for (const std::string& name : comtrade::RecordFileCandidates(record)) {
    std::string real;
    if (Exists(name) && (!RealPath(name, &real) || !Inside(real, root))) {
      return false;
    }
  }
  return true;
}

bool MapUrl(const std::string& url, const std::string& folder,
            std::string* path) {
  std::string raw_name, name, root, directory;
  std::vector<std::string> parts;
  struct stat info;
  if (folder.empty() || folder[0] != '/' || !RealPath(folder, &root) ||
      stat(root.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    return false;
  }
  if (!NameOfUrl(url, &raw_name) || !DecodePercent(raw_name, &name) ||
      !SplitName(name, &parts)) {
    return false;
  }
  const std::string last = parts.back();
  parts.pop_back();
  if (!ResolveFolders(root, parts, &directory)) return false;
  *path = Join(directory, last);
  return FilesStayInside(*path, root);
}

}  // namespace

int CComtradeView::parseUrlToFilepath(const std::string& url,
                                      const std::string& folder,
                                      std::string& path) {
  path.clear();
  bool mapped = false;
  try {
    mapped = MapUrl(url, folder, &path);
  } catch (const std::bad_alloc&) {
    mapped = false;
  }
  if (!mapped) path.clear();
  return mapped ? COMTRADE_OK : COMTRADE_ERR_PATH;
}

}  // namespace toolkit
