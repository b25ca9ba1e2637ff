// Shared plumbing of the cdsctl subcommands: the parsed invocation, exit
// codes, option parsing, opening the store and reporting failures.
//
// Every subcommand is a function `int Cmd...(const Invocation&)` returning
// the process exit code. Messages for people go to standard error, data to
// standard output, so that scripts can use the output as it is.

#ifndef TOOLS_CDSCTL_CLI_H_
#define TOOLS_CDSCTL_CLI_H_

#include <sys/time.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/types.h"

namespace cdsctl {

// Exit codes; scripts rely on them.
enum ExitCode : int {
  kExitOk = 0,
  kExitUsage = 1,    // bad command line or unreadable input file
  kExitNoStore = 2,  // the store (or a log file) cannot be opened
  kExitFailed = 3,   // the store refused the operation
};

struct Invocation {
  std::string store;               // path of the store file
  std::string source;              // change source "cdsctl:<user>@local"
  std::vector<std::string> args;   // arguments after the subcommand name
};

// Prints "cdsctl: <message>" and a hint to --help; returns kExitUsage.
int UsageError(const std::string& message);

// The status's name with what it means and what to do, for messages:
// "NO_NODE (no such node; 'cdsctl show PARENT --depth 1' lists ...)".
std::string StatusWords(api_status_t status);

// Prints "cdsctl: <what>: <status words>"; returns kExitFailed.
int Failed(const std::string& what, api_status_t status);

// Tells a person that a listing came out empty ("cdsctl: <what>: none")
// on standard error, so that standard output stays empty for scripts.
void ReportEmpty(const std::string& what);

// Prints "cdsctl: <message>"; returns kExitFailed.
int FailedMessage(const std::string& message);

// Opens the invocation's store. On failure prints why and returns null; the
// caller then exits with kExitNoStore.
std::unique_ptr<toolkit::CCds> OpenStore(const Invocation& invocation);

// Removes "--name VALUE" from `args` and stores VALUE. Returns false (with
// `error` set) when the option is given without a value; true otherwise,
// with `found` telling whether it was there.
bool TakeOption(std::vector<std::string>* args, const std::string& name,
                std::string* value, bool* found, std::string* error);

// Like TakeOption for a time as ParseTime reads it (--from, --to).
bool TakeTime(std::vector<std::string>* args, const std::string& name,
              bool* found, timeval* time, std::string* error);

// Removes the flag `name` from `args`; true when it was there.
bool TakeFlag(std::vector<std::string>* args, const std::string& name);

// Fails (false, `error` set) when an argument left after the options were
// taken looks like an option ("--..."), so typos are not taken for paths.
bool NoUnknownOptions(const std::vector<std::string>& args,
                      std::string* error);

// A whole decimal number (optional sign), false for anything else.
bool ParseNumber(const std::string& text, long long* value);

// Like TakeOption for a non-negative number, with `fallback` when absent.
// Returns false with `error` set when the value is missing or not a number.
bool TakeNumberOption(std::vector<std::string>* args, const std::string& name,
                      long long fallback, long long* value,
                      std::string* error);

// A qrx time (microseconds since 1970, UTC) as ISO 8601 text.
std::string FormatQrxTime(long long qrx_us);

// A time given on the command line: ISO 8601 UTC as cdsctl prints it
// ("2026-11-22T10:15:00.250000Z") or UNIX seconds with an optional
// fraction ("1700000000.5"). False for anything else.
bool ParseTime(const std::string& text, timeval* time);

// Reads a whole file into `text`; false when it cannot be read.
bool ReadFile(const std::string& path, std::string* text);

// Subcommands, grouped by the file that implements them.
// cmd_store.cc
int CmdCreate(const Invocation& invocation);
int CmdLoad(const Invocation& invocation);
int CmdExport(const Invocation& invocation);
// cmd_tree.cc
int CmdShow(const Invocation& invocation);
int CmdGet(const Invocation& invocation);
int CmdWriter(const Invocation& invocation);
int CmdTake(const Invocation& invocation);
int CmdSet(const Invocation& invocation);
int CmdAdd(const Invocation& invocation);
int CmdRemove(const Invocation& invocation);
int CmdClear(const Invocation& invocation);
// cmd_security.cc
int CmdUsers(const Invocation& invocation);
int CmdUser(const Invocation& invocation);
int CmdAnonymous(const Invocation& invocation);
int CmdRule(const Invocation& invocation);
int CmdRules(const Invocation& invocation);
// cmd_logs.cc
int CmdEvents(const Invocation& invocation);
int CmdWatchdogs(const Invocation& invocation);
int CmdSyslog(const Invocation& invocation);
// cmd_log_db.cc
int CmdLog(const Invocation& invocation);
// cmd_attributes.cc
int CmdAttributes(const Invocation& invocation);
// cmd_trend.cc
int CmdTrend(const Invocation& invocation);

}  // namespace cdsctl

#endif  // TOOLS_CDSCTL_CLI_H_
