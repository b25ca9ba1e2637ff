// Basic types shared by every part of the toolkit platform layer.
//
// The toolkit is the device's platform library: the data store (CDS), paths,
// typed values, events, the system log and the time base. These enums are
// stored on disk and travel between processes, so their numeric values are
// part of the store format and must never be renumbered.

#ifndef PLATFORM_TYPES_H_
#define PLATFORM_TYPES_H_

#include <cstdint>

// Data type of a leaf value.
enum data_type_t : int {
  PCD_TYPE_NONE = 0,      // no value (collections, not-yet-typed leaves)
  PCD_TYPE_BOOL = 1,      // "Boolean"
  PCD_TYPE_UINT = 2,      // "Unsigned": 32-bit unsigned integer (counters)
  PCD_TYPE_INT = 3,       // "Integer": 32-bit signed integer (multistates)
  PCD_TYPE_REAL = 4,      // "Real": IEEE double
  // 5 is reserved.
  PCD_TYPE_STRING = 6,    // "String": UTF-8 text
  // 7 is never stored: attribute tables use it to mean "the type of the
  // node's Value" (see attributes.h, kTypeOfNodeValue).
  PCD_TYPE_TIMEVAL = 8,   // "timeval": seconds and microseconds since 1970
};

// How a leaf came to hold its value; reported with every read and shown by
// the ".Source" sub-attribute.
enum element_property_t : int {
  PCD_PROP_NORMAL = 0,      // "Normal": written at run time, volatile
  PCD_PROP_PERSISTENT = 1,  // "Persistent": kept as configuration
  PCD_PROP_AUTOMATIC = 2,   // "Automatic": maintained by the platform
  PCD_PROP_MPL = 3,         // "MPL": set by the manufacturer's product line
};

// Per-path outcome of a store call. A call's return value says whether the
// call as a whole ran (0) or failed (non-zero); the status says what
// happened to each path.
enum api_status_t : int {
  API_STATUS_UNKNOWN = 0,      // not attempted
  API_STATUS_OK = 1,           // good leaf / done
  API_STATUS_NO_NODE = 2,      // the node does not exist
  API_STATUS_NO_ATTRIBUTE = 3, // the node exists, the attribute does not
  API_STATUS_NOT_TYPED = 4,    // the leaf exists but holds no value
  API_STATUS_BAD_PATH = 5,     // the store refuses the path (malformed)
  API_STATUS_READ_ONLY = 6,    // the handle or store is read-only
  API_STATUS_TYPE_MISMATCH = 7,// the value cannot be stored as that type
  API_STATUS_BUSY = 8,         // the store stayed locked past the time-out
  API_STATUS_IO_ERROR = 9,     // the database reported an error
  API_STATUS_EXISTS = 10,      // add_node: the node already exists
  API_STATUS_NOT_OPEN = 11,    // no store connection
  API_STATUS_ROLLED_BACK = 12, // set_leaves: not written, another leaf failed
  API_STATUS_READ_ONLY_LEAF = 13, // automatic/virtual leaf: never written
};

// Three-valued flag; used for the persistence flag of writes.
enum pcd_tribool_t : int {
  PCD_TRIBOOL_UNKNOWN = 0,  // keep whatever the leaf has
  PCD_TRIBOOL_TRUE = 1,
  PCD_TRIBOOL_FALSE = 2,
};

// Options of a leaf write (CCds::set_leaf), or-ed together.
enum pcd_write_option_t : unsigned {
  PCD_WRITE_DEFAULT = 0,
  // Create the leaf's node when it is missing and its parent's
  // HasDynamicChildren is true, in the same transaction as the write: an
  // entry of a queue appears with its value or not at all. Only the node
  // itself is created; a missing parent, or one whose children are not
  // dynamic, still gives API_STATUS_NO_NODE.
  PCD_WRITE_CREATE_DYNAMIC_NODE = 1u << 0,
};

// Opaque connection to the store, obtained from pcd_init().
typedef struct pcd_connection* pcd_handle_t;

// Text name of a status, for logs and tools ("OK", "NO_NODE", ...).
const char* pcd_status_name(api_status_t status);

#endif  // PLATFORM_TYPES_H_
