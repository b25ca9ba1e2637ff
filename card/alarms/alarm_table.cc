// The store's alarm table (see alarm_table.h).

#include "card/alarms/alarm_table.h"

#include "common/log.h"
#include "common/value_conversion.h"
#include "platform/path.h"

namespace wsgated {

const char* const kAlarmHandlerSource = "Alarm Handler";

namespace {

const char* const kCounterName = "AlarmCount";

enum Leaf {
  kSourcePath,
  kSourceValue,
  kAlarmMsg,
  kSequenceId,
  kAlarmLevel,
  kConditionRaised,
  kNote,
  kLeafCount,
};
const char* const kLeafNames[kLeafCount] = {
    "SourcePath", "SourceValue",     "AlarmMsg", "SequenceID",
    "AlarmLevel", "ConditionRaised", "Note"};

bool isInteger(const toolkit::CElement& element) {
  return element.get_type() == PCD_TYPE_UINT ||
         element.get_type() == PCD_TYPE_INT;
}

// Runs `change` as one transaction of the store; false when it or the
// commit failed (nothing of it is then written).
template <typename Change>
bool inTransaction(toolkit::CCds& store, Change change) {
  if (pcd_begin(store.handle) != 0) return false;
  if (!change() || pcd_commit(store.handle) != 0) {
    pcd_rollback(store.handle);
    return false;
  }
  return true;
}

}  // namespace

AlarmTable::AlarmTable(const std::string& root) : root_(root) {}

std::string AlarmTable::nodeOf(uint64_t number) const {
  return root_ + "/" + std::to_string(number);
}

bool AlarmTable::readNode(toolkit::CCds& store, const std::string& node,
                          TableAlarm& alarm) const {
  std::string parent, name;
  if (toolkit::CPath::LopLastSubpath(node, parent, name) != 0 ||
      !parseDecimalNumber(name, alarm.number)) {
    return false;
  }
  std::vector<std::string> paths;
  for (const char* leaf : kLeafNames) paths.push_back(node + "/" + leaf);
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> leaves;
  std::vector<element_property_t> properties;
  if (store.get_leaves(paths, statuses, leaves, properties) != 0) return false;
  for (api_status_t status : statuses) {
    if (status != API_STATUS_OK) return false;
  }
  if (!isInteger(leaves[kSequenceId]) || !isInteger(leaves[kAlarmLevel])) {
    return false;
  }
  alarm.sourcePath = leaves[kSourcePath].to_string();
  alarm.sourceValue = leaves[kSourceValue];
  alarm.message = leaves[kAlarmMsg].to_string();
  alarm.sequence = leaves[kSequenceId].to_uint();
  alarm.time = leaves[kSequenceId].get_time();
  alarm.level = leaves[kAlarmLevel].to_uint();
  alarm.conditionRaised = leaves[kConditionRaised].to_bool();
  alarm.note = leaves[kNote].to_string();
  return true;
}

bool AlarmTable::read(toolkit::CCds& store,
                      std::vector<TableAlarm>& alarms) const {
  alarms.clear();
  std::vector<std::string> children;
  if (toolkit::CPath::getChildPaths(store, root_, children) != 0) return false;
  for (const std::string& child : children) {
    TableAlarm alarm;
    if (child == root_ + "/" + kCounterName) continue;
    if (readNode(store, child, alarm)) {
      alarms.push_back(alarm);
    } else {
      logWarning(kLogDetail, "Alarm node %s is not readable; left alone",
                 child.c_str());
    }
  }
  return true;
}

bool AlarmTable::find(toolkit::CCds& store, uint64_t number,
                      TableAlarm& alarm) const {
  return readNode(store, nodeOf(number), alarm);
}

uint64_t AlarmTable::highestNumber(toolkit::CCds& store) const {
  std::vector<std::string> children;
  toolkit::CPath::getChildPaths(store, root_, children);
  uint64_t highest = 0;
  for (const std::string& child : children) {
    std::string parent, name;
    uint64_t number = 0;
    if (toolkit::CPath::LopLastSubpath(child, parent, name) == 0 &&
        parseDecimalNumber(name, number) && number > highest) {
      highest = number;
    }
  }
  return highest;
}

bool AlarmTable::write(toolkit::CCds& store, const TableAlarm& alarm) const {
  const std::string node = nodeOf(alarm.number);
  std::vector<std::string> paths;
  for (const char* leaf : kLeafNames) {
    paths.push_back(node + "/" + leaf + "/Value");
  }
  std::vector<toolkit::CElement> elements(kLeafCount);
  elements[kSourcePath].set_string(alarm.sourcePath);
  elements[kSourceValue] = alarm.sourceValue;
  elements[kSourceValue].set_time(toolkit::CElement::_invalid_time);
  elements[kAlarmMsg].set_string(alarm.message);
  elements[kSequenceId].set_uint(alarm.sequence);
  elements[kSequenceId].set_time(alarm.time);
  elements[kAlarmLevel].set_uint(alarm.level);
  elements[kConditionRaised].set_bool(alarm.conditionRaised);
  elements[kNote].set_string(alarm.note);
  return inTransaction(store, [&] {
    api_status_t status = API_STATUS_OK;
    for (const char* leaf : kLeafNames) {
      if (store.add_node(node + "/" + leaf, status, kAlarmHandlerSource) != 0 ||
          (status != API_STATUS_OK && status != API_STATUS_EXISTS)) {
        return false;
      }
    }
    std::vector<api_status_t> statuses;
    if (store.set_leaves(paths, elements, {}, statuses, kAlarmHandlerSource) !=
        0) {
      return false;
    }
    for (api_status_t leafStatus : statuses) {
      if (leafStatus != API_STATUS_OK) return false;
    }
    return updateCount(store);
  });
}

bool AlarmTable::remove(toolkit::CCds& store, uint64_t number) const {
  return inTransaction(store, [&] {
    api_status_t status = API_STATUS_OK;
    return store.remove_node(nodeOf(number), status, kAlarmHandlerSource) ==
               0 &&
           status == API_STATUS_OK && updateCount(store);
  });
}

bool AlarmTable::updateCount(toolkit::CCds& store) const {
  std::vector<std::string> children;
  if (toolkit::CPath::getChildPaths(store, root_, children) != 0) return false;
  const std::string counter = root_ + "/" + kCounterName;
  int32_t count = 0;
  for (const std::string& child : children) count += child != counter;
  api_status_t status = API_STATUS_OK;
  store.add_node(counter, status, kAlarmHandlerSource);
  return store.set_leaf(counter + "/Value", toolkit::CElement(count), status,
                        PCD_TRIBOOL_UNKNOWN, kAlarmHandlerSource) == 0 &&
         status == API_STATUS_OK;
}

}  // namespace wsgated
