// Finding and reading the files of a record set on disk.
//
// A record set at "dir/rec" is the files dir/rec.cfg, .dat, .hdr and .inf,
// or the combined dir/rec.cff. Each extension is tried in lower case, then
// in upper case; an extension given in the path is tried first as spelt
// ("rec.Cfg"). Only
// regular files are read: a FIFO, device or folder is refused before it is
// opened, and the file is opened non-blocking and checked again, so that
// no read can block or reach anything but a plain file.

#ifndef PLATFORM_COMTRADE_RECORD_FILES_H_
#define PLATFORM_COMTRADE_RECORD_FILES_H_

#include <string>
#include <vector>

namespace toolkit {
namespace comtrade {

struct FileContent {
  bool present = false;
  std::string bytes;
};

struct RecordFiles {
  FileContent cfg;
  FileContent dat;
  FileContent hdr;
  FileContent inf;
  FileContent cff;  // present only when the set is a combined file
};

// Splits a record extension (cfg, dat, hdr, inf, cff in any case) off
// `path`: "a/b.CFG" gives "a/b" and "cfg". Returns false, leaving the
// outputs alone, when the path has none.
bool SplitRecordExtension(const std::string& path, std::string* base,
                          std::string* extension);

// Every file name ReadRecordFiles may open for `path`, in the order it
// tries them. The URL mapping (comtrade_view.h) checks all of them.
std::vector<std::string> RecordFileCandidates(const std::string& path);

// Reads the record set at `path` (with or without extension; see
// comtrade.h for the order). Returns COMTRADE_ERR_NOT_FOUND when no file
// of the set exists.
int ReadRecordFiles(const std::string& path, RecordFiles* files,
                    std::string* why);

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_RECORD_FILES_H_
