// Text decoding and line/field walking; see text.h.

#include "platform/comtrade/text.h"

namespace toolkit {
namespace comtrade {

namespace {

constexpr char kEndOfFile = 0x1A;

// Length of the UTF-8 sequence that starts at bytes[i], 0 when it is not a
// well-formed sequence.
size_t Utf8SequenceLength(std::string_view bytes, size_t i) {
  const auto byte = [&](size_t k) {
    return static_cast<unsigned char>(bytes[k]);
  };
  const unsigned char lead = byte(i);
  if (lead < 0x80) return 1;
  size_t length;
  unsigned char low = 0x80, high = 0xBF;  // range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // overlong
    if (lead == 0xED) high = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // overlong
    if (lead == 0xF4) high = 0x8F;  // above U+10FFFF
  } else {
    return 0;
  }
  if (bytes.size() - i < length) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (size_t k = 2; k < length; ++k) {
    if (byte(i + k) < 0x80 || byte(i + k) > 0xBF) return 0;
  }
  return length;
}

void AppendLatin1(unsigned char c, std::string* out) {
  if (c < 0x80) {
    out->push_back(static_cast<char>(c));
  } else {
    out->push_back(static_cast<char>(0xC0 | (c >> 6)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

bool IsBlankChar(char c) { return c == ' ' || c == '\t' || c == '\r'; }

}  // namespace

bool IsValidUtf8(std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    const size_t length = Utf8SequenceLength(bytes, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

std::string DecodeText(std::string_view bytes) {
  const size_t eof = bytes.find(kEndOfFile);
  if (eof != std::string_view::npos) bytes = bytes.substr(0, eof);
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  const bool utf8 = IsValidUtf8(bytes);
  std::string out;
  out.reserve(bytes.size() + (utf8 ? 0 : bytes.size() / 8));
  for (size_t i = 0; i < bytes.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(bytes[i]);
    if (c == '\r') {
      out.push_back('\n');
      if (i + 1 < bytes.size() && bytes[i + 1] == '\n') ++i;
    } else if ((c < 0x20 && c != '\t' && c != '\n') || c == 0x7F) {
      out.push_back('?');
    } else if (utf8) {
      out.push_back(static_cast<char>(c));
    } else {
      AppendLatin1(c, &out);
    }
  }
  return out;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlankChar(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlankChar(text.back())) text.remove_suffix(1);
  return text;
}

bool IsBlank(std::string_view text) {
  for (char c : text) {
    if (!IsBlankChar(c) && c != '\n') return false;
  }
  return true;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
    if (x != y) return false;
  }
  return true;
}

// Plain loops rather than find_first_of(): the latter calls memchr() on
// its set for every character, which made line splitting the largest cost
// of reading ASCII data.
bool LineReader::Next(std::string_view* line) {
  if (rest_.empty()) return false;
  ++line_number_;
  size_t end = 0;
  while (end < rest_.size() && rest_[end] != '\n' && rest_[end] != '\r') ++end;
  *line = rest_.substr(0, end);
  if (end == rest_.size()) {
    rest_ = std::string_view();
    return true;
  }
  size_t skip = 1;
  if (rest_[end] == '\r' && end + 1 < rest_.size() && rest_[end + 1] == '\n') {
    skip = 2;
  }
  rest_.remove_prefix(end + skip);
  return true;
}

bool FieldReader::Next(std::string_view* field) {
  if (done_) return false;
  size_t comma = 0;
  while (comma < rest_.size() && rest_[comma] != ',') ++comma;
  *field = Trim(rest_.substr(0, comma));
  if (comma == rest_.size()) {
    done_ = true;
  } else {
    rest_.remove_prefix(comma + 1);
  }
  return true;
}

}  // namespace comtrade
}  // namespace toolkit
