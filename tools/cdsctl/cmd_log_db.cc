// The `log` subcommands, on the log databases (the alarm/event, system and
// Delta logs, platform/log.h) rather than the store:
//   log show FILE [--path P] [--from T] [--to T] [--max N] [--latest]
//                 [--reverse] [--serialized]
//   log create FILE [--cap N] [--page-size BYTES]
//   log append FILE [INPUT]
//
// Records are shown, and read by append, one per line as tab-separated
// fields TIME KIND PATH TYPE VALUE SEQ ID DESCRIPTION, so that what show
// prints can be appended again; tabs, newlines and backslashes inside a
// field are written \t, \n and \\. This form carries what people look at;
// CEvent's serialized form (show --serialized, and any input line that
// begins with "ev=") carries every field.

#include <sys/stat.h>

#include <iostream>
#include <sstream>

#include "platform/attributes.h"
#include "platform/event.h"
#include "platform/log.h"
#include "platform/qrxtime.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

using toolkit::CEvent;

std::string Escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\t')
      out += "\\t";
    else if (c == '\n')
      out += "\\n";
    else if (c == '\\')
      out += "\\\\";
    else
      out += c;
  }
  return out;
}

std::string Unescape(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (text[i] != '\\' || (next != 't' && next != 'n' && next != '\\')) {
      out += text[i];
      continue;
    }
    out += next == 't' ? '\t' : next == 'n' ? '\n' : '\\';
    ++i;
  }
  return out;
}

std::string RecordLine(const CEvent& record) {
  const char* type = pcd_enum_to_str(record.value.get_type());
  std::ostringstream line;
  line << FormatQrxTime(qrx_UNIXtoQRXtime64(&record.time)) << "\t"
       << record.kind << "\t" << Escape(record.source_path) << "\t"
       << (type != nullptr ? type : "?") << "\t"
       << Escape(record.value.to_string()) << "\t" << record.sequence_index
       << "\t" << record.event_id << "\t" << Escape(record.description);
  return line.str();
}

// A type name as `set --type` takes it, or "None".
bool ParseType(const std::string& name, data_type_t* type) {
  if (name == "None") {
    *type = PCD_TYPE_NONE;
    return true;
  }
  *type = static_cast<data_type_t>(name == "Multistate"
                                       ? PCD_TYPE_INT
                                       : pcd_human_str_to_enum(name.c_str()));
  return *type != PCD_TYPE_NONE;
}

// One line of the tab-separated form; `error` says what is wrong.
bool ParseFields(const std::string& line, CEvent* record, std::string* error) {
  std::vector<std::string> fields;
  std::istringstream in(line);
  for (std::string field; std::getline(in, field, '\t');) {
    fields.push_back(Unescape(field));
  }
  long long kind = 0, seq = 0, id = 0;
  data_type_t type = PCD_TYPE_NONE;
  if (fields.size() < 5 || fields.size() > 8) {
    *error = "expected TIME KIND PATH TYPE VALUE [SEQ [ID [DESCRIPTION]]]";
  } else if (!ParseTime(fields[0], &record->time)) {
    *error = "bad time '" + fields[0] + "'";
  } else if (!ParseNumber(fields[1], &kind) || kind < INT32_MIN ||
             kind > INT32_MAX) {
    *error = "bad kind '" + fields[1] + "'";
  } else if (!ParseType(fields[3], &type)) {
    *error = "unknown type '" + fields[3] + "'";
  } else if (fields.size() > 5 &&
             (!ParseNumber(fields[5], &seq) || seq < 0 || seq > UINT32_MAX)) {
    *error = "bad sequence index '" + fields[5] + "'";
  } else if (fields.size() > 6 && (!ParseNumber(fields[6], &id) || id < 0)) {
    *error = "bad id '" + fields[6] + "'";
  }
  if (!error->empty()) return false;
  record->value = toolkit::CElement(fields[4]);
  if (record->value.convert_type(type) != 0 ||
      (type == PCD_TYPE_NONE && !fields[4].empty())) {
    *error = "cannot read '" + fields[4] + "' as " + fields[3];
    return false;
  }
  record->kind = static_cast<int32_t>(kind);
  record->source_path = fields[2];
  record->value.set_time(record->time);
  record->sequence_index = static_cast<uint32_t>(seq);
  record->event_id = static_cast<uint64_t>(id);
  if (fields.size() > 7) record->description = fields[7];
  return true;
}

// Reads every record of `text`; on the first bad line returns false with
// `error` naming it. Blank lines and lines beginning with '#' are skipped.
bool ParseRecords(const std::string& text, const std::string& name,
                  std::vector<CEvent>* records, std::string* error) {
  std::istringstream in(text);
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    CEvent record;
    std::string reason;
    bool ok;
    if (line.compare(0, 3, "ev=") == 0) {
      ok = record.deserialize(line);
      if (!ok) reason = "malformed serialized event";
    } else {
      ok = ParseFields(line, &record, &reason);
    }
    if (!ok) {
      *error = name + ":" + std::to_string(number) + ": " + reason;
      return false;
    }
    records->push_back(record);
  }
  return true;
}

