// The messages the publisher sends to a subscriber: one SOAP 1.2 envelope
// whose body is
//
//   <wsn:notify xmlns:wsn="urn:wsgated:subscriber">
//     <wsn:subscriptionId>panel-7</wsn:subscriptionId>
//     <wsn:values>          nss1:ArrayOfPublishedValue (real-time values
//                           and logged ones)
//     <wsn:events>          nss1:ArrayOfEvent (events, alarm updates)
//   </wsn:notify>
//
// (docs/publish.md, "Delivery"). The records are built by the same
// builders the log operations answer with (common/event_records.h) and
// written by the contract's generated serializers, one fresh engine per
// writer, into memory.

#ifndef CARD_PUBLISHER_NOTIFICATION_H_
#define CARD_PUBLISHER_NOTIFICATION_H_

#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/event.h"

namespace wsgated {

extern const char* const kSubscriberNamespace;

// What one message carries. A real-time value is a record of its point's
// "<node>/Value" with the value, its time and its quality.
struct Notification {
  std::string subscriptionId;
  std::vector<toolkit::CEvent> realTimeValues;
  std::vector<toolkit::CEvent> loggedValues;  // Delta log: Trend values
  std::vector<toolkit::CEvent> events;        // event log entries
  std::vector<toolkit::CEvent> alarms;        // alarm log entries
};

// The envelope of `notification` in `xml`; false (and "") when the engine
// could not write it. Records the builders drop are left out.
bool writeNotification(toolkit::CCds& store, const Notification& notification,
                       std::string& xml);

}  // namespace wsgated

#endif  // CARD_PUBLISHER_NOTIFICATION_H_
