// CCds: reads and writes of the store's tree, and opening, closing and
// grouping connections (see cds.h; the schema is in cds_store.h).
//
// Every public call parses its paths once with CPath, runs in one
// transaction (a snapshot for multi-statement reads, BEGIN IMMEDIATE or a
// savepoint for writes) and uses statements prepared once per connection.
// Exceptions never leave a call: they are turned into API_STATUS_IO_ERROR
// at the boundary, and the transaction scopes roll back on the way out.

#include "platform/cds.h"

#include <cstdlib>
#include <string>

#include "platform/attributes.h"
#include "platform/cds_store.h"
#include "platform/path.h"

namespace toolkit {
namespace {

using store::ReadScope;
using store::StmtScope;
using store::WriteScope;

const char kDefaultStorePath[] = "/var/lib/toolkit/cds.db";
// Parsed paths a connection keeps for its next get_leaves.
constexpr size_t kParsedKept = 4096;

// Runs the body of a public call on `c` (may be null): its status decides
// the return value, and an exception becomes an I/O error instead of
// leaving the library. A call outside a transaction first makes sure that
// the connection's file is still the store.
template <typename Body>
int run_call(pcd_connection* c, api_status_t& status, Body&& body) {
  try {
    status = c == nullptr ? API_STATUS_OK : store::ensure_current(c);
    if (status == API_STATUS_OK) status = body();
  } catch (...) {
    status = API_STATUS_IO_ERROR;
  }
  return store::is_call_failure(status) ? -1 : 0;
}

bool parse(CPath& path, const std::string& text) {
  path.set(text);
  return path.normalize() == 0;
}

bool is_invalid_time(const timeval& time) {
  return time.tv_sec == 0 && time.tv_usec == 0;
}

void clear_element(CElement& element, element_property_t& property) {
  element.clear();
  element.set_time(CElement::_invalid_time);
  property = PCD_PROP_NORMAL;
}

// ---------------------------------------------------------------------------
// Reads.

// Looks a node up: OK with its id (and name), NO_NODE, or a store error.
api_status_t find_node(pcd_connection* c, const std::string& node_path,
                       long long* id, std::string* name) {
  StmtScope s(c, store::kStmtNodeId);
  if (!s.ok()) return s.error();
  s.bind(1, node_path);
  const int rc = s.step();
  if (rc == SQLITE_DONE) return API_STATUS_NO_NODE;
  if (rc != SQLITE_ROW) return store::status_from_sqlite(rc);
  *id = sqlite3_column_int64(s.get(), 0);
  if (name != nullptr) {
    const unsigned char* text = sqlite3_column_text(s.get(), 1);
    name->assign(text == nullptr ? "" : reinterpret_cast<const char*>(text));
  }
  return API_STATUS_OK;
}

// A stored leaf: one statement; only a miss asks whether the node exists.
api_status_t read_stored(pcd_connection* c, const CPath& path,
                         CElement& element, element_property_t& property) {
  {
    StmtScope s(c, store::kStmtReadLeaf);
    if (!s.ok()) return s.error();
    s.bind(1, path.getNodePath());
    s.bind(2, path.getPathAttribute());
    const int rc = s.step();
    if (rc == SQLITE_ROW) {
      store::column_element(s.get(), 0, element);
      property =
          static_cast<element_property_t>(sqlite3_column_int(s.get(), 4));
      return element.get_type() == PCD_TYPE_NONE ? API_STATUS_NOT_TYPED
                                                 : API_STATUS_OK;
    }
    if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  }
  long long id = 0;
  const api_status_t status = find_node(c, path.getNodePath(), &id, nullptr);
  return status == API_STATUS_OK ? API_STATUS_NO_ATTRIBUTE : status;
}

// The writer of a stored leaf; a miss asks whether the node exists.
api_status_t read_writer(pcd_connection* c, const CPath& path,
                         std::string& writer) {
  writer.clear();
  {
    StmtScope s(c, store::kStmtReadWriter);
    if (!s.ok()) return s.error();
    s.bind(1, path.getNodePath());
    s.bind(2, path.getPathAttribute());
    const int rc = s.step();
    if (rc == SQLITE_ROW) {
      const unsigned char* text = sqlite3_column_text(s.get(), 0);
      if (text != nullptr) writer = reinterpret_cast<const char*>(text);
      return API_STATUS_OK;
    }
    if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  }
  long long id = 0;
  const api_status_t status = find_node(c, path.getNodePath(), &id, nullptr);
  return status == API_STATUS_OK ? API_STATUS_NO_ATTRIBUTE : status;
}

// The texts of a bound one-column query joined with ";" (Children,
// Attributes).
api_status_t join_names(StmtScope& s, std::string& out) {
  out.clear();
  int rc;
  for (bool first = true; (rc = s.step()) == SQLITE_ROW; first = false) {
    if (!first) out += ';';
    const unsigned char* text = sqlite3_column_text(s.get(), 0);
    if (text != nullptr) out += reinterpret_cast<const char*>(text);
  }
  return rc == SQLITE_DONE ? API_STATUS_OK : store::status_from_sqlite(rc);
}

api_status_t read_child_names(pcd_connection* c, long long node,
                              std::string& out) {
  StmtScope s(c, store::kStmtChildNames);
  if (!s.ok()) return s.error();
  s.bind(1, node);
  return join_names(s, out);
}

api_status_t read_leaf_names(pcd_connection* c, const std::string& node_path,
                             std::string& out) {
  StmtScope s(c, store::kStmtLeafNames);
  if (!s.ok()) return s.error();
  s.bind(1, node_path);
  return join_names(s, out);
}

// A count in the type the attribute table gives it.
void set_count(CElement& element, int code, long long count) {
  const AttributeInfo* info = pcd_attr_info(code);
  if (info != nullptr && info->default_type == PCD_TYPE_INT) {
    element.set_int(static_cast<int32_t>(count));
  } else {
    element.set_uint(static_cast<uint32_t>(count));
  }
}

api_status_t read_child_count(pcd_connection* c, long long node,
                              CElement& element) {
  StmtScope s(c, store::kStmtChildCount);
  if (!s.ok()) return s.error();
  s.bind(1, node);
  const int rc = s.step();
  if (rc != SQLITE_ROW) return store::status_from_sqlite(rc);
  set_count(element, PCD_ATTR_CHILD_COUNT, sqlite3_column_int64(s.get(), 0));
  return API_STATUS_OK;
}

// .ChangeCount: the Value's write counter, stamped with the Value's time.
// A node without a Value has seen no writes.
api_status_t read_change_count(pcd_connection* c,
                               const std::string& node_path,
                               CElement& element) {
  StmtScope s(c, store::kStmtValueChanges);
  if (!s.ok()) return s.error();
  s.bind(1, node_path);
  const int rc = s.step();
  if (rc == SQLITE_DONE) {
    set_count(element, PCD_ATTR_CHANGE_COUNT, 0);
    return API_STATUS_OK;
  }
  if (rc != SQLITE_ROW) return store::status_from_sqlite(rc);
  set_count(element, PCD_ATTR_CHANGE_COUNT, sqlite3_column_int64(s.get(), 0));
  timeval time;
  time.tv_sec = static_cast<time_t>(sqlite3_column_int64(s.get(), 1));
  time.tv_usec = static_cast<suseconds_t>(sqlite3_column_int64(s.get(), 2));
  element.set_time(time);
  return API_STATUS_OK;
}

// Virtual attributes are computed from the node; apart from .ChangeCount
// they have no time of their own.
api_status_t read_virtual(pcd_connection* c, const CPath& path, int code,
                          CElement& element, element_property_t& property) {
  ReadScope snapshot(c);
  api_status_t status = snapshot.begin();
  if (status != API_STATUS_OK) return status;
  long long node = 0;
  std::string text;
  status = find_node(c, path.getNodePath(), &node, &text);
  if (status != API_STATUS_OK) return status;
  element.set_time(CElement::_invalid_time);
  property = PCD_PROP_AUTOMATIC;
  switch (code) {
    case PCD_ATTR_CHILDREN:
      status = read_child_names(c, node, text);
      break;
    case PCD_ATTR_ATTRIBUTES:
      status = read_leaf_names(c, path.getNodePath(), text);
      break;
    case PCD_ATTR_CHILD_COUNT:
      return read_child_count(c, node, element);
    case PCD_ATTR_CHANGE_COUNT:
      return read_change_count(c, path.getNodePath(), element);
    case PCD_ATTR_NAME:
      break;  // `text` holds the node's name
    default:
      return API_STATUS_NO_ATTRIBUTE;
  }
  if (status == API_STATUS_OK) element.set_string(text);
  return status;
}

api_status_t read_leaf(pcd_connection* c, const CPath& path, CElement& element,
                       element_property_t& property) {
  const store::AttrClass attr =
      store::classify_attribute(path.getPathAttribute());
  const api_status_t status =
      (attr.flags & PCD_AF_VIRTUAL) != 0
          ? read_virtual(c, path, attr.code, element, property)
          : read_stored(c, path, element, property);
  if (status != API_STATUS_OK && status != API_STATUS_NOT_TYPED) {
    clear_element(element, property);
  }
  return status;
}

// A lone read: parsed into the connection's first scratch path, so that
// its strings keep their capacity.
api_status_t read_path(pcd_connection* c, const std::string& text,
                       CElement& element, element_property_t& property) {
  std::vector<CPath>& scratch = c->parsed;
  if (scratch.empty()) scratch.resize(1);
  if (!parse(scratch[0], text)) {
    clear_element(element, property);
    return API_STATUS_BAD_PATH;
  }
  return read_leaf(c, scratch[0], element, property);
}

// Parses every path into the connection's scratch list and describes the
// stored leaves among them as keys of one batched lookup. A path that is
// malformed or names a computed attribute gets a key without a node, which
// matches nothing.
void prepare_keys(pcd_connection* c, const std::vector<std::string>& paths,
                  std::vector<api_status_t>& statuses,
                  std::vector<store::LeafKey>& keys) {
  std::vector<CPath>& parsed = c->parsed;
  if (parsed.size() < paths.size()) parsed.resize(paths.size());
  keys.assign(paths.size(), store::LeafKey{nullptr, 0, nullptr, 0});
  for (size_t i = 0; i < paths.size(); ++i) {
    statuses[i] = API_STATUS_UNKNOWN;
    if (!parse(parsed[i], paths[i])) {
      statuses[i] = API_STATUS_BAD_PATH;
      continue;
    }
    const std::string& attr = parsed[i].getPathAttribute();
    if ((store::classify_attribute(attr).flags & PCD_AF_VIRTUAL) != 0) {
      continue;
    }
    const std::string& node = parsed[i].getNodePath();
    keys[i] = store::LeafKey{node.data(), static_cast<int>(node.size()),
                             attr.data(), static_cast<int>(attr.size())};
  }
}

// One statement finds every stored leaf that exists; rows arrive with the
// key's position as rowid.
api_status_t read_found(pcd_connection* c,
                        const std::vector<store::LeafKey>& keys,
                        std::vector<api_status_t>& statuses,
                        std::vector<CElement>& elements,
                        std::vector<element_property_t>& properties) {
  const store::LeafKeys batch{keys.data(), keys.size()};
  StmtScope s(c, store::kStmtReadLeaves);
  if (!s.ok()) return s.error();
  store::bind_keys(s.get(), 1, &batch);
  int rc;
  while ((rc = s.step()) == SQLITE_ROW) {
    const size_t i = static_cast<size_t>(sqlite3_column_int64(s.get(), 0));
    if (i >= keys.size()) continue;
    store::column_element(s.get(), 1, elements[i]);
    properties[i] =
        static_cast<element_property_t>(sqlite3_column_int(s.get(), 5));
    statuses[i] = elements[i].get_type() == PCD_TYPE_NONE
                      ? API_STATUS_NOT_TYPED
                      : API_STATUS_OK;
  }
  return rc == SQLITE_DONE ? API_STATUS_OK : store::status_from_sqlite(rc);
}

// get_leaves inside its snapshot: the batched lookup first, then, one by
// one, what it could not answer: computed attributes and misses (which
// need to know whether the node exists).
api_status_t read_leaves(pcd_connection* c,
                         const std::vector<std::string>& paths,
                         std::vector<api_status_t>& statuses,
                         std::vector<CElement>& elements,
                         std::vector<element_property_t>& properties) {
  std::vector<store::LeafKey> keys;
  prepare_keys(c, paths, statuses, keys);
  api_status_t status = read_found(c, keys, statuses, elements, properties);
  for (size_t i = 0; i < paths.size() && status == API_STATUS_OK; ++i) {
    if (statuses[i] == API_STATUS_UNKNOWN) {
      statuses[i] = read_leaf(c, c->parsed[i], elements[i], properties[i]);
      status = store::is_call_failure(statuses[i]) ? statuses[i] : status;
    } else if (statuses[i] == API_STATUS_BAD_PATH) {
      clear_element(elements[i], properties[i]);
    }
  }
  // A rare huge batch should not pin its memory for the connection's life.
  if (c->parsed.size() > kParsedKept) c->parsed.resize(kParsedKept);
  return status;
}

// ---------------------------------------------------------------------------
// Writes. They run inside a WriteScope opened by the public call.

// What may be written at all, decided without the database: sub-attributes
// are views of a leaf, and computed attributes belong to the store.
api_status_t check_writable(const CPath& path) {
  if (!path.getSubAttribute().empty()) return API_STATUS_READ_ONLY_LEAF;
  const store::AttrClass attr =
      store::classify_attribute(path.getPathAttribute());
  if ((attr.flags & (PCD_AF_VIRTUAL | PCD_AF_AUTOMATIC)) != 0) {
    return API_STATUS_READ_ONLY_LEAF;
  }
  return API_STATUS_OK;
}

// Runs one of the two leaf writers; `changed` tells whether a row matched.
api_status_t run_leaf_writer(pcd_connection* c, store::StmtId id,
                             const CPath& path, const CElement& element,
                             const timeval& time, pcd_tribool_t persist,
                             const std::string& source, bool* changed) {
  StmtScope s(c, id);
  if (!s.ok()) return s.error();
  s.bind(1, path.getNodePath());
  s.bind(2, path.getPathAttribute());
  store::bind_element(s.get(), 3, element, time);
  s.bind(7, static_cast<long long>(persist));
  s.bind(8, source);
  const int rc = s.step();
  if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  *changed = sqlite3_changes(c->db) > 0;
  return API_STATUS_OK;
}

// Writes one leaf: an update of an existing attribute (the common case, one
// statement), else the insert of a new one on an existing node.
api_status_t write_leaf(pcd_connection* c, const CPath& path,
                        const CElement& element, pcd_tribool_t persist,
                        const std::string& source) {
  api_status_t status = check_writable(path);
  if (status != API_STATUS_OK) return status;
  const timeval time = is_invalid_time(element.get_time())
                           ? store::now_timeval()
                           : element.get_time();
  bool changed = false;
  status = run_leaf_writer(c, store::kStmtUpdateLeaf, path, element, time,
                           persist, source, &changed);
  if (status == API_STATUS_OK && !changed) {
    status = run_leaf_writer(c, store::kStmtInsertLeaf, path, element, time,
                             persist, source, &changed);
    if (status == API_STATUS_OK && !changed) return API_STATUS_NO_NODE;
  }
  if (status == API_STATUS_OK &&
      store::touches_security(path.getNodePath(), false)) {
    status = store::bump_security_generation(c);
  }
  return status;
}

api_status_t increment(pcd_connection* c, const CPath& path, int32_t delta,
                       int32_t* result, const std::string& source) {
  api_status_t status = check_writable(path);
  if (status != API_STATUS_OK) return status;
  CElement element;
  element_property_t property;
  status = read_stored(c, path, element, property);
  if (status == API_STATUS_NO_ATTRIBUTE || status == API_STATUS_NOT_TYPED) {
    element.set_int(0);
  } else if (status != API_STATUS_OK) {
    return status;
  }
  // Unsigned arithmetic: counters wrap around instead of overflowing.
  const uint32_t sum = static_cast<uint32_t>(element.to_int()) +
                       static_cast<uint32_t>(delta);
  if (element.get_type() == PCD_TYPE_UINT) {
    element.set_uint(element.to_uint() + static_cast<uint32_t>(delta));
  } else if (element.get_type() == PCD_TYPE_INT) {
    element.set_int(static_cast<int32_t>(sum));
  } else {
    return API_STATUS_TYPE_MISMATCH;
  }
  element.set_time(CElement::_invalid_time);  // stamped now by write_leaf
  status = write_leaf(c, path, element, PCD_TRIBOOL_UNKNOWN, source);
  if (status == API_STATUS_OK && result != nullptr) {
    *result = element.get_type() == PCD_TYPE_UINT
                  ? static_cast<int32_t>(element.to_uint())
                  : element.to_int();
  }
  return status;
}

// fetch_increment_leaf inside its transaction.
api_status_t fetch_increment(pcd_connection* c, const CPath& path,
                             int32_t& taken, data_type_t type,
                             pcd_tribool_t persist, const std::string& source) {
  api_status_t status = check_writable(path);
  if (status != API_STATUS_OK) return status;
  CElement element;
  element_property_t property;
  status = read_stored(c, path, element, property);
  if (status != API_STATUS_OK) return status;
  const int32_t value = element.to_int();
  if (type == PCD_TYPE_NONE) {
    type = element.get_type() == PCD_TYPE_UINT ? PCD_TYPE_UINT : PCD_TYPE_INT;
  }
  // Unsigned arithmetic: counters wrap around instead of overflowing.
  const uint32_t next = static_cast<uint32_t>(value) + 1u;
  CElement written;
  if (type == PCD_TYPE_UINT) {
    written.set_uint(next);
  } else if (type == PCD_TYPE_INT) {
    written.set_int(static_cast<int32_t>(next));
  } else {
    return API_STATUS_TYPE_MISMATCH;
  }
  status = write_leaf(c, path, written, persist, source);
  if (status == API_STATUS_OK) taken = value;
  return status;
}

api_status_t insert_node(pcd_connection* c, const std::string& node_path,
                         long long parent, const std::string& name,
                         long long* id) {
  StmtScope s(c, store::kStmtInsertNode);
  if (!s.ok()) return s.error();
  s.bind(1, node_path);
  s.bind(2, parent);
  s.bind(3, name);
  const int rc = s.step();
  if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  *id = sqlite3_last_insert_rowid(c->db);
  return API_STATUS_OK;
}

// Creates the node and its missing ancestors, from the root down.
api_status_t create_node(pcd_connection* c, const std::string& node_path) {
  long long parent = 0;
  api_status_t status = find_node(c, node_path, &parent, nullptr);
  if (status == API_STATUS_OK) return API_STATUS_EXISTS;
  if (status != API_STATUS_NO_NODE) return status;
  status = find_node(c, "/", &parent, nullptr);
  size_t begin = 1;  // node paths are canonical: "/A/B", never "/A//B/"
  while (status == API_STATUS_OK && begin < node_path.size()) {
    size_t end = node_path.find('/', begin);
    if (end == std::string::npos) end = node_path.size();
    const std::string prefix = node_path.substr(0, end);
    long long id = 0;
    status = find_node(c, prefix, &id, nullptr);
    if (status == API_STATUS_NO_NODE) {
      status = insert_node(c, prefix, parent,
                           node_path.substr(begin, end - begin), &id);
    }
    parent = id;
    begin = end + 1;
  }
  if (status == API_STATUS_OK && store::touches_security(node_path, false)) {
    status = store::bump_security_generation(c);
  }
  return status;
}

// PCD_WRITE_CREATE_DYNAMIC_NODE: the leaf's node, made when it is missing
// and its parent has dynamic children.
api_status_t create_dynamic_node(pcd_connection* c, const CPath& path) {
  long long id = 0;
  api_status_t status = find_node(c, path.getNodePath(), &id, nullptr);
  if (status != API_STATUS_NO_NODE) return status;
  std::string parent, name;
  CPath::LopLastSubpath(path.getNodePath(), parent, name);
  CPath dynamic;
  CElement flag;
  element_property_t property;
  if (!parse(dynamic, parent + ":HasDynamicChildren") ||
      read_stored(c, dynamic, flag, property) != API_STATUS_OK ||
      !flag.to_bool()) {
    return API_STATUS_NO_NODE;
  }
  status = create_node(c, path.getNodePath());
  return status == API_STATUS_EXISTS ? API_STATUS_OK : status;
}

// Deletes the node, its descendants (a range of the path index: every path
// that begins with "<node>/") and all their leaves.
api_status_t delete_subtree(pcd_connection* c, const std::string& node_path) {
  const std::string low = node_path + "/";
  const std::string high = node_path + "0";  // '0' follows '/' in ASCII
  for (store::StmtId id :
       {store::kStmtDeleteSubtreeLeaves, store::kStmtDeleteSubtreeNodes}) {
    StmtScope s(c, id);
    if (!s.ok()) return s.error();
    s.bind(1, node_path);
    s.bind(2, low);
    s.bind(3, high);
    const int rc = s.step();
    if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  }
  return API_STATUS_OK;
}

api_status_t remove_subtree(pcd_connection* c, const CPath& path) {
  const std::string& node_path = path.getNodePath();
  if (path.hasExplicitAttribute() || node_path == "/") {
    return API_STATUS_BAD_PATH;
  }
  long long id = 0;
  api_status_t status = find_node(c, node_path, &id, nullptr);
  if (status == API_STATUS_OK) status = delete_subtree(c, node_path);
  if (status == API_STATUS_OK && store::touches_security(node_path, true)) {
    status = store::bump_security_generation(c);
  }
  return status;
}

api_status_t delete_leaf(pcd_connection* c, const CPath& path) {
  if (!path.hasExplicitAttribute()) return API_STATUS_BAD_PATH;
  api_status_t status = check_writable(path);
  if (status != API_STATUS_OK) return status;
  {
    StmtScope s(c, store::kStmtDeleteLeaf);
    if (!s.ok()) return s.error();
    s.bind(1, path.getNodePath());
    s.bind(2, path.getPathAttribute());
    const int rc = s.step();
    if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  }
  if (sqlite3_changes(c->db) == 0) {
    long long id = 0;
    status = find_node(c, path.getNodePath(), &id, nullptr);
    return status == API_STATUS_OK ? API_STATUS_NO_ATTRIBUTE : status;
  }
  if (store::touches_security(path.getNodePath(), false)) {
    return store::bump_security_generation(c);
  }
  return API_STATUS_OK;
}

// The frame of a call that changes the tree through one path: refusals of
// the handle, parsing, one write transaction around `change`.
template <typename Change>
api_status_t change_tree(pcd_connection* c, const std::string& text,
                         Change&& change) {
  if (c == nullptr) return API_STATUS_NOT_OPEN;
  if (c->read_only) return API_STATUS_READ_ONLY;
  CPath path;
  if (!parse(path, text)) return API_STATUS_BAD_PATH;
  WriteScope txn(c);
  api_status_t status = txn.begin();
  if (status != API_STATUS_OK) return status;
  status = change(path);
  return status == API_STATUS_OK ? txn.commit() : status;
}

}  // namespace

// ---------------------------------------------------------------------------
// CCds

CCds::CCds() : handle(pcd_init()) {}

CCds::CCds(pcd_handle_t adopted) : handle(adopted) {}

CCds::~CCds() { pcd_close(handle); }

int CCds::get_leaf(const std::string& path, api_status_t& status,
                   CElement& element, element_property_t& property) {
  return run_call(handle, status, [&] {
    clear_element(element, property);
    if (handle == nullptr) return API_STATUS_NOT_OPEN;
    return read_path(handle, path, element, property);
  });
}

int CCds::get_leaf_writer(const std::string& path, api_status_t& status,
                          std::string& writer) {
  return run_call(handle, status, [&] {
    writer.clear();
    if (handle == nullptr) return API_STATUS_NOT_OPEN;
    CPath parsed;
    if (!parse(parsed, path)) return API_STATUS_BAD_PATH;
    return read_writer(handle, parsed, writer);
  });
}

int CCds::get_leaves(const std::vector<std::string>& paths,
                     std::vector<api_status_t>& statuses,
                     std::vector<CElement>& elements,
                     std::vector<element_property_t>& properties) {
  api_status_t call_status;
  return run_call(handle, call_status, [&] {
    const size_t count = paths.size();
    elements.resize(count);
    properties.assign(count, PCD_PROP_NORMAL);
    statuses.assign(count, API_STATUS_NOT_OPEN);
    if (handle == nullptr) return API_STATUS_NOT_OPEN;
    api_status_t status;
    if (count == 1) {  // one statement is snapshot enough
      status = statuses[0] =
          read_path(handle, paths[0], elements[0], properties[0]);
    } else {
      ReadScope snapshot(handle);
      status = snapshot.begin();
      if (status == API_STATUS_OK) {
        status = read_leaves(handle, paths, statuses, elements, properties);
      }
    }
    if (store::is_call_failure(status)) statuses.assign(count, status);
    return status;
  });
}

int CCds::set_leaf(const std::string& path, const CElement& element,
                   api_status_t& status, pcd_tribool_t persist,
                   const std::string& source) {
  return set_leaf(path, element, status, persist, source, PCD_WRITE_DEFAULT);
}

int CCds::set_leaf(const std::string& path, const CElement& element,
                   api_status_t& status, pcd_tribool_t persist,
                   const std::string& source, unsigned options) {
  return run_call(handle, status, [&] {
    return change_tree(handle, path, [&](const CPath& parsed) {
      api_status_t made = API_STATUS_OK;
      if ((options & PCD_WRITE_CREATE_DYNAMIC_NODE) != 0 &&
          check_writable(parsed) == API_STATUS_OK) {
        made = create_dynamic_node(handle, parsed);
      }
      return made == API_STATUS_OK
                 ? write_leaf(handle, parsed, element, persist, source)
                 : made;
    });
  });
}

namespace {

// The body of set_leaves once the handle and arguments are checked.
api_status_t write_leaves(pcd_connection* c,
                          const std::vector<std::string>& paths,
                          const std::vector<CElement>& elements,
                          const std::vector<pcd_tribool_t>& persist,
                          std::vector<api_status_t>& statuses,
                          const std::string& source) {
  WriteScope txn(c);
  api_status_t status = txn.begin();
  if (status != API_STATUS_OK) return status;
  bool failed = false;
  CPath parsed;
  for (size_t i = 0; i < paths.size(); ++i) {
    const pcd_tribool_t flag = persist.empty() ? PCD_TRIBOOL_UNKNOWN
                                               : persist[i];
    status = parse(parsed, paths[i])
                 ? write_leaf(c, parsed, elements[i], flag, source)
                 : API_STATUS_BAD_PATH;
    if (store::is_call_failure(status)) return status;
    // The other leaves are still tried, so that every failing leaf is
    // reported in one call.
    statuses[i] = status;
    failed = failed || status != API_STATUS_OK;
  }
  if (!failed) return txn.commit();
  txn.rollback();
  for (api_status_t& each : statuses) {
    if (each == API_STATUS_OK) each = API_STATUS_ROLLED_BACK;
  }
  return API_STATUS_OK;
}

}  // namespace

int CCds::set_leaves(const std::vector<std::string>& paths,
                     const std::vector<CElement>& elements,
                     const std::vector<pcd_tribool_t>& persist,
                     std::vector<api_status_t>& statuses,
                     const std::string& source) {
  api_status_t call_status;
  return run_call(handle, call_status, [&] {
    const size_t count = paths.size();
    statuses.assign(count, API_STATUS_UNKNOWN);
    if (elements.size() != count ||
        (!persist.empty() && persist.size() != count)) {
      return API_STATUS_IO_ERROR;  // a caller's mistake; nothing is tried
    }
    api_status_t status = API_STATUS_NOT_OPEN;
    if (handle != nullptr) {
      status = handle->read_only
                   ? API_STATUS_READ_ONLY
                   : write_leaves(handle, paths, elements, persist, statuses,
                                  source);
    }
    if (store::is_call_failure(status)) statuses.assign(count, status);
    return status;
  });
}

int CCds::increment_leaf(const std::string& path, int32_t delta,
                         api_status_t& status, int32_t* new_value,
                         const std::string& source) {
  return run_call(handle, status, [&] {
    return change_tree(handle, path, [&](const CPath& parsed) {
      return increment(handle, parsed, delta, new_value, source);
    });
  });
}

int CCds::fetch_increment_leaf(const std::string& path, api_status_t& status,
                               int32_t& taken, data_type_t type,
                               pcd_tribool_t persist,
                               const std::string& source) {
  return run_call(handle, status, [&] {
    return change_tree(handle, path, [&](const CPath& parsed) {
      return fetch_increment(handle, parsed, taken, type, persist, source);
    });
  });
}

int CCds::add_node(const std::string& path, api_status_t& status,
                   const std::string& source) {
  return run_call(handle, status, [&] {
    return change_tree(handle, path, [&](const CPath& parsed) {
      if (parsed.hasExplicitAttribute()) return API_STATUS_BAD_PATH;
      const api_status_t created = create_node(handle, parsed.getNodePath());
      return created == API_STATUS_OK
                 ? store::journal_structure(handle, "created",
                                            parsed.getNodePath(), source)
                 : created;
    });
  });
}

int CCds::remove_node(const std::string& path, api_status_t& status,
                      const std::string& source) {
  return run_call(handle, status, [&] {
    return change_tree(handle, path, [&](const CPath& parsed) {
      const api_status_t removed = remove_subtree(handle, parsed);
      return removed == API_STATUS_OK
                 ? store::journal_structure(handle, "removed",
                                            parsed.getNodePath(), source)
                 : removed;
    });
  });
}

int CCds::clear_leaf(const std::string& path, api_status_t& status,
                     const std::string& source) {
  return run_call(handle, status, [&] {
    return change_tree(handle, path, [&](const CPath& parsed) {
      return delete_leaf(handle, parsed);
    });
  });
}

int CCds::test_node(const std::string& path, api_status_t& status) {
  return run_call(handle, status, [&] {
    if (handle == nullptr) return API_STATUS_NOT_OPEN;
    CPath parsed;
    if (!parse(parsed, path)) return API_STATUS_BAD_PATH;
    long long id = 0;
    return find_node(handle, parsed.getNodePath(), &id, nullptr);
  });
}

void CCds::setReadOnly() {
  if (handle != nullptr) handle->read_only = true;
}

bool CCds::isReadOnly() const {
  return handle != nullptr && handle->read_only;
}

}  // namespace toolkit

