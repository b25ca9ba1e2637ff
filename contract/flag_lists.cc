// Flag lists read strictly (flag_lists.h).

#include "contract/flag_lists.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace wsgated {

namespace {

const char kBlanks[] = " \t\r\n";

// The value of one item: a symbol of `codes`, else a whole decimal number.
bool itemValue(const struct soap_code_map* codes, const std::string& item,
               LONG64* value) {
  for (const struct soap_code_map* code = codes; code->string; ++code) {
    if (item == code->string) {
      *value = code->code;
      return true;
    }
  }
  char* end = nullptr;
  errno = 0;
  const long long number = strtoll(item.c_str(), &end, 10);
  if (errno != 0 || end == item.c_str() || *end != '\0') return false;
  *value = number;
  return true;
}

}  // namespace

int readFlagList(struct soap* soap, const struct soap_code_map* codes,
                 const char* text, LONG64* bits) {
  *bits = 0;
  const std::string list = text != nullptr ? text : "";
  bool any = false;
  for (size_t begin = list.find_first_not_of(kBlanks);
       begin != std::string::npos;
       begin = list.find_first_not_of(kBlanks, begin)) {
    size_t end = list.find_first_of(kBlanks, begin);
    if (end == std::string::npos) end = list.size();
    LONG64 value = 0;
    if (!itemValue(codes, list.substr(begin, end - begin), &value)) {
      *bits = 0;
      return soap->error = SOAP_TYPE;
    }
    *bits |= value;
    any = true;
    begin = end;
  }
  if (!any) return soap->error = SOAP_TYPE;
  return SOAP_OK;
}

}  // namespace wsgated
