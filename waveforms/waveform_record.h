// COMTRADE waveform records: the two nsqv operations over the records of
// the waveform folder (-w), read with the platform's COMTRADE reader
// (platform/comtrade, docs/comtrade.md).
//
// Each operation's file (get_waveform_config.cc, get_waveform_data.cc)
// ends in the engine's entry point, a thin wrapper around the function
// declared here that does the work, so that tests drive it without the
// engine. Every failure is an error result in `result` ("? <code> <name> :
// <detail>", common/bnws_error.h); none makes a SOAP fault. No rights are
// checked: any caller the web server let in may read every record, as the
// web server's download of the same folder allows (docs/waveforms.md).
//
// Both operations start alike (openWaveformRecord): map the URL to a path
// inside the folder (error 33 when it cannot be), then read the whole
// record set (error 22 when it cannot be). The reader's handle lives in a
// ComtradeHandle, which releases it on every way out of the operation.

#ifndef WAVEFORMS_WAVEFORM_RECORD_H_
#define WAVEFORMS_WAVEFORM_RECORD_H_

#include <sys/time.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/comtrade/comtrade.h"

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

// getWaveformConfig answers this sample count whatever the record holds:
// clients size their sample buffers by it, and the real count is what
// getWaveformData's `data` holds.
constexpr int kReportedNumberSamples = 2048;

// One request's reader handle and the path read into it; the handle is
// released when the object goes.
class ComtradeHandle {
 public:
  ComtradeHandle() : handle_(comtrade_alloc_handle()) {}
  ~ComtradeHandle() { comtrade_close(handle_); }
  ComtradeHandle(const ComtradeHandle&) = delete;
  ComtradeHandle& operator=(const ComtradeHandle&) = delete;

  comtrade_handle_t* get() const { return handle_; }
  // Where the record's files are ("" before a path is known).
  std::string path;

 private:
  comtrade_handle_t* handle_;
};

// The common start: maps `url` (null: none, refused like an empty one)
// into the context's waveform folder and reads the record set there into
// `handle`. False, with the error result in `result` and the log line
// written, when either step fails.
bool openWaveformRecord(ServiceContext* context, const ServiceOptions& options,
                        const std::string* url, ComtradeHandle& handle,
                        std::string& result);

// A UNIX time of the configuration as a device time (xsd:long).
int64_t waveformDeviceTime(const timeval& time);

// A trigger index of the reader (-1: unknown) as the answer's xsd:int;
// indexes beyond its range answer its maximum.
int waveformIndex(int64_t index);

// What getWaveformConfig answers besides `result`.
struct WaveformConfig {
  std::string stationId;
  std::string deviceId;
  std::string eventDescr;
  std::string triggerChannel;
  double samplingRate = 0.0;
  int numberSamples = 0;
  int64_t startTime = 0;
  int64_t triggerTime = 0;
  int triggerIndex = 0;
  std::vector<std::string> analogChannelNames;
  std::vector<std::string> digitalChannelNames;
};

// getWaveformConfig: the header first (a record without one is not
// described), then the configuration. When the configuration fails after
// a good header, `config` keeps the header's fields beside the error.
void describeWaveform(ServiceContext* context, const ServiceOptions& options,
                      const std::string* url, WaveformConfig& config,
                      std::string& result);

// What getWaveformData answers besides `result`.
struct WaveformSamples {
  double samplingRate = 0.0;
  int64_t startTime = 0;
  int64_t triggerTime = 0;
  int triggerIndex = 0;
  std::vector<double> data;
};

// getWaveformData: the samples of the analog channel named exactly
// `channel` (null: no channel, which matches none), widened to double.
// `samples.data` is empty unless `result` is "OK".
void readWaveformSamples(ServiceContext* context, const ServiceOptions& options,
                         const std::string* url, const std::string* channel,
                         WaveformSamples& samples, std::string& result);

}  // namespace wsgated

#endif  // WAVEFORMS_WAVEFORM_RECORD_H_
