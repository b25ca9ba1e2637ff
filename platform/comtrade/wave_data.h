// The data classes the web service fills from a reader handle
// (comtrade.h): a record's configuration, its header and its samples.
//
// Each fillData() replaces the object's contents and returns 0, or a
// status of comtrade.h: COMTRADE_ERR_ARGUMENT for a null handle,
// COMTRADE_ERR_NO_PART when the handle lacks the part needed. On failure
// the object is left empty. Texts are UTF-8; channel names are trimmed of
// surrounding blanks.

#ifndef PLATFORM_COMTRADE_WAVE_DATA_H_
#define PLATFORM_COMTRADE_WAVE_DATA_H_

#include <sys/time.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/comtrade/comtrade.h"

namespace toolkit {

struct CWaveAnalogChannel {
  int64_t index = 0;        // as numbered in the configuration
  std::string name;
  std::string phase;
  std::string circuit;
  std::string units;
  double a = 1.0;           // engineering value = a * x + b
  double b = 0.0;
  double skew_us = 0.0;
  double primary = 1.0;
  double secondary = 1.0;
  bool primary_values = true;  // a * x + b is a primary-side value
};

struct CWaveDigitalChannel {
  int64_t index = 0;
  std::string name;
  std::string phase;
  std::string circuit;
  int normal_state = 0;
};

// The configuration part.
class CWaveConfigData {
 public:
  // Needs the configuration part. The sampling rate and the trigger index
  // also use the data part when the configuration gives no rate (timebase.h).
  // Fails with COMTRADE_ERR_RANGE when a time does not fit a timeval.
  int fillData(const comtrade_handle_t* handle);

  std::string stationName;
  std::string deviceId;
  int revisionYear = 0;            // 1991, 1999 or 2013
  double lineFrequency = 0.0;
  double samplingRate = 0.0;       // Hz; the first rate; 0 when unknown
  timeval startTime = {0, 0};      // first sample, UTC
  timeval triggerTime = {0, 0};    // trigger, UTC
  int64_t triggerIndex = -1;       // 0-based; -1 when unknown
  int64_t numberOfSamples = 0;     // as the configuration declares
  std::string dataFormat;          // "ASCII", "BINARY", "BINARY32", "FLOAT32"
  std::vector<CWaveAnalogChannel> analogChannels;
  std::vector<CWaveDigitalChannel> digitalChannels;
};

// The header part, read by the convention of header_parse.h.
class CWaveHeaderData {
 public:
  // Needs a header part (an empty or blank header counts as none). Fails
  // with COMTRADE_ERR_SYNTAX for a malformed "Trigger index:" line. Without
  // such a line the trigger index is the configuration's (-1 without one).
  int fillData(const comtrade_handle_t* handle);

  std::string eventDescription;
  std::string triggerChannel;
  int64_t triggerIndex = -1;
  std::string text;                // the whole header
};

// The samples of the analog channels.
class CWaveSampleData {
 public:
  struct Channel {
    std::string name;
    std::string units;
    std::vector<float> samples;    // NaN where the data marks a value missing
  };

  // Needs the configuration and data parts. With `engineering` true the
  // samples are engineering values a * x + b; with false, the values as
  // the data file holds them.
  int fillData(const comtrade_handle_t* handle, bool engineering);

  // The samples of the first channel named `name` (exact, case-sensitive
  // match), or null.
  const std::vector<float>* find(const std::string& name) const;

  int64_t numberOfSamples = 0;
  std::vector<Channel> channels;   // in configuration order
};

}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_WAVE_DATA_H_
