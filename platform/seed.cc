// Seed files: loading text into the store and dumping a subtree as text.
//
// The loader is a single pass over the lines. A section header creates its
// node; every attribute line is written at once through CCds::set_leaf. The
// whole file runs inside one pcd_begin/pcd_commit group, so the first bad
// line rolls everything back and the store is left as it was.

#include "platform/seed.h"

#include <strings.h>

#include <sstream>
#include <vector>

#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"

namespace toolkit {
namespace {

const char kBlanks[] = " \t\r";

std::string Trim(const std::string& text) {
  size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string::npos) return "";
  size_t end = text.find_last_not_of(kBlanks);
  return text.substr(begin, end - begin + 1);
}

// ---------------------------------------------------------------------------
// Rules shared by the loader and the dumper, so that what one writes the
// other reads back with the same types.

// The type a ValueType text gives to Value. Multistate values are stored as
// Integer. Returns false for a name that is not a type.
bool ValueTypeToType(const std::string& name, data_type_t* type) {
  if (strcasecmp(name.c_str(), "Multistate") == 0) {
    *type = PCD_TYPE_INT;
    return true;
  }
  if (strcasecmp(name.c_str(), "None") == 0) {
    *type = PCD_TYPE_NONE;
    return true;
  }
  int code = pcd_human_str_to_enum(name.c_str());
  if (code == 0) return false;
  *type = static_cast<data_type_t>(code);
  return true;
}

// The type an attribute line without ":Type" is written with. `value_type`
// is the type the node's ValueType gives (String when it has none).
data_type_t ImpliedType(const std::string& attribute, data_type_t value_type) {
  int code = pcd_attr_str_to_enum(attribute.c_str());
  if (code == PCD_ATTR_VALUE) return value_type;
  const AttributeInfo* info = pcd_attr_info(code);
  if (info == nullptr || info->default_type == PCD_TYPE_NONE) {
    return PCD_TYPE_STRING;
  }
  if (info->default_type == kTypeOfNodeValue) return value_type;
  return static_cast<data_type_t>(info->default_type);
}

// Attributes the store computes or maintains itself; a seed never sets them
// and a dump leaves them out.
bool IsMaintainedByStore(const std::string& attribute) {
  const AttributeInfo* info =
      pcd_attr_info(pcd_attr_str_to_enum(attribute.c_str()));
  return info != nullptr &&
         (info->flags & (PCD_AF_VIRTUAL | PCD_AF_AUTOMATIC)) != 0;
}

// Path of one attribute of a node. Well-known and dotted attributes use the
// slash form; any other name needs the colon form, or the path parser would
// take it for a child node.
std::string LeafPath(const std::string& node, const std::string& attribute) {
  bool slash = attribute[0] == '.' ||
               pcd_attr_str_to_enum(attribute.c_str()) != PCD_ATTR_UNKNOWN;
  if (node == "/") return slash ? "/" + attribute : "/:" + attribute;
  return node + (slash ? "/" : ":") + attribute;
}


// ---------------------------------------------------------------------------
// Escapes.

std::string Escape(const std::string& value) {
  std::string out;
  for (size_t i = 0; i < value.size(); ++i) {
    char c = value[i];
    bool at_end = i == 0 || i + 1 == value.size();
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c == ' ' && at_end) {
      out += "\\s";  // a bare blank at either end would be trimmed away
    } else {
      out += c;
    }
  }
  return out;
}

bool Unescape(const std::string& text, std::string* out, std::string* error) {
  out->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      *out += text[i];
      continue;
    }
    if (++i == text.size()) {
      *error = "backslash at the end of the value";
      return false;
    }
    switch (text[i]) {
      case 'n': *out += '\n'; break;
      case 't': *out += '\t'; break;
      case 's': *out += ' '; break;
      case '\\': *out += '\\'; break;
      default:
        *error = std::string("unknown escape '\\") + text[i] + "'";
        return false;
    }
  }
  return true;
}

// ---------------------------------------------------------------------------
// Loading.

// One parsed "name[:Type][@property] = value" line.
struct AttributeLine {
  std::string name;
  bool has_type = false;
  data_type_t type = PCD_TYPE_NONE;
  pcd_tribool_t persist = PCD_TRIBOOL_FALSE;
  std::string value;
};

class SeedLoader {
 public:
  explicit SeedLoader(CCds& cds) : cds_(cds) {}

  // Handles one line; false with *error set when it is malformed or the
  // store refuses it.
  bool Line(const std::string& raw, std::string* error);

 private:
  bool Section(const std::string& line, std::string* error);
  bool Attribute(const std::string& line, std::string* error);
  bool ParseAttribute(const std::string& line, AttributeLine* out,
                      std::string* error);
  data_type_t NodeValueType();

