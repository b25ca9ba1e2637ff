// Line charts of named series, as a self-contained SVG document: axes with
// ticks and labels, a title, a legend, one colour per series. Plain SVG 1.1
// text (no scripts, styles or fonts from elsewhere), so that any browser or
// image viewer shows it and a file can be mailed as it is.
//
// Used for trends (cdsctl trend chart) and meant for anything else plotted
// against time or a number: waveform samples, log values.
//
//   ChartLayout layout;
//   layout.title = "Meter1: average per 15 min";
//   std::string svg = drawChart(layout, {{"VoltageL1N", points}});
//
// A point whose value is NaN is a gap: the line stops there and starts
// again at the next value. Points are drawn in the order given.

#ifndef TOOLS_CHART_CHART_H_
#define TOOLS_CHART_CHART_H_

#include <string>
#include <vector>

namespace wsgated {

struct ChartPoint {
  double x;
  double y;  // NaN: no value here
};

struct ChartSeries {
  std::string name;
  std::vector<ChartPoint> points;
};

// How the x values are read and labelled.
enum class ChartAxis {
  kUnixSeconds,  // times: labels in UTC, at whole seconds, minutes, hours
                 // or days as the span suggests
  kNumber,       // plain numbers
};

struct ChartLayout {
  std::string title;
  std::string xLabel;
  std::string yLabel;
  ChartAxis xAxis = ChartAxis::kUnixSeconds;
  int width = 960;   // pixels, at least kMinChartSide
  int height = 480;  // of the plot and its axes; the legend adds its rows
};

constexpr int kMinChartSide = 200;

// Tick positions for an axis from `low` to `high`: at most `most` (at least
// two) round values within the range, evenly `step` apart (1, 2 or 5 times
// a power of ten; for times also whole minutes, hours and days).
std::vector<double> chartTicks(double low, double high, int most,
                               ChartAxis axis, double* step);

// The text of tick `value` when ticks are `step` apart.
std::string chartTickLabel(double value, double step, ChartAxis axis);

// The chart as an SVG document. Without any value it says "no data".
std::string drawChart(const ChartLayout& layout,
                      const std::vector<ChartSeries>& series);

}  // namespace wsgated

#endif  // TOOLS_CHART_CHART_H_
