// Log records (toolkit::CEvent) as the records clients receive:
// nss1:Event for an event-log entry, nss1:AlarmUpdate for an alarm record,
// nss1:PublishedValue for a logged value (Delta log, trends). The log
// operations answer with them, and the card's publisher sends them.
//
// Filling rules shared by all three:
// - The source path is shown by node: a record of "<node>/Value" shows
//   "<node>", a record of another attribute "<node>:<attribute>", and "/"
//   stays "/".
// - A Value record of a Boolean shows its node's state name ("Open") with
//   "0" or "1" as NumericValue; of a multistate node its state name with
//   the number as NumericValue. State names are translated into the
//   request's locale; every other value keeps its text.
// - Records of "/Software" are the card's own bookkeeping and are dropped,
//   except, for events, a configuration change whose value is true: it
//   becomes an event of type StructureChanged with source "/".
//
// Descriptions of ordinary events are shown as the device wrote them;
// configuration-change descriptions are translated ("<what> : <detail>"
// in halves, common/event_text.h).
//
// A builder never throws: a record that cannot be built (an exception from
// the store or the translation, no memory) is dropped and logged at level
// 1, and the caller goes on with the next.

#ifndef COMMON_EVENT_RECORDS_H_
#define COMMON_EVENT_RECORDS_H_

#include <locale>
#include <string>
#include <unordered_map>

#include "platform/event.h"
#include "soapH.h"

namespace toolkit {
class CCds;
}  // namespace toolkit

namespace wsgated {

// True for a configuration change (a true record of "/Software/System
// Settings/Configuration Changed"): the one "/Software" record clients see,
// as an event of type StructureChanged.
bool isConfigurationChange(const toolkit::CEvent& record);

// Builds the records of one answer. It remembers what it learnt per source
// path and per node (the shown path, whether the node is a multistate, its
// translated state names), so that an answer of 10,000 records of a few
// dozen points reads each node's states from the store once. Make one per
// answer: the store may change between answers.
class EventRecordBuilder {
 public:
  // Records are allocated in `soap` (released with the engine's request).
  // `locale` is the request's locale, null for none (texts are then kept as
  // stored). The store and the locale must outlive the builder.
  EventRecordBuilder(struct soap* soap, toolkit::CCds& cds,
                     const std::locale* locale);

  // An event-log entry, or null when the record is dropped.
  nss1__Event* buildEvent(const toolkit::CEvent& record);
  // An alarm-log entry (an event of type Alarm with the alarm's state), or
  // null when the record is dropped.
  nss1__AlarmUpdate* buildAlarmEvent(const toolkit::CEvent& record);
  // Fills `value` (which may be uninitialised, as the engine's arrays of
  // records are) with a logged value: Trend set, RealTime clear. False when
  // the record is dropped (`value` may then be partly filled).
  bool buildPublishedValue(const toolkit::CEvent& record,
                           nss1__PublishedValue& value);
  // The source rule alone, for records made from elsewhere than a log (the
  // active alarms table): how `record`'s source path and value are shown.
  // May throw (no memory, a failing translation).
  void fillSourceAndValue(const toolkit::CEvent& record,
                          std::string*& sourcePath, std::string*& value,
                          std::string*& numericValue);

 private:
  // How a source path is shown, worked out once per path.
  struct ShownPath {
    std::string text;  // "/", "<node>" or "<node>:<attribute>"
    std::string node;  // the node of a Value leaf, else ""
  };
  // A node's states, read once per node.
  struct NodeStates {
    bool multistateKnown = false;
    bool multistate = false;
    std::string multistateNames;  // translated PossibleValues
    bool booleanKnown = false;
    std::string booleanNames;  // translated "false-text;true-text"
  };

  // The parts every record has in common. False when dropped.
  bool fillEvent(const toolkit::CEvent& record, nss1__Event& event);
  const ShownPath& shownPath(const std::string& sourcePath);
  // The state name of a Boolean or multistate `value` of `node` in the
  // request's locale; false for any other value.
  bool stateName(const std::string& node, const toolkit::CElement& value,
                 std::string& name);
  std::string* newText(const std::string& text);

  struct soap* soap_;
  toolkit::CCds& cds_;
  const std::locale* locale_;
  std::unordered_map<std::string, ShownPath> paths_;
  std::unordered_map<std::string, NodeStates> nodes_;
};

}  // namespace wsgated

#endif  // COMMON_EVENT_RECORDS_H_