// ---------------------------------------------------------------------------
// Connections and groups.

std::string pcd_default_path() {
  const char* path = getenv("TOOLKIT_CDS_PATH");
  return path != nullptr && *path != '\0' ? path
                                          : toolkit::kDefaultStorePath;
}

pcd_handle_t pcd_init(void) {
  try {
    return pcd_open(pcd_default_path().c_str());
  } catch (...) {
    return nullptr;
  }
}

pcd_handle_t pcd_open(const char* path) {
  try {
    return toolkit::store::open_connection(path);
  } catch (...) {
    return nullptr;
  }
}

void pcd_close(pcd_handle_t handle) {
  toolkit::store::close_connection(handle);
}

int cds_create(const std::string& path, bool replace) {
  try {
    return toolkit::store::create_store(path, replace);
  } catch (...) {
    return -1;
  }
}

int pcd_begin(pcd_handle_t handle) {
  if (handle == nullptr || handle->in_group || handle->in_snapshot) return -1;
  if (toolkit::store::ensure_current(handle) != API_STATUS_OK) return -1;
  // A read-only handle cannot write, so its group is only a snapshot and
  // must not hold the store's write lock.
  const api_status_t status = toolkit::store::run_simple(
      handle, handle->read_only ? toolkit::store::kStmtBeginRead
                                : toolkit::store::kStmtBeginWrite);
  if (status != API_STATUS_OK) return -1;
  handle->in_group = true;
  return 0;
}

