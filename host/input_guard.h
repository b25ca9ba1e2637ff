// A guard on the request body before the engine parses it.
//
// The engine's own limits (engine_setup.h) bound the message size, the
// nesting depth, the length of one text and the items of one list, but not
// what costs it more than linear time: it keeps the attributes of an
// element in a list that it searches for every new one (100,000 attributes
// on one element held the daemon 43 s), and it looks every prefix up in a
// list of all namespace declarations in force. The guard scans the bytes
// on their way to the engine and stops the message once an element has
// more attributes, or the message more namespace declarations, than any
// client sends; the engine then sees the message end and the daemon
// answers 400 with the reason.
//
// The scanner knows just enough XML to find start tags and their
// attributes: comments, processing instructions, CDATA sections and
// declarations are skipped, quoted attribute values may hold anything.

#ifndef HOST_INPUT_GUARD_H_
#define HOST_INPUT_GUARD_H_

#include <cstddef>
#include <string>

namespace wsgated {

struct InputLimits {
  int attributesPerElement = 32;    // namespace declarations included
  int namespaceDeclarations = 256;  // in the whole message
};

class InputGuard {
 public:
  explicit InputGuard(InputLimits limits = InputLimits());

  // Start a new message.
  void reset();

  // Look at the next `length` bytes of the message: returns how many of
  // them may go to the engine, all of them or, once a limit is passed,
  // only those before the attribute that passed it. After a refusal
  // nothing more is admitted.
  size_t admit(const char* data, size_t length);

  bool refused() const { return !refusal_.empty(); }
  // Why the message was stopped ("" while it was not).
  const std::string& refusal() const { return refusal_; }
  // Attributes admitted in this message so far (tests count with it).
  long long attributesAdmitted() const { return attributes_; }

 private:
  enum class State {
    kText,
    kMarkup,       // just after "<"
    kTagName,      // in the name of a start tag
    kInTag,        // between attributes
    kAttributeName,
    kAfterName,    // after an attribute's name, before "="
    kBeforeValue,  // after "="
    kValue,        // in a quoted value
    kSkip,         // end tag, comment, declaration or instruction
  };

  // One byte; false when it passes a limit.
  bool step(char c);
  bool startAttribute();
  // Skip markup up to `end` ("" while the next byte has to decide).
  void beginSkip(const char* end);

  InputLimits limits_;
  State state_ = State::kText;
  char quote_ = 0;
  std::string skipEnd_;   // what ends the markup being skipped
  std::string recent_;    // the last bytes, to find skipEnd_
  std::string name_;      // the attribute name so far (first 6 bytes)
  int elementAttributes_ = 0;
  int declarations_ = 0;
  long long attributes_ = 0;
  std::string refusal_;
};

}  // namespace wsgated

#endif  // HOST_INPUT_GUARD_H_
