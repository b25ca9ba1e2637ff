// CCds_Utils: locales, the device list and point quality.

#ifndef PLATFORM_UTILS_H_
#define PLATFORM_UTILS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "platform/element.h"

namespace toolkit {

class CCds;

// Where the device keeps the list of locales it supports: the Value of this
// node, names separated by ";" ("en_US;de_DE;fr_FR").
extern const char* const kSupportedLocalesNode;  // "/Software/Locales"

class CCds_Utils {
 public:
  explicit CCds_Utils(CCds& cds);

  // The supported-locales text from the store. Returns 0 on success;
  // non-zero (and "") when the store has none.
  int getSupportedLocales(std::string& list);

  // Choose the best supported locale for a caller. `supported` is the
  // ";"-list above; `accepted` is an HTTP Accept-Language value
  // ("de-DE,de;q=0.9,en;q=0.5"), or a single locale name ("de_DE",
  // "fr-FR.UTF-8"). Ranges are ranked by q (default 1, q=0 excluded; ties
  // keep their order); for each, an exact match of language and country
  // wins ("-" and "_" are the same, case ignored, ".encoding" and "@modifier"
  // ignored), then a supported locale with the same language, then "*"
  // matches the first supported locale. `prime` receives the supported name
  // exactly as listed. Returns true when something matched; otherwise
  // returns false and `prime` is "en_US" when supported, else the first
  // supported name, else "en_US".
  static bool getPrimeLocale(const std::string& supported,
                             const std::string& accepted, std::string& prime);

  // Paths of all devices (nodes whose NodeType is "Device"), in path order.
  // Returns the number of devices, or -1 when the store cannot be read.
  int GetDeviceList(std::vector<std::string>& devices);

  // Quality of a point's value: 0 (bad) when the element has no value;
  // otherwise the node's ".Quality" when it has one, else that of the
  // nearest ancestor that has one, else 192 (good).
  uint16_t CheckDeviceQuality(const std::string& nodePath,
                              const CElement& element);

 private:
  CCds& cds_;
};

}  // namespace toolkit

#endif  // PLATFORM_UTILS_H_
