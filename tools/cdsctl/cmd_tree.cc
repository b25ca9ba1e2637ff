// Subcommands that read and change single nodes and leaves:
// show, get, set, add, remove, clear.

#include <strings.h>

#include <iostream>

#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/multistate.h"
#include "platform/path.h"
#include "platform/seed.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

// Attribute path of `node` that works for any attribute name: the colon
// form, because the slash form takes unknown names for child nodes.
std::string AttributePath(const std::string& node,
                          const std::string& attribute) {
  return (node == "/" ? "/" : node) + ":" + attribute;
}

// Common front of the one-path subcommands: exactly one argument, no
// options, an open store.
int OnePath(const Invocation& invocation, const char* command,
            std::unique_ptr<toolkit::CCds>* cds) {
  std::string error;
  if (!NoUnknownOptions(invocation.args, &error)) return UsageError(error);
  if (invocation.args.size() != 1) {
    return UsageError(std::string(command) + " needs exactly one path");
  }
  *cds = OpenStore(invocation);
  return *cds ? kExitOk : kExitNoStore;
}

class TreePrinter {
 public:
  TreePrinter(toolkit::CCds& cds, long long max_depth)
      : cds_(cds), max_depth_(max_depth) {}

  int Print(const std::string& node, long long depth) {
    std::string indent(static_cast<size_t>(depth) * 2, ' ');
    std::string parent, name;
    toolkit::CPath::LopLastSubpath(node, parent, name);
    std::cout << indent << (name.empty() ? node : name) << "\n";
    std::vector<std::string> attributes;
    if (toolkit::CPath::getAttributeList(node, cds_, "Attributes",
                                         attributes) != 0) {
      return Failed("show " + node, API_STATUS_IO_ERROR);
    }
    for (const std::string& attribute : attributes) {
      PrintLeaf(indent, node, attribute);
    }
    if (max_depth_ >= 0 && depth >= max_depth_) return kExitOk;
    std::vector<std::string> children;
    if (toolkit::CPath::getChildPaths(cds_, node, children) != 0) {
      return Failed("show " + node, API_STATUS_IO_ERROR);
    }
    for (const std::string& child : children) {
      int rc = Print(child, depth + 1);
      if (rc != kExitOk) return rc;
    }
    return kExitOk;
  }

 private:
  void PrintLeaf(const std::string& indent, const std::string& node,
                 const std::string& attribute) {
    api_status_t status = API_STATUS_UNKNOWN;
    toolkit::CElement element;
    element_property_t property = PCD_PROP_NORMAL;
    cds_.get_leaf(AttributePath(node, attribute), status, element, property);
    std::cout << indent << "  " << attribute;
    if (status != API_STATUS_OK) {
      std::cout << " (" << pcd_status_name(status) << ")\n";
      return;
    }
    const char* type = pcd_enum_to_str(element.get_type());
    std::cout << " (" << (type != nullptr ? type : "?") << ") = "
              << element.to_string() << " ["
              << toolkit::seed_property_keyword(property) << "]\n";
  }

  toolkit::CCds& cds_;
  long long max_depth_;  // -1: no limit
};

// The type `set` converts to when none is given: the leaf's own type, else
// for Value the node's ValueType, else the attribute's default type, else
// String.
data_type_t TypeForSet(toolkit::CCds& cds, const toolkit::CPath& path) {
  api_status_t status = API_STATUS_UNKNOWN;
  toolkit::CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  if (cds.get_leaf(path.getPath(), status, element, property) == 0 &&
      status == API_STATUS_OK && element.get_type() != PCD_TYPE_NONE) {
    return element.get_type();
  }
  int code = pcd_attr_str_to_enum(path.getPathAttribute().c_str());
  const AttributeInfo* info = pcd_attr_info(code);
  if (code == PCD_ATTR_VALUE || (info != nullptr &&
                                 info->default_type == kTypeOfNodeValue)) {
    if (cds.get_leaf(path.getNewPathStr("ValueType"), status, element,
                     property) == 0 &&
        status == API_STATUS_OK) {
      std::string name = element.to_string();
      if (strcasecmp(name.c_str(), "Multistate") == 0) return PCD_TYPE_INT;
      int type = pcd_human_str_to_enum(name.c_str());
      if (type != 0) return static_cast<data_type_t>(type);
    }
    return PCD_TYPE_STRING;
  }
  if (info != nullptr && info->default_type != PCD_TYPE_NONE) {
    return static_cast<data_type_t>(info->default_type);
  }
  return PCD_TYPE_STRING;
}

