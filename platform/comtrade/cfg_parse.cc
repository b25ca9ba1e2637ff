// Configuration file parsing: ParseConfig of parse.h.
//
// The file is a sequence of lines in a fixed order (station; channel
// counts; one line per analog and digital channel; line frequency; sampling
// rates; start and trigger times; data file type; then, since 1999, the
// time multiplier and, since 2013, the time code and time quality lines).
// Each step below reads its lines and refuses what the format does not
// allow, naming the line.

#include <string>
#include <vector>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/datetime.h"
#include "platform/comtrade/guard.h"
#include "platform/comtrade/number.h"
#include "platform/comtrade/parse.h"
#include "platform/comtrade/text.h"

namespace toolkit {
namespace comtrade {

namespace {

using Fields = std::vector<std::string_view>;

// Channel numbers have at most six digits in every revision.
constexpr int64_t kMaxChannels = 999999;

class ConfigParser {
 public:
  ConfigParser(std::string_view text, Config* config, std::string* why)
      : lines_(text), config_(config), why_(why) {}

  int Parse();

 private:
  int Fail(int status, const std::string& message);
  // Reads the next line into fields_; fails with `what` at the end.
  int NextLine(const char* what);
  // Reads the next line into fields_ when there is one.
  bool NextOptionalLine();
  // Reads a real field; a blank one gives `blank`.
  bool Real(std::string_view field, double blank, double* value);

  int ParseIdentity();
  int ParseCounts();
  int ParseAnalog(AnalogChannel* channel);
  int ParseDigital(DigitalChannel* channel);
  int ParseLineFrequency();
  int ParseRates();
  int ParseTimes();
  int ParseFormat();
  int ParseTrailer();

