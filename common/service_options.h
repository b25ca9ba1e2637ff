// ServiceOptions: the per-call record parsed from an operation's `options`
// text (the BACnet/WS service-options string), and its parser.
//
// The text is a ";"-separated list of "key" or "key=value" tokens. Parsing
// is deliberately lenient, because stock clients send all sorts of spellings:
// a token counts for the first key it begins with ("readbackNow" is
// "readback"), a boolean is false only when its value contains "false", and
// unknown tokens are logged and ignored. Parsing never fails a call.
//
// The one lasting effect: a valid "locale=" option also becomes the
// context's current locale, so later calls that name no locale are rendered
// in it too. Clients of the device rely on this.

#ifndef COMMON_SERVICE_OPTIONS_H_
#define COMMON_SERVICE_OPTIONS_H_

#include <cstdint>
#include <locale>
#include <string>

namespace wsgated {

struct ServiceContext;

// The errorString value that means "the client gave no errorString".
extern const char* const kErrorStringNotGiven;  // "QZX"

struct ServiceOptions {
  bool readback = false;  // parsed, not acted on
  std::string errorString = kErrorStringNotGiven;
  std::string errorPrefix;
  std::string locale;              // as the client wrote it
  std::locale stdLocale;           // values are rendered in it
  bool localeValid = true;         // false: reads answer error 7
  bool writeSingleLocale = false;  // parsed, not acted on
  bool canonical = false;          // untranslated booleans
  int32_t precision = 6;           // parsed, not acted on
  bool noEmptyArrays = false;      // parsed, not acted on
  bool persist = false;            // writes are persistent
  // Whether the context had locale support when the options were parsed:
  // texts are translated into stdLocale only then.
  bool localeSupport = false;
};

// Fill `options` from `optionsText` (may be null: no options). Parsing
// never fails. Every operation that has an options element calls this
// first.
void parseServiceOptions(ServiceContext* context,
                         const std::string* optionsText,
                         ServiceOptions& options);

}  // namespace wsgated

#endif  // COMMON_SERVICE_OPTIONS_H_
