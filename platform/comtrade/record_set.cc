// Decoding the parts of a record set: ParseData and LoadRecord of parse.h.

#include <string>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/dat_internal.h"
#include "platform/comtrade/parse.h"
#include "platform/comtrade/text.h"

namespace toolkit {
namespace comtrade {

namespace {

// The decoded text of a header or information part; false when it has no
// visible content, which counts as no part at all.
bool DecodePart(const PartBytes& part, std::string* text) {
  if (!part.present) return false;
  *text = DecodeText(part.bytes);
  const size_t end = text->find_last_not_of(" \t\n");
  if (end == std::string::npos) {
    text->clear();
    return false;
  }
  text->resize(end + 1);
  return true;
}

int Prefix(std::string* why, const char* part, int status) {
  if (why != nullptr) why->insert(0, std::string(part) + ": ");
  return status;
}

}  // namespace

int ParseData(const Config& config, std::string_view bytes, Samples* samples,
              std::string* why) {
  *samples = Samples();
  int rc = config.format == DataFormat::kAscii
               ? ParseAsciiData(config, bytes, samples, why)
               : ParseBinaryData(config, bytes, samples, why);
  if (rc != COMTRADE_OK) *samples = Samples();
  return rc;
}

int LoadRecord(const RecordBytes& parts, Record* record, std::string* why) {
  *record = Record();
  int rc = COMTRADE_OK;
  if (parts.cfg.present) {
    rc = ParseConfig(parts.cfg.bytes, &record->config, why);
    if (rc != COMTRADE_OK) {
      *record = Record();
      return Prefix(why, "configuration", rc);
    }
    record->has_config = true;
  }
  if (parts.dat.present && record->has_config) {
    if (parts.dat_format_declared &&
        parts.dat_format != record->config.format) {
      if (why != nullptr) *why = "its section declares another format";
      rc = COMTRADE_ERR_INCONSISTENT;
    } else {
      rc = ParseData(record->config, parts.dat.bytes, &record->samples, why);
    }
    if (rc != COMTRADE_OK) {
      *record = Record();
      return Prefix(why, "data", rc);
    }
    record->has_data = true;
  }
  record->has_header = DecodePart(parts.hdr, &record->header);
  record->has_info = DecodePart(parts.inf, &record->info);
  if (!record->has_config && !record->has_header && !record->has_info) {
    if (why != nullptr) *why = "no part of the record set is present";
    return COMTRADE_ERR_NOT_FOUND;
  }
  return COMTRADE_OK;
}

}  // namespace comtrade
}  // namespace toolkit