  LineReader lines_;
  Config* config_;
  std::string* why_;
  Fields fields_;
  size_t analog_count_ = 0;
  size_t digital_count_ = 0;
};

int ConfigParser::Fail(int status, const std::string& message) {
  if (why_ != nullptr) {
    *why_ = "line " + std::to_string(lines_.line_number()) + ": " + message;
  }
  return status;
}

int ConfigParser::NextLine(const char* what) {
  std::string_view line;
  if (!lines_.Next(&line)) {
    return Fail(COMTRADE_ERR_TRUNCATED,
                std::string("the file ends before the ") + what);
  }
  fields_.clear();
  FieldReader reader(line);
  std::string_view field;
  while (reader.Next(&field)) fields_.push_back(field);
  return COMTRADE_OK;
}

bool ConfigParser::NextOptionalLine() {
  return !lines_.rest().empty() && NextLine("") == COMTRADE_OK;
}

bool ConfigParser::Real(std::string_view field, double blank, double* value) {
  if (field.empty()) {
    *value = blank;
    return true;
  }
  return ParseReal(field, value);
}

int ConfigParser::ParseIdentity() {
  int rc = NextLine("station line");
  if (rc != COMTRADE_OK) return rc;
  if (fields_.size() > 3) {
    return Fail(COMTRADE_ERR_SYNTAX, "station line has more than 3 fields");
  }
  config_->station = std::string(fields_[0]);
  if (fields_.size() > 1) config_->device = std::string(fields_[1]);
  int64_t year = 1991;  // the 1991 revision wrote no year
  if (fields_.size() > 2 && !fields_[2].empty() &&
      !ParseInteger(fields_[2], &year)) {
    return Fail(COMTRADE_ERR_SYNTAX, "revision year is not a number");
  }
  if (year == 1991) {
    config_->revision = 1991;
  } else if (year >= 1999 && year < 2013) {
    config_->revision = 1999;  // includes IEC 60255-24:2001
  } else if (year >= 2013 && year < 10000) {
    config_->revision = 2013;
  } else {
    return Fail(COMTRADE_ERR_UNSUPPORTED,
                "unknown revision year " + std::to_string(year));
  }
  return COMTRADE_OK;
}

// "TT,nnA,nnD"
int ConfigParser::ParseCounts() {
  int rc = NextLine("channel counts");
  if (rc != COMTRADE_OK) return rc;
  int64_t total, analog, digital;
  const auto count = [](std::string_view field, char suffix, int64_t* n) {
    // The suffix letter in either case: 'A' | 0x20 is 'a'.
    if (field.empty() || (field.back() | 0x20) != (suffix | 0x20)) return false;
    field.remove_suffix(1);
    return ParseInteger(field, n) && *n >= 0 && *n <= kMaxChannels;
  };
  if (fields_.size() != 3 || !ParseInteger(fields_[0], &total) ||
      !count(fields_[1], 'A', &analog) || !count(fields_[2], 'D', &digital)) {
    return Fail(COMTRADE_ERR_SYNTAX, "channel counts are not \"TT,nnA,nnD\"");
  }
  if (total != analog + digital) {
    return Fail(COMTRADE_ERR_INCONSISTENT,
                "total channel count is not analog plus digital");
  }
  analog_count_ = static_cast<size_t>(analog);
  digital_count_ = static_cast<size_t>(digital);
  return COMTRADE_OK;
}

// An,ch_id,ph,ccbm,uu,a,b,skew,min,max[,primary,secondary,PS]
int ConfigParser::ParseAnalog(AnalogChannel* channel) {
  int rc = NextLine("analog channel lines");
  if (rc != COMTRADE_OK) return rc;
  const Fields& f = fields_;
  if (f.size() != 10 && f.size() != 13) {
    return Fail(COMTRADE_ERR_SYNTAX, "analog channel line has " +
                std::to_string(f.size()) + " fields, not 10 or 13");
  }
  if (!ParseInteger(f[0], &channel->index)) {
    return Fail(COMTRADE_ERR_SYNTAX, "analog channel index is not a number");
  }
  channel->name = std::string(f[1]);
  channel->phase = std::string(f[2]);
  channel->circuit = std::string(f[3]);
  channel->units = std::string(f[4]);
  if (!ParseReal(f[5], &channel->a) || !Real(f[6], 0, &channel->b) ||
      !Real(f[7], 0, &channel->skew_us) || !Real(f[8], 0, &channel->min) ||
      !Real(f[9], 0, &channel->max)) {
    return Fail(COMTRADE_ERR_SYNTAX, "analog channel " + channel->name +
                ": a, b, skew, min or max is not a number");
  }
  if (f.size() == 13) {
    const std::string_view side = f[12];
    if (!Real(f[10], 1, &channel->primary) ||
        !Real(f[11], 1, &channel->secondary) ||
        !(side.empty() || EqualsIgnoreCase(side, "P") ||
          EqualsIgnoreCase(side, "S"))) {
      return Fail(COMTRADE_ERR_SYNTAX, "analog channel " + channel->name +
                  ": bad primary, secondary or P/S field");
    }
    channel->primary_values = !EqualsIgnoreCase(side, "S");
  }
  return COMTRADE_OK;
}

// Dn,ch_id,ph,ccbm,y (1991: Dn,ch_id,y)
int ConfigParser::ParseDigital(DigitalChannel* channel) {
  int rc = NextLine("digital channel lines");
  if (rc != COMTRADE_OK) return rc;
  const Fields& f = fields_;
  if (f.size() != 3 && f.size() != 5) {
    return Fail(COMTRADE_ERR_SYNTAX, "digital channel line has " +
                std::to_string(f.size()) + " fields, not 3 or 5");
  }
  const std::string_view state = f.back();
  if (!ParseInteger(f[0], &channel->index) ||
      !(state.empty() || state == "0" || state == "1")) {
    return Fail(COMTRADE_ERR_SYNTAX, "bad digital channel index or state");
  }
  channel->name = std::string(f[1]);
  if (f.size() == 5) {
    channel->phase = std::string(f[2]);
    channel->circuit = std::string(f[3]);
  }
  channel->normal_state = state == "1" ? 1 : 0;
  return COMTRADE_OK;
}

int ConfigParser::ParseLineFrequency() {
  int rc = NextLine("line frequency");
  if (rc != COMTRADE_OK) return rc;
  if (fields_.size() != 1 || !Real(fields_[0], 0, &config_->line_frequency)) {
    return Fail(COMTRADE_ERR_SYNTAX, "line frequency is not a number");
  }
  return COMTRADE_OK;
}

// nrates, then nrates lines "samp,endsamp" ("0,endsamp" when nrates is 0).
int ConfigParser::ParseRates() {
  int rc = NextLine("number of sampling rates");
  if (rc != COMTRADE_OK) return rc;
  int64_t nrates;
  if (fields_.size() != 1 || !ParseInteger(fields_[0], &nrates) ||
      nrates < 0) {
    return Fail(COMTRADE_ERR_SYNTAX, "number of sampling rates is not a "
                "count");
  }
  const int64_t lines = nrates == 0 ? 1 : nrates;
  int64_t previous_end = 0;
  for (int64_t i = 0; i < lines; ++i) {
    if ((rc = NextLine("sampling rate lines")) != COMTRADE_OK) return rc;
    RateSection section;
    if (fields_.size() != 2 || !ParseReal(fields_[0], &section.rate_hz) ||
        !ParseInteger(fields_[1], &section.end_sample) ||
        section.rate_hz < 0 || section.end_sample < 0) {
      return Fail(COMTRADE_ERR_SYNTAX, "sampling rate line is not "
                  "\"samp,endsamp\"");
    }
    config_->sample_count = section.end_sample;
    // A single rate of 0 means variable rate, as nrates 0 does.
    if (nrates == 0 || (nrates == 1 && section.rate_hz == 0)) break;
    if (section.rate_hz == 0 || section.end_sample <= previous_end) {
      return Fail(COMTRADE_ERR_INCONSISTENT, "sampling rate 0, or a section "
                  "that does not end after the previous one");
    }
    previous_end = section.end_sample;
    config_->rates.push_back(section);
  }
  return COMTRADE_OK;
}

int ConfigParser::ParseTimes() {
  const bool month_first = config_->revision == 1991;
  TimePoint* points[] = {&config_->start, &config_->trigger};
  for (TimePoint* point : points) {
    int rc = NextLine(point == &config_->start ? "start time" : "trigger time");
    if (rc != COMTRADE_OK) return rc;
    bool nanoseconds = false;
    if (fields_.size() != 2 ||
        !ParseDateTime(fields_[0], fields_[1], month_first, point,
                       &nanoseconds)) {
      return Fail(COMTRADE_ERR_SYNTAX, month_first
                  ? "time is not \"mm/dd/yy,hh:mm:ss.ssssss\""
                  : "time is not \"dd/mm/yyyy,hh:mm:ss.ssssss\"");
    }
    config_->nanosecond_stamps = config_->nanosecond_stamps || nanoseconds;
  }
  return COMTRADE_OK;
}

int ConfigParser::ParseFormat() {
  int rc = NextLine("data file type");
  if (rc != COMTRADE_OK) return rc;
  static const DataFormat kFormats[] = {DataFormat::kAscii, DataFormat::kBinary,
                                        DataFormat::kBinary32,
                                        DataFormat::kFloat32};
  for (DataFormat format : kFormats) {
    if (fields_.size() == 1 && EqualsIgnoreCase(fields_[0],
                                                DataFormatName(format))) {
      config_->format = format;
      return COMTRADE_OK;
    }
  }
  return Fail(COMTRADE_ERR_UNSUPPORTED, "unknown data file type");
}

// Since 1999: timemult; since 2013: "time_code,local_code" and
// "tmq_code,leapsec". Writers often leave the later lines out; a missing
// line takes its default.
int ConfigParser::ParseTrailer() {
  if (config_->revision < 1999 || !NextOptionalLine()) return COMTRADE_OK;
  if (fields_.size() != 1 || !Real(fields_[0], 1, &config_->time_multiplier) ||
      config_->time_multiplier <= 0) {
    return Fail(COMTRADE_ERR_SYNTAX, "time multiplier is not a positive "
                "number");
  }
  if (config_->revision < 2013 || !NextOptionalLine()) return COMTRADE_OK;
  bool given, local_given;
  int offset_minutes, local_minutes;
  if (fields_.size() != 2 ||
      !ParseTimeCode(fields_[0], &given, &offset_minutes) ||
      !ParseTimeCode(fields_[1], &local_given, &local_minutes)) {
    return Fail(COMTRADE_ERR_SYNTAX, "time code line is not "
                "\"time_code,local_code\"");
  }
  config_->time_code = std::string(fields_[0]);
  config_->local_code = std::string(fields_[1]);
  // Written times are UTC plus the offset.
  config_->start = AddMinutes(config_->start, -offset_minutes);
  config_->trigger = AddMinutes(config_->trigger, -offset_minutes);
  if (NextOptionalLine() && fields_.size() == 2) {
    config_->time_quality = std::string(fields_[0]);
    config_->leap_second = std::string(fields_[1]);
  }
  return COMTRADE_OK;
}

int ConfigParser::Parse() {
  int rc = ParseIdentity();
  if (rc == COMTRADE_OK) rc = ParseCounts();
  for (size_t i = 0; rc == COMTRADE_OK && i < analog_count_; ++i) {
    config_->analog.emplace_back();
    rc = ParseAnalog(&config_->analog.back());
  }
  for (size_t i = 0; rc == COMTRADE_OK && i < digital_count_; ++i) {
    config_->digital.emplace_back();
    rc = ParseDigital(&config_->digital.back());
  }
  if (rc == COMTRADE_OK) rc = ParseLineFrequency();
  if (rc == COMTRADE_OK) rc = ParseRates();
  if (rc == COMTRADE_OK) rc = ParseTimes();
  if (rc == COMTRADE_OK) rc = ParseFormat();
  if (rc == COMTRADE_OK) rc = ParseTrailer();
  return rc;
}

}  // namespace

const char* DataFormatName(DataFormat format) {
  switch (format) {
    case DataFormat::kAscii: return "ASCII";
    case DataFormat::kBinary: return "BINARY";
    case DataFormat::kBinary32: return "BINARY32";
    case DataFormat::kFloat32: return "FLOAT32";
  }
  return "?";
}

int ParseConfig(std::string_view bytes, Config* config, std::string* why) {
  return NoThrow(why, [&] {
    *config = Config();
    const std::string text = DecodeText(bytes);
    return ConfigParser(text, config, why).Parse();
  });
}

}  // namespace comtrade
}  // namespace toolkit
