// What getEventLog and getDeltaLog share between the engine's request and
// the records they answer: the request's query, the log read with the
// daemon's settings, and the caller's right to see each record's source.

#ifndef LOGS_LOG_REQUEST_H_
#define LOGS_LOG_REQUEST_H_

#include <locale>
#include <string>
#include <unordered_map>
#include <vector>

#include "logs/log_retrieval.h"
#include "platform/event.h"
#include "soapH.h"

namespace toolkit {
class CCds;
}  // namespace toolkit

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

// The query of a request.
LogQuery logQueryFromRequest(const nsqv__logRetrieveRequest& request);

// Parse the request's options into `options` and read the records it asks
// for from the log at `path`, at most `maximum` per request, with the
// daemon's SQLite settings and a one-second pause before a retry. A
// missing request element reads nothing and answers error 33. Returns what
// retrieveLog returns, with its outputs.
bool readRequestedLog(ServiceContext* context,
                      const nsqv__logRetrieveRequest* request,
                      const std::string& path, int maximum,
                      ServiceOptions& options,
                      std::vector<toolkit::CEvent>& records, int& trimmedCount,
                      std::string& result);

// The locale the request's texts are translated into; null without locale
// support.
const std::locale* recordLocale(const ServiceOptions& options);

// Whether the caller may read the sources of records: a record of a leaf
// the caller may not read is not answered. Each source path is judged once
// per answer, since a log repeats a few dozen paths thousands of times.
class SourceRights {
 public:
  explicit SourceRights(ServiceContext* context);
  bool mayRead(const std::string& sourcePath);

 private:
  ServiceContext* context_;
  std::unordered_map<std::string, bool> judged_;
};

}  // namespace wsgated

#endif  // LOGS_LOG_REQUEST_H_
