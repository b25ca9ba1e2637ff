// Decoding the parts of a record set: ParseData and LoadRecord of parse.h.

#include <string>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/dat_internal.h"
#include "platform/comtrade/guard.h"
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

int LoadData(const RecordBytes& parts, Record* record, std::string* why) {
  if (parts.dat_format_declared && parts.dat_format != record->config.format) {
    if (why != nullptr) *why = "its section declares another format";
    return Prefix(why, "data", COMTRADE_ERR_INCONSISTENT);
  }
  int rc = ParseData(record->config, parts.dat.bytes, &record->samples, why);
  if (rc != COMTRADE_OK) return Prefix(why, "data", rc);
  record->has_data = true;
  return COMTRADE_OK;
}

int Load(const RecordBytes& parts, Record* record, std::string* why) {
  if (parts.cfg.present) {
    int rc = ParseConfig(parts.cfg.bytes, &record->config, why);
    if (rc != COMTRADE_OK) return Prefix(why, "configuration", rc);
    record->has_config = true;
  }
  if (parts.dat.present && record->has_config) {
    int rc = LoadData(parts, record, why);
    if (rc != COMTRADE_OK) return rc;
  }
  record->has_header = DecodePart(parts.hdr, &record->header);
  record->has_info = DecodePart(parts.inf, &record->info);
  if (!record->has_config && !record->has_header && !record->has_info) {
    if (why != nullptr) *why = "no part of the record set is present";
    return COMTRADE_ERR_NOT_FOUND;
  }
  return COMTRADE_OK;
}

}  // namespace

int ParseData(const Config& config, std::string_view bytes, Samples* samples,
              std::string* why) {
  *samples = Samples();
  const int rc = NoThrow(why, [&] {
    return config.format == DataFormat::kAscii
               ? ParseAsciiData(config, bytes, samples, why)
               : ParseBinaryData(config, bytes, samples, why);
  });
  if (rc != COMTRADE_OK) *samples = Samples();
  return rc;
}

int LoadRecord(const RecordBytes& parts, Record* record, std::string* why) {
  *record = Record();
  const int rc = NoThrow(why, [&] { return Load(parts, record, why); });
  if (rc != COMTRADE_OK) *record = Record();
  return rc;
}

}  // namespace comtrade
}  // namespace toolkit
