// The decoded parts of one COMTRADE record set, as the parsers (parse.h)
// produce them and a reader handle (comtrade.h) keeps them.
//
// Texts are UTF-8. Times are UTC (see datetime.h). Sample values are kept
// as the data file holds them (the "raw" values x); the engineering value
// of an analog sample is a * x + b with the channel's factors.

#ifndef PLATFORM_COMTRADE_RECORD_H_
#define PLATFORM_COMTRADE_RECORD_H_

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace toolkit {
namespace comtrade {

enum class DataFormat { kAscii, kBinary, kBinary32, kFloat32 };

// "ASCII", "BINARY", "BINARY32" or "FLOAT32".
const char* DataFormatName(DataFormat format);

struct AnalogChannel {
  int64_t index = 0;         // An, as written
  std::string name;          // ch_id, trimmed of blanks
  std::string phase;         // ph
  std::string circuit;       // ccbm
  std::string units;         // uu
  double a = 1.0;            // multiplier
  double b = 0.0;            // offset
  double skew_us = 0.0;      // sampling skew from the sample time
  double min = 0.0;          // range of the raw values
  double max = 0.0;
  double primary = 1.0;      // transformer ratio primary : secondary
  double secondary = 1.0;
  bool primary_values = true;  // 'P': a * x + b is a primary value; 'S' not
};

struct DigitalChannel {
  int64_t index = 0;         // Dn, as written
  std::string name;          // ch_id, trimmed of blanks
  std::string phase;         // ph
  std::string circuit;       // ccbm
  int normal_state = 0;      // y: 0 or 1
};

// Samples up to and including the 1-based sample `end_sample` were taken at
// `rate_hz`.
struct RateSection {
  double rate_hz = 0.0;
  int64_t end_sample = 0;
};

// Seconds since 1970-01-01 00:00:00 UTC and nanoseconds (0..999999999).
struct TimePoint {
  int64_t seconds = 0;
  int32_t nanos = 0;
};

struct Config {
  std::string station;
  std::string device;
  int revision = 1991;                 // 1991, 1999 or 2013
  std::vector<AnalogChannel> analog;
  std::vector<DigitalChannel> digital;
  double line_frequency = 0.0;         // 0 when not given
  std::vector<RateSection> rates;      // empty: the time stamps decide
  int64_t sample_count = 0;
  TimePoint start;                     // first sample, UTC
  TimePoint trigger;                   // trigger point, UTC
  bool nanosecond_stamps = false;      // data time stamps count ns, not us
  DataFormat format = DataFormat::kAscii;
  double time_multiplier = 1.0;
  // 2013 lines, as written ("" when absent); the offset is applied above.
  std::string time_code;
  std::string local_code;
  std::string time_quality;
  std::string leap_second;
};

// A time stamp the data file marks as missing.
constexpr int64_t kMissingStamp = std::numeric_limits<int64_t>::min();

struct Samples {
  int64_t count = 0;
  std::vector<int64_t> stamps;               // raw, in stamp units
  std::vector<std::vector<float>> analog;    // per channel; NaN = missing
};

struct Record {
  bool has_config = false;
  bool has_data = false;
  bool has_header = false;
  bool has_info = false;
  Config config;
  Samples samples;
  std::string header;  // text of the header file
  std::string info;    // text of the information file
};

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_RECORD_H_
