// Lists of texts between the engine's records and std::vector.

#include "contract/string_lists.h"

#include <utility>

#include "soapH.h"

namespace wsgated {

std::vector<std::string> stringsFromSoap(int size, const std::string* items) {
  if (items == nullptr || size < 1) return {};
  return std::vector<std::string>(items, items + size);
}

namespace {

// Engine-owned strings for `count` items; null when allocation failed.
std::string* newSoapStrings(struct soap* soap, size_t count, int& size,
                            std::string*& items) {
  size = 0;
  items = nullptr;
  if (count == 0) return nullptr;
  std::string* copy = soap_new_std__string(soap, static_cast<int>(count));
  if (copy != nullptr) {
    size = static_cast<int>(count);
    items = copy;
  }
  return copy;
}

}  // namespace

bool stringsToSoap(struct soap* soap, const std::vector<std::string>& texts,
                   int& size, std::string*& items) {
  std::string* copy = newSoapStrings(soap, texts.size(), size, items);
  if (copy == nullptr) return texts.empty();
  for (size_t i = 0; i < texts.size(); ++i) copy[i] = texts[i];
  return true;
}

bool stringsToSoap(struct soap* soap, std::vector<std::string>&& texts,
                   int& size, std::string*& items) {
  std::string* copy = newSoapStrings(soap, texts.size(), size, items);
  if (copy == nullptr) return texts.empty();
  for (size_t i = 0; i < texts.size(); ++i) copy[i] = std::move(texts[i]);
  return true;
}

}  // namespace wsgated
