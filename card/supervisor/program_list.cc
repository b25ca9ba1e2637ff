// Program names and commands from the command line (program_list.h).

#include "card/supervisor/program_list.h"

namespace wsgated {

namespace {

const size_t kMaxName = 32;
const size_t kMaxKernelName = 15;

bool isNameCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
}

// The splitter's state between characters.
struct Splitter {
  std::vector<std::string>* words;
  std::string word;
  bool inWord = false;  // a word has begun (it may still be empty: '')
  char quote = 0;       // the open quote, 0 outside quotes
  bool escaped = false;

  void take(char c);
  void endWord() {
    if (inWord) words->push_back(word);
    word.clear();
    inWord = false;
  }
};

void Splitter::take(char c) {
  if (escaped) {
    // Inside double quotes only \" and \\ are escapes; "\n" stays two.
    if (quote == '"' && c != '"' && c != '\\') word += '\\';
    word += c;
    escaped = false;
  } else if (quote == '\'') {
    if (c == '\'')
      quote = 0;
    else
      word += c;
  } else if (c == '\\') {
    escaped = true;
    inWord = true;
  } else if (quote == '"') {
    if (c == '"')
      quote = 0;
    else
      word += c;
  } else if (c == '\'' || c == '"') {
    quote = c;
    inWord = true;
  } else if (c == ' ' || c == '\t') {
    endWord();
  } else {
    word += c;
    inWord = true;
  }
}

}  // namespace

bool splitCommand(const std::string& command, std::vector<std::string>* words,
                  std::string* error) {
  words->clear();
  error->clear();
  Splitter splitter;
  splitter.words = words;
  for (char c : command) splitter.take(c);
  if (splitter.quote != 0) {
    *error = std::string("unterminated ") + splitter.quote + " in the command";
  } else if (splitter.escaped) {
    *error = "a backslash ends the command";
  } else {
    splitter.endWord();
    if (words->empty()) *error = "the command is empty";
  }
  return error->empty();
}

bool parseProgram(const std::string& text, ProgramSpec* spec,
                  std::string* error) {
  error->clear();
  const size_t equals = text.find('=');
  const std::string name = text.substr(0, equals);
  if (equals == std::string::npos) {
    *error = "\"" + text + "\" is not NAME=COMMAND";
  } else if (name.empty() || name.size() > kMaxName) {
    *error = "a program's name has 1.." + std::to_string(kMaxName) +
             " characters: \"" + name + "\"";
  } else {
    for (char c : name) {
      if (!isNameCharacter(c)) {
        *error = "a program's name has letters, digits, '.', '_' and '-': \"" +
                 name + "\"";
        return false;
      }
    }
    spec->name = name;
    if (!splitCommand(text.substr(equals + 1), &spec->argv, error)) {
      *error = name + ": " + *error;
    }
  }
  return error->empty();
}

std::string kernelName(const std::string& file) {
  const size_t slash = file.rfind('/');
  const std::string last =
      slash == std::string::npos ? file : file.substr(slash + 1);
  return last.substr(0, kMaxKernelName);
}

}  // namespace wsgated