  CCds& cds_;
  std::string node_;          // "" before the first section
  bool value_type_known_ = false;
  data_type_t value_type_ = PCD_TYPE_STRING;
};

bool SeedLoader::Line(const std::string& raw, std::string* error) {
  std::string line = Trim(raw);
  if (line.empty() || line[0] == '#') return true;
  if (line[0] == '[') return Section(line, error);
  return Attribute(line, error);
}

bool SeedLoader::Section(const std::string& line, std::string* error) {
  if (line.back() != ']') {
    *error = "section header without ']'";
    return false;
  }
  std::string path = Trim(line.substr(1, line.size() - 2));
  CPath parsed(path);
  if (path.empty() || parsed.normalize() != 0 ||
      parsed.hasExplicitAttribute()) {
    *error = "bad node path '" + path + "'";
    return false;
  }
  node_ = parsed.getNodePath();
  value_type_known_ = false;
  api_status_t status = API_STATUS_UNKNOWN;
  if (cds_.test_node(node_, status) == 0 && status == API_STATUS_OK) {
    return true;
  }
  int rc = cds_.add_node(node_, status, "seed");
  if (rc != 0 || (status != API_STATUS_OK && status != API_STATUS_EXISTS)) {
    *error = "cannot create node " + node_ + ": " + pcd_status_name(status);
    return false;
  }
  return true;
}

bool SeedLoader::ParseAttribute(const std::string& line, AttributeLine* out,
                                std::string* error) {
  size_t eq = line.find('=');
  if (eq == std::string::npos) {
    *error = "expected 'attribute = value'";
    return false;
  }
  std::string key = Trim(line.substr(0, eq));
  size_t at = key.find('@');
  if (at != std::string::npos) {
    std::string property = Trim(key.substr(at + 1));
    key = Trim(key.substr(0, at));
    if (property == "persistent" || property == "automatic" ||
        property == "mpl") {
      // The client interface has no way to mark a leaf automatic or MPL;
      // such leaves are kept as configuration, like persistent ones.
      out->persist = PCD_TRIBOOL_TRUE;
    } else if (property != "normal") {
      *error = "unknown property '" + property + "'";
      return false;
    }
  }
  size_t colon = key.find(':');
  if (colon != std::string::npos) {
    std::string type_name = Trim(key.substr(colon + 1));
    key = Trim(key.substr(0, colon));
    out->has_type = true;
    if (strcasecmp(type_name.c_str(), "None") == 0) {
      out->type = PCD_TYPE_NONE;
    } else {
      out->type = static_cast<data_type_t>(
          pcd_human_str_to_enum(type_name.c_str()));
      if (out->type == PCD_TYPE_NONE) {
        *error = "unknown type '" + type_name + "'";
        return false;
      }
    }
  }
  if (key.empty()) {
    *error = "missing attribute name";
    return false;
  }
  if (key.find_first_of("/[]") != std::string::npos || key == ".") {
    *error = "bad attribute name '" + key + "'";
    return false;
  }
  out->name = key;
  return Unescape(Trim(line.substr(eq + 1)), &out->value, error);
}

// The type of the node's Value: the ValueType set in this section, else the
// one the store already holds (a seed may patch an existing node), else
// String.
data_type_t SeedLoader::NodeValueType() {
  if (value_type_known_) return value_type_;
  api_status_t status = API_STATUS_UNKNOWN;
  CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  data_type_t type = PCD_TYPE_STRING;
  if (cds_.get_leaf(LeafPath(node_, "ValueType"), status, element,
                    property) == 0 &&
      status == API_STATUS_OK) {
    ValueTypeToType(element.to_string(), &type);
  }
  return type;
}

bool SeedLoader::Attribute(const std::string& line, std::string* error) {
  if (node_.empty()) {
    *error = "attribute outside a section";
    return false;
  }
  AttributeLine parsed;
  if (!ParseAttribute(line, &parsed, error)) return false;
  if (IsMaintainedByStore(parsed.name)) {
    *error = "'" + parsed.name + "' is maintained by the store";
    return false;
  }
  if (parsed.name == "ValueType") {
    if (!ValueTypeToType(parsed.value, &value_type_)) {
      *error = "unknown ValueType '" + parsed.value + "'";
      return false;
    }
    value_type_known_ = true;
  }
  data_type_t type = parsed.has_type
                         ? parsed.type
                         : ImpliedType(parsed.name, NodeValueType());
  CElement element(parsed.value);
  if (type == PCD_TYPE_NONE) {
    if (!parsed.value.empty()) {
      *error = "'" + parsed.name + "' has no type and takes no value";
      return false;
    }
    element.clear();
  } else if (element.convert_type(type) != 0) {
    *error = "cannot read '" + parsed.value + "' as " + pcd_enum_to_str(type);
    return false;
  }
  api_status_t status = API_STATUS_UNKNOWN;
  int rc = cds_.set_leaf(LeafPath(node_, parsed.name), element, status,
                         parsed.persist, "seed");
  if (rc != 0 || status != API_STATUS_OK) {
    *error = "cannot set " + parsed.name + ": " + pcd_status_name(status);
    return false;
  }
  return true;
}

