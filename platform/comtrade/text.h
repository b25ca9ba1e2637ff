// Text helpers of the COMTRADE reader: decoding the text files of a record
// (configuration, header, information) into UTF-8, and walking lines and
// comma-separated fields without copying.
//
// Recorders write these files in plain ASCII, in UTF-8 or in ISO 8859-1,
// with CR/LF or LF line ends, and some old ones end them with a DOS
// end-of-file character (0x1A). Decoding decides per file: text that is
// valid UTF-8 stays as it is; anything else is read as ISO 8859-1, where
// every byte is a character, and converted to UTF-8.

#ifndef PLATFORM_COMTRADE_TEXT_H_
#define PLATFORM_COMTRADE_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace toolkit {
namespace comtrade {

// True when `bytes` is well-formed UTF-8 (no overlong forms, surrogates or
// code points above U+10FFFF).
bool IsValidUtf8(std::string_view bytes);

// The text of a file as UTF-8 with "\n" line ends: a leading UTF-8 byte
// order mark is dropped, everything from the first 0x1A on is ignored, CR/LF
// and lone CR become LF, and control characters other than tab and line
// ends become '?' (they have no place in these files and would make the
// text unusable in an XML answer).
std::string DecodeText(std::string_view bytes);

// `text` without blanks (space, tab, CR) at either end.
std::string_view Trim(std::string_view text);

// True when `text` holds nothing but blanks and line ends.
bool IsBlank(std::string_view text);

// Case-insensitive ASCII comparison.
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// Walks the lines of a text. A line ends at LF, CR/LF or a lone CR; the
// returned line holds no line end. Counts lines from 1 for messages.
class LineReader {
 public:
  explicit LineReader(std::string_view text) : rest_(text) {}

  // Stores the next line in *line and returns true, or returns false at the
  // end of the text. A final line without a line end is still a line.
  bool Next(std::string_view* line);
  int line_number() const { return line_number_; }
  // What follows the last line returned.
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
  int line_number_ = 0;
};

// Walks the comma-separated fields of one line; each field is trimmed of
// blanks. A line of n commas has n + 1 fields; an empty line has one empty
// field.
class FieldReader {
 public:
  explicit FieldReader(std::string_view line) : rest_(line) {}

  // Stores the next field in *field and returns true, or returns false when
  // all fields have been read.
  bool Next(std::string_view* field);
  bool AtEnd() const { return done_; }

 private:
  std::string_view rest_;
  bool done_ = false;
};

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_TEXT_H_
