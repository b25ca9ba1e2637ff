// CPath: the path grammar, canonical texts and node-name escaping.
//
// Every store call parses its paths here, so parsing works on the text in
// place and builds only the three result strings.

#include "platform/path.h"

#include <string_view>

#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/element.h"

namespace toolkit {

namespace {

constexpr size_t kMaxPathLength = 1024;

// Reasons of normalize(), as documented in path.h.
enum {
  kOk = 0,
  kEmpty = 1,
  kNotAbsolute = 2,
  kBadCharacter = 3,
  kDotComponent = 4,
  kBadAttribute = 5,
  kTooLong = 6,
};

bool is_control(unsigned char c) { return c < 0x20 || c == 0x7F; }

// Looked up from a stack copy: this runs for every path of every call.
bool is_well_known(std::string_view name) {
  char buffer[32];  // longer than any well-known name
  if (name.size() >= sizeof(buffer)) return false;
  name.copy(buffer, name.size());
  buffer[name.size()] = '\0';
  return pcd_attr_str_to_enum(buffer) != PCD_ATTR_UNKNOWN;
}

// Split attribute text into the attribute and its sub-attribute: the first
// "." after the first character starts the sub-attribute, so ".Quality.Time"
// is ".Quality" + ".Time". Returns kOk or kBadAttribute.
int split_attribute(std::string_view text, std::string* attribute,
                    std::string* sub) {
  if (text.find_first_of("/:") != std::string_view::npos) return kBadAttribute;
  size_t dot = text.find('.', 1);
  std::string_view name = text.substr(0, dot);
  std::string_view rest =
      dot == std::string_view::npos ? std::string_view() : text.substr(dot);
  if (name.empty() || name == "." || rest == ".") return kBadAttribute;
  attribute->assign(name);
  sub->assign(rest);
  return kOk;
}

// In the slash form, is the last component an attribute rather than a node?
bool names_attribute(std::string_view component) {
  if (component == "." || component == "..") return false;  // refused later
  if (component[0] == '.') return true;
  if (is_well_known(component)) return true;
  size_t dot = component.find('.');
  return dot != std::string_view::npos && dot + 1 < component.size() &&
         is_well_known(component.substr(0, dot));
}

// Can "<node>/<attribute>" be read back as this attribute? Other names
// need the colon form.
bool slash_form_fits(const std::string& attribute) {
  return !attribute.empty() &&
         (attribute[0] == '.' || is_well_known(attribute));
}

// The canonical text of a leaf.
std::string compose(const std::string& node, const std::string& attribute,
                    const std::string& sub) {
  std::string text = node;
  if (slash_form_fits(attribute)) {
    if (text != "/") text += '/';
  } else {
    text += ':';
  }
  text += attribute;
  text += sub;
  return text;
}

// The length of compose(node, attribute, sub), without building it.
size_t composed_length(const std::string& node, const std::string& attribute,
                       const std::string& sub) {
  bool no_separator = slash_form_fits(attribute) && node == "/";
  return node.size() + (no_separator ? 0 : 1) + attribute.size() + sub.size();
}

bool is_computed_from_node(const std::string& attribute) {
  switch (pcd_attr_str_to_enum(attribute.c_str())) {
    case PCD_ATTR_CHILDREN:
    case PCD_ATTR_ATTRIBUTES:
    case PCD_ATTR_CHILD_COUNT:
    case PCD_ATTR_NAME:
      return true;
    default:
      return false;
  }
}

const char kHex[] = "0123456789ABCDEF";

bool needs_escape(unsigned char c) {
  return c == '%' || c == '.' || c == ':' || is_control(c);
}

void append_escape(std::string& out, unsigned char c) {
  out += '%';
  out += kHex[c >> 4];
  out += kHex[c & 0xF];
}

int hex_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The canonical node path of the node part of a path ("/A//B/" gives
// "/A/B", "" and "/" give "/"). Returns kOk or the reason of the refusal.
int parse_node_path(std::string_view nodes, std::string* node) {
  node->clear();
  size_t start = 0;
  while (start < nodes.size()) {
    size_t slash = nodes.find('/', start);
    if (slash == std::string_view::npos) slash = nodes.size();
    std::string_view name = nodes.substr(start, slash - start);
    start = slash + 1;
    if (name.empty()) continue;
    if (name == "." || name == "..") return kDotComponent;
    // A component that begins with "." is an attribute: not here.
    if (name[0] == '.') return kBadAttribute;
    *node += '/';
    *node += name;
  }
  if (node->empty()) *node = "/";
  return kOk;
}

// Refusals that concern the text as a whole.
int check_text(std::string_view text) {
  if (text.empty()) return kEmpty;
  if (text.size() > kMaxPathLength) return kTooLong;
  if (text[0] != '/') return kNotAbsolute;
  for (unsigned char c : text) {
    if (is_control(c)) return kBadCharacter;
  }
  return kOk;
}

// Separate the leaf's attribute (and sub-attribute) from the node part;
// `nodes` receives the node part. A path without an attribute names Value.
int split_leaf(std::string_view text, std::string_view* nodes,
               std::string* attribute, std::string* sub,
               bool* explicit_attribute) {
  // Node names hold no ":", so the first one ends the node path.
  size_t colon = text.find(':');
  *nodes = text.substr(0, colon);
  if (colon != std::string_view::npos) {
    *explicit_attribute = true;
    return split_attribute(text.substr(colon + 1), attribute, sub);
  }
  size_t end = nodes->size();
  while (end > 0 && (*nodes)[end - 1] == '/') --end;  // trailing slashes
  size_t last = end == 0 ? 0 : nodes->rfind('/', end - 1) + 1;
  std::string_view component = nodes->substr(last, end - last);
  if (component.empty() || !names_attribute(component)) {
    *attribute = "Value";
    return kOk;
  }
  *explicit_attribute = true;
  *nodes = nodes->substr(0, last);
  return split_attribute(component, attribute, sub);
}

}  // namespace

CPath::CPath()
    : valid_(false), explicit_attribute_(false), second_flag_(false) {}

CPath::CPath(const std::string& path) : CPath() { original_ = path; }

CPath::CPath(const char* path) : CPath() {
  if (path != nullptr) original_ = path;
}

void CPath::set(const std::string& path) {
  original_ = path;
  valid_ = false;
}

int CPath::normalize() {
  valid_ = false;
  explicit_attribute_ = false;
  second_flag_ = false;
  node_.clear();
  attribute_.clear();
  sub_.clear();

  std::string_view nodes;
  std::string attribute, sub;
  bool explicit_attribute = false;
  int rc = check_text(original_);
  if (rc == kOk) {
    rc = split_leaf(original_, &nodes, &attribute, &sub, &explicit_attribute);
  }
  std::string node;
  if (rc == kOk) rc = parse_node_path(nodes, &node);
  // The canonical form adds "/Value" to a path that names no attribute: it
  // must fit the limit too, or it would not parse back to itself.
  if (rc == kOk && composed_length(node, attribute, sub) > kMaxPathLength) {
    rc = kTooLong;
  }
  if (rc != kOk) return rc;

  node_.swap(node);
  attribute_.swap(attribute);
  sub_.swap(sub);
  explicit_attribute_ = explicit_attribute;
  second_flag_ = is_computed_from_node(attribute_);
  valid_ = true;
  return kOk;
}

std::string CPath::getPath() const {
  return valid_ ? compose(node_, attribute_, sub_) : std::string();
}

int CPath::LopLastSubpath(const std::string& path, std::string& parent,
                          std::string& last) {
  parent.clear();
  last.clear();
  if (path.empty()) return 1;
  size_t split = path.find_last_of("/:");
  if (split == std::string::npos) {
    last = path;
    return 0;
  }
  parent = (split == 0 && path[0] == '/') ? "/" : path.substr(0, split);
  last = path.substr(split + 1);
  return 0;
}

int CPath::LopLastSubpath(std::string& parent, std::string& last) const {
  return LopLastSubpath(valid_ ? getPath() : original_, parent, last);
}

std::string CPath::getNewPathStr(const std::string& attribute) const {
  return valid_ ? compose(node_, attribute, std::string()) : std::string();
}

CPath CPath::getNewPath(const std::string& attribute) const {
  CPath path(getNewPathStr(attribute));
  path.normalize();
  return path;
}

int CPath::getChildPaths(CCds& cds, std::vector<std::string>& children) const {
  children.clear();
  return valid_ ? getChildPaths(cds, node_, children) : 1;
}

int CPath::getChildPaths(CCds& cds, const std::string& nodePath,
                         std::vector<std::string>& children) {
  children.clear();
  CPath node(nodePath);
  if (node.normalize() != 0) return 1;
  std::vector<std::string> names;
  int rc = getAttributeList(nodePath, cds, "Children", names);
  if (rc != 0) return rc;
  const std::string& parent = node.getNodePath();
  for (const std::string& name : names) {
    children.push_back(parent == "/" ? "/" + name : parent + "/" + name);
  }
  return 0;
}

int CPath::getAttributeList(const std::string& path, CCds& cds,
                            const std::string& attribute,
                            std::vector<std::string>& items) {
  items.clear();
  CPath node(path);
  if (node.normalize() != 0) return 1;
  api_status_t status = API_STATUS_UNKNOWN;
  CElement list;
  element_property_t property = PCD_PROP_NORMAL;
  int rc = cds.get_leaf(node.getNewPathStr(attribute), status, list, property);
  if (rc != 0) return rc;
  if (status != API_STATUS_OK) return 1;
  items = CElement::split_string(list.to_string(), ';');
  return 0;
}

std::string CPath::PathToNodeName(const std::string& path) {
  if (path.size() < 2 || path[0] != '/') return std::string();
  std::string name;
  name.reserve(path.size() + 8);
  for (size_t i = 1; i < path.size(); ++i) {
    unsigned char c = path[i];
    if (c == '/') {
      // A "/" right after the root would give a name beginning with ".".
      if (i == 1) {
        append_escape(name, c);
      } else {
        name += '.';
      }
    } else if (needs_escape(c)) {
      append_escape(name, c);
    } else {
      name += static_cast<char>(c);
    }
  }
  return name;
}

std::string CPath::LastNodeName(const std::string& path) {
  CPath parsed(path);
  if (parsed.normalize() != 0) return std::string();
  const std::string& node = parsed.getNodePath();
  return node.substr(node.rfind('/') + 1);
}

bool CPath::IsNodePath(const std::string& text) {
  CPath parsed(text);
  return parsed.normalize() == 0 && !parsed.hasExplicitAttribute() &&
         parsed.getNodePath() == text;
}

std::string CPath::DottedPathToNodePath(const std::string& name) {
  if (name.empty()) return std::string();
  std::string path = "/";
  path.reserve(name.size() + 1);
  for (size_t i = 0; i < name.size(); ++i) {
    char c = name[i];
    if (c == '.') {
      path += '/';
    } else if (c == '%') {
      int high = i + 2 < name.size() ? hex_value(name[i + 1]) : -1;
      int low = high >= 0 ? hex_value(name[i + 2]) : -1;
      if (low < 0) return std::string();
      path += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      path += c;
    }
  }
  return path;
}

}  // namespace toolkit