// ---------------------------------------------------------------------------
// Dumping.

class SeedDumper {
 public:
  SeedDumper(CCds& cds, std::ostream& out) : cds_(cds), out_(out) {}
  int Node(const std::string& node);

 private:
  int Leaf(const std::string& node, const std::string& attribute,
           data_type_t value_type);

  CCds& cds_;
  std::ostream& out_;
};

int SeedDumper::Node(const std::string& node) {
  out_ << "[" << node << "]\n";
  std::vector<std::string> attributes;
  if (CPath::getAttributeList(node, cds_, "Attributes", attributes) != 0) {
    return 1;
  }
  // ValueType goes first: the loader needs it to type Value.
  data_type_t value_type = PCD_TYPE_STRING;
  for (const std::string& attribute : attributes) {
    if (attribute != "ValueType") continue;
    api_status_t status = API_STATUS_UNKNOWN;
    CElement element;
    element_property_t property = PCD_PROP_NORMAL;
    if (cds_.get_leaf(LeafPath(node, attribute), status, element,
                      property) == 0 &&
        status == API_STATUS_OK &&
        !ValueTypeToType(element.to_string(), &value_type)) {
      value_type = PCD_TYPE_STRING;
    }
    if (Leaf(node, attribute, PCD_TYPE_STRING) != 0) return 1;
  }
  for (const std::string& attribute : attributes) {
    if (attribute == "ValueType" || IsMaintainedByStore(attribute)) continue;
    if (Leaf(node, attribute, value_type) != 0) return 1;
  }
  out_ << "\n";
  std::vector<std::string> children;
  if (CPath::getChildPaths(cds_, node, children) != 0) return 1;
  for (const std::string& child : children) {
    if (Node(child) != 0) return 1;
  }
  return 0;
}

int SeedDumper::Leaf(const std::string& node, const std::string& attribute,
                     data_type_t value_type) {
  api_status_t status = API_STATUS_UNKNOWN;
  CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  if (cds_.get_leaf(LeafPath(node, attribute), status, element, property) !=
      0) {
    return 1;
  }
  if (status == API_STATUS_NOT_TYPED) element.clear();
  else if (status != API_STATUS_OK) return 1;
  out_ << attribute;
  if (element.get_type() != ImpliedType(attribute, value_type)) {
    const char* name = pcd_enum_to_str(element.get_type());
    out_ << ":" << (name != nullptr ? name : "None");
  }
  if (property != PCD_PROP_NORMAL) out_ << "@" << seed_property_keyword(property);
  out_ << " = " << Escape(element.to_string()) << "\n";
  return 0;
}

}  // namespace

int cds_load_seed(CCds& cds, const std::string& text, std::string& error) {
  error.clear();
  if (pcd_begin(cds.handle) != 0) {
    error = "0: cannot begin a transaction";
    return 1;
  }
  SeedLoader loader(cds);
  std::istringstream lines(text);
  std::string line;
  std::string reason;
  for (int number = 1; std::getline(lines, line); ++number) {
    if (!loader.Line(line, &reason)) {
      pcd_rollback(cds.handle);
      error = std::to_string(number) + ": " + reason;
      return 1;
    }
  }
  if (pcd_commit(cds.handle) != 0) {
    pcd_rollback(cds.handle);
    error = "0: the store refused to commit";
    return 1;
  }
  return 0;
}

const char* seed_property_keyword(element_property_t property) {
  switch (property) {
    case PCD_PROP_PERSISTENT: return "persistent";
    case PCD_PROP_AUTOMATIC: return "automatic";
    case PCD_PROP_MPL: return "mpl";
    default: return "normal";
  }
}

int cds_dump_seed(CCds& cds, const std::string& nodePath, std::ostream& out) {
  CPath parsed(nodePath);
  if (parsed.normalize() != 0 || parsed.hasExplicitAttribute()) return 1;
  api_status_t status = API_STATUS_UNKNOWN;
  if (cds.test_node(parsed.getNodePath(), status) != 0 ||
      status != API_STATUS_OK) {
    return 1;
  }
  SeedDumper dumper(cds, out);
  return dumper.Node(parsed.getNodePath());
}

}  // namespace toolkit
