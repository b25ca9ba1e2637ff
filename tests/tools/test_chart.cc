// SVG line charts: where ticks go and how they read, lines broken at gaps,
// lone values as dots, texts escaped, an empty chart saying so.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tools/chart/chart.h"

namespace wsgated {
namespace {

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos;
       at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(Chart, TicksAreRoundAndReadAsTheirAxis) {
  struct Case {
    double low, high;
    int most;
    ChartAxis axis;
    std::vector<std::string> labels;
  } cases[] = {
      {0, 10, 6, ChartAxis::kNumber, {"0", "2", "4", "6", "8", "10"}},
      {0.13, 0.87, 5, ChartAxis::kNumber, {"0.2", "0.4", "0.6", "0.8"}},
      {-7.5, 2.5, 3, ChartAxis::kNumber, {"-5", "0"}},
      {-0.25, 0.05, 4, ChartAxis::kNumber, {"-0.2", "-0.1", "0.0"}},
      {0, 86400, 5, ChartAxis::kUnixSeconds,
       {"01-01", "06:00", "12:00", "18:00", "01-02"}},
      {30, 150, 3, ChartAxis::kUnixSeconds, {"00:01", "00:02"}},
      {5, 20, 3, ChartAxis::kUnixSeconds, {"00:00:10", "00:00:20"}},
      {86400 * 3, 86400 * 6, 4, ChartAxis::kUnixSeconds,
       {"1970-01-04", "1970-01-05", "1970-01-06", "1970-01-07"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.low) + ".." + std::to_string(c.high));
    double step = 0;
    std::vector<std::string> labels;
    for (double tick : chartTicks(c.low, c.high, c.most, c.axis, &step)) {
      EXPECT_LE(c.low, tick);
      EXPECT_GE(c.high, tick);
      labels.push_back(chartTickLabel(tick, step, c.axis));
    }
    EXPECT_EQ(c.labels, labels);
  }
}

TEST(Chart, GapsBreakTheLineAndLoneValuesAreDots) {
  const double gap = std::nan("");
  ChartLayout layout;
  layout.title = "Volts & <amps>";
  const std::string svg = drawChart(
      layout, {{"a<b", {{0, 1}, {60, 2}, {120, gap}, {180, 3}, {240, 4}}},
               {"lone", {{0, gap}, {60, 5}, {120, gap}}}});
  EXPECT_EQ(0u, svg.find("<?xml"));
  EXPECT_EQ(2u, Count(svg, "<path "));
  EXPECT_EQ(3u, Count(svg, "M"));  // two runs of a<b, the lone value
  EXPECT_EQ(1u, Count(svg, "<circle"));
  EXPECT_NE(std::string::npos, svg.find("Volts &amp; &lt;amps&gt;"));
  EXPECT_NE(std::string::npos, svg.find(">a&lt;b</text>"));
  EXPECT_EQ(std::string::npos, svg.find("no data"));
  EXPECT_NE(std::string::npos, drawChart(layout, {{"x", {{0, gap}}}})
                                   .find(">no data</text>"));
}

}  // namespace
}  // namespace wsgated
