#include "card/publisher/notification.h"

#include <sstream>

#include "common/event_records.h"
#include "common/log.h"

namespace wsgated {

const char* const kSubscriberNamespace = "urn:wsgated:subscriber";

namespace {

// The values in engine memory; real-time ones flagged as such.
nss1__ArrayOfPublishedValue* buildValues(EventRecordBuilder& builder,
                                         struct soap* soap,
                                         const Notification& notification) {
  const size_t total =
      notification.realTimeValues.size() + notification.loggedValues.size();
  auto* array = soap_new_nss1__ArrayOfPublishedValue(soap);
  array->__sizePublishedValue = 0;
  array->PublishedValue =
      total == 0 ? nullptr : soap_new_nss1__PublishedValue(soap, total);
  for (const toolkit::CEvent& record : notification.realTimeValues) {
    nss1__PublishedValue& value =
        array->PublishedValue[array->__sizePublishedValue];
    if (!builder.buildPublishedValue(record, value)) continue;
    value.RealTime = true;
    value.Trend = false;
    ++array->__sizePublishedValue;
  }
  for (const toolkit::CEvent& record : notification.loggedValues) {
    if (builder.buildPublishedValue(
            record, array->PublishedValue[array->__sizePublishedValue])) {
      ++array->__sizePublishedValue;
    }
  }
  return array;
}

nss1__ArrayOfEvent* buildEvents(EventRecordBuilder& builder,
                                struct soap* soap,
                                const Notification& notification) {
  std::vector<nss1__Event*> built;
  for (const toolkit::CEvent& record : notification.events) {
    if (nss1__Event* event = builder.buildEvent(record)) built.push_back(event);
  }
  for (const toolkit::CEvent& record : notification.alarms) {
    if (nss1__Event* alarm = builder.buildAlarmEvent(record)) {
      built.push_back(alarm);
    }
  }
  auto* array = soap_new_nss1__ArrayOfEvent(soap);
  array->__sizeEvent = static_cast<int>(built.size());
  array->Event = nullptr;
  if (!built.empty()) {
    array->Event = static_cast<nss1__Event**>(
        soap_malloc(soap, built.size() * sizeof(nss1__Event*)));
    for (size_t i = 0; i < built.size(); ++i) array->Event[i] = built[i];
  }
  return array;
}

int writeBody(struct soap* soap, const std::string& id,
              nss1__ArrayOfPublishedValue* values,
              nss1__ArrayOfEvent* events) {
  std::string idText = id;
  if (soap_begin_send(soap) || soap_envelope_begin_out(soap) ||
      soap_body_begin_out(soap) ||
      soap_set_attr(soap, "xmlns:wsn", kSubscriberNamespace, 1) ||
      soap_element_begin_out(soap, "wsn:notify", 0, nullptr) ||
      soap_out_std__string(soap, "wsn:subscriptionId", -1, &idText, "") ||
      soap_out_nss1__ArrayOfPublishedValue(soap, "wsn:values", -1, values,
                                           "") ||
      soap_out_nss1__ArrayOfEvent(soap, "wsn:events", -1, events, "") ||
      soap_element_end_out(soap, "wsn:notify") ||
      soap_body_end_out(soap) || soap_envelope_end_out(soap) ||
      soap_end_send(soap)) {
    return soap->error == SOAP_OK ? SOAP_EOM : soap->error;
  }
  return SOAP_OK;
}

}  // namespace

bool writeNotification(toolkit::CCds& store, const Notification& notification,
                       std::string& xml) {
  xml.clear();
  struct soap* soap = soap_new1(SOAP_XML_TREE);
  if (soap == nullptr) return false;
  bool written = false;
  try {
    EventRecordBuilder builder(soap, store, nullptr);
    nss1__ArrayOfPublishedValue* values =
        buildValues(builder, soap, notification);
    nss1__ArrayOfEvent* events = buildEvents(builder, soap, notification);
    std::ostringstream out;
    soap->os = &out;
    written = writeBody(soap, notification.subscriptionId, values, events) ==
              SOAP_OK;
    soap->os = nullptr;
    if (written) xml = out.str();
  } catch (const std::exception& e) {
    logError(kLogErrors, "Publisher: notification for %s not written: %s",
             notification.subscriptionId.c_str(), e.what());
  }
  if (!written) {
    logError(kLogErrors, "Publisher: notification for %s not written",
             notification.subscriptionId.c_str());
  }
  soap_destroy(soap);
  soap_end(soap);
  soap_free(soap);
  return written;
}

}  // namespace wsgated
