// The Delta logger (delta_logger.h).

#include "card/deltalog/delta_logger.h"

#include <algorithm>
#include <cmath>

#include "common/log.h"
#include "platform/cds.h"
#include "platform/qrxtime.h"

namespace wsgated {

namespace {

constexpr int64_t kMicros = 1000000;
constexpr uint16_t kGoodQuality = 192;
const char* const kDefaultDeltaLog = "/var/lib/wsgated/logs/deadband.db";

int64_t toUs(const timeval& time) { return qrx_UNIXtoQRXtime64(&time); }

timeval fromUs(int64_t us) {
  timeval time{};
  qrx_QRXtoUNIXtime64(us, &time);
  return time;
}

bool isDiscrete(const LoggedPoint& point) {
  return point.multistate || point.type == PCD_TYPE_BOOL;
}

// The newest record of `path` (null: of the whole log); false when the log
// has none or cannot be read.
bool newestRecord(pcd_log_handle_t reader, const char* path,
                  toolkit::CEvent& record) {
  std::vector<toolkit::CEvent> found;
  if (toolkit::CLog(reader).retrieve(found, path, nullptr, nullptr, 1, true,
                                     false, 0) != LOG_STATUS_OK ||
      found.empty()) {
    return false;
  }
  record = found.front();
  return true;
}

}  // namespace

DeltaLogger::DeltaLogger(QrxClock clock)
    : clock_(clock ? std::move(clock) : QrxClock(qrx_UTCtime64)),
      logPath_(pathFromEnvironment("WSGATED_DELTA_LOG", kDefaultDeltaLog)) {}

DeltaLogger::~DeltaLogger() { pcd_log_close_writer(writer_); }

std::string DeltaLogger::usage() const {
  return "  --delta-log PATH         the Delta log; default WSGATED_DELTA_LOG,\n"
         "                           else /var/lib/wsgated/logs/deadband.db\n"
         "  --check-seconds S        seconds between samples (default 1)\n"
         "  --rescan-seconds S       re-read which points are logged at least\n"
         "                           this often (default 60); a node created\n"
         "                           or removed makes it re-read at once\n"
         "  --max-records N          records a new log keeps (default "
         "100000)\n";
}

bool DeltaLogger::configure(const std::vector<std::string>& args,
                            std::string* error) {
  return parseCompanionOptions(
      args,
      {{"--delta-log",
        [this](const std::string& v) { return !(logPath_ = v).empty(); }},
       {"--check-seconds",
        [this](const std::string& v) { return parseSeconds(v, &checkSeconds_); }},
       {"--rescan-seconds",
        [this](const std::string& v) {
          return parseSeconds(v, &rescanSeconds_);
        }},
       {"--max-records",
        [this](const std::string& v) {
          long records = 0;
          if (!parseInteger(v, 1, 100000000, &records)) return false;
          maxRecords_ = records;
          return true;
        }}},
      error);
}

bool DeltaLogger::start(toolkit::CCds& store) {
  const pcd_log_writer_settings settings{maxRecords_, 0, 0, 0};
  const int status = pcd_log_open_writer(logPath_.c_str(), &settings, &writer_);
  if (status != LOG_STATUS_OK) {
    logError(kLogAlways, "cannot open the Delta log %s: %s", logPath_.c_str(),
             pcd_log_status_name(status));
    return false;
  }
  if (!scanPoints(store)) return false;
  logNotice(kLogAlways, "logging %zu points into %s", points_.size(),
            logPath_.c_str());
  return true;
}

void DeltaLogger::stop(toolkit::CCds&) {
  pcd_log_close_writer(writer_);
  writer_ = nullptr;
}

// Which points are logged, and what the log holds of each. Only between
// batches: a pending batch refers to the present points.
bool DeltaLogger::scanPoints(toolkit::CCds& store) {
  CdsLastIds ids;
  if (cds_last_ids(store.handle, ids) != 0 ||
      !findLoggedPoints(store, points_)) {
    logWarning(kLogErrors, "cannot read the logged points from the store");
    return false;
  }
  structureId_ = ids.structure;
  scannedUs_ = clock_();
  pcd_log_handle_t reader = nullptr;
  const int status = pcd_log_init(logPath_.c_str(), 0, 0, 0, 1, 0, 0, 0, 0,
                                  &reader);
  if (status == LOG_STATUS_OK) restoreFromLog(reader);
  pcd_log_close(reader);
  if (status != LOG_STATUS_OK) {
    logWarning(kLogErrors, "cannot read the Delta log %s: %s",
               logPath_.c_str(), pcd_log_status_name(status));
  }
  return status == LOG_STATUS_OK;
}

void DeltaLogger::restoreFromLog(pcd_log_handle_t reader) {
  states_.assign(points_.size(), PointState());
  toolkit::CEvent record;
  for (size_t p = 0; p < points_.size(); ++p) {
    const std::string path = points_[p].node + "/Value";
    if (!newestRecord(reader, path.c_str(), record)) continue;
    states_[p].logged = true;
    states_[p].last = record.value;
    states_[p].lastUs = toUs(record.time);
  }
  if (newestRecord(reader, nullptr, record)) {
    newestUs_ = toUs(record.time);
    nextSeq_ = record.sequence_index + 1;
  }
}

DeltaLogger::Due DeltaLogger::due(const LoggedPoint& point,
                                  const PointState& state,
                                  const toolkit::CElement& value,
                                  int64_t nowUs) const {
  if (!state.logged || value.get_type() != state.last.get_type()) {
    return Due::kChange;
  }
  bool moved = false;
  if (isDiscrete(point) || point.deadband <= 0) {
    moved = !(value == state.last);
  } else {
    const double change = std::fabs(value.to_double() - state.last.to_double());
    moved = change >= point.deadband || std::isnan(change);
  }
  if (moved) return Due::kChange;
  return nowUs - state.lastUs >= static_cast<int64_t>(point.interval) * kMicros
             ? Due::kInterval
             : Due::kNo;
}

// Reads every point's Value and .Quality in one call and adds a record for
// each point that is due.
bool DeltaLogger::sample(toolkit::CCds& store, int64_t nowUs,
                         std::vector<toolkit::CEvent>& records) {
  std::vector<std::string> paths;
  for (const LoggedPoint& point : points_) {
    paths.push_back(point.node + "/Value");
    paths.push_back(point.node + "/.Quality");
  }
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  if (store.get_leaves(paths, statuses, elements, properties) != 0) {
    logWarning(kLogErrors, "cannot read the logged points; sampling later");
    return false;
  }
  pendingPoints_.clear();
  for (size_t p = 0; p < points_.size(); ++p) {
    if (statuses[2 * p] != API_STATUS_OK) continue;  // removed meanwhile
    const toolkit::CElement& value = elements[2 * p];
    const Due reason = due(points_[p], states_[p], value, nowUs);
    if (reason == Due::kNo) continue;
    const bool changed = reason == Due::kChange;
    const int64_t valueUs = toUs(value.get_time());
    toolkit::CEvent record;
    record.kind = toolkit::EVENT_KIND_VALUE_CHANGE;
    record.source_path = paths[2 * p];
    record.value = value;
    record.time = fromUs(changed && valueUs > 0 ? valueUs : nowUs);
    record.quality = statuses[2 * p + 1] == API_STATUS_OK
                         ? static_cast<uint16_t>(elements[2 * p + 1].to_int())
                         : kGoodQuality;
    record.source = "Delta logger";
    records.push_back(record);
    pendingPoints_.push_back(p);
  }
  return true;
}

// Sequence indexes: records of one time stamp are numbered from 0 in point
// order, following on from the log's newest records when they share its
// time.
void DeltaLogger::number(std::vector<toolkit::CEvent>& records) {
  std::vector<size_t> order(records.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return toUs(records[a].time) < toUs(records[b].time);
  });
  int64_t previousUs = newestUs_;
  uint32_t seq = nextSeq_;
  for (size_t i : order) {
    const int64_t us = toUs(records[i].time);
    if (us != previousUs) seq = 0;
    records[i].sequence_index = seq++;
    if (us >= newestUs_) {
      newestUs_ = us;
      nextSeq_ = seq;
    }
    previousUs = us;
  }
}

void DeltaLogger::step(toolkit::CCds& store) {
  const int64_t nowUs = clock_();
  if (pending_.empty()) {
    CdsLastIds ids;
    const bool restructured =
        cds_last_ids(store.handle, ids) == 0 && ids.structure != structureId_;
    if ((restructured ||
         nowUs - scannedUs_ >= static_cast<int64_t>(rescanSeconds_ * kMicros)) &&
        !scanPoints(store)) {
      return;
    }
    if (!sample(store, nowUs, pending_)) return;
    number(pending_);
  }
  if (pending_.empty()) return;
  const int status = pcd_log_append(writer_, pending_);
  if (status != LOG_STATUS_OK) {
    logWarning(kLogErrors, "cannot append %zu records to %s: %s; trying again",
               pending_.size(), logPath_.c_str(), pcd_log_status_name(status));
    return;
  }
  for (size_t i = 0; i < pending_.size(); ++i) {
    PointState& state = states_[pendingPoints_[i]];
    state.logged = true;
    state.last = pending_[i].value;
    state.lastUs = toUs(pending_[i].time);
  }
  appended_ += pending_.size();
  logInfo(kLogDetail, "logged %zu value changes", pending_.size());
  pending_.clear();
}

}  // namespace wsgated
