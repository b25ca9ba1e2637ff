// Error results (see bnws_error.h).

#include "common/bnws_error.h"

#include "common/log.h"
#include "common/service_options.h"

namespace wsgated {

const char BnwsErrorTable[kBnwsErrorCount][kBnwsErrorTextWidth] = {
    "0 Unspecified Error",
    "1 Not Authenticated",
    "2 Not Authorized",
    "3 Bad Options Syntax",
    "4 Option Not Supported",
    "5 Bad Option Value Format",
    "6 Option Out of Range",
    "7 Locale Not Supported",
    "8 Bad Path Syntax",
    "9 Node Not Found",
    "10 Attribute Not Found",
    "11 Illegal Attribute",
    "12 Bad Value Format",
    "13 Value Out of Range",
    "14 Index Out of Range",
    "15 Not Writable",
    "16 Write Failed",
    "17 No Paths Provided",
    "18 Requested Count is Zero",
    "19 Requested Interval is Zero",
    "20 Write Failed",
    "21 No History",
    "22 No Data Available",
    "23 Empty Array",
    "24 Not an Array",
    "25 Comm with Remote Device Failed",
    "26 The Readback Failed",
    "27 Could not set up subscription",
    "28 No match for SubscriberId",
    "29 Command Not Supported",
    "30 Wrong Version",
    "31 Device Busy or Not Available",
    "32 Handle Invalid or Expired",
    "33 Argument Invalid/Not Supported",
    "34 Result Too Big to Return",
};

namespace {

// The prefix of every standard error result; a client's errorPrefix of
// exactly this text means "just my errorString".
const char* const kErrorMark = "? ";

// Missing nodes are routine (clients probe for optional points), so they
// only show at high verbosity; every other error shows at level 1.
const LogLevel kErrorLogLevel = kLogErrors;
const LogLevel kNodeNotFoundLogLevel = kLogDump;

bool hasText(const char* detail) {
  return detail != nullptr && detail[0] != '\0';
}

// "? <entry>[ : <detail>]" after `prefix`.
void standardResult(const std::string& prefix, const char* entry,
                    const char* detail, std::string& result) {
  result = prefix;
  result += kErrorMark;
  result += entry;
  if (hasText(detail)) {
    result += " : ";
    result += detail;
  }
}

void logErrorResult(int code, const std::string& result) {
  logInfo(code == kBnwsNodeNotFound ? kNodeNotFoundLogLevel : kErrorLogLevel,
          "BnwsErrMsg: %s", result.c_str());
}

}  // namespace

void setBnwsError(int code, const char* detail, std::string& result,
                  const ServiceOptions* options) {
  if (code < 0 || code >= kBnwsErrorCount) code = kBnwsUnspecifiedError;
  const char* entry = BnwsErrorTable[code];
  result.clear();
  if (options == nullptr) {
    standardResult(std::string(), entry, detail, result);
  } else if (options->errorString.empty()) {
    // The client asked for empty results; say what it did not get.
    logInfo(kErrorLogLevel, "BnwsErrMsg: %s %s (but empty string returned)",
            entry, detail != nullptr ? detail : "");
    return;
  } else if (options->errorString == kErrorStringNotGiven) {
    standardResult(options->errorPrefix, entry, detail, result);
  } else if (options->errorPrefix == kErrorMark) {
    result = options->errorString;
  } else {
    result = options->errorPrefix + options->errorString;
  }
  logErrorResult(code, result);
}

void setBnwsErrorNoOptions(int code, const char* detail, std::string& result) {
  setBnwsError(code, detail, result, nullptr);
}

}  // namespace wsgated
