// The header convention; see header_parse.h.

#include "platform/comtrade/header_parse.h"

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/guard.h"
#include "platform/comtrade/number.h"
#include "platform/comtrade/text.h"

namespace toolkit {
namespace comtrade {

namespace {

enum class Key { kNone, kEvent, kTriggerChannel, kTriggerIndex };

// The key of a "Key: value" line and its value.
Key LineKey(std::string_view line, std::string_view* value) {
  const size_t colon = line.find(':');
  if (colon == std::string_view::npos) return Key::kNone;
  const std::string_view key = Trim(line.substr(0, colon));
  *value = Trim(line.substr(colon + 1));
  if (EqualsIgnoreCase(key, "Event")) return Key::kEvent;
  if (EqualsIgnoreCase(key, "Trigger channel")) return Key::kTriggerChannel;
  if (EqualsIgnoreCase(key, "Trigger index")) return Key::kTriggerIndex;
  return Key::kNone;
}

int ReadKeyedLines(std::string_view text, HeaderInfo* info,
                   std::string* why) {
  bool have_event = false, have_channel = false;
  std::string first_free_line;
  LineReader lines(text);
  std::string_view line, value;
  while (lines.Next(&line)) {
    line = Trim(line);
    if (line.empty()) continue;
    switch (LineKey(line, &value)) {
      case Key::kEvent:
        if (!have_event) info->event = std::string(value);
        have_event = true;
        break;
      case Key::kTriggerChannel:
        if (!have_channel) info->trigger_channel = std::string(value);
        have_channel = true;
        break;
      case Key::kTriggerIndex:
        if (info->has_trigger_index) break;
        if (!ParseInteger(value, &info->trigger_index) ||
            info->trigger_index < 0) {
          if (why != nullptr) *why = "header: trigger index is not a count";
          return COMTRADE_ERR_SYNTAX;
        }
        info->has_trigger_index = true;
        break;
      case Key::kNone:
        if (first_free_line.empty()) first_free_line = std::string(line);
        break;
    }
  }
  if (!have_event) info->event = first_free_line;
  return COMTRADE_OK;
}

}  // namespace

int ParseHeader(std::string_view text, HeaderInfo* info, std::string* why) {
  *info = HeaderInfo();
  return NoThrow(why, [&] { return ReadKeyedLines(text, info, why); });
}

}  // namespace comtrade
}  // namespace toolkit
