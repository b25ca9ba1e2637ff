// Charts of waveform records; see record_chart.h.

#include "tools/waveforms/record_chart.h"

#include <memory>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/wave_data.h"

namespace wsgated {

namespace {

struct HandleCloser {
  void operator()(comtrade_handle_t* handle) const { comtrade_close(handle); }
};

std::string titleOf(const comtrade_handle_t* handle,
                    const toolkit::CWaveConfigData& config) {
  std::string title = config.stationName + " " + config.deviceId;
  toolkit::CWaveHeaderData header;
  if (comtrade_has_header(handle) && header.fillData(handle) == 0 &&
      !header.eventDescription.empty()) {
    title += ": " + header.eventDescription;
  }
  return title;
}

// One series per wanted channel; false naming the first one missing.
bool seriesOf(const toolkit::CWaveSampleData& samples, double rate,
              const std::vector<std::string>& wanted,
              std::vector<ChartSeries>& series, std::string& error) {
  std::vector<std::string> names = wanted;
  if (names.empty())
    for (const auto& channel : samples.channels) names.push_back(channel.name);
  for (const std::string& name : names) {
    const std::vector<float>* values = samples.find(name);
    if (values == nullptr) {
      error = "no analog channel " + name;
      return false;
    }
    ChartSeries line{name, {}};
    line.points.reserve(values->size());
    for (size_t i = 0; i < values->size(); ++i)
      line.points.push_back({rate > 0.0 ? i / rate : double(i), (*values)[i]});
    series.push_back(std::move(line));
  }
  return true;
}

}  // namespace

bool chartRecord(const std::string& path,
                 const std::vector<std::string>& channels, ChartLayout layout,
                 std::string& svg, std::string& error) {
  std::unique_ptr<comtrade_handle_t, HandleCloser> handle(
      comtrade_alloc_handle());
  toolkit::CWaveConfigData config;
  toolkit::CWaveSampleData samples;
  if (comtrade_read_all_files(handle.get(), path.c_str()) != COMTRADE_OK ||
      config.fillData(handle.get()) != 0 ||
      samples.fillData(handle.get(), true) != 0) {
    error = path + ": " + comtrade_last_error(handle.get());
    return false;
  }
  std::vector<ChartSeries> series;
  if (!seriesOf(samples, config.samplingRate, channels, series, error))
    return false;
  if (layout.title.empty()) layout.title = titleOf(handle.get(), config);
  layout.xAxis = ChartAxis::kNumber;
  if (layout.xLabel.empty())
    layout.xLabel =
        config.samplingRate > 0.0 ? "seconds after the first sample" : "sample";
  svg = drawChart(layout, series);
  return true;
}

}  // namespace wsgated