int LogFailed(const std::string& what, int status) {
  return FailedMessage(what + ": " + pcd_log_status_name(status));
}

struct ShowOptions {
  std::string path;
  bool has_from = false, has_to = false;
  timeval from, to;
  long long max = 0;
  bool latest = false, reverse = false, serialized = false;
};

int LogShow(std::vector<std::string> args) {
  ShowOptions o;
  std::string error;
  bool found = false;
  o.latest = TakeFlag(&args, "--latest");
  o.reverse = TakeFlag(&args, "--reverse");
  o.serialized = TakeFlag(&args, "--serialized");
  if (!TakeOption(&args, "--path", &o.path, &found, &error) ||
      !TakeTime(&args, "--from", &o.has_from, &o.from, &error) ||
      !TakeTime(&args, "--to", &o.has_to, &o.to, &error) ||
      !TakeNumberOption(&args, "--max", 0, &o.max, &error) ||
      !NoUnknownOptions(args, &error)) {
    return UsageError(error);
  }
  if (args.size() != 1) return UsageError("log show needs one log file");
  // Patient (fail_fast 0): a person at a terminal has no retry rule.
  pcd_log_handle_t log = nullptr;
  int status = pcd_log_init(args[0].c_str(), 0, 0, 0, 1, 0, 0, 0, 0, &log);
  if (status != 0) {
    LogFailed("cannot open log " + args[0], status);
    return kExitNoStore;
  }
  std::vector<CEvent> records;
  status = toolkit::CLog(log).retrieve(
      records, o.path.c_str(), o.has_from ? &o.from : nullptr,
      o.has_to ? &o.to : nullptr, static_cast<int>(o.max), o.latest, o.reverse,
      0);
  pcd_log_close(log);
  if (status != 0) return LogFailed("log show " + args[0], status);
  for (const CEvent& record : records) {
    std::cout << (o.serialized ? record.serialize() : RecordLine(record))
              << "\n";
  }
  return kExitOk;
}

int LogCreate(std::vector<std::string> args) {
  pcd_log_writer_settings settings{0, 0, 0, 0};
  long long page_size = 0;
  std::string error;
  if (!TakeNumberOption(&args, "--cap", 0, &settings.row_cap, &error) ||
      !TakeNumberOption(&args, "--page-size", 0, &page_size, &error) ||
      !NoUnknownOptions(args, &error)) {
    return UsageError(error);
  }
  if (args.size() != 1) return UsageError("log create needs one log file");
  if (page_size > 65536) return UsageError("page size over 65536 bytes");
  settings.page_size = static_cast<int>(page_size);
  struct stat info;
  if (stat(args[0].c_str(), &info) == 0) {
    return FailedMessage("log create " + args[0] + ": the file exists");
  }
  pcd_log_writer_t writer = nullptr;
  const int status = pcd_log_open_writer(args[0].c_str(), &settings, &writer);
  pcd_log_close_writer(writer);
  return status == 0 ? kExitOk : LogFailed("log create " + args[0], status);
}

int LogAppend(std::vector<std::string> args) {
  std::string error;
  if (!NoUnknownOptions(args, &error)) return UsageError(error);
  if (args.empty() || args.size() > 2) {
    return UsageError("log append needs a log file and at most one input");
  }
  const std::string input = args.size() == 2 ? args[1] : "-";
  std::string text;
  if (input == "-") {
    std::ostringstream all;
    all << std::cin.rdbuf();
    text = all.str();
  } else if (!ReadFile(input, &text)) {
    return UsageError("cannot read input file " + input);
  }
  std::vector<CEvent> records;
  if (!ParseRecords(text, input, &records, &error)) return UsageError(error);
  // A missing log is a mistake here, as a missing store is for the tree.
  pcd_log_handle_t probe = nullptr;
  int status = pcd_log_init(args[0].c_str(), 0, 0, 0, 1, 0, 0, 0, 0, &probe);
  pcd_log_close(probe);
  if (status != 0) {
    LogFailed("cannot open log " + args[0], status);
    return kExitNoStore;
  }
  pcd_log_writer_t writer = nullptr;
  status = pcd_log_open_writer(args[0].c_str(), nullptr, &writer);
  if (status == 0) status = pcd_log_append(writer, records);
  pcd_log_close_writer(writer);
  return status == 0 ? kExitOk : LogFailed("log append " + args[0], status);
}

}  // namespace

int CmdLog(const Invocation& invocation) {
  std::vector<std::string> args = invocation.args;
  if (args.empty()) return UsageError("log needs show, create or append");
  const std::string verb = args[0];
  args.erase(args.begin());
  if (verb == "show") return LogShow(args);
  if (verb == "create") return LogCreate(args);
  if (verb == "append") return LogAppend(args);
  return UsageError("unknown log command '" + verb + "'");
}

}  // namespace cdsctl
