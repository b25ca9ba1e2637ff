// A made-up history of a card's logs (see week.h).

#include "tools/history/week.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <random>
#include <string>

#include "platform/multistate.h"

namespace wsgated {

namespace {

using toolkit::CElement;
using toolkit::CEvent;

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 3600;
constexpr int64_t kDay = 86400;
constexpr double kPi = 3.14159265358979323846;
const char* const kConfigurationPath =
    "/Software/System Settings/Configuration Changed/Value";
// Configuration-change descriptions. The card writes "<what> :  <detail>"
// with a second blank, because readers translate the detail from the
// fourth character after the separator's start (common/event_text.h).
const char* const kConfigurationTexts[] = {
    "Configuration changed :  Network settings",
    "Configuration changed :  Alarm limits",
    "Configuration changed :  Users and passwords",
    "Configuration changed :  Date and time",
    "Firmware updated",
    ""};
const char* const kConditionTexts[] = {
    "Communication retry",    "Measurement outside expected range",
    "Self test passed",       "",
    "Communication restored", ""};

// A stretch of time in which a point holds an unusual value.
struct Excursion {
  size_t point;
  int64_t start, end;
  double value;
  bool alarm;                 // raises an alarm of the point
  const ActiveAlarm* active;  // the table's alarm it became, if any
};

class HistoryMaker {
 public:
  HistoryMaker(const std::vector<LoggedPoint>& points,
               const std::vector<ActiveAlarm>& alarms,
               const HistorySettings& settings, History& history)
      : points_(points),
        alarms_(alarms),
        settings_(settings),
        history_(history),
        random_(settings.seed),
        end_(settings.endSeconds),
        begin_(end_ - settings.days * kDay) {}

  void make() {
    planExcursions();
    for (size_t p = 0; p < points_.size(); ++p) sampleDelta(p);
    for (const Excursion& excursion : excursions_) recordExcursion(excursion);
    addConditions();
    addConfigurationChanges();
    addSystemRecords();
    for (auto* log : {&history_.delta, &history_.events, &history_.system}) {
      std::stable_sort(log->begin(), log->end(), earlier);
    }
  }

 private:
  static bool earlier(const CEvent& a, const CEvent& b) {
    if (a.time.tv_sec != b.time.tv_sec) return a.time.tv_sec < b.time.tv_sec;
    if (a.time.tv_usec != b.time.tv_usec)
      return a.time.tv_usec < b.time.tv_usec;
    return a.sequence_index < b.sequence_index;
  }
  double uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }
  size_t pick(size_t count) {
    return std::uniform_int_distribution<size_t>(0, count - 1)(random_);
  }
  int64_t someTime(int64_t from, int64_t to) {
    return from +
           static_cast<int64_t>(uniform(0, static_cast<double>(to - from)));
  }
  double noise(double spread) {
    return std::normal_distribution<double>(0, spread)(random_);
  }
  // How many of an occurrence `perWeek` times a week the history has.
  int occurrences(double perWeek) {
    return std::poisson_distribution<int>(perWeek * settings_.days /
                                          7.0)(random_);
  }

  void planExcursions();
  void planActiveAlarms();
  double sample(const LoggedPoint& point, size_t index, int64_t t);
  void sampleDelta(size_t index);
  void recordExcursion(const Excursion& excursion);
  void recordAlarm(const Excursion& excursion, uint64_t number);
  void addConditions();
  void addConfigurationChanges();
  void addSystemRecords();
  CEvent record(int32_t kind, const std::string& path, const CElement& value,
                int64_t t, const std::string& description = "");
  CElement element(const LoggedPoint& point, double value) const;
  std::string stateName(const LoggedPoint& point, double value) const;

