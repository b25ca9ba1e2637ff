// SVG line charts (chart.h).

#include "tools/chart/chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>

namespace wsgated {

namespace {

// Ten colours that stay apart for most forms of colour blindness.
const char* const kPalette[] = {"#4e79a7", "#f28e2b", "#e15759", "#76b7b2",
                                "#59a14f", "#edc948", "#b07aa1", "#ff9da7",
                                "#9c755f", "#bab0ac"};
constexpr int kPaletteSize = sizeof(kPalette) / sizeof(kPalette[0]);

// Round steps of a time axis, in seconds; longer spans step in days as
// numbers do.
const double kTimeSteps[] = {1,    2,    5,    10,    15,    30,    60,
                             120,  300,  600,  900,   1800,  3600,  7200,
                             10800, 21600, 43200, 86400, 172800, 604800};
constexpr double kDay = 86400;

// Margins around the plot, and the legend's rows, in pixels.
constexpr double kLeft = 76, kRight = 20, kTop = 44, kBottom = 52;
constexpr int kLegendRow = 20;
constexpr double kCharWidth = 7;  // of 12-pixel sans-serif, about

struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();

  void add(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
  bool empty() const { return low > high; }
};

// The smallest of 1, 2 and 5 times a power of ten that is at least `raw`.
double roundStep(double raw) {
  const double power = std::pow(10, std::floor(std::log10(raw)));
  for (double factor : {1.0, 2.0, 5.0, 10.0}) {
    if (factor * power >= raw * (1 - 1e-9)) return factor * power;
  }
  return 10 * power;
}

std::string escapeXml(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

// `pattern` with up to two numbers, however long it comes out.
std::string format(const char* pattern, double a, double b = 0) {
  const int size = snprintf(nullptr, 0, pattern, a, b);
  std::vector<char> text(static_cast<size_t>(std::max(size, 0)) + 1);
  snprintf(text.data(), text.size(), pattern, a, b);
  return text.data();
}

// Maps values of a range onto pixels from `from` to `to`.
struct Scale {
  double low, high, from, to;
  double operator()(double value) const {
    return from + (value - low) / (high - low) * (to - from);
  }
};

// Widens a range of one value (or none) so that it can be drawn, and pads
// a value range so that no line runs along the frame.
Range drawable(Range range, ChartAxis axis, bool pad) {
  if (range.empty()) range.low = range.high = 0;
  if (range.high == range.low) {
    const double half = axis == ChartAxis::kUnixSeconds
                            ? 30
                            : std::max(std::fabs(range.low) * 0.05, 0.5);
    range.low -= half;
    range.high += half;
  } else if (pad) {
    const double margin = (range.high - range.low) * 0.05;
    range.low -= margin;
    range.high += margin;
  }
  return range;
}

void drawAxes(const ChartLayout& layout, const Scale& x, const Scale& y,
              std::string& svg) {
  const double bottom = y.from, top = y.to;
  double step = 0;
  for (double tick : chartTicks(x.low, x.high,
                                std::max(2, static_cast<int>((x.to - x.from) / 100)),
                                layout.xAxis, &step)) {
    const double at = x(tick);
    svg += format("<line x1=\"%.1f\" y1=\"%.1f\" ", at, top) +
           format("x2=\"%.1f\" y2=\"%.1f\" stroke=\"#e4e4e4\"/>\n", at, bottom);
    svg += format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">", at,
                  bottom + 18) +
           escapeXml(chartTickLabel(tick, step, layout.xAxis)) + "</text>\n";
  }
  for (double tick :
       chartTicks(y.low, y.high, std::max(2, static_cast<int>((y.from - y.to) / 40)),
                  ChartAxis::kNumber, &step)) {
    const double at = y(tick);
    svg += format("<line x1=\"%.1f\" y1=\"%.1f\" ", x.from, at) +
           format("x2=\"%.1f\" y2=\"%.1f\" stroke=\"#e4e4e4\"/>\n", x.to, at);
    svg += format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"end\">",
                  x.from - 6, at + 4) +
           escapeXml(chartTickLabel(tick, step, ChartAxis::kNumber)) +
           "</text>\n";
  }
  svg += format("<rect x=\"%.1f\" y=\"%.1f\" ", x.from, top) +
         format("width=\"%.1f\" height=\"%.1f\" fill=\"none\" "
                "stroke=\"#333\"/>\n",
                x.to - x.from, bottom - top);
  svg += format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">",
                (x.from + x.to) / 2, bottom + 40) +
         escapeXml(layout.xLabel) + "</text>\n";
  svg += format("<text transform=\"translate(%.1f %.1f) rotate(-90)\" "
                "text-anchor=\"middle\">",
                16, (top + bottom) / 2) +
         escapeXml(layout.yLabel) + "</text>\n";
}

// One path per series, broken at gaps; a value alone between gaps is a dot.
void drawSeries(const ChartSeries& series, const char* colour,
                const Scale& x, const Scale& y, std::string& svg) {
  std::string path, dots;
  bool drawing = false;
  for (size_t i = 0; i < series.points.size(); ++i) {
    const ChartPoint& point = series.points[i];
    if (!std::isfinite(point.y) || !std::isfinite(point.x)) {
      drawing = false;
      continue;
    }
    const bool alone =
        !drawing && (i + 1 == series.points.size() ||
                     !std::isfinite(series.points[i + 1].y));
    if (alone) {
      dots += format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"2\" ", x(point.x),
                     y(point.y)) +
              "fill=\"" + colour + "\"/>\n";
    }
    path += format(drawing ? "L%.1f %.1f " : "M%.1f %.1f ", x(point.x),
                   y(point.y));
    drawing = true;
  }
  svg += "<path fill=\"none\" stroke-width=\"1.5\" stroke=\"" +
         std::string(colour) + "\" d=\"" + path + "\"><title>" +
         escapeXml(series.name) + "</title></path>\n" + dots;
}

