// CCds_SwInfo: a program's software-information node and template filling.
//
// A template entry becomes one node written in one transaction, so the
// publisher (or any reader) never sees a half-made subscription leaf: its
// NodeType without its Value, say.

#include "platform/swinfo.h"

#include <strings.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"

namespace toolkit {

const char* const kSwInfoSource = "SwInfo:toolkit@localhost";

namespace {

// "<node>:<attribute>": the colon form names the node whatever its name.
std::string LeafPath(const std::string& node, const std::string& attribute) {
  return node + ":" + attribute;
}

// The type a template's ValueType text stands for. Multistates store their
// state number; a name we do not know keeps the text as it is.
data_type_t ValueTypeNamed(const std::string& name) {
  if (strcasecmp(name.c_str(), "Multistate") == 0) return PCD_TYPE_INT;
  int type = pcd_human_str_to_enum(name.c_str());
  return type == PCD_TYPE_NONE ? PCD_TYPE_STRING
                               : static_cast<data_type_t>(type);
}

data_type_t AttributeType(const std::string& name, data_type_t value_type) {
  if (name == "Value") return value_type;
  const AttributeInfo* info = pcd_attr_info(pcd_attr_str_to_enum(name.c_str()));
  if (info == nullptr || info->default_type == PCD_TYPE_NONE) {
    return PCD_TYPE_STRING;
  }
  if (info->default_type == kTypeOfNodeValue) return value_type;
  return static_cast<data_type_t>(info->default_type);
}

// True when `node` lies strictly below `base` (both normalised node paths).
bool IsBelow(const std::string& node, const std::string& base) {
  if (node.size() <= base.size() || node.compare(0, base.size(), base) != 0) {
    return false;
  }
  return base == "/" || node[base.size()] == '/';
}

// The node path `text` names, or "" when it is malformed or names an
// attribute rather than a node.
std::string NodePathOf(const std::string& text) {
  CPath path(text);
  if (path.normalize() != 0 || path.hasExplicitAttribute()) return "";
  return path.getNodePath();
}

bool AllOk(const std::vector<api_status_t>& statuses) {
  for (api_status_t s : statuses) {
    if (s != API_STATUS_OK) return false;
  }
  return true;
}

// One node's attribute writes, collected before they are sent together.
struct LeafWrites {
  std::vector<std::string> paths;
  std::vector<CElement> values;
};

// Turns a template's name/value pairs into typed writes. Returns false on
// an odd list or a value that does not convert to its attribute's type.
bool CollectWrites(CCds& cds, const std::string& node,
                   const char* const* pairs, LeafWrites& out) {
  data_type_t value_type = PCD_TYPE_NONE;
  for (const char* const* p = pairs; p[0]; p += 2) {
    if (p[1] == nullptr) return false;
    if (strcmp(p[0], "/ValueType") == 0) value_type = ValueTypeNamed(p[1]);
  }
  if (value_type == PCD_TYPE_NONE) {
    // No ValueType in the entry: Value follows the node's stored one.
    api_status_t status;
    CElement stored;
    element_property_t property;
    bool read = cds.get_leaf(LeafPath(node, "ValueType"), status, stored,
                             property) == 0 && status == API_STATUS_OK;
    value_type = read ? ValueTypeNamed(stored.to_string()) : PCD_TYPE_STRING;
  }
  for (const char* const* p = pairs; p[0]; p += 2) {
    std::string name = p[0][0] == '/' ? p[0] + 1 : p[0];
    if (name.empty()) return false;
    CElement value(p[1]);
    data_type_t type = AttributeType(name, value_type);
    if (type != PCD_TYPE_STRING && value.convert_type(type) != 0) return false;
    out.paths.push_back(LeafPath(node, name));
    out.values.push_back(value);
  }
  return true;
}

}  // namespace

CCds_SwInfo::CCds_SwInfo() : cds_(nullptr) {}

// Only remembers the node: template filling makes these for arbitrary
// nodes (subscriptions), which must not grow AppStatus points.
CCds_SwInfo::CCds_SwInfo(CCds* cds, const std::string& nodePath)
    : cds_(cds), node_(NodePathOf(nodePath)) {}

int CCds_SwInfo::bind(CCds* cds, const std::string& nodePath) {
  cds_ = cds;
  node_ = NodePathOf(nodePath);
  if (cds_ == nullptr || !cds_->is_open() || node_.empty()) return 1;
  // Pid and Started describe this run, so they are rewritten on every bind;
  // the status starts unknown until the program reports one.
  const std::string pid = std::to_string(static_cast<long>(getpid()));
  CElement now;
  now.set_time_now();
  const std::string started = CElement(now.get_time()).to_string();
  const char* const status[] = {"/NodeType", "Point", "/ValueType",
                                "Integer", "/Value", "0", nullptr};
  const char* const pid_point[] = {"/NodeType", "Point", "/ValueType",
                                   "Integer", "/Value", pid.c_str(), nullptr};
  const char* const started_point[] = {"/NodeType", "Point", "/ValueType",
                                       "timeval", "/Value", started.c_str(),
                                       nullptr};
  const tagnval points[] = {{nullptr, "/AppStatus", status},
                            {nullptr, "/AppError", status},
                            {nullptr, "/Pid", pid_point},
                            {nullptr, "/Started", started_point}};
  CCdsGroup group(*cds_);
  for (const tagnval& point : points) {
    if (FillSwInfoNode(&point) != 0) return 1;
  }
  return group.Commit();
}

int CCds_SwInfo::SetAppStatus(AppStatuses status) {
  return SetIntValue(node_, "/AppStatus", status);
}

int CCds_SwInfo::SetAppError(int error) {
  return SetIntValue(node_, "/AppError", error);
}

int CCds_SwInfo::FillSwInfoNode(const tagnval* entry,
                                const std::string& source) {
  if (cds_ == nullptr || entry == nullptr || node_.empty()) return 1;
  std::string node = NodePathOf(node_ + (entry->path ? entry->path : ""));
  if (node.empty()) return 1;
  if (entry->base != nullptr) {
    std::string base = NodePathOf(entry->base);
    if (base.empty() || !IsBelow(node, base)) return 1;
  }
  CCdsGroup group(*cds_);
  api_status_t status;
  if (cds_->add_node(node, status, source) != 0 ||
      (status != API_STATUS_OK && status != API_STATUS_EXISTS)) {
    return 1;
  }
  LeafWrites writes;
  if (entry->name_values != nullptr &&
      !CollectWrites(*cds_, node, entry->name_values, writes)) {
    return 1;
  }
  if (!writes.paths.empty()) {
    std::vector<api_status_t> statuses;
    if (cds_->set_leaves(writes.paths, writes.values, {}, statuses,
                         source) != 0 ||
        !AllOk(statuses)) {
      return 1;
    }
  }
  return group.Commit();
}

int CCds_SwInfo::SetIntValue(const std::string& nodePath,
                             const std::string& leaf, int value,
                             const std::string& source) {
  if (cds_ == nullptr) return 1;
  api_status_t status;
  int rc = cds_->set_leaf(nodePath + leaf + "/Value",
                          CElement(static_cast<int32_t>(value)), status,
                          PCD_TRIBOOL_UNKNOWN, source);
  return rc != 0 ? rc : (status == API_STATUS_OK ? 0 : 1);
}

int CCds_SwInfo::UpdateIntValue(const std::string& nodePath,
                                const std::string& leaf, int delta,
                                int* newValue,
                                const std::string& source) {
  if (cds_ == nullptr) return 1;
  api_status_t status;
  int32_t result = 0;
  int rc = cds_->increment_leaf(nodePath + leaf + "/Value", delta, status,
                                &result, source);
  if (rc != 0) return rc;
  if (status != API_STATUS_OK) return 1;
  if (newValue) *newValue = result;
  return 0;
}

}  // namespace toolkit
