// The publisher's area: its paths, the templates of its nodes, and what the
// subscription operations share (real-time nodes, owners, the counter).

#include <cstdarg>
#include <cstdio>
#include <exception>

#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/read_path.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/event.h"
#include "platform/path.h"
#include "platform/qrxtime.h"
#include "platform/utils.h"
#include "publish/subscriptions.h"

namespace wsgated {

namespace {

// The template values "replyUri", "20" and "1234" are placeholders that the
// request's values overwrite at once; the publisher's readers expect them.
const char* const kReplyUri[] = {"/NodeType", "Point",    "/ValueType",
                                 "String",    "/Value",   "replyUri",
                                 nullptr};
const char* const kLeaseDuration[] = {
    "/NodeType", "Point", "/ValueType", "Integer", "/Value",
    "20",        "/Units", "milliseconds", nullptr};
const char* const kLogSinceTime[] = {"/NodeType", "Point",  "/ValueType",
                                     "timeval",   "/Value", "1234",
                                     nullptr};
const char* const kLogOptions[] = {"/NodeType", "Point",  "/ValueType",
                                   "Integer",   "/Value", "8",
                                   "/Units",    "no-units", nullptr};
const char* const kRTNodeCount[] = {"/NodeType", "Point",  "/ValueType",
                                    "Integer",   "/Value", "0",
                                    "/Units",    "no-units", nullptr};
const char* const kRTNodes[] = {"/NodeType", "Collection",
                                "/ValueType", "None",
                                "/HasDynamicChildren", "true",
                                nullptr};
const char* const kRealTimeNode[] = {"/NodeType", "Collection", "/ValueType",
                                     "None", nullptr};
const char* const kRqstdFreshness[] = {
    "/NodeType", "Point",  "/ValueType", "Integer", "/Value",
    "0",         "/Units", "milliseconds", nullptr};
const char* const kDeadband[] = {"/NodeType", "Point",  "/ValueType",
                                 "Real",      "/Value", "0.0",
                                 "/Units",    "percent", nullptr};

// Formats into the area's 256-byte buffer. False when the result was cut:
// a cut path names some other node, so it is never used.
bool formatAreaPath(std::string& path, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
bool formatAreaPath(std::string& path, const char* format, ...) {
  char buffer[kSubscriptionPathBuffer];
  va_list args;
  va_start(args, format);
  const int length = vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  path = buffer;
  return length >= 0 && static_cast<size_t>(length) < sizeof buffer;
}

// The real-time node of point `pointPath`: "<subscription>/RTNodes/<name>".
// False when the point has no node name (a path that is not absolute) or
// its node path does not fit.
bool realTimeNodePath(const std::string& subscription,
                      const std::string& pointPath, std::string& path) {
  const std::string name = toolkit::CPath::PathToNodeName(pointPath);
  if (name.empty()) return false;
  if (formatAreaPath(path, "%s%s/%s", subscription.c_str(), "/RTNodes",
                     name.c_str()) &&
      toolkit::CPath::IsNodePath(path)) {
    return true;
  }
  logInfo(kLogErrors, "Register_realTimeNodes: no room for %s below %s",
          pointPath.c_str(), subscription.c_str());
  return false;
}

// What a read of the point answers; `good` tells whether it read a value
// that the caller may see.
RealTimeNodeResult readFirstValue(ServiceContext* context,
                                  const ServiceOptions& options,
                                  const std::string& pointPath, bool& good) {
  RealTimeNodeResult result;
  good = false;
  toolkit::CPath parsed(pointPath);
  if (parsed.normalize() != 0) {
    logInfo(kLogErrors, "Error in supplied path %s", pointPath.c_str());
    setBnwsError(kBnwsBadPathSyntax, "CDS Error in supplied path",
                 result.value, &options);
    return result;
  }
  toolkit::CCds& cds = context->cds;
  api_status_t status = API_STATUS_UNKNOWN;
  toolkit::CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  const int rc = cds.get_leaf(pointPath, status, element, property);
  bool enumerated = false;
  // readAttribute judged the rights of a plain path; a sub-attribute is
  // readable without them, but the numeric text is the value's, so it
  // needs the rights too.
  good = readAttribute(context, options, rc, parsed, status, element,
                       property, enumerated, result.value) &&
         (parsed.getSubAttribute().empty() ||
          callerMay(context, toolkit::PCD_ACCESS_READ, parsed));
  if (!good) return result;
  result.numericValue = element.get_type() == PCD_TYPE_BOOL
                            ? (element.to_bool() ? "1" : "0")
                            : element.to_string();
  result.time = qrx_UNIXtoQRXtime64(&element.get_time());
  result.quality = toolkit::CCds_Utils(cds).CheckDeviceQuality(
      parsed.getNodePath(), element);
  return result;
}

// One point: its node (made when missing), its freshness and dead band,
// and its result. False when the node cannot be made: no result then.
bool registerOne(ServiceContext* context, const ServiceOptions& options,
                 const NodeSubscription& node, const std::string& subscription,
                 const std::string& source, RealTimeNodeResult& result) {
  std::string path;
  if (!realTimeNodePath(subscription, node.path, path)) return false;
  toolkit::CCds& cds = context->cds;
  if (!nodeExists(cds, path) &&
      loadNodeLeaves(cds, path, kRealTimeNodeTemplate, 3, source) != 0) {
    return false;
  }
  toolkit::CCds_SwInfo info(&cds, path);
  info.SetIntValue(path, "/RqstdFreshness", node.requestedFreshness, source);
  api_status_t status = API_STATUS_UNKNOWN;
  const bool deadbandWritten =
      cds.set_leaf(path + "/Deadband/Value", toolkit::CElement(node.deadbandPercent),
                   status, PCD_TRIBOOL_FALSE, source) == 0 &&
      status == API_STATUS_OK;
  bool good = false;
  result = readFirstValue(context, options, node.path, good);
  if (!deadbandWritten || !good) {
    logInfo(kLogErrors, "Register_realTimeNodes: Bad node request for %s",
            result.value.c_str());
    result.time = qrx_UTCtime64();
    result.quality = 0;
  }
  return true;
}

}  // namespace

const toolkit::tagnval kSubscriptionTemplate[6] = {
    {kSubscriptionsNode, "/ReplyURI", kReplyUri},
    {kSubscriptionsNode, "/LeaseDuration", kLeaseDuration},
    {kSubscriptionsNode, "/LogSinceTime", kLogSinceTime},
    {kSubscriptionsNode, "/LogOptions", kLogOptions},
    {kSubscriptionsNode, "/RTNodeCount", kRTNodeCount},
    {kSubscriptionsNode, "/RTNodes", kRTNodes},
};

const toolkit::tagnval kRealTimeNodeTemplate[3] = {
    {kSubscriptionsNode, "", kRealTimeNode},
    {kSubscriptionsNode, "/RqstdFreshness", kRqstdFreshness},
    {kSubscriptionsNode, "/Deadband", kDeadband},
};

bool subscriptionPath(const std::string& id, std::string& path) {
  if (!id.empty() && id.find('/') == std::string::npos &&
      formatAreaPath(path, "%s/%s", kSubscriptionsNode, id.c_str()) &&
      toolkit::CPath::IsNodePath(path)) {
    return true;
  }
  path.clear();
  return false;
}

bool nodeExists(toolkit::CCds& cds, const std::string& path) {
  api_status_t status = API_STATUS_UNKNOWN;
  return cds.test_node(path, status) == 0 && status == API_STATUS_OK;
}

int loadNodeLeaves(toolkit::CCds& cds, const std::string& nodePath,
                   const toolkit::tagnval* entries, size_t count,
                   const std::string& source) {
  try {
    toolkit::CCds_SwInfo info(&cds, nodePath);
    for (size_t i = 0; i < count; ++i) {
      const int rc = info.FillSwInfoNode(&entries[i], source);
      if (rc != 0) return rc;
    }
    return 0;
  } catch (const std::exception& e) {
    logError(kLogErrors, "LoadNodeLeaves: Unexpected Exception %s", e.what());
    return -1;
  }
}

void registerRealTimeNodes(ServiceContext* context,
                           const std::vector<NodeSubscription>& nodes,
                           const std::string& subscription,
                           RealTimeNodeResults& results) {
  results.reset();
  if (nodes.empty()) return;
  results.emplace();
  ServiceOptions options;
  parseServiceOptions(context, nullptr, options);
  const std::string source = changeSource(context->caller);
  for (const NodeSubscription& node : nodes) {
    RealTimeNodeResult result;
    if (!node.path.empty() &&
        registerOne(context, options, node, subscription, source, result)) {
      results->push_back(std::move(result));
    }
  }
}

bool mayChangeSubscription(ServiceContext* context,
                           const std::string& subscription) {
  api_status_t status = API_STATUS_UNKNOWN;
  std::string writer, origin, user, address;
  if (context->cds.get_leaf_writer(subscription + "/ReplyURI/Value", status,
                                   writer) == 0 &&
      status == API_STATUS_OK &&
      toolkit::CEvent::parse_source_string(writer, origin, user, address) &&
      origin == kChangeOrigin && user == context->caller.user) {
    return true;
  }
  toolkit::CPath node(subscription);
  if (node.normalize() == 0 &&
      callerMay(context, toolkit::PCD_ACCESS_ADMIN, node)) {
    return true;
  }
  logNotice(kLogErrors, "Refused: %s is not %s's subscription",
            subscription.c_str(), context->caller.user.c_str());
  return false;
}

int bumpSubUpdateCount(ServiceContext* context) {
  toolkit::CCds_SwInfo info(&context->cds, kPublisherNode);
  return info.UpdateIntValue(kPublisherNode, "/SubUpdateCount", 1, nullptr,
                             changeSource(context->caller));
}

}  // namespace wsgated
