// CEvent: one event of the device: a value change, an alarm, an
// acknowledgement or a system event. Events are queued in the store
// (CCds::events_send) and kept in the event and alarm logs.

#ifndef PLATFORM_EVENT_H_
#define PLATFORM_EVENT_H_

#include <sys/time.h>

#include <cstdint>
#include <string>

#include "platform/element.h"

namespace toolkit {

// Kinds of event (CEvent::kind). Values are stored in logs.
enum event_kind_t : int32_t {
  EVENT_KIND_VALUE_CHANGE = 1,    // a logged value change (Delta log)
  EVENT_KIND_CONFIGURATION = 2,   // a configuration change
  EVENT_KIND_STRUCTURE = 4,       // nodes added or removed
  EVENT_KIND_ALARM = 8,           // an alarm raised, changed or cleared
  EVENT_KIND_ACKNOWLEDGE = 16,    // an operator acknowledged an alarm
  EVENT_KIND_SYSTEM = 32,         // the card itself (start, stop, reset)
  EVENT_KIND_DEVICE_CONDITION = 256,  // a condition reported by a device
};

// Severity of an event (CEvent::severity).
enum event_severity_t : int32_t {
  EVENT_SEVERITY_INFORMATIONAL = 1,
  EVENT_SEVERITY_CAUTIONARY = 2,
  EVENT_SEVERITY_CRITICAL = 3,
};

class CEvent {
 public:
  CEvent();

  int32_t kind;                 // event_kind_t
  std::string source_path;      // CDS path of the leaf that raised it
  CElement value;               // the value at the event; its time stamp is
                                // the value's time
  int32_t severity;             // event_severity_t, or other numbers
  std::string description;      // may be empty
  uint64_t event_id;            // unique number of the event (alarms: the
                                // alarm's number)
  uint32_t sequence_index;      // order among events with the same time
  timeval time;                 // when the event happened
  uint16_t quality;             // 192 good, 64 uncertain, 0 bad
  // Alarm state (alarm and acknowledgement events).
  int32_t ack_status;           // 0 not acknowledged, 1 acknowledged, 2 closed
  int32_t base_priority;        // 0: none
  bool condition_present;
  std::string note;
  bool auto_closing;
  int32_t variation_level;
  // Who caused it (format_source_string), may be empty.
  std::string source;
  // Set by CCds::events_send: the event's number in the store's queue.
  long long queue_id;

  // Build the change-source text that is stored with every change:
  // "<origin>:<user>@<address>", e.g. "Web-Services:alice@127.0.0.1".
  // Throws std::invalid_argument when `user` or `address` is null (the
  // caller is not known, so the change could not be attributed).
  // `origin` may be null or empty ("unknown" is used).
  static void format_source_string(std::string& source, const char* origin,
                                   const char* user, const char* address);

  // Split a change-source text back into its parts: the origin up to the
  // first ":", the address after the last "@", the user between them
  // (origins never hold ":", addresses never "@"; a user may hold either).
  // Returns false, leaving the parts empty, when `source` has not that
  // form.
  static bool parse_source_string(const std::string& source,
                                  std::string& origin, std::string& user,
                                  std::string& address);

  // A self-describing single-line text form (key=value fields separated by
  // tabs, with escaping) used by the store's event queue and by tools;
  // deserialize(serialize(e)) gives back an equal event. deserialize
  // returns false (and leaves *this unchanged) on malformed text.
  std::string serialize() const;
  bool deserialize(const std::string& text);
};

}  // namespace toolkit

#endif  // PLATFORM_EVENT_H_
