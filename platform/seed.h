// Seed files: a readable text form of a store's contents.
//
//   # comment
//   [/Devices/Meter1/VoltageL1N]          a node (created with ancestors)
//   NodeType = Point                     attribute = value
//   ValueType = Real
//   Value = 230.4
//   Value@persistent = 230.4             property: normal, persistent,
//                                        automatic, mpl
//   .HighAlarmLimit:Real = 253           explicit type (a human type name)
//   Description = Line 1\nto neutral     escapes: \n \t \\ and \s (a blank
//                                        at either end of a value)
//
// The type of an attribute without ":Type" is: for Value, the type named by
// the node's ValueType (set before Value in the section; Multistate gives
// Integer); for a well-known attribute, its default type; otherwise String.
// Blanks around "=" and at the ends of lines are ignored.

#ifndef PLATFORM_SEED_H_
#define PLATFORM_SEED_H_

#include <ostream>
#include <string>

#include "platform/types.h"

namespace toolkit {

class CCds;

// Load seed text into the store in one transaction (all or nothing).
// Returns 0 on success; otherwise non-zero with `error` as
// "<line>: <reason>".
int cds_load_seed(CCds& cds, const std::string& text, std::string& error);

// The keyword of a property in seed text ("normal", "persistent",
// "automatic", "mpl"); tools show properties with the same words.
const char* seed_property_keyword(element_property_t property);

// Write the subtree at `nodePath` in seed form (loadable again).
int cds_dump_seed(CCds& cds, const std::string& nodePath, std::ostream& out);

}  // namespace toolkit

#endif  // PLATFORM_SEED_H_
