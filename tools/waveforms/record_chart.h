// A waveform record drawn as an SVG chart (tools/chart/chart.h): the
// samples of its analog channels in engineering units against the seconds
// since the first sample, one line per channel.

#ifndef TOOLS_WAVEFORMS_RECORD_CHART_H_
#define TOOLS_WAVEFORMS_RECORD_CHART_H_

#include <string>
#include <vector>

#include "tools/chart/chart.h"

namespace wsgated {

// Reads the record set at `path` (with or without extension, as the
// COMTRADE reader takes it) and draws the analog channels named in
// `channels` (all of them when empty, in the record's order) into `svg`.
// `layout`'s title, when empty, becomes "<station> <device>: <event>".
// False, with the reason in `error`, when the record cannot be read or a
// channel is not among its analog channels.
bool chartRecord(const std::string& path,
                 const std::vector<std::string>& channels, ChartLayout layout,
                 std::string& svg, std::string& error);

}  // namespace wsgated

#endif  // TOOLS_WAVEFORMS_RECORD_CHART_H_