// Converts `text` for the leaf at `path`: plain conversion first, then the
// node's state texts ("Closed", "On Battery") for booleans and integers.
bool ConvertForSet(toolkit::CCds& cds, const toolkit::CPath& path,
                   data_type_t type, const std::string& text,
                   toolkit::CElement* element) {
  *element = toolkit::CElement(text);
  if (element->convert_type(type) == 0) return true;
  if (type != PCD_TYPE_BOOL && type != PCD_TYPE_INT && type != PCD_TYPE_UINT) {
    return false;
  }
  toolkit::CCds_Multistate states(cds);
  bool multistate = false;
  return states.StringToMultiValue(path.getPath(), type, text, *element,
                                   multistate) == 0;
}

// The states a boolean or multistate point may be set to, for a message:
// " (the states are: Online, On Battery, Bypass, Fault)", or "" when the
// node names none.
std::string StatesHint(toolkit::CCds& cds, const toolkit::CPath& path) {
  if (path.getPathAttribute() != "Value") return "";
  for (const char* list : {"WritableValues", "PossibleValues"}) {
    api_status_t status = API_STATUS_UNKNOWN;
    toolkit::CElement element;
    element_property_t property = PCD_PROP_NORMAL;
    if (cds.get_leaf(path.getNewPathStr(list), status, element, property) != 0 ||
        status != API_STATUS_OK || element.to_string().empty()) {
      continue;
    }
    std::string states = element.to_string();
    for (size_t at = states.find(';'); at != std::string::npos;
         at = states.find(';', at)) {
      states.replace(at, 1, ", ");
    }
    return " (the states are: " + states + ")";
  }
  return "";
}

// What `get` prints for a leaf: its value, or for the sub-attributes
// ".Time" and ".Source" the value's time stamp and how the leaf came to hold
// its value, in the words the web services use.
std::string LeafText(const std::string& text, const toolkit::CElement& element,
                     element_property_t property) {
  toolkit::CPath path(text);
  path.normalize();
  const std::string& sub = path.getSubAttribute();
  if (sub.compare(0, 5, ".Time") == 0) {
    return toolkit::CElement(element.get_time()).to_string();
  }
  if (sub.compare(0, 7, ".Source") == 0) {
    switch (property) {
      case PCD_PROP_PERSISTENT: return "Persistent";
      case PCD_PROP_AUTOMATIC: return "Automatic";
      case PCD_PROP_MPL: return "MPL";
      default: return "Normal";
    }
  }
  return element.to_string();
}

}  // namespace

int CmdShow(const Invocation& invocation) {
  std::vector<std::string> args = invocation.args;
  std::string error;
  long long depth = -1;
  if (!TakeNumberOption(&args, "--depth", -1, &depth, &error) ||
      !NoUnknownOptions(args, &error)) {
    return UsageError(error);
  }
  if (args.size() > 1) return UsageError("show takes one path");
  toolkit::CPath path(args.empty() ? "/" : args[0]);
  if (path.normalize() != 0 || path.hasExplicitAttribute()) {
    return UsageError("show needs a node path, not '" + path.original() + "'");
  }
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  api_status_t status = API_STATUS_UNKNOWN;
  if (cds->test_node(path.getNodePath(), status) != 0 ||
      status != API_STATUS_OK) {
    return Failed("show " + path.getNodePath(), status);
  }
  return TreePrinter(*cds, depth).Print(path.getNodePath(), 0);
}

int CmdGet(const Invocation& invocation) {
  std::string error;
  if (!NoUnknownOptions(invocation.args, &error)) return UsageError(error);
  if (invocation.args.empty()) return UsageError("get needs a path");
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  if (cds->get_leaves(invocation.args, statuses, elements, properties) != 0) {
    return FailedMessage("get: the store could not be read");
  }
  int rc = kExitOk;
  bool single = invocation.args.size() == 1;
  for (size_t i = 0; i < invocation.args.size(); ++i) {
    if (statuses[i] != API_STATUS_OK) {
      rc = Failed("get " + invocation.args[i], statuses[i]);
      continue;
    }
    if (!single) std::cout << invocation.args[i] << " = ";
    std::cout << LeafText(invocation.args[i], elements[i], properties[i])
              << "\n";
  }
  return rc;
}

int CmdWriter(const Invocation& invocation) {
  std::string error;
  if (!NoUnknownOptions(invocation.args, &error)) return UsageError(error);
  if (invocation.args.size() != 1) return UsageError("writer needs one path");
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  api_status_t status = API_STATUS_UNKNOWN;
  std::string writer;
  cds->get_leaf_writer(invocation.args[0], status, writer);
  if (status != API_STATUS_OK) {
    return Failed("writer " + invocation.args[0], status);
  }
  std::cout << writer << "\n";
  return kExitOk;
}

