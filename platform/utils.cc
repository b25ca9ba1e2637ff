// CCds_Utils: locale choice, the device list and point quality.
//
// getPrimeLocale sees raw Accept-Language headers from any client, so it
// parses defensively: whatever it cannot understand is skipped, never
// trusted, and the answer is always one of the supported names (or en_US).

#include "platform/utils.h"

#include <algorithm>
#include <cstdlib>

#include "platform/cds.h"
#include "platform/path.h"

namespace toolkit {

const char* const kSupportedLocalesNode = "/Software/Locales";

namespace {

const char* const kDefaultLocale = "en_US";
constexpr uint16_t kGoodQuality = 192;

// ---- locale tags ----------------------------------------------------------

// A locale name reduced to what ranking compares: "de-DE.UTF-8",
// "de_de@euro" and "DE_DE" all give language "de", region "DE", full
// "de_de". Script and variant subtags stay in `full` only.
struct LocaleTag {
  std::string language;
  std::string region;
  std::string full;
};

std::string Trim(const std::string& text) {
  size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return "";
  size_t end = text.find_last_not_of(" \t\r\n");
  return text.substr(begin, end - begin + 1);
}

// ASCII only: the C classification functions follow the global locale,
// which the daemon changes, and locale names are ASCII by definition.
bool IsAlpha(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsAlnum(char c) { return IsAlpha(c) || IsDigit(c); }
char ToLower(char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }
char ToUpper(char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; }

bool AllOf(const std::string& text, bool (*test)(char)) {
  for (char c : text) {
    if (!test(c)) return false;
  }
  return true;
}

std::string Map(std::string text, char (*convert)(char)) {
  for (char& c : text) c = convert(c);
  return text;
}

// Splits a name into subtags at "-" or "_" after dropping ".encoding" and
// "@modifier". Refuses anything that is not letters and digits in subtags
// of 1 to 8 characters, the first being letters only.
bool ParseTag(const std::string& text, LocaleTag& tag) {
  std::string name = Trim(text);
  name = name.substr(0, name.find_first_of(".@"));
  std::vector<std::string> subtags;
  size_t start = 0;
  for (;;) {
    size_t sep = name.find_first_of("-_", start);
    subtags.push_back(name.substr(start, sep - start));
    if (sep == std::string::npos) break;
    start = sep + 1;
  }
  for (const std::string& s : subtags) {
    if (s.empty() || s.size() > 8 || !AllOf(s, IsAlnum)) return false;
  }
  if (!AllOf(subtags[0], IsAlpha)) return false;
  tag.language = Map(subtags[0], ToLower);
  tag.region.clear();
  tag.full = tag.language;
  for (size_t i = 1; i < subtags.size(); ++i) {
    const std::string& s = subtags[i];
    bool region = (s.size() == 2 && AllOf(s, IsAlpha)) ||
                  (s.size() == 3 && AllOf(s, IsDigit));
    if (region && tag.region.empty()) tag.region = Map(s, ToUpper);
    tag.full += "_" + Map(s, ToLower);
  }
  return true;
}

// One supported locale: the name as listed (returned to the caller, who
// looks it up in maps keyed by the listed text) and its parsed tag.
struct Supported {
  std::string name;
  LocaleTag tag;
};

std::vector<Supported> ParseSupported(const std::string& list) {
  std::vector<Supported> out;
  for (const std::string& item : CElement::split_string(list, ';')) {
    Supported s;
    s.name = item;
    if (ParseTag(item, s.tag)) out.push_back(s);
  }
  return out;
}

// ---- Accept-Language ------------------------------------------------------

struct Range {
  bool wildcard;
  LocaleTag tag;
  double q;
};

// A qvalue as HTTP writes it: digits with an optional fraction, clamped to
// [0, 1] ("5" is 1, "-1" is 0). Anything else ("abc", "1e9", "inf") is not
// a qvalue.
bool ParseQValue(const std::string& text, double& q) {
  std::string t = Trim(text);
  bool negative = !t.empty() && t[0] == '-';
  if (negative) t.erase(0, 1);
  size_t dot = t.find('.');
  std::string whole = t.substr(0, dot);
  std::string frac = dot == std::string::npos ? "" : t.substr(dot + 1);
  if (whole.empty() || whole.size() > 3 || !AllOf(whole, IsDigit) ||
      frac.size() > 6 || !AllOf(frac, IsDigit)) {
    return false;
  }
  q = negative ? 0.0 : std::min(1.0, strtod(t.c_str(), nullptr));
  return true;
}

// The q parameter of one item's parameters ("q=0.8"); a malformed q is
// ignored, leaving the default 1.
double ItemQuality(const std::vector<std::string>& parts) {
  for (size_t i = 1; i < parts.size(); ++i) {
    std::string p = Trim(parts[i]);
    if (p.empty() || (p[0] != 'q' && p[0] != 'Q')) continue;
    std::string rest = Trim(p.substr(1));
    if (rest.empty() || rest[0] != '=') continue;
    double q;
    if (ParseQValue(rest.substr(1), q)) return q;
  }
  return 1.0;
}

// Ranges ordered by q, highest first; equal q keeps header order. Ranges
// with q=0 are not acceptable and are dropped.
std::vector<Range> ParseAcceptLanguage(const std::string& header) {
  std::vector<Range> ranges;
  for (const std::string& item : CElement::split_string(header, ',')) {
    std::vector<std::string> parts = CElement::split_string(item, ';');
    if (parts.empty()) continue;
    Range r;
    r.q = ItemQuality(parts);
    if (r.q <= 0) continue;
    std::string name = Trim(parts[0]);
    r.wildcard = name == "*";
    if (!r.wildcard && !ParseTag(name, r.tag)) continue;
    ranges.push_back(r);
  }
  std::stable_sort(ranges.begin(), ranges.end(),
                   [](const Range& a, const Range& b) { return a.q > b.q; });
  return ranges;
}

// Best supported locale for one range, or nullptr. An exact tag beats the
// same language and region (a script in between ignored), which beats the
// same language alone, where a bare-language entry is preferred.
const Supported* MatchRange(const Range& r,
                            const std::vector<Supported>& supported) {
  if (r.wildcard) return supported.empty() ? nullptr : &supported[0];
  for (const Supported& s : supported) {
    if (s.tag.full == r.tag.full) return &s;
  }
  if (!r.tag.region.empty()) {
    for (const Supported& s : supported) {
      if (s.tag.language == r.tag.language && s.tag.region == r.tag.region) {
        return &s;
      }
    }
  }
  const Supported* same_language = nullptr;
  for (const Supported& s : supported) {
    if (s.tag.language != r.tag.language) continue;
    if (s.tag.full == s.tag.language) return &s;
    if (!same_language) same_language = &s;
  }
  return same_language;
}

std::string FallbackLocale(const std::vector<Supported>& supported) {
  LocaleTag def;
  ParseTag(kDefaultLocale, def);
  for (const Supported& s : supported) {
    if (s.tag.full == def.full) return s.name;
  }
  return supported.empty() ? kDefaultLocale : supported[0].name;
}

// ---- store helpers --------------------------------------------------------

// Path of an attribute of a node, in the colon form so that any node name
// (even one that looks like an attribute) is read as a node.
std::string LeafPath(const std::string& node, const char* attribute) {
  return node + ":" + attribute;
}

// Path order: component by component, so a node is followed by its own
// subtree before a sibling whose name merely extends it ("/A", "/A/B",
// "/A B").
bool PathLess(const std::string& a, const std::string& b) {
  size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    if (a[i] == b[i]) continue;
    if (a[i] == '/') return true;
    if (b[i] == '/') return false;
    return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[i]);
  }
  return a.size() < b.size();
}

// Appends to `devices` those of `nodes` whose NodeType is "Device".
int AppendDevices(CCds& cds, const std::vector<std::string>& nodes,
                  std::vector<std::string>& devices) {
  std::vector<std::string> paths;
  for (const std::string& node : nodes) {
    paths.push_back(LeafPath(node, "NodeType"));
  }
  std::vector<api_status_t> statuses;
  std::vector<CElement> types;
  std::vector<element_property_t> properties;
  int rc = cds.get_leaves(paths, statuses, types, properties);
  if (rc != 0) return rc;
  for (size_t i = 0; i < nodes.size(); ++i) {
    if (statuses[i] == API_STATUS_OK && types[i].to_string() == "Device") {
      devices.push_back(nodes[i]);
    }
  }
  return 0;
}

}  // namespace