  const std::vector<LoggedPoint>& points_;
  const std::vector<ActiveAlarm>& alarms_;
  const HistorySettings& settings_;
  History& history_;
  std::mt19937_64 random_;
  const int64_t end_, begin_;
  std::vector<Excursion> excursions_;
  std::vector<std::vector<const Excursion*>> byPoint_;  // per point
  uint64_t nextClosedAlarm_ = 1;
};

// Load of the site: low at night and at weekends, highest in the
// afternoon; about 0.5 to 1.05.
double load(int64_t t) {
  const double hour = static_cast<double>(t % kDay) / kHour;
  const int weekday = static_cast<int>((t / kDay + 4) % 7);  // 0 Sunday
  double level = 0.6;
  if (hour > 6 && hour < 20) level += 0.45 * std::sin(kPi * (hour - 6) / 14);
  return weekday == 0 || weekday == 6 ? level * 0.85 : level;
}

bool isCounter(const LoggedPoint& point) {
  return point.type == PCD_TYPE_UINT && !point.units.empty() &&
         point.units.back() == 'h';
}

bool isDiscrete(const LoggedPoint& point) {
  return point.type == PCD_TYPE_BOOL || point.multistate;
}

// A value the point takes that is not its normal one.
double otherState(const LoggedPoint& point, std::mt19937_64& random) {
  if (point.type == PCD_TYPE_BOOL) return point.value != 0 ? 0 : 1;
  std::vector<int32_t> others;
  for (int32_t state : point.states) {
    if (state != static_cast<int32_t>(point.value)) others.push_back(state);
  }
  if (others.empty()) return point.value;
  return others[std::uniform_int_distribution<size_t>(
      0, others.size() - 1)(random)];
}

void HistoryMaker::planExcursions() {
  for (size_t p = 0; p < points_.size(); ++p) {
    const LoggedPoint& point = points_[p];
    const bool alarming =
        point.basePriority != 0 && (point.type == PCD_TYPE_BOOL ||
                                    point.hasHighLimit || point.hasLowLimit);
    if (!alarming && !isDiscrete(point)) continue;
    for (int n = occurrences(alarming ? 1.5 : 2.5); n > 0; --n) {
      Excursion excursion{p, 0, 0, 0, alarming, nullptr};
      excursion.start = someTime(begin_ + kHour, end_ - 4 * kHour);
      excursion.end = excursion.start + someTime(5 * kMinute, 90 * kMinute);
      if (!alarming) {
        excursion.value = otherState(point, random_);
      } else if (point.type == PCD_TYPE_BOOL) {
        excursion.value = point.alarmOnValue ? 1 : 0;
      } else {
        excursion.value =
            point.hasHighLimit ? point.highLimit * 1.012 : point.lowLimit * 0.9;
      }
      excursions_.push_back(excursion);
    }
  }
  planActiveAlarms();
  std::sort(
      excursions_.begin(), excursions_.end(),
      [](const Excursion& a, const Excursion& b) { return a.start < b.start; });
  byPoint_.assign(points_.size(), {});
  for (const Excursion& e : excursions_) byPoint_[e.point].push_back(&e);
  // Alarms that have closed are numbered before those still in the table,
  // or after them when there are too many for that.
  size_t closed = 0;
  for (const Excursion& e : excursions_)
    closed += e.alarm && e.active == nullptr;
  const uint64_t first = alarms_.empty() ? 1 : alarms_.front().number;
  nextClosedAlarm_ = first > closed    ? first - closed
                     : alarms_.empty() ? 1
                                       : alarms_.back().number + 1;
}

// The table's alarms were raised during the last day and are still there.
void HistoryMaker::planActiveAlarms() {
  for (const ActiveAlarm& alarm : alarms_) {
    for (size_t p = 0; p < points_.size(); ++p) {
      if (points_[p].node != alarm.sourcePath) continue;
      Excursion excursion{p, 0, 0, alarm.sourceValue, true, &alarm};
      excursion.start = someTime(end_ - 20 * kHour, end_ - 2 * kHour);
      excursion.end = excursion.start + someTime(20 * kMinute, 40 * kMinute);
      excursions_.push_back(excursion);
    }
  }
}

double HistoryMaker::sample(const LoggedPoint& point, size_t index, int64_t t) {
  for (const Excursion* e : byPoint_[index]) {
    if (t >= e->start && t < e->end) return e->value;
  }
  const std::string& units = point.units;
  if (isDiscrete(point)) return point.value;
  if (isCounter(point)) {
    const double perHour = units == "h" ? 1 : 6;
    return std::floor(point.value -
                      perHour * static_cast<double>(end_ - t) / kHour);
  }
  double value = point.value * (1 + noise(0.002));
  if (units == "V") {
    const double hour = static_cast<double>(t % kDay) / kHour;
    value = point.value *
            (1 + 0.008 * std::sin(2 * kPi * (hour - 9) / 24) + noise(0.0025));
  } else if (units == "Hz") {
    value = point.value + noise(0.015);
  } else if (units == "A" || units == "kW" || units == "kvar" ||
             units == "kVA" || (units == "%" && !point.hasLowLimit)) {
    value = point.value * load(t) / load(end_) * (1 + noise(0.02));
  } else if (point.value > 0 && point.value <= 1) {
    value = std::min(1.0, value);  // a ratio such as a power factor
  }
  return value;
}

CElement HistoryMaker::element(const LoggedPoint& point, double value) const {
  switch (point.type) {
    case PCD_TYPE_BOOL:
      return CElement(value != 0);
    case PCD_TYPE_INT:
      return CElement(static_cast<int32_t>(std::lround(value)));
    case PCD_TYPE_UINT:
      return CElement(static_cast<uint32_t>(std::max(0L, std::lround(value))));
    default:
      // Shown to the precision a meter reports.
      return CElement(std::fabs(point.value) < 10
                          ? std::round(value * 1000) / 1000
                          : std::round(value * 100) / 100);
  }
}

CEvent HistoryMaker::record(int32_t kind, const std::string& path,
                            const CElement& value, int64_t t,
                            const std::string& description) {
  CEvent event;
  event.kind = kind;
  event.source_path = path;
  event.value = value;
  event.time = {static_cast<time_t>(t), 0};
  event.value.set_time(event.time);
  event.description = description;
  event.quality = 192;
  return event;
}

void HistoryMaker::sampleDelta(size_t index) {
  const LoggedPoint& point = points_[index];
  const std::string path = point.node + "/Value";
  bool logged = false;
  double last = 0;
  const int64_t interval = point.interval;
  for (int64_t t = (begin_ / interval + 1) * interval; t <= end_;
       t += interval) {
    const double value = element(point, sample(point, index, t)).to_double();
    const double change = std::fabs(value - last);
    if (logged &&
        (change == 0 || (!isDiscrete(point) && change < point.deadband))) {
      continue;
    }
    CEvent event = record(toolkit::EVENT_KIND_VALUE_CHANGE, path,
                          element(point, value), t);
    event.sequence_index = static_cast<uint32_t>(index);
    history_.delta.push_back(event);
    logged = true;
    last = value;
  }
}

std::string HistoryMaker::stateName(const LoggedPoint& point,
                                    double value) const {
  if (point.type == PCD_TYPE_BOOL) {
    std::string list = point.possibleValues;
    if (CElement::split_string(list, ';').size() != 2) list = "false;true";
    return toolkit::CCds_Multistate::GetBoolPossibleValue(list, value != 0);
  }
  return toolkit::CCds_Multistate::GetStringValue(point.possibleValues,
                                                  static_cast<int32_t>(value));
}

void HistoryMaker::recordExcursion(const Excursion& excursion) {
  const LoggedPoint& point = points_[excursion.point];
  if (excursion.alarm) {
    recordAlarm(excursion, excursion.active != nullptr
                               ? excursion.active->number
                               : nextClosedAlarm_++);
    return;
  }
  // A device reports its state changes as conditions, half of them with a
  // text of its own.
  const std::string path = point.node + "/Value";
  const bool described = uniform(0, 1) < 0.5;
  CEvent into = record(
      toolkit::EVENT_KIND_DEVICE_CONDITION, path,
      element(point, excursion.value), excursion.start,
      described ? point.displayName + ": " + stateName(point, excursion.value)
                : "");
  into.severity = uniform(0, 1) < 0.5 ? toolkit::EVENT_SEVERITY_CAUTIONARY
                                      : toolkit::EVENT_SEVERITY_CRITICAL;
  history_.events.push_back(into);
  CEvent back = record(toolkit::EVENT_KIND_DEVICE_CONDITION, path,
                       element(point, point.value), excursion.end,
                       described ? point.displayName + ": back to " +
                                       stateName(point, point.value)
                                 : "");
  back.severity = toolkit::EVENT_SEVERITY_INFORMATIONAL;
  history_.events.push_back(back);
}

// An alarm's records: raised; acknowledged unless it closes by itself (or,
// for one still in the table, as the table says); cleared unless it is
// still in the table.
void HistoryMaker::recordAlarm(const Excursion& excursion, uint64_t number) {
  const LoggedPoint& point = points_[excursion.point];
  const ActiveAlarm* active = excursion.active;
  const std::string path = point.node + "/Value";
  CEvent alarm = record(toolkit::EVENT_KIND_ALARM, path,
                        element(point, excursion.value), excursion.start,
                        active != nullptr ? active->message : point.alarmText);
  alarm.event_id = number;
  alarm.sequence_index = active != nullptr ? active->sequence : 0;
  alarm.severity = toolkit::EVENT_SEVERITY_CRITICAL;
  alarm.base_priority = point.basePriority;
  alarm.auto_closing = point.autoClosing;
  alarm.condition_present = true;
  history_.events.push_back(alarm);
  const bool acknowledged =
      active != nullptr ? active->acknowledged : !point.autoClosing;
  if (acknowledged) {
    const int64_t at = excursion.start + someTime(5 * kMinute, 40 * kMinute);
    CEvent ack = record(toolkit::EVENT_KIND_ACKNOWLEDGE, path, alarm.value, at,
                        "Alarm " + std::to_string(number) + " acknowledged");
    ack.source = "Web-Services:operator@192.168.1.20";
    history_.events.push_back(ack);
    alarm.time = ack.time;
    alarm.ack_status = 1;
    alarm.note = active != nullptr ? active->note : "Checked on site";
    history_.events.push_back(alarm);
  }
  if (active != nullptr) return;
  alarm.time = {static_cast<time_t>(excursion.end), 0};
  alarm.value = element(point, point.value);
  alarm.condition_present = false;
  alarm.ack_status = 2;
  alarm.description = point.displayName + " back to normal";
  history_.events.push_back(alarm);
}

void HistoryMaker::addConditions() {
  if (points_.empty()) return;
  const int64_t count =
      static_cast<int64_t>(settings_.conditionsPerDay) * settings_.days;
  for (int64_t n = 0; n < count; ++n) {
    const LoggedPoint& point = points_[pick(points_.size())];
    const int64_t t = someTime(begin_, end_);
    const size_t text = pick(std::size(kConditionTexts));
    CEvent condition =
        record(toolkit::EVENT_KIND_DEVICE_CONDITION, point.node + "/Value",
               element(point, point.value), t, kConditionTexts[text]);
    // Severities 1 to 3, and now and then one a device names otherwise.
    const double pick = uniform(0, 1);
    condition.severity = pick < 0.6 ? 1 : pick < 0.85 ? 2 : pick < 0.97 ? 3 : 7;
    history_.events.push_back(condition);
  }
}

// About one configuration change a day, most of them applied (true); and
// the publisher's bookkeeping, which clients never see.
void HistoryMaker::addConfigurationChanges() {
  for (int n = occurrences(7); n > 0; --n) {
    const size_t text = pick(std::size(kConfigurationTexts));
    const bool applied = uniform(0, 1) < 0.75;
    history_.events.push_back(record(
        toolkit::EVENT_KIND_CONFIGURATION, kConfigurationPath,
        CElement(applied), someTime(begin_, end_), kConfigurationTexts[text]));
  }
  int32_t updates = 0;
  for (int n = occurrences(4); n > 0; --n) {
    history_.events.push_back(record(
        toolkit::EVENT_KIND_VALUE_CHANGE,
        "/Software/Data Servers/WS-Publisher/SubUpdateCount/Value",
        CElement(++updates), someTime(begin_, end_), "Subscriptions updated"));
  }
}

// The card started when the history begins and restarted once a week;
// devices changed their structure now and then.
void HistoryMaker::addSystemRecords() {
  std::vector<int64_t> starts = {begin_ + 2 * kMinute};
  for (int n = occurrences(1); n > 0; --n)
    starts.push_back(someTime(begin_ + kDay, end_));
  for (int64_t t : starts) {
    history_.system.push_back(record(toolkit::EVENT_KIND_SYSTEM, "/",
                                     CElement("started"), t,
                                     "Network card started"));
    // As the system logger writes it: on "/", where readers of the system
    // log look, not under /Software, whose bookkeeping they leave out.
    // A plausible pid from the time, leaving the random sequence (and so
    // every other record of a seeded history) as it was.
    const std::string pid = std::to_string(200 + (t / 60) % 30000);
    history_.system.push_back(record(
        toolkit::EVENT_KIND_SYSTEM, "/", CElement("Web services started"),
        t + 20, "Web services started :  pid " + pid));
  }
  if (points_.empty()) return;
  for (int n = occurrences(3); n > 0; --n) {
    const LoggedPoint& point = points_[pick(points_.size())];
    const std::string device = point.node.substr(0, point.node.rfind('/'));
    history_.system.push_back(
        record(toolkit::EVENT_KIND_STRUCTURE, device + "/sDevChangeCount/Value",
               CElement(static_cast<int32_t>(n)), someTime(begin_, end_),
               "Device structure changed"));
  }
}

}  // namespace

void makeHistory(const std::vector<LoggedPoint>& points,
                 const std::vector<ActiveAlarm>& alarms,
                 const HistorySettings& settings, History& history) {
  history = History();
  HistoryMaker(points, alarms, settings, history).make();
}

}  // namespace wsgated
