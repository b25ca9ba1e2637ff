// ASCII data files: ParseAsciiData of dat_internal.h.
//
// One line per sample: "n,timestamp,A1,...,Ak,D1,...,Dm". A missing analog
// value is a blank field in every revision and, before 2013, also the value
// 99999 (the 1991 and 1999 revisions keep 99999 out of the value range for
// this). A missing time stamp is a blank field. Digital values are 0 or 1
// (blank is read as 0). Blank lines are skipped; a DOS end-of-file
// character ends the data.

#include <cmath>
#include <limits>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/dat_internal.h"
#include "platform/comtrade/number.h"
#include "platform/comtrade/text.h"

namespace toolkit {
namespace comtrade {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
// Time stamps have at most ten digits; this keeps a rounded real one exact.
constexpr double kMaxStamp = 1e15;

class AsciiRowParser {
 public:
  explicit AsciiRowParser(const Config& config)
      : config_(config), legacy_missing_(config.revision < 2013) {}

  // Decodes one line into sample `row`; returns a reason or nullptr.
  const char* Parse(std::string_view line, size_t row, Samples* samples) const;

 private:
  bool Stamp(std::string_view field, int64_t* stamp) const;
  bool Analog(std::string_view field, float* value) const;

  const Config& config_;
  const bool legacy_missing_;
};

bool AsciiRowParser::Stamp(std::string_view field, int64_t* stamp) const {
  if (field.empty()) {
    *stamp = kMissingStamp;
    return true;
  }
  if (ParseInteger(field, stamp)) return true;
  double real;
  if (!ParseReal(field, &real) || std::fabs(real) > kMaxStamp) return false;
  *stamp = std::llround(real);
  return true;
}

bool AsciiRowParser::Analog(std::string_view field, float* value) const {
  if (field.empty() || (legacy_missing_ && field == "99999")) {
    *value = kNaN;
    return true;
  }
  double number;
  if (!ParseNumber(field, &number)) return false;
  *value = static_cast<float>(number);
  return true;
}

const char* AsciiRowParser::Parse(std::string_view line, size_t row,
                                  Samples* samples) const {
  FieldReader fields(line);
  std::string_view field;
  int64_t sample_number;
  if (!fields.Next(&field) || !ParseInteger(field, &sample_number)) {
    return "sample number is not a number";
  }
  if (!fields.Next(&field) || !Stamp(field, &samples->stamps[row])) {
    return "time stamp is missing or not a number";
  }
  for (std::vector<float>& channel : samples->analog) {
    if (!fields.Next(&field) || !Analog(field, &channel[row])) {
      return "analog value is missing or not a number";
    }
  }
  for (size_t i = 0; i < config_.digital.size(); ++i) {
    if (!fields.Next(&field) ||
        !(field.empty() || field == "0" || field == "1")) {
      return "digital value is missing or not 0 or 1";
    }
  }
  return fields.AtEnd() ? nullptr : "more values than channels";
}

std::string Where(const LineReader& lines) {
  return "line " + std::to_string(lines.line_number()) + ": ";
}

int Fail(std::string* why, int status, const std::string& message) {
  if (why != nullptr) *why = message;
  return status;
}

}  // namespace

int ParseAsciiData(const Config& config, std::string_view bytes,
                   Samples* samples, std::string* why) {
  const size_t eof = bytes.find('\x1A');
  if (eof != std::string_view::npos) bytes = bytes.substr(0, eof);
  // The shortest line of a sample is its one-digit number, a comma before
  // each other field, and a line end.
  const uint64_t shortest_line = 2 + config.analog.size() +
                                 config.digital.size() + 1;
  const uint64_t count = static_cast<uint64_t>(config.sample_count);
  if (count > (bytes.size() + 1) / shortest_line) {
    return Fail(why, COMTRADE_ERR_TRUNCATED, "data is too short for the " +
                std::to_string(count) + " samples the configuration declares");
  }
  AllocateSamples(config, samples);
  const AsciiRowParser parser(config);
  LineReader lines(bytes);
  std::string_view line;
  uint64_t row = 0;
  while (lines.Next(&line)) {
    if (IsBlank(line)) continue;
    if (row == count) {
      return Fail(why, COMTRADE_ERR_INCONSISTENT, Where(lines) + "more "
                  "samples than the " + std::to_string(count) + " declared");
    }
    const char* reason = parser.Parse(line, static_cast<size_t>(row), samples);
    if (reason != nullptr) {
      return Fail(why, COMTRADE_ERR_SYNTAX, Where(lines) + reason);
    }
    ++row;
  }
  if (row < count) {
    return Fail(why, COMTRADE_ERR_TRUNCATED, "data holds " +
                std::to_string(row) + " samples, the configuration declares " +
                std::to_string(count));
  }
  return COMTRADE_OK;
}

}  // namespace comtrade
}  // namespace toolkit
