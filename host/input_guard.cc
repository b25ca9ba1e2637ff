// The request body's guard (input_guard.h).

#include "host/input_guard.h"

namespace wsgated {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

InputGuard::InputGuard(InputLimits limits) : limits_(limits) {}

void InputGuard::reset() { *this = InputGuard(limits_); }

size_t InputGuard::admit(const char* data, size_t length) {
  if (refused()) return 0;
  for (size_t i = 0; i < length; ++i) {
    if (!step(data[i])) return i;
  }
  return length;
}

void InputGuard::beginSkip(const char* end) {
  skipEnd_ = end;
  recent_.clear();
  state_ = State::kSkip;
}

bool InputGuard::startAttribute() {
  ++attributes_;
  if (++elementAttributes_ > limits_.attributesPerElement) {
    refusal_ = "an element has more than " +
               std::to_string(limits_.attributesPerElement) + " attributes";
    --attributes_;
    return false;
  }
  return true;
}

bool InputGuard::step(char c) {
  switch (state_) {
    case State::kText:
      if (c == '<') state_ = State::kMarkup;
      return true;
    case State::kMarkup:
      if (c == '/' || c == '?') {
        beginSkip(c == '?' ? "?>" : ">");
      } else if (c == '!') {
        beginSkip("");  // decided by the next byte
      } else {
        state_ = State::kTagName;
        elementAttributes_ = 0;
      }
      return true;
    case State::kTagName:
      if (c == '>') state_ = State::kText;
      else if (isSpace(c)) state_ = State::kInTag;
      return true;
    case State::kInTag:
      if (c == '>') {
        state_ = State::kText;
      } else if (!isSpace(c) && c != '/') {
        name_.assign(1, c);
        state_ = State::kAttributeName;
        return startAttribute();
      }
      return true;
    case State::kAttributeName:
      if (c == '=' || isSpace(c)) {
        if (name_ == "xmlns" || name_.compare(0, 6, "xmlns:") == 0) {
          if (++declarations_ > limits_.namespaceDeclarations) {
            refusal_ = "the message declares more than " +
                       std::to_string(limits_.namespaceDeclarations) +
                       " namespaces";
            return false;
          }
        }
        state_ = c == '=' ? State::kBeforeValue : State::kAfterName;
      } else if (c == '>') {
        state_ = State::kText;
      } else if (name_.size() < 6) {
        name_ += c;
      }
      return true;
    case State::kAfterName:
      if (c == '=') state_ = State::kBeforeValue;
      else if (c == '>') state_ = State::kText;
      return true;
    case State::kBeforeValue:
      if (c == '"' || c == '\'') {
        quote_ = c;
        state_ = State::kValue;
      } else if (c == '>') {
        state_ = State::kText;
      }
      return true;
    case State::kValue:
      if (c == quote_) state_ = State::kInTag;
      return true;
    case State::kSkip:
      if (skipEnd_.empty()) {
        // "<!-" begins a comment, "<![" a CDATA section, anything else a
        // declaration.
        skipEnd_ = c == '-' ? "-->" : c == '[' ? "]]>" : ">";
        return true;
      }
      recent_ += c;
      if (recent_.size() > skipEnd_.size()) recent_.erase(0, 1);
      if (recent_ == skipEnd_) state_ = State::kText;
      return true;
  }
  return true;
}

}  // namespace wsgated
