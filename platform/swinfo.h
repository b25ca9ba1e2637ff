// CCds_SwInfo: the software-information node of a program, and filling
// nodes from templates.
//
// A program binds the object to its node ("/Software/Data Servers/<name>").
// Binding creates the node when missing, with the points AppStatus,
// AppError, Pid and Started (Started: the time of binding).

#ifndef PLATFORM_SWINFO_H_
#define PLATFORM_SWINFO_H_

#include <string>

namespace toolkit {

class CCds;

// The change source of the writes below when the caller names none. A
// program that fills nodes on behalf of someone (the web services, for a
// subscriber) passes that someone's source instead, so that readers can
// tell whose the nodes are from their leaves' writer
// (CCds::get_leaf_writer).
extern const char* const kSwInfoSource;  // "SwInfo:toolkit@localhost"

// A program's state as shown in its AppStatus point.
enum AppStatuses : int {
  APP_STATUS_UNKNOWN = 0,
  APP_STATUS_UPDATING = 1,  // changing its configuration in the store
  APP_STATUS_STOPPED = 2,   // shut down in order
  APP_STATUS_FAULTED = 3,   // stopped by an error
  APP_STATUS_RUNNING = 4,   // serving
};

// One entry of a node template:
//   base        the template's base path; the filled node must lie below it
//   path        path of the node to fill, relative to the object's node
//               ("" for the node itself, "/ReplyURI" for a child)
//   name_values null-terminated list of attribute/value pairs:
//               {"/NodeType", "Point", "/ValueType", "Integer", "/Value", "0",
//                nullptr}. Attribute names carry a leading "/". Values are
//               texts converted to the attribute's type: Value to the type
//               named by the entry's ValueType (Multistate stores Integer),
//               other attributes to their default type (attributes.h),
//               String when they have none.
struct tagnval {
  const char* base;
  const char* path;
  const char* const* name_values;
};

class CCds_SwInfo {
 public:
  CCds_SwInfo();
  // Remembers the node without writing to the store (bind() does that), so
  // that template filling can use any node.
  CCds_SwInfo(CCds* cds, const std::string& nodePath);

  // Bind to `nodePath` (creating it as described above). Returns 0 on
  // success.
  int bind(CCds* cds, const std::string& nodePath);
  const std::string& node() const { return node_; }

  // Write the AppStatus / AppError points of the bound node.
  int SetAppStatus(AppStatuses status);
  int SetAppError(int error);

  // Create the node `node() + entry->path` when missing, then write its
  // attributes in one transaction. Returns 0 on success; non-zero when the
  // node lies outside entry->base or the store refuses.
  int FillSwInfoNode(const tagnval* entry,
                     const std::string& source = kSwInfoSource);

  // Write `value` (Integer) to "<nodePath><leaf>/Value".
  int SetIntValue(const std::string& nodePath, const std::string& leaf,
                  int value, const std::string& source = kSwInfoSource);
  // Add `delta` to "<nodePath><leaf>/Value" atomically; `newValue` (may be
  // null) receives the result.
  int UpdateIntValue(const std::string& nodePath, const std::string& leaf,
                     int delta, int* newValue,
                     const std::string& source = kSwInfoSource);

 private:
  CCds* cds_;
  std::string node_;
};

}  // namespace toolkit

#endif  // PLATFORM_SWINFO_H_
