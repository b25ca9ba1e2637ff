// The `attributes` subcommand: the table of well-known attributes, as text
// for people or as a Markdown table for the documentation (so that the
// documentation is generated from the code and cannot drift from it).

#include <cstdio>
#include <string>

#include "platform/attributes.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

std::string TypeText(int type) {
  if (type == kTypeOfNodeValue) return "(Value's)";
  if (type == PCD_TYPE_NONE) return "any";
  const char* name = pcd_enum_to_str(type);
  return name != nullptr ? name : "?";
}

std::string FlagText(unsigned flags) {
  static const struct {
    unsigned bit;
    const char* name;
  } kFlags[] = {
      {PCD_AF_VIRTUAL, "virtual"},
      {PCD_AF_AUTOMATIC, "automatic"},
      {PCD_AF_OPERATOR_WRITABLE, "operator-writable"},
      {PCD_AF_CLEARED_BY_PLATFORM, "cleared-by-platform"},
      {PCD_AF_TRANSLATABLE, "translatable"},
      {PCD_AF_EVENT_TEXT, "event-text"},
      {PCD_AF_ARRAY, "array"},
  };
  std::string text;
  for (const auto& flag : kFlags) {
    if ((flags & flag.bit) == 0) continue;
    if (!text.empty()) text += ",";
    text += flag.name;
  }
  return text.empty() ? "-" : text;
}

}  // namespace

int CmdAttributes(const Invocation& invocation) {
  std::vector<std::string> args = invocation.args;
  bool markdown = TakeFlag(&args, "--markdown");
  if (!args.empty()) return UsageError("attributes takes only --markdown");
  if (markdown) {
    std::printf("| Code | Name | Default type | Flags | Meaning |\n");
    std::printf("|---:|---|---|---|---|\n");
  } else {
    std::printf("%4s  %-20s %-10s %-30s %s\n", "CODE", "NAME", "TYPE",
                "FLAGS", "MEANING");
  }
  for (int code = 0; code < PCD_ATTR_COUNT; ++code) {
    const AttributeInfo* info = pcd_attr_info(code);
    if (info == nullptr) continue;
    std::string type = TypeText(info->default_type);
    std::string flags = FlagText(info->flags);
    if (markdown) {
      std::printf("| %d | `%s` | %s | %s | %s |\n", code, info->name,
                  type.c_str(), flags.c_str(), info->meaning);
    } else {
      std::printf("%4d  %-20s %-10s %-30s %s\n", code, info->name,
                  type.c_str(), flags.c_str(), info->meaning);
    }
  }
  return kExitOk;
}

}  // namespace cdsctl