int CmdTake(const Invocation& invocation) {
  std::vector<std::string> args = invocation.args;
  std::string error;
  long long count = 1;
  if (!TakeNumberOption(&args, "--count", 1, &count, &error)) {
    return UsageError(error);
  }
  if (!NoUnknownOptions(args, &error)) return UsageError(error);
  if (args.size() != 1 || count < 1) {
    return UsageError("take needs a counter's path and a count above 0");
  }
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  for (long long i = 0; i < count; ++i) {
    api_status_t status = API_STATUS_UNKNOWN;
    int32_t taken = 0;
    if (cds->fetch_increment_leaf(args[0], status, taken, PCD_TYPE_NONE,
                                  PCD_TRIBOOL_UNKNOWN, invocation.source) != 0 ||
        status != API_STATUS_OK) {
      return Failed("take " + args[0], status);
    }
    std::cout << taken << "\n";
  }
  return kExitOk;
}

int CmdSet(const Invocation& invocation) {
  std::vector<std::string> args = invocation.args;
  std::string error, type_name, time_text;
  bool has_type = false, has_time = false;
  if (!TakeOption(&args, "--type", &type_name, &has_type, &error) ||
      !TakeOption(&args, "--time", &time_text, &has_time, &error)) {
    return UsageError(error);
  }
  timeval time = toolkit::CElement::_invalid_time;
  if (has_time && !ParseTime(time_text, &time)) {
    return UsageError("cannot read '" + time_text + "' as a time");
  }
  bool persist = TakeFlag(&args, "--persist");
  if (!NoUnknownOptions(args, &error)) return UsageError(error);
  if (args.size() != 2) return UsageError("set needs a path and a value");
  data_type_t type = PCD_TYPE_NONE;
  if (has_type) {
    type = static_cast<data_type_t>(
        strcasecmp(type_name.c_str(), "Multistate") == 0
            ? PCD_TYPE_INT
            : pcd_human_str_to_enum(type_name.c_str()));
    if (type == PCD_TYPE_NONE) {
      return UsageError("unknown type '" + type_name + "'");
    }
  }
  toolkit::CPath path(args[0]);
  if (path.normalize() != 0) return Failed("set " + args[0], API_STATUS_BAD_PATH);
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  if (!has_type) type = TypeForSet(*cds, path);
  toolkit::CElement element;
  if (!ConvertForSet(*cds, path, type, args[1], &element)) {
    return FailedMessage("set " + args[0] + ": cannot read '" + args[1] +
                         "' as " + pcd_enum_to_str(type) +
                         ": TYPE_MISMATCH" + StatesHint(*cds, path));
  }
  // Without --time the store stamps the write with the present time.
  element.set_time(time);
  api_status_t status = API_STATUS_UNKNOWN;
  cds->set_leaf(path.getPath(), element, status,
                persist ? PCD_TRIBOOL_TRUE : PCD_TRIBOOL_UNKNOWN,
                invocation.source);
  return status == API_STATUS_OK ? kExitOk : Failed("set " + args[0], status);
}

int CmdAdd(const Invocation& invocation) {
  std::unique_ptr<toolkit::CCds> cds;
  int rc = OnePath(invocation, "add", &cds);
  if (rc != kExitOk) return rc;
  api_status_t status = API_STATUS_UNKNOWN;
  cds->add_node(invocation.args[0], status, invocation.source);
  return status == API_STATUS_OK ? kExitOk
                                 : Failed("add " + invocation.args[0], status);
}

int CmdRemove(const Invocation& invocation) {
  std::unique_ptr<toolkit::CCds> cds;
  int rc = OnePath(invocation, "remove", &cds);
  if (rc != kExitOk) return rc;
  api_status_t status = API_STATUS_UNKNOWN;
  cds->remove_node(invocation.args[0], status, invocation.source);
  return status == API_STATUS_OK
             ? kExitOk
             : Failed("remove " + invocation.args[0], status);
}

int CmdClear(const Invocation& invocation) {
  std::unique_ptr<toolkit::CCds> cds;
  int rc = OnePath(invocation, "clear", &cds);
  if (rc != kExitOk) return rc;
  api_status_t status = API_STATUS_UNKNOWN;
  cds->clear_leaf(invocation.args[0], status, invocation.source);
  return status == API_STATUS_OK
             ? kExitOk
             : Failed("clear " + invocation.args[0], status);
}

}  // namespace cdsctl
