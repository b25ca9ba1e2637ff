// nsc1:acknowledgeAlarm: one acknowledgement event per entry, posted into
// the store's event queue for the card's alarm handler
// (publish/acknowledgements.h has the rules).

#include <sys/time.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/write_path.h"
#include "contract/string_lists.h"
#include "platform/cds.h"
#include "platform/event.h"
#include "platform/path.h"
#include "publish/acknowledgements.h"
#include "soapH.h"

namespace wsgated {

namespace {

const char* const kAlarmTable = "/Alarms";
// Acknowledgements are not measurements: they are always of good quality.
constexpr uint16_t kGoodQuality = 192;
// One request may carry thousands of entries; its log lines stay bounded.
constexpr int kEntriesLogged = 100;

void logEntry(int index, const nsc1__AckRequest& entry) {
  if (index == kEntriesLogged) {
    logInfo(kLogActivity,
            "Further acknowledgements of this request are not "
            "logged one by one");
  }
  if (index >= kEntriesLogged) return;
  if (entry.Note != nullptr) {
    logInfo(kLogActivity,
            "Ack'ing Alarm #%llu (AckStatus=%d, varLevel=%d). Note = %s",
            static_cast<unsigned long long>(entry.EventId),
            static_cast<int>(entry.Status), entry.VariationLevel,
            entry.Note->c_str());
  } else {
    logInfo(kLogActivity, "Ack'ing Alarm #%llu (AckStatus=%d, varLevel=%d). ",
            static_cast<unsigned long long>(entry.EventId),
            static_cast<int>(entry.Status), entry.VariationLevel);
  }
}

// The event of one entry. Throws when the request's identity is not in the
// environment: an acknowledgement nobody can be held to is refused.
toolkit::CEvent acknowledgementEvent(const nsc1__AckRequest& entry) {
  toolkit::CEvent event;
  event.source_path = "/";
  event.value.set_time(toolkit::CElement::_invalid_time);
  event.quality = kGoodQuality;
  event.event_id = entry.EventId;
  event.variation_level = entry.VariationLevel;
  event.ack_status = static_cast<int32_t>(entry.Status);
  if (entry.Note != nullptr) event.note = *entry.Note;
  event.kind = toolkit::EVENT_KIND_ACKNOWLEDGE;
  toolkit::CEvent::format_source_string(event.source, kChangeOrigin,
                                        getenv("REMOTE_USER"),
                                        getenv("REMOTE_ADDR"));
  gettimeofday(&event.time, nullptr);
  return event;
}

std::string sendEvent(toolkit::CCds& cds, toolkit::CEvent& event) {
  std::vector<toolkit::CEvent> events{event};
  std::vector<api_status_t> statuses;
  std::string result;
  if (cds.events_send(events, statuses) != 0 || statuses.size() != 1 ||
      statuses[0] != API_STATUS_OK) {
    setBnwsErrorNoOptions(kBnwsWriteFailed20, "CDS event_send failed", result);
  }
  return result;
}

int sendAcknowledgements(ServiceContext* context,
                         const nsc1__ArrayOfAckRequest& requests,
                         std::vector<std::string>& results) {
  for (int i = 0; i < requests.__sizeAckRequest; ++i) {
    const nsc1__AckRequest& entry = requests.AckRequest[i];
    logEntry(i, entry);
    toolkit::CEvent event = acknowledgementEvent(entry);
    if (i == 0 &&
        !callerMay(context, toolkit::PCD_ACCESS_WRITE,
                   toolkit::CPath(kAlarmTable))) {
      logNotice(kLogErrors, "%s may not acknowledge alarms",
                context->caller.user.c_str());
      return kAcknowledgementRefused;
    }
    results.push_back(sendEvent(context->cds, event));
  }
  return 0;
}

}  // namespace

int acknowledgeAlarms(ServiceContext* context,
                      const nsc1__ArrayOfAckRequest* requests,
                      std::vector<std::string>& results) {
  results.clear();
  if (requests == nullptr || requests->AckRequest == nullptr) return 0;
  try {
    return sendAcknowledgements(context, *requests, results);
  } catch (const std::exception& e) {
    logError(kLogErrors, "Exception in __nsc1__acknowledgeAlarm(): %s",
             e.what());
    results.clear();
    return kAcknowledgementFault;
  }
}

}  // namespace wsgated

int __nsc1__acknowledgeAlarm(struct soap* soap,
                             struct _nsc1__acknowledgeAlarm* request,
                             struct _nsc1__acknowledgeAlarmResponse& response) {
  std::vector<std::string> results;
  const int status = wsgated::acknowledgeAlarms(wsgated::serviceContext(soap),
                                                request->requests, results);
  if (status != 0) return status;
  return wsgated::stringsToSoap(soap, std::move(results),
                                response.acknowledgeAlarmResult.__sizestring,
                                response.acknowledgeAlarmResult.string)
             ? SOAP_OK
             : SOAP_EOM;
}
