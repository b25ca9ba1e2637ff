// The BACnet/WS error table and the error-result texts built from it.
//
// A failed read or write does not fault the SOAP call: the operation answers
// a result text in place of the value, by default
//   "? <code> <name> : <detail>"      e.g. "? 9 Node Not Found : Node does not
//   exist"
// which the client may reshape with the errorString and errorPrefix options.
// Every error result is also logged ("BnwsErrMsg: ...").

#ifndef COMMON_BNWS_ERROR_H_
#define COMMON_BNWS_ERROR_H_

#include <string>

namespace wsgated {

struct ServiceOptions;

enum BnwsErrorCode {
  kBnwsUnspecifiedError = 0,
  kBnwsNotAuthenticated = 1,
  kBnwsNotAuthorized = 2,
  kBnwsBadOptionsSyntax = 3,
  kBnwsOptionNotSupported = 4,
  kBnwsBadOptionValueFormat = 5,
  kBnwsOptionOutOfRange = 6,
  kBnwsLocaleNotSupported = 7,
  kBnwsBadPathSyntax = 8,
  kBnwsNodeNotFound = 9,
  kBnwsAttributeNotFound = 10,
  kBnwsIllegalAttribute = 11,
  kBnwsBadValueFormat = 12,
  kBnwsValueOutOfRange = 13,
  kBnwsIndexOutOfRange = 14,
  kBnwsNotWritable = 15,
  kBnwsWriteFailed = 16,
  kBnwsNoPathsProvided = 17,
  kBnwsRequestedCountIsZero = 18,
  kBnwsRequestedIntervalIsZero = 19,
  kBnwsWriteFailed20 = 20,  // same name as 16; both codes are in use
  kBnwsNoHistory = 21,
  kBnwsNoDataAvailable = 22,
  kBnwsEmptyArray = 23,
  kBnwsNotAnArray = 24,
  kBnwsCommWithRemoteDeviceFailed = 25,
  kBnwsReadbackFailed = 26,
  kBnwsCouldNotSetUpSubscription = 27,
  kBnwsNoMatchForSubscriberId = 28,
  kBnwsCommandNotSupported = 29,
  kBnwsWrongVersion = 30,
  kBnwsDeviceBusyOrNotAvailable = 31,
  kBnwsHandleInvalidOrExpired = 32,
  kBnwsArgumentInvalid = 33,
  kBnwsResultTooBigToReturn = 34,
};

constexpr int kBnwsErrorCount = 35;
constexpr int kBnwsErrorTextWidth = 36;

// "0 Unspecified Error" .. "34 Result Too Big to Return", NUL-padded.
extern const char BnwsErrorTable[kBnwsErrorCount][kBnwsErrorTextWidth];

// Replace `result` with the error result of `code` (out of range: 0) and
// `detail` (null or "" adds no " : detail"), shaped by `options` (may be
// null), and log it.
void setBnwsError(int code, const char* detail, std::string& result,
                  const ServiceOptions* options);

// The same without options: always "? <entry>[ : <detail>]".
void setBnwsErrorNoOptions(int code, const char* detail, std::string& result);

}  // namespace wsgated

#endif  // COMMON_BNWS_ERROR_H_
