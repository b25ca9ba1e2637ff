// Reading a set of flags (an enumeration declared "enum *" in wsgated.h,
// such as nsc1:SubscribeLogOptions) from its XML list.
//
// The engine's own reader skips names it does not know, so "Alarm Bogus"
// would read as Alarm alone and an empty or misspelt list as no flags: a
// request would be answered as if the client had asked for something else.
// The contract says otherwise: each item is a symbol of the table or a
// decimal number, and anything else (an empty list included) fails the
// message. The build makes the generated serializers read flag lists here
// (patch_serializers.cmake).

#ifndef CONTRACT_FLAG_LISTS_H_
#define CONTRACT_FLAG_LISTS_H_

#include <stdsoap2.h>

namespace wsgated {

// The flags of the whitespace-separated list `text` in `bits`: each symbol
// of `codes` sets its bits, each decimal number its value. Returns
// SOAP_OK, or SOAP_TYPE (also left in soap->error) when the list is empty
// or an item is neither; `bits` is then 0.
int readFlagList(struct soap* soap, const struct soap_code_map* codes,
                 const char* text, LONG64* bits);

}  // namespace wsgated

#endif  // CONTRACT_FLAG_LISTS_H_
