// A writer of COMTRADE record sets (the 1999 revision, binary data), the
// form most recorders write and the platform's reader (platform/comtrade)
// reads: "<base>.cfg", "<base>.dat" and, when a header text is given,
// "<base>.hdr".
//
// It writes what wavectl makes up for the demo; it is no general
// converter: one sampling rate, analog values scaled to 16 bits per
// channel (a = largest magnitude / 32767, b = 0), time stamps in
// microseconds.

#ifndef TOOLS_WAVEFORMS_COMTRADE_WRITER_H_
#define TOOLS_WAVEFORMS_COMTRADE_WRITER_H_

#include <sys/time.h>

#include <string>
#include <vector>

namespace wsgated {

struct AnalogTrace {
  std::string name;            // ch_id: what clients ask getWaveformData for
  std::string phase;           // "A", "B", "C", "N" or ""
  std::string units;           // "V", "A"
  std::vector<double> values;  // primary values, one per sample
};

struct DigitalTrace {
  std::string name;
  int normalState = 0;
  std::vector<bool> values;
};

struct RecordToWrite {
  std::string station;
  std::string device;
  double lineFrequency = 50.0;
  double samplingRate = 0.0;  // Hz
  timeval start = {0, 0};     // first sample, UTC
  timeval trigger = {0, 0};
  std::vector<AnalogTrace> analog;
  std::vector<DigitalTrace> digital;
  std::string header;  // "" writes no header file
};

// Writes the record set at `base` (a path without extension), replacing
// files of that name. False, with the reason in `error`, when the record
// is inconsistent (channels of different lengths, no rate) or a file
// cannot be written.
bool writeComtradeRecord(const std::string& base, const RecordToWrite& record,
                         std::string& error);

}  // namespace wsgated

#endif  // TOOLS_WAVEFORMS_COMTRADE_WRITER_H_
