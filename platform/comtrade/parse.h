// The in-memory parse layer of the COMTRADE reader: everything between the
// bytes of the files and a Record, without touching the file system. The
// file reader (comtrade.h) and the fuzzer drive the reader through here.
//
// Every function returns a status of comtrade.h (0 on success) and, on
// failure, stores a one-line reason in *why when `why` is not null. Memory
// is bounded by the input: nothing is allocated for samples before the data
// bytes are known to be long enough to hold them.

#ifndef PLATFORM_COMTRADE_PARSE_H_
#define PLATFORM_COMTRADE_PARSE_H_

#include <string>
#include <string_view>

#include "platform/comtrade/record.h"

namespace toolkit {
namespace comtrade {

// Parses a configuration file (any revision; text in UTF-8 or ISO 8859-1).
int ParseConfig(std::string_view bytes, Config* config, std::string* why);

// Parses a data file in the format the configuration names. The data must
// hold exactly config.sample_count samples: fewer gives
// COMTRADE_ERR_TRUNCATED, more COMTRADE_ERR_INCONSISTENT.
int ParseData(const Config& config, std::string_view bytes, Samples* samples,
              std::string* why);

// One part of a record set: present or not, and its bytes.
struct PartBytes {
  bool present = false;
  std::string_view bytes;
};

// The parts of a record set as bytes. A combined file also declares the
// data format in its DAT section marker; the configuration must agree.
struct RecordBytes {
  PartBytes cfg;
  PartBytes dat;
  PartBytes hdr;
  PartBytes inf;
  bool dat_format_declared = false;
  DataFormat dat_format = DataFormat::kAscii;
};

// Splits a 2013 combined file into its CFG, INF, HDR and DAT sections. The
// returned views point into `bytes`.
int SplitCombined(std::string_view bytes, RecordBytes* parts,
                  std::string* why);

// Decodes the parts present into *record (which is cleared first). Header
// and information texts that are empty or blank count as absent. A data
// part without a configuration is left out. Fails with
// COMTRADE_ERR_NOT_FOUND when no part remains.
int LoadRecord(const RecordBytes& parts, Record* record, std::string* why);

// SplitCombined followed by LoadRecord.
int ParseCombined(std::string_view bytes, Record* record, std::string* why);

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_PARSE_H_
