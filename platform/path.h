// CPath: parsing, normalising and authorising CDS paths.
//
// Grammar (docs/platform.md has the long form):
//
//   path        = node-path [ ":" attribute [ sub ] ]
//               | node-path "/" attribute [ sub ]
//   node-path   = "/" | ( "/" name )+
//   name        = one or more characters other than "/", ":", control
//                 characters; not "." or "..", never beginning with "."
//   attribute   = well-known name (attributes.h) | "." name-chars
//               | any name after ":"
//   sub         = "." chars      e.g. ".Time", ".Source", ".AttribType"
//
// In the slash form the last component is an attribute only when it is a
// well-known attribute name, begins with ".", or is a well-known name
// followed by a sub-attribute ("Value.Time"). Otherwise it is a node, and the
// attribute is "Value". Node names may hold dots ("Meter.1"); a component
// that begins with a dot is a dotted attribute; after a dotted attribute the
// next "." starts the sub-attribute (".Quality.Time").
//
// Normalising removes repeated and trailing slashes and writes the path in
// its canonical form "<node>/<attribute><sub>"; "/A//B/" becomes "/A/B/Value".
// The root node is "/", so the root's Value is "/Value". An attribute that
// the slash form would read as a node (a stored name that is neither
// well-known nor dotted) is written in the colon form, "/A/B:MyAttribute",
// so that every canonical text parses back to the same leaf.

#ifndef PLATFORM_PATH_H_
#define PLATFORM_PATH_H_

#include <string>
#include <vector>

#include "platform/types.h"

namespace toolkit {

class CCds;

class CPath {
 public:
  CPath();
  explicit CPath(const std::string& path);
  explicit CPath(const char* path);  // nullptr gives an empty, invalid path

  // Parse the path given at construction (or by set()). Returns 0 when the
  // path is well formed, otherwise a non-zero reason (docs/platform.md):
  // 1 empty, 2 not absolute, 3 bad character, 4 "." or ".." component,
  // 5 bad attribute, 6 too long (the text or its canonical form over 1024
  // bytes).
  int normalize();
  void set(const std::string& path);   // replace the path; not yet normalised

  bool is_valid() const { return valid_; }
  const std::string& original() const { return original_; }

  // Canonical text "<node>/<attribute><sub>" ("" when invalid; colon form
  // as explained above).
  std::string getPath() const;
  // Node part: "/A/B" ("/" for the root).
  const std::string& getNodePath() const { return node_; }
  // Attribute name ("Value" when the path named only a node).
  const std::string& getPathAttribute() const { return attribute_; }
  // Sub-attribute including its dot (".Time"), "" when none.
  const std::string& getSubAttribute() const { return sub_; }
  // True when the path gave an attribute explicitly (slash or colon form).
  bool hasExplicitAttribute() const { return explicit_attribute_; }

  // The second path flag: set by normalize() for paths whose leaf the store
  // computes from the node itself (the virtual attributes Children,
  // Attributes, ChildCount, Name). A good read of such a path already proves
  // that the node exists, so callers skip their node-presence test.
  bool getSecondPathFlag() const { return second_flag_; }

  // Split the path text at its last "/" or ":": "/A/B/Value" gives parent
  // "/A/B" and last "Value"; "/A" gives "/" and "A"; "/" gives "/" and "".
  // Works on the text as given (normalised or not). Returns 0, or 1 when
  // there is nothing to split (empty text).
  static int LopLastSubpath(const std::string& path, std::string& parent,
                            std::string& last);
  int LopLastSubpath(std::string& parent, std::string& last) const;

  // Path of another attribute of this path's node: "<node>/<attribute>"
  // (colon form as above; "" when this path is invalid).
  std::string getNewPathStr(const std::string& attribute) const;
  // The same as a CPath, already normalised.
  CPath getNewPath(const std::string& attribute) const;

  // Full paths of the node's direct children, in the store's order.
  // Returns 0 on success (no children is success with an empty list).
  int getChildPaths(CCds& cds, std::vector<std::string>& children) const;
  static int getChildPaths(CCds& cds, const std::string& nodePath,
                           std::vector<std::string>& children);

  // Read a list attribute of the node at `path` ("Children", "Attributes",
  // "PossibleValues", ...) split at ";". Returns 0 on success.
  static int getAttributeList(const std::string& path, CCds& cds,
                              const std::string& attribute,
                              std::vector<std::string>& items);

  // Turn a node path into a single node name and back, so that a path can
  // name a child node (subscribed points, for example). The leading "/" is
  // dropped, "%" "." ":" and control characters are escaped as "%XX", and
  // every "/" becomes ".": "/Devices/Meter.1/Voltage" gives
  // "Devices.Meter%2E1.Voltage". A name never begins with ".": a leading "."
  // is written "%2F". The root "/" and texts that do not begin with "/" have
  // no name (""). DottedPathToNodePath undoes it exactly:
  // DottedPathToNodePath(PathToNodeName(p)) == p for every p that begins
  // with "/" and is longer than one character. DottedPathToNodePath("") and
  // malformed escapes give "".
  static std::string PathToNodeName(const std::string& path);
  static std::string DottedPathToNodePath(const std::string& name);

  // The name of the node a path names: the last component of its node
  // path ("/Devices/Meter1", "/Devices/Meter1/" and "/Devices/Meter1:Units"
  // give "Meter1"); "" for the root and for a path that does not parse. A
  // device's command area is named so ("/Software/Commands/Meter1").
  static std::string LastNodeName(const std::string& path);

  // True when `text` is a node path exactly as normalising writes it:
  // "/A/B", not "/A//B", "/A/B/", "/A:x" or "/A/Value" (an attribute of
  // /A). Callers that build a path from client texts check with it that
  // the texts named one node each and not some other node or attribute.
  static bool IsNodePath(const std::string& text);

  // Authorization of `user` (the anonymous role when empty) for this path.
  // The caller names the user: a web service passes the REMOTE_USER its web
  // server authenticated, a companion process the user it acts for. Roles
  // and access rules live in the store under "/Software/Security"
  // (security.h). An invalid path is never authorised.
  // is_admin_authorized asks whether the user may change the store's
  // structure at this path (create nodes, write any attribute through the
  // administration operations): an Administrator who passes the path's
  // Write rule.
  bool is_read_authorized(CCds& cds, const std::string& user) const;
  bool is_write_authorized(CCds& cds, const std::string& user) const;
  bool is_remove_authorized(CCds& cds, const std::string& user) const;
  bool is_admin_authorized(CCds& cds, const std::string& user) const;
  bool is_reset_authorized(CCds& cds, const std::string& user) const;

 private:
  std::string original_;
  std::string node_;
  std::string attribute_;
  std::string sub_;
  bool valid_;
  bool explicit_attribute_;
  bool second_flag_;
};

}  // namespace toolkit

#endif  // PLATFORM_PATH_H_
