// The `trend` subcommands, on the interval trend log (platform/trend.h)
// rather than the store:
//   trend show FILE [--last N]
//   trend chart FILE DEVICE [--period S] [--point PATH]... [--value V]
//                           [--from T] [--to T] [--max N] [--width W]
//                           [--height H]
//
// show lists the periods, the devices with their parameters, and each
// device's last N snapshots of each period. chart draws one device's trend
// as an SVG document on standard output (tools/chart/chart.h): one line
// per parameter, of its average unless --value names another statistic.

#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>

#include "platform/trend.h"
#include "tools/cdsctl/cli.h"
#include "tools/chart/chart.h"

namespace cdsctl {
namespace {

using toolkit::trend::CDeviceData;
using toolkit::trend::CDeviceParams;
using toolkit::trend::CDeviceProperties;
using toolkit::trend::CLog;
using toolkit::trend::CParamProperties;
using toolkit::trend::CPeriodProperties;
using toolkit::trend::CSample;
using toolkit::trend::CSnapshot;

// A person at a terminal waits for a lock rather than retry.
constexpr unsigned kPatientBusyMs = 5000;

int TrendFailed(const std::string& what, int status) {
  return FailedMessage(what + ": " + pcd_log_status_name(status));
}

// Opens FILE as cdsctl reads it: patiently, and this one file to the end.
bool OpenTrendLog(const std::string& path, CLog* log, int* exit_code) {
  const int status =
      log->open(path, true, false, kPatientBusyMs, false, 0, 0, 0, true);
  if (status == 0) return true;
  TrendFailed("cannot open trend log " + path, status);
  *exit_code = kExitNoStore;
  return false;
}

std::string Number(double value) {
  if (std::isnan(value)) return "-";
  char text[32];
  snprintf(text, sizeof(text), "%g", value);
  return text;
}

std::string Traits(const CParamProperties& param) {
  std::string text;
  const std::pair<bool, const char*> traits[] = {
      {param.has_min, "min"},       {param.has_max, "max"},
      {param.has_avg, "avg"},       {param.has_actual, "actual"},
      {param.has_stddev, "stddev"}};
  for (const auto& trait : traits) {
    if (trait.first) text += std::string(text.empty() ? "" : " ") + trait.second;
  }
  return text;
}

std::string SnapshotTime(long seconds) {
  return FormatQrxTime(static_cast<long long>(seconds) * 1000000);
}

void ShowDevice(CLog& log, const CDeviceProperties& device,
                const std::vector<CPeriodProperties>& periods,
                long long last) {
  std::cout << "device " << device.path << " (" << device.name << ")\n";
  CDeviceParams params{device, {}};
  if (log.get_params(device, params.params) != 0) return;
  for (const CParamProperties& param : params.params) {
    std::cout << "  " << param.path
              << (param.type == toolkit::trend::TREND_SAMPLE_PF ? " PF" : "")
              << ": " << Traits(param) << "\n";
  }
  for (const CPeriodProperties& period : periods) {
    CDeviceData data;
    if (last <= 0 || log.get_trend_data(data, params, {period}, {-1, -1},
                                        static_cast<unsigned>(last), 0, true,
                                        false) != 0) {
      continue;
    }
    for (const CSnapshot& snapshot : data.snapshots) {
      std::cout << "  " << period.period << " s ending "
                << SnapshotTime(snapshot.time) << ", "
                << Number(snapshot.percent_valid) << "% valid\n";
      for (size_t i = 0; i < snapshot.samples.size(); ++i) {
        const CSample& s = snapshot.samples[i];
        std::cout << "    " << params.params[i].path << "  min "
                  << Number(s.min) << "  max " << Number(s.max) << "  avg "
                  << Number(s.avg) << "  actual " << Number(s.actual) << "\n";
      }
    }
  }
}

int TrendShow(std::vector<std::string> args) {
  long long last = 0;
  std::string error;
  if (!TakeNumberOption(&args, "--last", 3, &last, &error) ||
      !NoUnknownOptions(args, &error)) {
    return UsageError(error);
  }
  if (args.size() != 1) return UsageError("trend show needs one trend log");
  CLog log;
  int code = kExitOk;
  if (!OpenTrendLog(args[0], &log, &code)) return code;
  std::vector<CPeriodProperties> periods;
  std::vector<CDeviceProperties> devices;
  int status = log.get_periods(periods);
  if (status == 0) status = log.get_devices(devices);
  if (status != 0) return TrendFailed("trend show " + args[0], status);
  for (const CPeriodProperties& period : periods) {
    std::cout << "period " << period.period << " s, keeps "
              << period.max_entries << " snapshots of each device\n";
  }
  for (const CDeviceProperties& device : devices) {
    ShowDevice(log, device, periods, last);
  }
  return kExitOk;
}

struct ChartOptions {
  long long period = 0;  // 0: the shortest
  std::vector<std::string> points;
  std::string value = "avg";
  bool has_from = false, has_to = false;
  timeval from{}, to{};
  long long max = 2000, width = 960, height = 480;
};

bool TakeChartOptions(std::vector<std::string>* args, ChartOptions* o,
                      std::string* error) {
  std::string text;
  bool found = true;
  while (found) {
    if (!TakeOption(args, "--point", &text, &found, error)) return false;
    if (found) o->points.push_back(text);
  }
  if (!TakeOption(args, "--value", &o->value, &found, error) ||
      !TakeTime(args, "--from", &o->has_from, &o->from, error) ||
      !TakeTime(args, "--to", &o->has_to, &o->to, error)) {
    return false;
  }
  if (o->value != "min" && o->value != "max" && o->value != "avg" &&
      o->value != "actual") {
    *error = "--value is one of min, max, avg, actual";
    return false;
  }
  return TakeNumberOption(args, "--period", 0, &o->period, error) &&
         TakeNumberOption(args, "--max", o->max, &o->max, error) &&
         TakeNumberOption(args, "--width", o->width, &o->width, error) &&
         TakeNumberOption(args, "--height", o->height, &o->height, error) &&
         NoUnknownOptions(*args, error);
}

double ValueOf(const CSample& sample, const std::string& value) {
  return value == "min"   ? sample.min
         : value == "max" ? sample.max
         : value == "avg" ? sample.avg
                          : sample.actual;
}

// The series of each parameter of `data`, named by its path below the
// device.
std::vector<wsgated::ChartSeries> ChartSeriesOf(const CDeviceData& data,
                                                const std::string& value) {
  std::vector<wsgated::ChartSeries> series(data.params.size());
  for (size_t i = 0; i < data.params.size(); ++i) {
    const std::string& path = data.params[i].path;
    const bool below = path.compare(0, data.device.path.size() + 1,
                                    data.device.path + "/") == 0;
    series[i].name = below ? path.substr(data.device.path.size() + 1) : path;
    for (const CSnapshot& snapshot : data.snapshots) {
      series[i].points.push_back({static_cast<double>(snapshot.time),
                                  ValueOf(snapshot.samples[i], value)});
    }
  }
  return series;
}

// The device record (with its name) and the parameters to draw: the
// --points, else all of the device's.
int ChartParams(CLog& log, const std::string& device,
                const std::vector<std::string>& points,
                CDeviceParams* params) {
  params->device.path = device;
  std::vector<CDeviceProperties> devices;
  int status = log.get_devices(devices);
  for (const CDeviceProperties& known : devices) {
    if (known.path == device) params->device = known;
  }
  if (status == 0) status = log.get_params(params->device, params->params);
  if (status != 0 || points.empty()) return status;
  params->params.clear();
  for (const std::string& point : points) {
    CParamProperties param;
    param.path = point;
    params->params.push_back(param);
  }
  return 0;
}

int TrendChart(std::vector<std::string> args) {
  ChartOptions o;
  std::string error;
  if (!TakeChartOptions(&args, &o, &error)) return UsageError(error);
  if (args.size() != 2) {
    return UsageError("trend chart needs a trend log and a device path");
  }
  CLog log;
  int code = kExitOk;
  if (!OpenTrendLog(args[0], &log, &code)) return code;
  std::vector<CPeriodProperties> periods;
  CDeviceParams params;
  int status = log.get_periods(periods);
  if (status == 0) status = ChartParams(log, args[1], o.points, &params);
  if (status != 0) return TrendFailed("trend chart " + args[1], status);
  if (periods.empty()) return FailedMessage("trend chart: the log has no periods");
  const unsigned period =
      o.period != 0 ? static_cast<unsigned>(o.period) : periods.front().period;
  CDeviceData data;
  status = log.get_trend_data(data, params, {{period, 0}},
                              {o.has_from ? o.from.tv_sec : -1,
                               o.has_to ? o.to.tv_sec : -1},
                              static_cast<unsigned>(o.max), 0, true, false);
  if (status != 0) return TrendFailed("trend chart " + args[1], status);
  wsgated::ChartLayout layout;
  layout.title = params.device.name + " (" + params.device.path + "): " +
                 o.value + " per " + std::to_string(period) + " s";
  layout.xLabel = "time (UTC)";
  layout.yLabel = o.value;
  layout.width = static_cast<int>(std::min(o.width, 20000LL));
  layout.height = static_cast<int>(std::min(o.height, 20000LL));
  std::cout << wsgated::drawChart(layout, ChartSeriesOf(data, o.value));
  return kExitOk;
}

}  // namespace

int CmdTrend(const Invocation& invocation) {
  std::vector<std::string> args = invocation.args;
  if (args.empty()) return UsageError("trend needs show or chart");
  const std::string verb = args[0];
  args.erase(args.begin());
  if (verb == "show") return TrendShow(args);
  if (verb == "chart") return TrendChart(args);
  return UsageError("unknown trend command '" + verb + "'");
}

}  // namespace cdsctl
