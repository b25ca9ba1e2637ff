// A made-up but plausible history of a card's three logs, for the demo and
// for tests and benchmarks that need logs with realistic content.
//
// From the store's Delta-logged points (logged_points.h) it makes:
// - the Delta log: every point sampled at its .LogInterval, a sample logged
//   when it moved by .Deadband or more (discrete points: when it changed),
//   all points of one sample instant sharing its time stamp;
// - the alarm/event log: device conditions (kind 256) of every severity,
//   excursions of Booleans and multistates into other states, alarms
//   (kind 8) of the points with a base priority raised, acknowledged
//   (kind 16) and cleared, the store's active alarms (/Alarms) raised as
//   the table shows them, configuration changes (true and false) and some
//   "/Software" bookkeeping records;
// - the system event log: the card starting and restarting (kind 32),
//   structure changes (kind 4) and the web services' own start records.
// Continuous values follow a daily load cycle and end near the values the
// store holds now. The same points, settings and seed give the same logs.

#ifndef TOOLS_HISTORY_WEEK_H_
#define TOOLS_HISTORY_WEEK_H_

#include <cstdint>
#include <vector>

#include "platform/event.h"
#include "tools/history/logged_points.h"

namespace wsgated {

struct HistorySettings {
  int64_t endSeconds = 0;  // UNIX time at which the history ends
  int days = 7;            // how far back it starts
  uint64_t seed = 1;
  int conditionsPerDay = 12;  // device conditions besides excursions
};

struct History {
  std::vector<toolkit::CEvent> delta;
  std::vector<toolkit::CEvent> events;
  std::vector<toolkit::CEvent> system;
};

// Fill `history` (each log in time order) from the store's points and
// active alarms.
void makeHistory(const std::vector<LoggedPoint>& points,
                 const std::vector<ActiveAlarm>& alarms,
                 const HistorySettings& settings, History& history);

}  // namespace wsgated

#endif  // TOOLS_HISTORY_WEEK_H_
