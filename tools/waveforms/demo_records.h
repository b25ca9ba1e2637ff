// The demo's waveform records: made-up but physically plausible captures
// of the sample device's meter and feeder breaker, written with the
// COMTRADE writer (comtrade_writer.h). The same call writes the same
// bytes, so that documents and tests can name the records and figures.
//
//   meter1-fault-2026-11-18   /Devices/Meter1: a phase A to ground fault on
//                             its feeder, cleared after five cycles
//   breaker1-trip-2026-11-19  /Devices/Breaker1: a ground fault on phase B,
//                             the trip command and the current interrupted
//                             at each phase's zero crossing

#ifndef TOOLS_WAVEFORMS_DEMO_RECORDS_H_
#define TOOLS_WAVEFORMS_DEMO_RECORDS_H_

#include <string>
#include <vector>

#include "tools/waveforms/comtrade_writer.h"

namespace wsgated {

struct DemoRecord {
  std::string name;  // the base name in the folder
  RecordToWrite record;
};

// The records, in the order above.
std::vector<DemoRecord> demoRecords();

// Writes every demo record into `folder` (which must exist). False, with
// the reason in `error`, when one cannot be written.
bool writeDemoRecords(const std::string& folder, std::string& error);

}  // namespace wsgated

#endif  // TOOLS_WAVEFORMS_DEMO_RECORDS_H_
