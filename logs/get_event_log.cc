// nsqv:getEventLog: events and alarms of the alarm/event log (rqstType 2,
// LgRqTypAlarmEvents) or, for every other rqstType, of the system event
// log, at most a quarter of the Delta maximum (-m) per request.
//
// Alarm records (kind 8) are answered as nss1:AlarmUpdate inside the event
// list. Records a builder drops ("/Software" bookkeeping) and records of
// sources the caller may not read are counted in numTrimmedEvents, on top
// of the records the trimming took off. Failures travel in `result`; only
// an engine that cannot allocate the list fails the call (SOAP_EOM).

#include <string>
#include <vector>

#include "common/event_records.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "logs/log_request.h"
#include "soapH.h"

using toolkit::CEvent;
using wsgated::EventRecordBuilder;
using wsgated::ServiceContext;
using wsgated::ServiceOptions;
using wsgated::SourceRights;

namespace {

// Events get a quarter of what a Delta request may return: an event
// carries several times the text of a logged value.
constexpr int kEventShareOfDeltaMaximum = 4;

nss1__Event* buildRecord(EventRecordBuilder& builder, const CEvent& record) {
  if (record.kind == toolkit::EVENT_KIND_ALARM) {
    return builder.buildAlarmEvent(record);
  }
  return builder.buildEvent(record);
}

}  // namespace

int __nsqv__getEventLog(struct soap* soap, struct _nsqv__getEventLog* request,
                        struct _nsqv__getEventLogResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  const nsqv__logRetrieveRequest* query = request->request;
  const bool alarmLog =
      query != nullptr &&
      query->rqstType == nsqv__LogRqstType__LgRqTypAlarmEvents;
  ServiceOptions options;
  std::vector<CEvent> records;
  response.__sizeevents = 0;
  response.events = nullptr;
  if (!wsgated::readRequestedLog(
          context, query, alarmLog ? context->eventLog : context->systemLog,
          context->maxDeltaRecords / kEventShareOfDeltaMaximum, options,
          records, response.numTrimmedEvents, response.result) ||
      records.empty()) {
    return SOAP_OK;
  }
  nss1__Event** events = static_cast<nss1__Event**>(
      soap_malloc(soap, sizeof(nss1__Event*) * records.size()));
  if (events == nullptr) return SOAP_EOM;
  EventRecordBuilder builder(soap, context->cds,
                             wsgated::recordLocale(options));
  SourceRights rights(context);
  int count = 0;
  for (const CEvent& record : records) {
    nss1__Event* event = rights.mayRead(record.source_path)
                             ? buildRecord(builder, record)
                             : nullptr;
    if (event == nullptr) {
      ++response.numTrimmedEvents;
    } else {
      events[count++] = event;
    }
  }
  response.__sizeevents = count;
  response.events = events;
  return SOAP_OK;
}
