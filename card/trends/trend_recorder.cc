// The trend recorder (trend_recorder.h).

#include "card/trends/trend_recorder.h"

#include <sys/time.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "card/trends/backfill.h"
#include "common/log.h"

namespace wsgated {

const char* const kDefaultTrendLog =
    "/var/lib/wsgated/logs/interval-trends.db";

namespace {

constexpr double kDefaultSampleSeconds = 5;
constexpr long kMaxBackfillDays = 366;
// The latest --backfill-end: what a 32-bit long (the card's) holds.
constexpr long kMaxBackfillEndSeconds = 2147483647;

long long nowMs() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return static_cast<long long>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

// The end of the period of `periodMs` that the sample at `slotMs` belongs
// to: the first period end at or after it.
long long periodEnd(long long slotMs, long long periodMs) {
  const long long index = slotMs / periodMs + (slotMs % periodMs != 0 ? 1 : 0);
  return index * periodMs;
}

}  // namespace

TrendRecorder::TrendRecorder(const std::string& devicesRoot,
                             const std::string& trendsRoot)
    : devicesRoot_(devicesRoot),
      trendsRoot_(trendsRoot),
      sampleMs_(std::llround(kDefaultSampleSeconds * 1000)) {
  const char* fromEnvironment = getenv("WSGATED_TREND_LOG");
  trendLog_ = fromEnvironment != nullptr && *fromEnvironment != '\0'
                  ? fromEnvironment
                  : kDefaultTrendLog;
}

std::string TrendRecorder::usage() const {
  return "  --trend-log PATH         the trend log; default WSGATED_TREND_LOG,\n"
         "                           else /var/lib/wsgated/logs/"
         "interval-trends.db\n"
         "  --sample-seconds S       seconds between samples (default 5)\n"
         "  --backfill-days N        write N days (1..366) of plausible\n"
         "                           history instead of recording, and exit\n"
         "  --backfill-end T         the back-fill ends at T (seconds since\n"
         "                           1970) instead of now\n";
}

bool TrendRecorder::configure(const std::vector<std::string>& args,
                              std::string* error) {
  const char* const kOptions[] = {"--trend-log", "--sample-seconds",
                                  "--backfill-days", "--backfill-end"};
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string given = args[i];
    const char* name = nullptr;
    std::string value;
    OptionMatch match = OptionMatch::kOther;
    for (const char* option : kOptions) {
      match = matchOption(args, &i, option, &value);
      name = option;
      if (match != OptionMatch::kOther) break;
    }
    if (match == OptionMatch::kOther) {
      *error = "unknown option '" + given + "'";
      return false;
    }
    if (match == OptionMatch::kMissing) {
      *error = std::string(name) + " needs a value";
      return false;
    }
    if (!apply(name, value)) {
      *error = "bad value '" + value + "' of " + name;
      return false;
    }
  }
  return true;
}

bool TrendRecorder::apply(const std::string& option,
                          const std::string& value) {
  if (option == "--trend-log") {
    trendLog_ = value;
    return !value.empty();
  }
  if (option == "--sample-seconds") {
    double seconds = 0;
    if (!parseSeconds(value, &seconds)) return false;
    sampleMs_ = std::max(1LL, std::llround(seconds * 1000));
    return true;
  }
  if (option == "--backfill-end") {
    long seconds = 0;
    if (!parseInteger(value, 1, kMaxBackfillEndSeconds, &seconds)) {
      return false;
    }
    backfillEndMs_ = seconds * 1000LL;
    return true;
  }
  long days = 0;
  if (!parseInteger(value, 1, kMaxBackfillDays, &days)) return false;
  backfillDays_ = static_cast<int>(days);
  return true;
}

double TrendRecorder::paceSeconds() const {
  const long long now = nowMs();
  const long long next = (now / sampleMs_ + 1) * sampleMs_;
  return static_cast<double>(next - now) / 1000;
}

bool TrendRecorder::start(toolkit::CCds& store) {
  if (!readTrendConfig(store, trendsRoot_, devicesRoot_, &config_)) {
    return false;
  }
  devices_.assign(config_.devices.size(), Device());
  for (Device& device : devices_) {
    device.intervals.assign(config_.periods.size(), Interval());
  }
  if (!declare()) return false;
  logNotice(kLogAlways, "Trend log %s: %zu devices, %zu periods, a sample "
            "every %lld ms",
            trendLog_.c_str(), config_.devices.size(), config_.periods.size(),
            sampleMs_);
  return backfillDays_ == 0 ||
         backfill(store, backfillEndMs_ != 0 ? backfillEndMs_ : nowMs());
}

bool TrendRecorder::declare() {
  int status = writer_.open(trendLog_, 0, 0);
  if (status == 0) status = writer_.set_periods(config_.periods);
  for (size_t d = 0; d < config_.devices.size() && status == 0; ++d) {
    const TrendedDevice& device = config_.devices[d];
    status = writer_.set_device(device.path, device.name, device.params(),
                                devices_[d].record);
  }
  if (status != 0) {
    logError(kLogAlways, "Cannot write the trend log %s: %s",
             trendLog_.c_str(), pcd_log_status_name(status));
  }
  return status == 0;
}

