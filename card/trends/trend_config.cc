// Reading the trend recorder's configuration from the store
// (trend_config.h).

#include "card/trends/trend_config.h"

#include <cmath>
#include <limits>
#include <sstream>

#include "common/log.h"
#include "platform/path.h"

namespace wsgated {

namespace {

using toolkit::trend::CParamProperties;

constexpr int32_t kGoodQuality = 192;

// Deeper subtrees are not searched: no device nests its points so deep,
// and a store that loops through some fault must not hang the recorder.
constexpr int kMaxDepth = 16;

// The leaves of `paths`; an entry is empty when its leaf cannot be read.
bool readLeaves(toolkit::CCds& store, const std::vector<std::string>& paths,
                std::vector<toolkit::CElement>* values) {
  std::vector<api_status_t> statuses;
  std::vector<element_property_t> properties;
  if (store.get_leaves(paths, statuses, *values, properties) != 0) {
    logError(kLogErrors, "Cannot read %s from the store",
             paths.empty() ? "" : paths[0].c_str());
    return false;
  }
  for (size_t i = 0; i < paths.size(); ++i) {
    if (statuses[i] != API_STATUS_OK) (*values)[i].clear();
  }
  return true;
}

struct Trait {
  const char* name;
  bool CParamProperties::*flag;
};

const Trait kTraits[] = {{"min", &CParamProperties::has_min},
                         {"max", &CParamProperties::has_max},
                         {"avg", &CParamProperties::has_avg},
                         {"actual", &CParamProperties::has_actual},
                         {"stddev", &CParamProperties::has_stddev}};

// The traits a .TrendTraits text lists; false for a name it does not know.
bool parseTraits(const std::string& text, CParamProperties* param) {
  std::istringstream in(text.empty() ? "min;max;avg;actual" : text);
  bool known = true;
  for (std::string name; std::getline(in, name, ';');) {
    bool found = false;
    for (const Trait& trait : kTraits) {
      if (name != trait.name) continue;
      param->*trait.flag = true;
      found = true;
    }
    known = known && found;
  }
  return known;
}

void readPeriods(toolkit::CCds& store, const std::string& root,
                 TrendConfig* config) {
  std::vector<std::string> children;
  toolkit::CPath::getChildPaths(store, root + "/Periods", children);
  for (const std::string& child : children) {
    std::vector<toolkit::CElement> values;
    if (!readLeaves(store, {child + "/Value", child + ":MaxEntries"},
                    &values)) {
      continue;
    }
    const uint32_t period = values[0].to_uint();
    const uint32_t maxEntries = values[1].to_uint();
    if (period == 0 || maxEntries == 0) {
      logWarning(kLogErrors, "Trend period %s needs a Value and MaxEntries "
                 "above 0; left out", child.c_str());
      continue;
    }
    config->periods.push_back({period, maxEntries});
  }
}

// Adds the trended points at and below `node` to `device`.
void readPoints(toolkit::CCds& store, const std::string& node, int depth,
                TrendedDevice* device) {
  std::vector<toolkit::CElement> values;
  if (!readLeaves(store,
                  {node + "/.TrendEnable", node + "/.TrendTraits",
                   node + "/.TrendSampleType", node + "/Units"},
                  &values)) {
    return;
  }
  if (values[0].to_bool()) {
    TrendedPoint point;
    point.param.path = node;
    if (!parseTraits(values[1].to_string(), &point.param)) {
      logWarning(kLogErrors, "Unknown trend traits '%s' of %s ignored",
                 values[1].to_string().c_str(), node.c_str());
    }
    if (values[2].to_string() == "PF") {
      point.param.type = toolkit::trend::TREND_SAMPLE_PF;
    }
    point.units = values[3].to_string();
    device->points.push_back(point);
  }
  std::vector<std::string> children;
  if (depth >= kMaxDepth) return;
  toolkit::CPath::getChildPaths(store, node, children);
  for (const std::string& child : children) {
    readPoints(store, child, depth + 1, device);
  }
}

// The sample a point's Value and .Quality give (NaN: not valid).
double sampleOf(api_status_t valueStatus, const toolkit::CElement& value,
                api_status_t qualityStatus, const toolkit::CElement& quality) {
  const double invalid = std::numeric_limits<double>::quiet_NaN();
  if (valueStatus != API_STATUS_OK) return invalid;
  if (qualityStatus == API_STATUS_OK && quality.to_int() < kGoodQuality) {
    return invalid;
  }
  switch (value.get_type()) {
    case PCD_TYPE_BOOL:
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT:
    case PCD_TYPE_REAL:
      return value.to_double();
    default:
      return invalid;
  }
}

}  // namespace

std::vector<CParamProperties> TrendedDevice::params() const {
  std::vector<CParamProperties> params;
  for (const TrendedPoint& point : points) params.push_back(point.param);
  return params;
}

bool readTrendConfig(toolkit::CCds& store, const std::string& trendsRoot,
                     const std::string& devicesRoot, TrendConfig* config) {
  *config = TrendConfig();
  readPeriods(store, trendsRoot, config);
  std::vector<std::string> devices;
  if (toolkit::CPath::getChildPaths(store, devicesRoot, devices) != 0) {
    logError(kLogErrors, "Cannot list the devices below %s",
             devicesRoot.c_str());
    return false;
  }
  for (const std::string& path : devices) {
    std::vector<toolkit::CElement> values;
    if (!readLeaves(store, {path + "/NodeType", path + "/DisplayName"},
                    &values) ||
        values[0].to_string() != "Device") {
      continue;
    }
    TrendedDevice device;
    device.path = path;
    device.name = values[1].to_string();
    if (device.name.empty()) device.name = path.substr(path.rfind('/') + 1);
    readPoints(store, path, 0, &device);
    if (!device.points.empty()) config->devices.push_back(device);
  }
  return true;
}

bool readTrendedValues(toolkit::CCds& store, const TrendConfig& config,
                       std::vector<std::vector<double>>* values) {
  std::vector<std::string> paths;
  for (const TrendedDevice& device : config.devices) {
    for (const TrendedPoint& point : device.points) {
      paths.push_back(point.param.path + "/Value");
      paths.push_back(point.param.path + "/.Quality");
    }
  }
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> leaves;
  std::vector<element_property_t> properties;
  if (store.get_leaves(paths, statuses, leaves, properties) != 0) return false;
  values->assign(config.devices.size(), {});
  size_t at = 0;
  for (size_t d = 0; d < config.devices.size(); ++d) {
    for (size_t p = 0; p < config.devices[d].points.size(); ++p, at += 2) {
      (*values)[d].push_back(sampleOf(statuses[at], leaves[at],
                                      statuses[at + 1], leaves[at + 1]));
    }
  }
  return true;
}

}  // namespace wsgated
