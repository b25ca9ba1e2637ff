// The programs a supervisor runs, as its command line names them.
//
//   --program NAME=COMMAND
//
// NAME is the name of the watchdog row the program registers (1..32
// letters, digits, '.', '_' or '-'); COMMAND is the program's command,
// split into words the way the header describes below and executed
// directly, never through a shell. Examples, as typed in a shell:
//
//   --program wsgated='/usr/sbin/wsgated -D 2'
//   --program alarms="/opt/card/card-alarms --log-file '/var/log/card
//   alarms.log'"
//
// Splitting COMMAND into words:
//   - words are separated by spaces and tabs;
//   - '...' keeps everything inside as it is, blanks and backslashes too;
//   - "..." keeps everything inside except \" and \\, which stand for " and \;
//   - outside quotes, a backslash keeps the next character as it is;
//   - quoted and unquoted pieces next to each other make one word, and ''
//     is an empty word;
//   - nothing else is special: $, *, ~, ;, |, > and the like are passed on
//     as they are. No variables, no patterns, no redirections.
// An unterminated quote, a backslash at the end or a command with no word
// is refused. The first word is the program's file: with a '/' it is used
// as it is, without one it is looked up in PATH.

#ifndef CARD_SUPERVISOR_PROGRAM_LIST_H_
#define CARD_SUPERVISOR_PROGRAM_LIST_H_

#include <string>
#include <vector>

namespace wsgated {

struct ProgramSpec {
  std::string name;               // its watchdog row's name
  std::vector<std::string> argv;  // its command, argv[0] the file
};

// Splits `command` into `words` as the header describes; false with the
// reason in *error.
bool splitCommand(const std::string& command, std::vector<std::string>* words,
                  std::string* error);

// Reads "NAME=COMMAND" into `spec`; false with the reason in *error.
bool parseProgram(const std::string& text, ProgramSpec* spec,
                  std::string* error);

// The name the kernel gives a process running `file` (/proc/PID/comm): its
// last path component, cut to 15 characters.
std::string kernelName(const std::string& file);

}  // namespace wsgated

#endif  // CARD_SUPERVISOR_PROGRAM_LIST_H_