void TrendRecorder::step(toolkit::CCds& store) {
  const double now = static_cast<double>(nowMs());
  sampleAt(store, std::llround(now / sampleMs_) * sampleMs_);
}

void TrendRecorder::stop(toolkit::CCds&) { writer_.close(); }

void TrendRecorder::sampleAt(toolkit::CCds& store, long long slotMs) {
  if (slotMs == lastSlotMs_ || config_.devices.empty()) return;
  lastSlotMs_ = slotMs;  // a step that came early samples nothing
  // A log someone removed or replaced is made (or opened) anew, so that
  // what follows reaches the readers.
  if (writer_.file_replaced()) {
    logWarning(kLogErrors, "The trend log %s was removed or replaced; "
               "writing into the file now there", trendLog_.c_str());
    declare();
  }
  std::vector<std::vector<double>> values;
  if (!readTrendedValues(store, config_, &values)) {
    logError(kLogErrors, "Cannot read the trended points; samples at %lld "
             "count as not valid", slotMs);
    values.clear();
    for (const TrendedDevice& device : config_.devices) {
      values.emplace_back(device.points.size(), std::nan(""));
    }
  }
  for (size_t d = 0; d < config_.devices.size(); ++d) {
    write(config_.devices[d], devices_[d],
          addSamples(config_.devices[d], slotMs, values[d], &devices_[d]));
  }
}

std::vector<toolkit::trend::CSnapshot> TrendRecorder::addSamples(
    const TrendedDevice& device, long long slotMs,
    const std::vector<double>& values, Device* state) {
  std::vector<toolkit::trend::CSnapshot> snapshots;
  for (size_t p = 0; p < config_.periods.size(); ++p) {
    Interval& interval = state->intervals[p];
    const unsigned period = config_.periods[p].period;
    const long long endMs = periodEnd(slotMs, period * 1000LL);
    // A period whose last sample was missed, or a clock set back.
    if (interval.endMs != 0 && interval.endMs != endMs) {
      snapshots.push_back(closeInterval(device, period, &interval));
    }
    interval.endMs = endMs;
    interval.stats.resize(device.points.size());
    for (size_t i = 0; i < device.points.size(); ++i) {
      if (std::isnan(values[i])) continue;
      interval.stats[i].add(values[i], device.points[i].param.type);
    }
    if (slotMs == endMs) {
      snapshots.push_back(closeInterval(device, period, &interval));
    }
  }
  return snapshots;
}

toolkit::trend::CSnapshot TrendRecorder::closeInterval(
    const TrendedDevice& device, unsigned period, Interval* interval) {
  const std::vector<toolkit::trend::CParamProperties> params = device.params();
  toolkit::trend::CSnapshot snapshot;
  snapshot.period = period;
  snapshot.time = static_cast<long>(interval->endMs / 1000);
  long valid = 0;
  for (size_t i = 0; i < params.size(); ++i) {
    snapshot.samples.push_back(interval->stats[i].sample(params[i]));
    valid += interval->stats[i].count();
  }
  const double expected =
      static_cast<double>(std::max(1LL, period * 1000LL / sampleMs_)) *
      static_cast<double>(params.size());
  snapshot.percent_valid = std::min(100.0, 100.0 * valid / expected);
  *interval = Interval();
  return snapshot;
}

void TrendRecorder::write(const TrendedDevice& device, const Device& state,
                          std::vector<toolkit::trend::CSnapshot> snapshots) {
  if (snapshots.empty()) return;
  const size_t count = snapshots.size();
  const int status = writer_.append(
      toolkit::trend::CDeviceData{state.record, device.params(),
                                  std::move(snapshots)});
  if (status != 0) {
    logError(kLogErrors, "Cannot write %zu snapshots of %s: %s", count,
             device.path.c_str(), pcd_log_status_name(status));
  } else {
    logInfo(kLogDetail, "Wrote %zu snapshots of %s", count,
            device.path.c_str());
  }
}

bool TrendRecorder::backfill(toolkit::CCds& store, long long now) {
  std::vector<std::vector<double>> present;
  if (!readTrendedValues(store, config_, &present)) return false;
  size_t written = 0;
  for (size_t d = 0; d < config_.devices.size(); ++d) {
    for (const toolkit::trend::CPeriodProperties& period : config_.periods) {
      std::vector<toolkit::trend::CSnapshot> snapshots =
          backfillSnapshots(config_.devices[d], present[d], period,
                            backfillDays_, now, sampleMs_);
      written += snapshots.size();
      const int status = writer_.append(toolkit::trend::CDeviceData{
          devices_[d].record, config_.devices[d].params(),
          std::move(snapshots)});
      if (status != 0) {
        logError(kLogAlways, "Back-fill of %s failed: %s",
                 config_.devices[d].path.c_str(), pcd_log_status_name(status));
        return false;
      }
    }
  }
  logNotice(kLogAlways, "Back-filled %d days: %zu snapshots", backfillDays_,
            written);
  return true;
}

}  // namespace wsgated