CCds_Utils::CCds_Utils(CCds& cds) : cds_(cds) {}

bool CCds_Utils::getPrimeLocale(const std::string& supported,
                                const std::string& accepted,
                                std::string& prime) {
  std::vector<Supported> list = ParseSupported(supported);
  for (const Range& r : ParseAcceptLanguage(accepted)) {
    if (const Supported* s = MatchRange(r, list)) {
      prime = s->name;
      return true;
    }
  }
  prime = FallbackLocale(list);
  return false;
}

int CCds_Utils::getSupportedLocales(std::string& list) {
  list.clear();
  api_status_t status = API_STATUS_UNKNOWN;
  CElement element;
  element_property_t property;
  if (cds_.get_leaf(LeafPath(kSupportedLocalesNode, "Value"), status, element,
                    property) != 0 ||
      status != API_STATUS_OK || element.get_type() == PCD_TYPE_NONE) {
    return 1;
  }
  list = element.to_string();
  return list.empty() ? 1 : 0;
}

int CCds_Utils::GetDeviceList(std::vector<std::string>& devices) {
  devices.clear();
  if (!cds_.is_open() || AppendDevices(cds_, {"/"}, devices) != 0) return -1;
  // Depth first with an explicit stack: trees can be deep.
  std::vector<std::string> pending{"/"};
  bool root = true;
  while (!pending.empty()) {
    std::string node = pending.back();
    pending.pop_back();
    std::vector<std::string> children;
    if (CPath::getChildPaths(cds_, node, children) != 0) {
      if (root) return -1;
      continue;  // removed by another process since its parent was listed
    }
    root = false;
    if (children.empty()) continue;
    if (AppendDevices(cds_, children, devices) != 0) return -1;
    pending.insert(pending.end(), children.begin(), children.end());
  }
  std::sort(devices.begin(), devices.end(), PathLess);
  return static_cast<int>(devices.size());
}

