// The 2013 combined file (.cff): SplitCombined of parse.h.
//
// The file holds the record's files one after another, each introduced by
// a marker line:
//   --- file type: CFG ---
//   --- file type: INF ---
//   --- file type: HDR ---
//   --- file type: DAT ASCII ---
//   --- file type: DAT BINARY: 1234 ---     (also BINARY32, FLOAT32)
// A text section runs to the next marker line. A binary DAT section is the
// given number of bytes right after its marker line; it may hold anything,
// including bytes that look like line ends or markers, so it is never
// scanned. Markers are matched without regard to case or surrounding
// blanks; sections of other types are skipped.

#include <cstdint>
#include <string>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/guard.h"
#include "platform/comtrade/number.h"
#include "platform/comtrade/parse.h"
#include "platform/comtrade/text.h"

namespace toolkit {
namespace comtrade {

namespace {

struct Marker {
  std::string_view type;
  std::string_view format;  // empty when not given
  bool has_size = false;
  uint64_t size = 0;
};

// Splits the first word (ending at a blank or ':') off *text.
std::string_view TakeWord(std::string_view* text) {
  const size_t end = text->find_first_of(" \t:");
  const std::string_view word = text->substr(0, end);
  *text = end == std::string_view::npos ? std::string_view()
                                        : Trim(text->substr(end));
  return word;
}

// "--- file type: <TYPE> [<FORMAT>][: <bytes>] ---"
bool ParseMarker(std::string_view line, Marker* marker) {
  constexpr std::string_view kDashes = "---";
  constexpr std::string_view kLead = "file type:";
  line = Trim(line);
  if (line.size() < 2 * kDashes.size() || line.substr(0, 3) != kDashes ||
      line.substr(line.size() - 3) != kDashes) {
    return false;
  }
  std::string_view inner = Trim(line.substr(3, line.size() - 6));
  if (!EqualsIgnoreCase(inner.substr(0, kLead.size()), kLead)) return false;
  inner = Trim(inner.substr(kLead.size()));
  marker->type = TakeWord(&inner);
  if (!inner.empty() && inner[0] != ':') marker->format = TakeWord(&inner);
  if (!inner.empty()) {
    int64_t size;
    if (inner[0] != ':' || !ParseInteger(Trim(inner.substr(1)), &size) ||
        size < 0) {
      return false;
    }
    marker->has_size = true;
    marker->size = static_cast<uint64_t>(size);
  }
  return !marker->type.empty();
}

class CombinedSplitter {
 public:
  CombinedSplitter(std::string_view bytes, RecordBytes* parts, std::string* why)
      : bytes_(bytes), parts_(parts), why_(why) {}

  int Split();

 private:
  int Fail(int status, const std::string& message);
  // Starts the section a marker introduces; its content begins at `start`.
  int Open(const Marker& marker, size_t start, size_t* next);
  void Close(size_t end);
  int TakeDataFormat(const Marker& marker, bool* binary);

  std::string_view bytes_;
  RecordBytes* parts_;
  std::string* why_;
  PartBytes* section_ = nullptr;  // the text section being read
  size_t section_start_ = 0;
  bool outside_ = true;           // before the first marker, after binary
};

int CombinedSplitter::Fail(int status, const std::string& message) {
  if (why_ != nullptr) *why_ = "combined file: " + message;
  return status;
}

void CombinedSplitter::Close(size_t end) {
  if (section_ != nullptr) {
    section_->bytes = bytes_.substr(section_start_, end - section_start_);
  }
  section_ = nullptr;
}

int CombinedSplitter::TakeDataFormat(const Marker& marker, bool* binary) {
  static const DataFormat kFormats[] = {DataFormat::kAscii, DataFormat::kBinary,
                                        DataFormat::kBinary32,
                                        DataFormat::kFloat32};
  *binary = false;
  if (marker.format.empty()) return COMTRADE_OK;
  for (DataFormat format : kFormats) {
    if (EqualsIgnoreCase(marker.format, DataFormatName(format))) {
      parts_->dat_format_declared = true;
      parts_->dat_format = format;
      *binary = format != DataFormat::kAscii;
      return COMTRADE_OK;
    }
  }
  return Fail(COMTRADE_ERR_UNSUPPORTED, "unknown DAT format");
}

int CombinedSplitter::Open(const Marker& marker, size_t start, size_t* next) {
  PartBytes* targets[] = {&parts_->cfg, &parts_->inf, &parts_->hdr,
                          &parts_->dat};
  const char* names[] = {"CFG", "INF", "HDR", "DAT"};
  PartBytes* target = nullptr;
  for (int i = 0; i < 4; ++i) {
    if (EqualsIgnoreCase(marker.type, names[i])) target = targets[i];
  }
  *next = start;
  outside_ = false;
  if (target == nullptr) return COMTRADE_OK;  // a section we do not read
  if (target->present) {
    return Fail(COMTRADE_ERR_INCONSISTENT, "a section appears twice");
  }
  target->present = true;
  bool binary = false;
  if (target == &parts_->dat) {
    int rc = TakeDataFormat(marker, &binary);
    if (rc != COMTRADE_OK) return rc;
  }
  if (!binary) {
    section_ = target;
    section_start_ = start;
    return COMTRADE_OK;
  }
  if (!marker.has_size) {
    return Fail(COMTRADE_ERR_SYNTAX, "binary DAT section without its byte "
                "count");
  }
  if (marker.size > bytes_.size() - start) {
    return Fail(COMTRADE_ERR_TRUNCATED, "binary DAT section is shorter than "
                "its byte count");
  }
  target->bytes = bytes_.substr(start, static_cast<size_t>(marker.size));
  *next = start + static_cast<size_t>(marker.size);
  outside_ = true;
  return COMTRADE_OK;
}

int CombinedSplitter::Split() {
  size_t pos = 0;
  while (pos < bytes_.size()) {
    size_t end = bytes_.find('\n', pos);
    end = end == std::string_view::npos ? bytes_.size() : end + 1;
    const std::string_view line = bytes_.substr(pos, end - pos);
    Marker marker;
    if (ParseMarker(Trim(line.substr(0, line.find('\n'))), &marker)) {
      Close(pos);
      int rc = Open(marker, end, &pos);
      if (rc != COMTRADE_OK) return rc;
      continue;
    }
    if (outside_ && !line.empty() && line[0] == '\x1A') break;  // DOS end
    if (outside_ && !IsBlank(line)) {
      return Fail(COMTRADE_ERR_SYNTAX, "text outside any section");
    }
    pos = end;
  }
  Close(bytes_.size());
  return COMTRADE_OK;
}

}  // namespace

int SplitCombined(std::string_view bytes, RecordBytes* parts,
                  std::string* why) {
  *parts = RecordBytes();
  return NoThrow(why,
                 [&] { return CombinedSplitter(bytes, parts, why).Split(); });
}

int ParseCombined(std::string_view bytes, Record* record, std::string* why) {
  RecordBytes parts;
  int rc = SplitCombined(bytes, &parts, why);
  if (rc != COMTRADE_OK) {
    *record = Record();
    return rc;
  }
  return LoadRecord(parts, record, why);
}

}  // namespace comtrade
}  // namespace toolkit
