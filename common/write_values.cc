// The multi-write: every entry is checked and converted on its own, then all
// that survive are stored in one transaction, so a client never sees half
// of a set of values that belong together.

#include <unordered_map>
#include <utility>

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "common/write_conversion.h"
#include "common/write_path.h"
#include "common/write_steps.h"
#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/path.h"

namespace wsgated {

namespace {

// One path of the call, from its checks to its result.
struct WriteEntry {
  toolkit::CPath path;        // normalised
  std::string text;           // the client's value text
  toolkit::CElement element;  // the leaf as read, then what to store
  WriteTarget target;         // type None until known
  bool store = false;         // passed every step so far
  std::string result;
};

// Step one per entry: path, write rights, writability. Returns false as soon
// as one path may not be written: the whole call is refused then.
bool checkEntries(ServiceContext* context, bool adminFlag,
                  const ServiceOptions& options,
                  const std::vector<std::string>& paths,
                  const std::vector<std::string>& values,
                  std::vector<WriteEntry>& entries) {
  for (size_t i = 0; i < paths.size(); ++i) {
    WriteEntry& entry = entries[i];
    if (i >= values.size()) {
      // Node administration builds its own lists; one too short must not
      // write a guessed value.
      setBnwsError(kBnwsBadValueFormat, "No Value provided", entry.result,
                   &options);
      continue;
    }
    entry.text = values[i];
    if (!normalizeWritePath(paths[i], entry.path, entry.result, options)) {
      continue;
    }
    if (!writeAuthorized(context, entry.path, adminFlag)) return false;
    entry.store =
        checkWritable(context->cds, entry.path, adminFlag, entry.text,
                      entry.element, entry.result, options) == kMayWrite;
  }
  return true;
}

const char* typeName(data_type_t type) {
  const char* name = pcd_enum_to_str(type);
  return name ? name : toolkit::CElement::_invalid;
}

// The entries of the call by normalised path, each path's in call order.
using EntriesByPath =
    std::unordered_map<std::string, std::vector<WriteEntry*>>;

EntriesByPath entriesByPath(std::vector<WriteEntry>& entries) {
  EntriesByPath byPath;
  for (WriteEntry& entry : entries) {
    if (entry.path.is_valid()) byPath[entry.path.getPath()].push_back(&entry);
  }
  return byPath;
}

// A ValueType sent with values of its node is never stored: it says which
// type the node's Value and alarm value of this same call are to take.
void applyValueType(WriteEntry& typeEntry, const EntriesByPath& byPath) {
  bool enumerated = false;
  const data_type_t type = valueTypeFromText(typeEntry.text, enumerated);
  for (const char* attribute : {"Value", ".AlarmOnValue"}) {
    const std::string target = typeEntry.path.getNewPathStr(attribute);
    const auto found = byPath.find(target);
    if (found == byPath.end()) continue;
    for (WriteEntry* entryOfPath : found->second) {
      WriteEntry& entry = *entryOfPath;
      if (!entry.store) continue;
      entry.target.type = type;
      entry.target.stateNames = enumerated;
      if (type != PCD_TYPE_STRING) {
        logInfo(kLogActivity, "Re-Casting for %s to %s", target.c_str(),
                typeName(type));
      }
    }
  }
  typeEntry.store = false;
  typeEntry.result = typeEntry.text;
}

void applyValueTypes(std::vector<WriteEntry>& entries) {
  const EntriesByPath byPath = entriesByPath(entries);
  for (WriteEntry& entry : entries) {
    if (entry.store && entry.path.getPathAttribute() == "ValueType") {
      applyValueType(entry, byPath);
    }
  }
}

PrefetchedLeaves prefetchedLeaves(const std::vector<WriteEntry>& entries) {
  std::vector<PrefetchedLeaf> leaves;
  for (const WriteEntry& entry : entries) {
    if (entry.path.is_valid())
      leaves.push_back({entry.path.getPath(), entry.text});
  }
  return PrefetchedLeaves(leaves);
}

// The target of an entry that no ValueType of the call governs: the leaf's
// own type, else the attribute's fixed type, where "the Value's type" may
// come from this very call. A Value that may take state names learns here
// whether its node has states, and which.
void resolveStoredTarget(toolkit::CCds& cds, WriteEntry& entry,
                         const PrefetchedLeaves& prefetched) {
  WriteTarget& target = entry.target;
  const std::string& node = entry.path.getNodePath();
  const int code = attributeCode(entry.path);
  target.type = entry.element.get_type();
  if (target.type != PCD_TYPE_NONE) {
    if (takesStateNames(code, target.type)) {
      lookupValueType(cds, node, &prefetched, target.states, target.stateNames);
    }
    return;
  }
  const data_type_t fixed = fixedAttributeType(code);
  if (fixed == kTypeOfNodeValue) {
    target.type = lookupValueType(cds, node, &prefetched, target.states,
                                  target.stateNames);
  } else if (fixed == PCD_TYPE_NONE) {
    logInfo(kLogActivity, "Unknown ValueType for %s",
            entry.path.getPath().c_str());
    target.type = PCD_TYPE_STRING;
  } else {
    target.type = fixed;
  }
}

void resolveTarget(toolkit::CCds& cds, WriteEntry& entry,
                   const PrefetchedLeaves& prefetched) {
  if (entry.target.type == PCD_TYPE_NONE) {
    resolveStoredTarget(cds, entry, prefetched);
  } else if (entry.target.stateNames) {
    bool enumerated = false;  // the call's ValueType already said
    lookupValueType(cds, entry.path.getNodePath(), &prefetched,
                    entry.target.states, enumerated);
  }
}

void convertEntries(toolkit::CCds& cds, const ServiceOptions& options,
                    std::vector<WriteEntry>& entries) {
  const PrefetchedLeaves prefetched = prefetchedLeaves(entries);
  for (WriteEntry& entry : entries) {
    if (!entry.store) continue;
    resolveTarget(cds, entry, prefetched);
    stampClientText(entry.text, entry.element);
    entry.store =
        convertWriteText(kMultiWriteRules, entry.target, entry.path.getPath(),
                         entry.text, entry.element, entry.result, options);
  }
}

// The result of the index-th stored entry.
void reportStored(WriteEntry& entry, size_t index, bool ran,
                  api_status_t status, const ServiceOptions& options) {
  const std::string where = entry.path.getPath();
  if (!ran) {
    setBnwsError(kBnwsWriteFailed, "Attempt to write data failed", entry.result,
                 &options);
  } else if (status != API_STATUS_OK) {
    logInfo(kLogErrors, "CDS write access failed for %s", where.c_str());
    setBnwsError(kBnwsWriteFailed, "CDS write access failed", entry.result,
                 &options);
  } else {
    entry.result = entry.element.to_string();
    logInfo(kLogActivity, "Wrote[%i] %s to %s", static_cast<int>(index),
            entry.result.c_str(), where.c_str());
  }
}

// All surviving entries in one store call: all of them or none.
void storeEntries(ServiceContext* context, const ServiceOptions& options,
                  std::vector<WriteEntry>& entries) {
  std::vector<WriteEntry*> stored;
  std::vector<std::string> paths;
  std::vector<toolkit::CElement> elements;
  for (WriteEntry& entry : entries) {
    if (!entry.store) continue;
    stored.push_back(&entry);
    paths.push_back(entry.path.getPath());
    elements.push_back(entry.element);
  }
  if (stored.empty()) return;
  const std::vector<pcd_tribool_t> persist(stored.size(),
                                           persistenceFlag(options));
  std::vector<api_status_t> statuses;
  const bool ran = context->cds.set_leaves(paths, elements, persist, statuses,
                                           changeSource(context->caller)) == 0;
  for (size_t i = 0; i < stored.size(); ++i) {
    const api_status_t status =
        i < statuses.size() ? statuses[i] : API_STATUS_UNKNOWN;
    reportStored(*stored[i], i, ran, status, options);
  }
}

}  // namespace

int writeValues(ServiceContext* context, bool adminFlag,
                const ServiceOptions& options,
                const std::vector<std::string>& paths,
                const std::vector<std::string>& values,
                std::vector<std::string>& results) {
  std::string localeError;
  if (!writeLocaleValid(options, localeError)) {
    results.push_back(localeError);
    return 0;
  }
  toolkit::CCds& cds = context->cds;
  std::vector<WriteEntry> entries(paths.size());
  {
    // Checks and conversions only read: one snapshot takes the store's
    // locks once for all entries. It ends before the write.
    toolkit::CCdsSnapshot snapshot(cds);
    if (!checkEntries(context, adminFlag, options, paths, values, entries)) {
      return kWriteNotAuthorized;
    }
    applyValueTypes(entries);
    convertEntries(cds, options, entries);
  }
  storeEntries(context, options, entries);
  for (WriteEntry& entry : entries) results.push_back(std::move(entry.result));
  return 0;
}

}  // namespace wsgated
