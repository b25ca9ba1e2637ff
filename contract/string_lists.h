// Moving lists of texts between the engine's records and std::vector.
//
// soapcpp2 represents a repeated xsd:string as a size and a pointer
// ("int __sizepaths; std::string* paths"). Operations work on vectors; these
// helpers convert at the edges so no operation repeats the pointer walk.

#ifndef CONTRACT_STRING_LISTS_H_
#define CONTRACT_STRING_LISTS_H_

#include <string>
#include <vector>

struct soap;

namespace wsgated {

// The items of a repeated element; null or a size below 1 gives none.
std::vector<std::string> stringsFromSoap(int size, const std::string* items);

// The items of an optional list record. The engine generates one
// ArrayOfString record per namespace, each with __sizestring and string;
// an absent list has no items.
template <typename ArrayOfString>
std::vector<std::string> stringsFromList(const ArrayOfString* list) {
  return list == nullptr ? std::vector<std::string>()
                         : stringsFromSoap(list->__sizestring, list->string);
}

// Copy `texts` into memory the engine owns (released at the request's end)
// and point `size` and `items` at it; an empty list gives 0 and null.
// Returns false when the engine could not allocate (size and items are then
// 0 and null).
bool stringsToSoap(struct soap* soap, const std::vector<std::string>& texts,
                   int& size, std::string*& items);

// The same, taking the texts (moved, not copied).
bool stringsToSoap(struct soap* soap, std::vector<std::string>&& texts,
                   int& size, std::string*& items);

}  // namespace wsgated

#endif  // CONTRACT_STRING_LISTS_H_
