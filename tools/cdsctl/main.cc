// cdsctl: command-line client of the device's data store.
//
// Parses the global options, picks the store and the change source, and
// hands the rest of the command line to one subcommand.

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "platform/cds.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

const char kUsage[] =
    "usage: cdsctl [--store PATH] COMMAND [ARGS]\n"
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
    "3 operation failed.\n";

struct Command {
  const char* name;
  int (*run)(const Invocation&);
};

const Command kCommands[] = {
    {"create", CmdCreate},       {"load", CmdLoad},
    {"export", CmdExport},       {"show", CmdShow},
    {"get", CmdGet},             {"set", CmdSet},
    {"add", CmdAdd},             {"remove", CmdRemove},
    {"clear", CmdClear},         {"users", CmdUsers},
    {"user", CmdUser},           {"anonymous", CmdAnonymous},
    {"rule", CmdRule},           {"events", CmdEvents},
    {"watchdogs", CmdWatchdogs}, {"syslog", CmdSyslog},
    {"attributes", CmdAttributes}, {"log", CmdLog},
    {"trend", CmdTrend},
};

bool IsHelp(const std::string& arg) { return arg == "-h" || arg == "--help"; }

int Main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  for (const std::string& arg : args) {
    if (IsHelp(arg)) {
      std::cout << kUsage;
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
  for (const Command& command : kCommands) {
    if (args[0] != command.name) continue;
    invocation.args.assign(args.begin() + 1, args.end());
    return command.run(invocation);
  }
  return UsageError("unknown command '" + args[0] + "'");
}

}  // namespace
}  // namespace cdsctl

int main(int argc, char** argv) { return cdsctl::Main(argc, argv); }
