// Parsing of the service-options string (see service_options.h).

#include "common/service_options.h"

#include <cstdlib>
#include <exception>
#include <vector>

#include "common/log.h"
#include "common/service_context.h"
#include "platform/element.h"
#include "platform/utils.h"

namespace wsgated {

const char* const kErrorStringNotGiven = "QZX";

namespace {

// The locale values are rendered in when a call names none and no caller
// has chosen one yet.
const char* const kDefaultLocaleName = "en_US.UTF-8";

enum OptionKey {
  kReadback,
  kErrorString,
  kErrorPrefix,
  kLocale,
  kWriteSingleLocale,
  kCanonical,
  kPrecision,
  kNoEmptyArrays,
  kPersist,
  kUnknownOption,
};

// Tried in this order with a prefix test, so a token counts for the first
// key it begins with: "errorStringX" is errorString, "persistNow" persist.
const char* const kOptionKeys[] = {
    "readback",  "errorString", "errorPrefix",   "locale",  "writeSingleLocale",
    "canonical", "precision",   "noEmptyArrays", "persist",
};

OptionKey keyOfToken(const std::string& token) {
  for (int key = kReadback; key < kUnknownOption; ++key) {
    if (token.rfind(kOptionKeys[key], 0) == 0) return OptionKey(key);
  }
  return kUnknownOption;
}

// A bare key means true; a value is false only when it contains "false".
// Clients write "=1", "=yes", "=True" and "=false" alike, so anything that
// is not recognisably false is taken as true.
bool booleanValue(const std::string& token) {
  size_t equals = token.find('=');
  return equals == std::string::npos ||
         token.find("false", equals + 1) == std::string::npos;
}

// Everything after the first "=" (which may hold further "="); "" without.
std::string textValue(const std::string& token) {
  size_t equals = token.find('=');
  return equals == std::string::npos ? std::string() : token.substr(equals + 1);
}

// atoi's rule on purpose: "12abc" is 12, "abc" 0, and beyond 32 bits the
// device's limit (its long has 32 bits); only a positive value replaces the
// precision already set.
void applyPrecision(const std::string& token, ServiceOptions& options) {
  size_t equals = token.find('=');
  if (equals == std::string::npos) return;
  const int value = toolkit::pcd_strtol32(token.c_str() + equals + 1, nullptr);
  if (value > 0) options.precision = value;
}

// Unknown tokens are logged one line each up to this many per call, then
// counted in one line: a 4 MiB options text of unknown tokens wrote 2.1
// million lines and held the daemon for a minute.
constexpr int kUnknownOptionsLogged = 10;

// What one call's options text may take of the daemon: longer texts are
// parsed up to here (no client's options come near it).
constexpr size_t kMaxOptionsLength = 64 * 1024;

// Returns false for a token that is not a known option.
bool applyToken(const std::string& token, ServiceOptions& options) {
  switch (keyOfToken(token)) {
    case kReadback:
      options.readback = booleanValue(token);
      break;
    case kErrorString:
      options.errorString = textValue(token);
      break;
    case kErrorPrefix:
      options.errorPrefix = textValue(token);
      break;
    case kLocale:
      options.locale = textValue(token);
      break;
    case kWriteSingleLocale:
      options.writeSingleLocale = booleanValue(token);
      break;
    case kCanonical:
      options.canonical = booleanValue(token);
      break;
    case kPrecision:
      applyPrecision(token, options);
      break;
    case kNoEmptyArrays:
      options.noEmptyArrays = booleanValue(token);
      break;
    case kPersist:
      options.persist = booleanValue(token);
      break;
    case kUnknownOption:
      return false;
  }
  return true;
}

// Unknown tokens are never an error: clients send options of later
// protocol versions. They are logged, within a bound.
void logUnknownOption(const std::string& token, int unknownSoFar) {
  if (unknownSoFar <= kUnknownOptionsLogged) {
    logNotice(kLogActivity,
              "An Unrecognized service option in the request: %s",
              token.c_str());
  }
}

// Every call starts from the defaults. With locale support it renders in
// the context's current locale, which the request loop chose for the caller
// (or an earlier "locale" option made lasting).
void resetOptions(ServiceContext* context, ServiceOptions& options) {
  options.readback = false;
  options.errorString = kErrorStringNotGiven;
  options.errorPrefix.clear();
  options.locale.clear();
  options.localeSupport = context != nullptr && context->localeSupport;
  if (options.localeSupport) {
    if (!context->currentLocale.name().empty()) {
      options.stdLocale = context->currentLocale;
    } else {
      options.stdLocale = context->localeGenerator.generate(kDefaultLocaleName);
    }
  }
  options.localeValid = true;
  options.precision = 6;
  options.writeSingleLocale = false;
  options.canonical = false;
  options.noEmptyArrays = false;
  options.persist = false;
}

// "de-DE.UTF-8" -> "de_DE": the encoding is dropped and the first "-"
// becomes "_", the form the supported-locale list uses.
std::string localeLookupName(const std::string& requested) {
  std::string name = requested.substr(0, requested.find('.'));
  size_t dash = name.find('-');
  if (dash != std::string::npos) name[dash] = '_';
  return name;
}

// Resolve the "locale" option. The choice also becomes the context's
// current locale, so it outlasts the call: later calls of any client that
// name no locale are rendered in it too.
void resolveLocale(ServiceContext* context, ServiceOptions& options) {
  options.localeValid = false;
  std::string name = localeLookupName(options.locale);
  std::string prime;
  bool supported = false;
  try {
    supported = toolkit::CCds_Utils::getPrimeLocale(context->supportedLocales,
                                                    name, prime);
  } catch (const std::exception& e) {
    logNotice(kLogErrors, "Exception in setting locale %s: %s", name.c_str(),
              e.what());
    return;
  }
  if (!supported) {
    logNotice(kLogActivity, "The requested locale %s is unsupported",
              name.c_str());
    return;
  }
  LocaleMap::const_iterator found = context->localeMap.find(prime);
  if (found == context->localeMap.end()) {
    logWarning(kLogActivity, "Locale map lookup failed for %s", prime.c_str());
    return;
  }
  options.stdLocale = found->second;
  context->currentLocale = found->second;
  options.localeValid = true;
}

}  // namespace

void parseServiceOptions(ServiceContext* context,
                         const std::string* optionsText,
                         ServiceOptions& options) {
  resetOptions(context, options);
  if (optionsText == nullptr || optionsText->empty()) return;
  if (optionsText->size() > kMaxOptionsLength) {
    logNotice(kLogActivity, "Service options of %zu bytes: only the first %zu "
              "are read", optionsText->size(), kMaxOptionsLength);
  }
  // Tokens are not trimmed: " readback" is an unknown option.
  int unknown = 0;
  for (const std::string& token : toolkit::CElement::split_string(
           optionsText->substr(0, kMaxOptionsLength), ';')) {
    if (!applyToken(token, options)) logUnknownOption(token, ++unknown);
  }
  if (unknown > kUnknownOptionsLogged) {
    logNotice(kLogActivity, "... and %d more unrecognized service options",
              unknown - kUnknownOptionsLogged);
  }
  if (!options.locale.empty() && options.localeSupport) {
    resolveLocale(context, options);
  }
}

}  // namespace wsgated
