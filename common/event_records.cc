// Log records as response records (see event_records.h).

#include "common/event_records.h"

#include <cstdio>
#include <exception>
#include <new>

#include "common/event_text.h"
#include "common/log.h"
#include "common/value_conversion.h"
#include "platform/multistate.h"
#include "platform/path.h"
#include "platform/qrxtime.h"

using toolkit::CCds_Multistate;
using toolkit::CEvent;

namespace wsgated {

namespace {

const char* const kSoftwarePrefix = "/Software";
const char* const kConfigurationChanged =
    "/Software/System Settings/Configuration Changed";
const char* const kValueAttribute = "Value";
const char* const kStructureChanged = "Device Node Structure Changed";
// Device conditions are shown at good quality whatever the record holds:
// the condition itself is the news, not the quality of a measurement.
const char* const kDeviceConditionQuality = "192";

bool beginsWith(const std::string& text, const char* prefix) {
  return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

bool isDropped(const CEvent& record) {
  return beginsWith(record.source_path, kSoftwarePrefix) &&
         !isConfigurationChange(record);
}

// What a device condition without a description of its own says.
const char* severityWord(int32_t severity) {
  switch (severity) {
    case toolkit::EVENT_SEVERITY_INFORMATIONAL:
      return "Informational Event";
    case toolkit::EVENT_SEVERITY_CAUTIONARY:
      return "Cautionary Event";
    case toolkit::EVENT_SEVERITY_CRITICAL:
      return "Critical Event";
    default:
      return "System Event";
  }
}

std::string decimal(int value) {
  char text[16];
  snprintf(text, sizeof text, "%d", value);
  return text;
}

}  // namespace

bool isConfigurationChange(const CEvent& record) {
  return beginsWith(record.source_path, kConfigurationChanged) &&
         record.value.to_bool();
}

EventRecordBuilder::EventRecordBuilder(struct soap* soap, toolkit::CCds& cds,
                                       const std::locale* locale)
    : soap_(soap), cds_(cds), locale_(locale) {}

std::string* EventRecordBuilder::newText(const std::string& text) {
  std::string* copy = soap_new_std__string(soap_);
  if (copy == nullptr) throw std::bad_alloc();
  *copy = text;
  return copy;
}

const EventRecordBuilder::ShownPath& EventRecordBuilder::shownPath(
    const std::string& sourcePath) {
  auto known = paths_.find(sourcePath);
  if (known != paths_.end()) return known->second;
  ShownPath shown;
  toolkit::CPath path(sourcePath);
  // A path the store would refuse is split as it was written.
  const std::string canonical =
      path.normalize() == 0 ? path.getPath() : sourcePath;
  std::string parent, last;
  if (sourcePath == "/") {
    shown.text = "/";
  } else if (toolkit::CPath::LopLastSubpath(canonical, parent, last) != 0) {
    shown.text = sourcePath;
  } else if (last == kValueAttribute) {
    shown.text = shown.node = parent;
  } else {
    shown.text = parent + ":" + last;
  }
  return paths_.emplace(sourcePath, std::move(shown)).first->second;
}

bool EventRecordBuilder::stateName(const std::string& node,
                                   const toolkit::CElement& value,
                                   std::string& name) {
  NodeStates& states = nodes_[node];
  CCds_Multistate multistate(cds_);
  const data_type_t type = value.get_type();
  if (type == PCD_TYPE_BOOL) {
    if (!states.booleanKnown) {
      states.booleanNames = translateStateList(
          multistate.GetBoolPossibleValues(node, false), locale_);
      states.booleanKnown = true;
    }
    name = CCds_Multistate::GetBoolPossibleValue(states.booleanNames,
                                                 value.to_bool());
    return true;
  }
  if (type != PCD_TYPE_INT && type != PCD_TYPE_UINT) return false;
  if (!states.multistateKnown) {
    states.multistate = multistate.IsMultistate(node, false);
    std::string names;
    if (states.multistate) multistate.GetPossibleValues(node, false, names);
    states.multistateNames = translateStateList(names, locale_);
    states.multistateKnown = true;
  }
  if (!states.multistate) return false;
  name =
      CCds_Multistate::GetStringValue(states.multistateNames, value.to_int());
  return true;
}

void EventRecordBuilder::fillSourceAndValue(const CEvent& record,
                                            std::string*& sourcePath,
                                            std::string*& value,
                                            std::string*& numericValue) {
  const ShownPath& shown = shownPath(record.source_path);
  sourcePath = newText(shown.text);
  value = newText(record.value.to_string());
  numericValue = nullptr;
  std::string name;
  if (shown.node.empty() || !stateName(shown.node, record.value, name)) {
    return;
  }
  const bool isBoolean = record.value.get_type() == PCD_TYPE_BOOL;
  numericValue =
      newText(isBoolean ? (record.value.to_bool() ? "1" : "0") : *value);
  *value = name;
}

bool EventRecordBuilder::fillEvent(const CEvent& record, nss1__Event& event) {
  if (isDropped(record)) return false;
  event.EventId = record.event_id;
  event.SequenceIndex = record.sequence_index;
  if (isConfigurationChange(record)) {
    event.EventType = nss1__EventType__StructureChanged;
    event.Description =
        newText(record.description.empty()
                    ? std::string(kStructureChanged)
                    : localizeEventText(record.description, locale_));
    event.SourcePath = newText("/");
  } else {
    event.EventType = nss1__EventType__Event;
    fillSourceAndValue(record, event.SourcePath, event.Value,
                       event.NumericValue);
    const bool condition = record.kind == toolkit::EVENT_KIND_DEVICE_CONDITION;
    event.Description = newText(
        !record.description.empty()
            ? record.description
            : std::string(condition ? severityWord(record.severity) : ""));
  }
  event.Time = qrx_UNIXtoQRXtime64(&record.time);
  event.Quality = newText(record.kind == toolkit::EVENT_KIND_DEVICE_CONDITION
                              ? std::string(kDeviceConditionQuality)
                              : decimal(record.quality));
  return true;
}

nss1__Event* EventRecordBuilder::buildEvent(const CEvent& record) {
  try {
    nss1__Event* event = soap_new_nss1__Event(soap_);
    if (event == nullptr) throw std::bad_alloc();
    return fillEvent(record, *event) ? event : nullptr;
  } catch (const std::exception& e) {
    logError(kLogErrors, "FAILURE (system) in buildEvent(%s): %s",
             record.source_path.c_str(), e.what());
  }
  return nullptr;
}

nss1__AlarmUpdate* EventRecordBuilder::buildAlarmEvent(const CEvent& record) {
  try {
    nss1__AlarmUpdate* alarm = soap_new_nss1__AlarmUpdate(soap_);
    if (alarm == nullptr) throw std::bad_alloc();
    if (!fillEvent(record, *alarm)) return nullptr;
    alarm->EventType = nss1__EventType__Alarm;
    alarm->AckStatus = static_cast<nss1__AckStatus>(record.ack_status);
    alarm->ConditionPresent = record.condition_present;
    alarm->AutoClosing = record.auto_closing;
    if (!record.note.empty()) alarm->Note = newText(record.note);
    if (record.base_priority != 0) {
      alarm->BasePriority = newText(decimal(record.base_priority));
    }
    alarm->VariationLevel = record.variation_level;
    return alarm;
  } catch (const std::exception& e) {
    logError(kLogErrors, "FAILURE (system) in buildAlarmEvent(%s): %s",
             record.source_path.c_str(), e.what());
  }
  return nullptr;
}

bool EventRecordBuilder::buildPublishedValue(const CEvent& record,
                                             nss1__PublishedValue& value) {
  if (beginsWith(record.source_path, kSoftwarePrefix)) return false;
  try {
    soap_default_nss1__PublishedValue(soap_, &value);
    fillSourceAndValue(record, value.Path, value.Value, value.NumericValue);
    value.Time = qrx_UNIXtoQRXtime64(&record.time);
    value.Quality = record.quality;
    value.RealTime = false;
    value.Trend = true;
    return true;
  } catch (const std::exception& e) {
    logError(kLogErrors, "FAILURE (system) in qrxPublishedValue(%s): %s",
             record.source_path.c_str(), e.what());
  }
  return false;
}

}  // namespace wsgated