int pcd_commit(pcd_handle_t handle) {
  if (handle == nullptr || !handle->in_group) return -1;
  handle->in_group = false;
  ++handle->own_writes;
  if (toolkit::store::run_simple(handle, toolkit::store::kStmtCommit) ==
      API_STATUS_OK) {
    return 0;
  }
  // All or nothing: a group that cannot be committed is discarded.
  toolkit::store::run_simple(handle, toolkit::store::kStmtRollback);
  return -1;
}

int pcd_rollback(pcd_handle_t handle) {
  if (handle == nullptr || !handle->in_group) return -1;
  handle->in_group = false;
  ++handle->own_writes;  // the group's own writes are undone: a change too
  return toolkit::store::run_simple(handle, toolkit::store::kStmtRollback) ==
                 API_STATUS_OK
             ? 0
             : -1;
}

int pcd_begin_snapshot(pcd_handle_t handle) {
  if (handle == nullptr || handle->in_group || handle->in_snapshot) return -1;
  if (toolkit::store::ensure_current(handle) != API_STATUS_OK) return -1;
  // A deferred BEGIN: the snapshot is taken by the first read, and no lock
  // that writers wait for is ever held.
  if (toolkit::store::run_simple(handle, toolkit::store::kStmtBeginRead) !=
      API_STATUS_OK) {
    return -1;
  }
  handle->in_snapshot = true;
  return 0;
}

int pcd_end_snapshot(pcd_handle_t handle) {
  if (handle == nullptr || !handle->in_snapshot) return -1;
  handle->in_snapshot = false;
  if (toolkit::store::run_simple(handle, toolkit::store::kStmtCommit) ==
      API_STATUS_OK) {
    return 0;
  }
  toolkit::store::run_simple(handle, toolkit::store::kStmtRollback);
  return -1;
}

unsigned long long pcd_change_counter(pcd_handle_t handle) {
  if (handle == nullptr) return 0;
  toolkit::store::StmtScope s(handle, toolkit::store::kStmtDataVersion);
  unsigned long long version = 0;
  if (s.ok() && s.step() == SQLITE_ROW) {
    version = static_cast<unsigned long long>(sqlite3_column_int64(s.get(), 0));
  }
  return handle->own_writes + version;
}

unsigned long long pcd_statement_count(pcd_handle_t handle) {
  return handle == nullptr ? 0 : handle->statements;
}
