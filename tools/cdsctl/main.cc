// cdsctl: command-line client of the device's data store.
//
// Parses the global options, picks the store and the change source, and
// hands the rest of the command line to one subcommand.

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>

#include "platform/cds.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

const char kUsage[] =
    "usage: cdsctl [--store PATH] COMMAND [ARGS]\n"
    "       cdsctl [COMMAND] --help | --version\n"
    "\n"
    "The store is PATH, else $TOOLKIT_CDS_PATH, else /var/lib/toolkit/cds.db.\n"
    "\n"
    "Store:\n"
    "  create [--replace] [SEED...]   make a new store, then load seed files\n"
    "  load SEED                      load a seed file (all or nothing)\n"
    "  export [PATH]                  write the subtree as seed text\n"
    "Tree:\n"
    "  show [PATH] [--depth N]        nodes with their attributes\n"
    "  get PATH...                    read leaves (one path: the value only)\n"
    "  writer PATH                    the change source that last wrote a leaf\n"
    "  take PATH [--count N]          take N numbers from a counter leaf (each\n"
    "                                 read and incremented in one transaction)\n"
    "  set PATH VALUE [--type T] [--persist] [--time TIME]\n"
    "                                 write a leaf; the text is converted to\n"
    "                                 the leaf's type, or to T; stamped TIME\n"
    "                                 (ISO 8601 UTC or UNIX seconds), else now\n"
    "  add PATH                       create a node and its ancestors\n"
    "  remove PATH                    remove a node and everything below it\n"
    "  clear PATH                     remove one attribute of a node\n"
    "Security:\n"
    "  users                          users, their roles, the anonymous role\n"
    "  user set NAME ROLE             ROLE: None Viewer Operator Administrator\n"
    "  user remove NAME\n"
    "  anonymous ROLE                 role of callers without a user name\n"
    "  rules                          access rules: name, path, read and\n"
    "                                 write roles\n"
    "  rule set NAME PATH READROLE WRITEROLE\n"
    "  rule remove NAME\n"
    "Logs:\n"
    "  events [--after ID] [--max N]  the event queue\n"
    "  watchdogs                      registered software watchdogs\n"
    "  syslog [--max N]               the store's system event log\n"
    "Log files (alarm/event, system and Delta logs; not the store):\n"
    "  log show FILE [--path P] [--from TIME] [--to TIME] [--max N]\n"
    "           [--latest] [--reverse] [--serialized]\n"
    "                                 records oldest first, tab-separated:\n"
    "                                 TIME KIND PATH TYPE VALUE SEQ ID DESC\n"
    "  log create FILE [--cap N] [--page-size BYTES]\n"
    "  log append FILE [INPUT]        records from INPUT (default stdin) in\n"
    "                                 the show form or serialized, one batch\n"
    "  attributes [--markdown]        the table of well-known attributes\n"
    "Trend logs (interval trends, the trend recorder's file):\n"
    "  trend show FILE [--last N]     periods, devices with their parameters,\n"
    "                                 each device's last N snapshots (3)\n"
    "  trend chart FILE DEVICE [--period S] [--point PATH]... [--value V]\n"
    "           [--from TIME] [--to TIME] [--max N] [--width W] [--height H]\n"
    "                                 the device's trend as an SVG chart on\n"
    "                                 standard output: V (min, max, avg,\n"
    "                                 actual; avg) of each parameter (all),\n"
    "                                 per period S (the shortest), the\n"
    "                                 newest N snapshots (2000)\n"
    "\n"
    "Exit status: 0 done, 1 bad usage, 2 store or log cannot be opened,\n"
    "3 operation failed. More in 'man cdsctl'.\n";

struct Command {
  const char* name;
  int (*run)(const Invocation&);
};

const Command kCommands[] = {
    {"create", CmdCreate},       {"load", CmdLoad},
    {"export", CmdExport},       {"show", CmdShow},
    {"get", CmdGet},             {"writer", CmdWriter},
    {"take", CmdTake},           {"set", CmdSet},
    {"add", CmdAdd},             {"remove", CmdRemove},
    {"clear", CmdClear},         {"users", CmdUsers},
    {"user", CmdUser},           {"anonymous", CmdAnonymous},
    {"rule", CmdRule},           {"rules", CmdRules},
    {"events", CmdEvents},
    {"watchdogs", CmdWatchdogs}, {"syslog", CmdSyslog},
    {"attributes", CmdAttributes}, {"log", CmdLog},
    {"trend", CmdTrend},
};

bool IsHelp(const std::string& arg) { return arg == "-h" || arg == "--help"; }

const Command* FindCommand(const std::string& name) {
  for (const Command& command : kCommands) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

// The usage entries of one command: its lines of kUsage (two blanks, then
// the command's name) with their continuation lines (more blanks).
std::string CommandUsage(const std::string& name) {
  std::istringstream lines(kUsage);
  std::string line, found;
  bool inEntry = false;
  while (std::getline(lines, line)) {
    if (line.compare(0, 3, "   ") == 0) {
      if (inEntry) found += line + "\n";
      continue;
    }
    inEntry = line.compare(0, 2 + name.size(), "  " + name) == 0 &&
              (line.size() == 2 + name.size() || line[2 + name.size()] == ' ');
    if (inEntry) found += line + "\n";
  }
  return found;
}

// --help alone, or after a command's name: the whole usage or the
// command's own entries.
int PrintHelp(const std::vector<std::string>& args) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (IsHelp(arg)) break;
    if (arg == "--store") ++i;  // its value is a path, whatever it reads
    if (arg.compare(0, 1, "-") == 0 || FindCommand(arg) == nullptr) continue;
    std::cout << "usage: cdsctl [--store PATH]\n"
              << CommandUsage(arg) << "\nMore in 'man cdsctl'.\n";
    return kExitOk;
  }
  std::cout << kUsage;
  return kExitOk;
}

int Main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  for (const std::string& arg : args) {
    if (IsHelp(arg)) return PrintHelp(args);
    if (arg == "--version") {
      std::cout << "cdsctl " << WSGATED_VERSION << "\n";
      return kExitOk;
    }
  }
  Invocation invocation;
  std::string error;
  bool found = false;
  if (!TakeOption(&args, "--store", &invocation.store, &found, &error)) {
    return UsageError(error);
  }
  if (!found) invocation.store = pcd_default_path();
  if (args.empty()) return UsageError("no command given");
  const char* user = std::getenv("USER");
  invocation.source = std::string("cdsctl:") +
                      (user != nullptr && *user ? user : "unknown") + "@local";
  if (const Command* command = FindCommand(args[0])) {
    invocation.args.assign(args.begin() + 1, args.end());
    return command->run(invocation);
  }
  return UsageError("unknown command '" + args[0] + "'");
}

}  // namespace
}  // namespace cdsctl

int main(int argc, char** argv) { return cdsctl::Main(argc, argv); }
