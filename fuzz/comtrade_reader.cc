// libFuzzer target for the COMTRADE reader's in-memory parse layer
// (platform/comtrade/parse.h). The first input byte chooses what the rest
// is fed to:
//   0  a configuration file
//   1  a record set: configuration, then kDataMark and the data file, and
//      optionally kHeaderMark and a header file
//   2  a 2013 combined file
//   3  a header file (the header convention)
// Whatever parses is also run through the time base and the header
// convention, as the data classes would. Build and run: docs/comtrade.md.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/header_parse.h"
#include "platform/comtrade/parse.h"
#include "platform/comtrade/timebase.h"

namespace {

using toolkit::comtrade::Record;

constexpr std::string_view kDataMark = "\n@@DAT@@\n";
constexpr std::string_view kHeaderMark = "\n@@HDR@@\n";

// Splits *rest at `mark`: returns what comes before it (or all of *rest).
std::string_view TakeUntil(std::string_view* rest, std::string_view mark) {
  const size_t at = rest->find(mark);
  const std::string_view head = rest->substr(0, at);
  *rest = at == std::string_view::npos ? std::string_view()
                                       : rest->substr(at + mark.size());
  return head;
}

// What the data classes compute from a record.
void UseRecord(const Record& record) {
  if (record.has_config) {
    toolkit::comtrade::SamplingRate(record);
    toolkit::comtrade::TriggerIndex(record);
  }
  toolkit::comtrade::HeaderInfo info;
  if (record.has_header) ParseHeader(record.header, &info, nullptr);
}

void RecordSet(std::string_view input) {
  toolkit::comtrade::RecordBytes parts;
  parts.cfg = {true, TakeUntil(&input, kDataMark)};
  parts.dat = {true, TakeUntil(&input, kHeaderMark)};
  parts.hdr = {!input.empty(), input};
  Record record;
  if (LoadRecord(parts, &record, nullptr) == COMTRADE_OK) UseRecord(record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data) + 1,
                               size - 1);
  std::string why;
  switch (data[0] % 4) {
    case 0: {
      toolkit::comtrade::Config config;
      ParseConfig(input, &config, &why);
      break;
    }
    case 1:
      RecordSet(input);
      break;
    case 2: {
      Record record;
      if (ParseCombined(input, &record, &why) == COMTRADE_OK) UseRecord(record);
      break;
    }
    default: {
      toolkit::comtrade::HeaderInfo info;
      ParseHeader(input, &info, &why);
      break;
    }
  }
  return 0;
}
