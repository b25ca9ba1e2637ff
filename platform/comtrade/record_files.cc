// Reading a record set's files; see record_files.h.

#include "platform/comtrade/record_files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>

#include "platform/comtrade/comtrade.h"

namespace toolkit {
namespace comtrade {

namespace {

const char* const kSeparateExtensions[] = {"cfg", "dat", "hdr", "inf"};
constexpr const char* kCombinedExtension = "cff";

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(
                           static_cast<unsigned char>(c)));
  return text;
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(
                           static_cast<unsigned char>(c)));
  return text;
}

// Candidates for the part with `extension`: the path itself when it has
// that extension, then base.ext and base.EXT.
std::vector<std::string> PartCandidates(const std::string& path,
                                        const char* extension) {
  std::string base = path, given;
  SplitRecordExtension(path, &base, &given);
  std::vector<std::string> names;
  if (given == extension) names.push_back(path);
  for (const std::string& name :
       {base + "." + extension, base + "." + Upper(extension)}) {
    if (name != path) names.push_back(name);
  }
  return names;
}

int Fail(std::string* why, int status, const std::string& message) {
  if (why != nullptr) *why = message;
  return status;
}

// Reads an open regular file of at most COMTRADE_MAX_FILE_BYTES.
int ReadOpenFile(int fd, const std::string& name, std::string* bytes,
                 std::string* why) {
  struct stat info;
  if (fstat(fd, &info) != 0) return Fail(why, COMTRADE_ERR_IO, name);
  if (!S_ISREG(info.st_mode)) {
    return Fail(why, COMTRADE_ERR_NOT_REGULAR, name + " is not a file");
  }
  if (static_cast<unsigned long long>(info.st_size) > COMTRADE_MAX_FILE_BYTES) {
    return Fail(why, COMTRADE_ERR_TOO_LARGE, name + " is too large");
  }
  bytes->resize(static_cast<size_t>(info.st_size));
  size_t done = 0;
  while (done < bytes->size()) {
    const ssize_t n = read(fd, &(*bytes)[done], bytes->size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return Fail(why, COMTRADE_ERR_IO, name + " cannot be read");
    if (n == 0) break;  // the file shrank meanwhile
    done += static_cast<size_t>(n);
  }
  bytes->resize(done);
  return COMTRADE_OK;
}

// Reads the first candidate that exists into *content.
int ReadPart(const std::vector<std::string>& candidates, FileContent* content,
             std::string* why) {
  for (const std::string& name : candidates) {
    struct stat info;
    if (stat(name.c_str(), &info) != 0) {
      if (errno == ENOENT || errno == ENOTDIR) continue;
      return Fail(why, COMTRADE_ERR_IO, name + " cannot be reached");
    }
    if (!S_ISREG(info.st_mode)) {
      return Fail(why, COMTRADE_ERR_NOT_REGULAR, name + " is not a file");
    }
    const int fd = open(name.c_str(),
                        O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) return Fail(why, COMTRADE_ERR_IO, name + " cannot be opened");
    const int rc = ReadOpenFile(fd, name, &content->bytes, why);
    close(fd);
    content->present = rc == COMTRADE_OK;
    return rc;
  }
  return COMTRADE_OK;
}

}  // namespace

bool SplitRecordExtension(const std::string& path, std::string* base,
                          std::string* extension) {
  const size_t dot = path.rfind('.');
  if (dot == std::string::npos || path.find('/', dot) != std::string::npos) {
    return false;
  }
  const std::string ext = Lower(path.substr(dot + 1));
  for (const char* known : kSeparateExtensions) {
    if (ext == known || ext == kCombinedExtension) {
      *base = path.substr(0, dot);
      *extension = ext;
      return true;
    }
  }
  return false;
}

std::vector<std::string> RecordFileCandidates(const std::string& path) {
  std::vector<std::string> all;
  for (const char* extension : kSeparateExtensions) {
    for (std::string& name : PartCandidates(path, extension)) {
      all.push_back(std::move(name));
    }
  }
  for (std::string& name : PartCandidates(path, kCombinedExtension)) {
    all.push_back(std::move(name));
  }
  return all;
}

int ReadRecordFiles(const std::string& path, RecordFiles* files,
                    std::string* why) {
  *files = RecordFiles();
  std::string base, extension;
  const bool has_extension = SplitRecordExtension(path, &base, &extension);
  if (extension != kCombinedExtension) {
    FileContent* parts[] = {&files->cfg, &files->dat, &files->hdr,
                            &files->inf};
    for (int i = 0; i < 4; ++i) {
      int rc = ReadPart(PartCandidates(path, kSeparateExtensions[i]),
                        parts[i], why);
      if (rc != COMTRADE_OK) return rc;
    }
    for (FileContent* part : parts) {
      if (part->present) return COMTRADE_OK;
    }
    if (has_extension) {
      return Fail(why, COMTRADE_ERR_NOT_FOUND, "no file of " + path);
    }
  }
  int rc = ReadPart(PartCandidates(path, kCombinedExtension), &files->cff,
                    why);
  if (rc == COMTRADE_OK && !files->cff.present) {
    return Fail(why, COMTRADE_ERR_NOT_FOUND, "no file of " + path);
  }
  return rc;
}

}  // namespace comtrade
}  // namespace toolkit