// The legend's entries left to right, wrapping into rows; returns the rows.
int drawLegend(const std::vector<ChartSeries>& series, double width,
               double top, std::string& svg) {
  double at = kLeft;
  int row = 0;
  for (size_t i = 0; i < series.size(); ++i) {
    const double entry =
        22 + kCharWidth * static_cast<double>(series[i].name.size()) + 18;
    if (at + entry > width - kRight && at > kLeft) {
      at = kLeft;
      ++row;
    }
    const double y = top + row * kLegendRow;
    svg += format("<rect x=\"%.1f\" y=\"%.1f\" width=\"14\" height=\"4\" ", at,
                  y - 6) +
           "fill=\"" + kPalette[i % kPaletteSize] + "\"/>\n";
    svg += format("<text x=\"%.1f\" y=\"%.1f\">", at + 20, y) +
           escapeXml(series[i].name) + "</text>\n";
    at += entry;
  }
  return series.empty() ? 0 : row + 1;
}

}  // namespace

std::vector<double> chartTicks(double low, double high, int most,
                               ChartAxis axis, double* step) {
  most = std::max(2, most);
  const double span = high > low ? high - low : 1;
  const double raw = span / (most - 1);
  *step = roundStep(raw);
  if (axis == ChartAxis::kUnixSeconds) {
    const double* round = std::find_if(
        std::begin(kTimeSteps), std::end(kTimeSteps),
        [raw](double candidate) { return candidate >= raw; });
    *step = round != std::end(kTimeSteps) ? *round
                                          : roundStep(raw / kDay) * kDay;
  }
  std::vector<double> ticks;
  const double first = std::ceil(low / *step - 1e-9) * *step;
  for (double tick = first; tick <= high + *step * 1e-9 &&
                            ticks.size() < static_cast<size_t>(most) * 3;
       tick = first + static_cast<double>(ticks.size()) * *step) {
    // Sums of steps drift (0.1 * 3); ticks are kept at whole steps.
    ticks.push_back(std::round(tick / *step) * *step);
  }
  return ticks;
}

std::string chartTickLabel(double value, double step, ChartAxis axis) {
  if (axis == ChartAxis::kNumber) {
    const int decimals =
        step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
    char text[64];
    // No "-0" for a tick at zero that came out a hair below it.
    snprintf(text, sizeof(text), "%.*f", decimals,
             std::fabs(value) < step * 1e-6 ? 0 : value);
    return text;
  }
  const time_t seconds = static_cast<time_t>(std::floor(value));
  struct tm utc;
  gmtime_r(&seconds, &utc);
  char text[32];
  const char* pattern = step < 60      ? "%H:%M:%S"
                        : step >= kDay ? "%Y-%m-%d"
                        : utc.tm_hour == 0 && utc.tm_min == 0 ? "%m-%d"
                                                              : "%H:%M";
  strftime(text, sizeof(text), pattern, &utc);
  return text;
}

std::string drawChart(const ChartLayout& layout,
                      const std::vector<ChartSeries>& series) {
  const double width = std::max(layout.width, kMinChartSide);
  const double height = std::max(layout.height, kMinChartSide);
  Range xs, ys;
  for (const ChartSeries& one : series) {
    for (const ChartPoint& point : one.points) {
      if (!std::isfinite(point.x) || !std::isfinite(point.y)) continue;
      xs.add(point.x);
      ys.add(point.y);
    }
  }
  const bool empty = xs.empty();
  xs = drawable(xs, layout.xAxis, false);
  ys = drawable(ys, ChartAxis::kNumber, true);
  const Scale x{xs.low, xs.high, kLeft, width - kRight};
  const Scale y{ys.low, ys.high, height - kBottom, kTop};
  std::string body;
  drawAxes(layout, x, y, body);
  if (empty) {
    body += format("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\" "
                   "fill=\"#777\">no data</text>\n",
                   (x.from + x.to) / 2, (y.from + y.to) / 2);
  }
  for (size_t i = 0; i < series.size(); ++i) {
    drawSeries(series[i], kPalette[i % kPaletteSize], x, y, body);
  }
  const int rows = drawLegend(series, width, height + 4, body);
  const double total = height + rows * kLegendRow + 8;
  return format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" "
                "width=\"%.0f\" height=\"%.0f\" ",
                width, total) +
         format("viewBox=\"0 0 %.0f %.0f\" font-family=\"sans-serif\" "
                "font-size=\"12\">\n",
                width, total) +
         format("<rect width=\"%.0f\" height=\"%.0f\" fill=\"white\"/>\n",
                width, total) +
         format("<text x=\"%.1f\" y=\"24\" text-anchor=\"middle\" "
                "font-size=\"15\">",
                width / 2) +
         escapeXml(layout.title) + "</text>\n" + body + "</svg>\n";
}

}  // namespace wsgated
