// nsqv:getDeltaLog: logged value changes of the Delta log, at most the
// Delta maximum (-m) per request.
//
// Records a builder drops and records of sources the caller may not read
// are left out without being counted: numTrimmedPoints counts only what
// the trimming took off. Failures travel in `result`; only an engine that
// cannot allocate the list fails the call (SOAP_EOM).

#include <string>
#include <vector>

#include "common/event_records.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "logs/log_request.h"
#include "soapH.h"

using toolkit::CEvent;
using wsgated::ServiceContext;
using wsgated::ServiceOptions;

int __nsqv__getDeltaLog(struct soap* soap, struct _nsqv__getDeltaLog* request,
                        struct _nsqv__getDeltaLogResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  ServiceOptions options;
  std::vector<CEvent> records;
  response.__sizeloggedValues = 0;
  response.loggedValues = nullptr;
  if (!wsgated::readRequestedLog(context, request->request, context->deltaLog,
                                 context->maxDeltaRecords, options, records,
                                 response.numTrimmedPoints, response.result) ||
      records.empty()) {
    return SOAP_OK;
  }
  nss1__PublishedValue* values =
      soap_new_nss1__PublishedValue(soap, static_cast<int>(records.size()));
  if (values == nullptr) return SOAP_EOM;
  wsgated::EventRecordBuilder builder(soap, context->cds,
                                      wsgated::recordLocale(options));
  wsgated::SourceRights rights(context);
  int count = 0;
  for (const CEvent& record : records) {
    if (rights.mayRead(record.source_path) &&
        builder.buildPublishedValue(record, values[count])) {
      ++count;
    }
  }
  response.__sizeloggedValues = count;
  response.loggedValues = values;
  return SOAP_OK;
}