uint16_t CCds_Utils::CheckDeviceQuality(const std::string& nodePath,
                                        const CElement& element) {
  if (element.get_type() == PCD_TYPE_NONE) return 0;
  CPath path(nodePath);
  if (path.normalize() != 0) return kGoodQuality;
  // The node and its ancestors, nearest first, read in one transaction.
  std::vector<std::string> paths;
  std::string node = path.getNodePath();
  for (;;) {
    paths.push_back(LeafPath(node, ".Quality"));
    if (node == "/") break;
    std::string parent, last;
    if (CPath::LopLastSubpath(node, parent, last) != 0) break;
    node = parent.empty() ? "/" : parent;
  }
  std::vector<api_status_t> statuses;
  std::vector<CElement> values;
  std::vector<element_property_t> properties;
  if (cds_.get_leaves(paths, statuses, values, properties) != 0) {
    return kGoodQuality;
  }
  for (size_t i = 0; i < paths.size(); ++i) {
    if (statuses[i] == API_STATUS_OK && values[i].get_type() != PCD_TYPE_NONE) {
      uint32_t quality = std::min<uint32_t>(values[i].to_uint(), 0xFFFF);
      return static_cast<uint16_t>(quality);
    }
  }
  return kGoodQuality;
}

}  // namespace toolkit
