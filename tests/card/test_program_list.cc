// The program list: splitting a command into words without a shell, and
// the NAME=COMMAND form.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "card/supervisor/program_list.h"

namespace wsgated {
namespace {

using Words = std::vector<std::string>;

TEST(ProgramListTest, SplitsCommandsLikeAShellWithoutExpanding) {
  const struct {
    const char* command;
    Words words;
  } cases[] = {
      {"/bin/a -D 2", {"/bin/a", "-D", "2"}},
      {"  a \t b  ", {"a", "b"}},
      {"a 'b c' d", {"a", "b c", "d"}},
      {"a 'x\\y \"z'", {"a", "x\\y \"z"}},
      {"a \"b \\\" \\\\ \\n c\"", {"a", "b \" \\ \\n c"}},
      {"a b\\ c \\'d", {"a", "b c", "'d"}},
      {"a '' \"\"", {"a", "", ""}},
      {"a x'y'\"z\"", {"a", "xyz"}},
      {"a $HOME *.log ~ ; | > x",
       {"a", "$HOME", "*.log", "~", ";", "|", ">", "x"}},
  };
  for (const auto& c : cases) {
    Words words;
    std::string error;
    EXPECT_TRUE(splitCommand(c.command, &words, &error)) << c.command;
    EXPECT_EQ(c.words, words) << c.command;
    EXPECT_EQ("", error) << c.command;
  }
}

TEST(ProgramListTest, RefusesBrokenCommands) {
  const struct {
    const char* command;
    const char* error;
  } cases[] = {
      {"", "empty"},
      {" \t ", "empty"},
      {"a 'b", "unterminated '"},
      {"a \"b\\\"", "unterminated \""},
      {"a b\\", "backslash"},
  };
  for (const auto& c : cases) {
    Words words;
    std::string error;
    EXPECT_FALSE(splitCommand(c.command, &words, &error)) << c.command;
    EXPECT_NE(std::string::npos, error.find(c.error))
        << c.command << ": " << error;
  }
}

TEST(ProgramListTest, ReadsNameEqualsCommand) {
  const struct {
    const char* text;
    const char* name;
    Words argv;
    const char* error;
  } cases[] = {
      {"wsgated=/bin/w -D 2", "wsgated", {"/bin/w", "-D", "2"}, ""},
      {"a.b_c-9=x y=z", "a.b_c-9", {"x", "y=z"}, ""},
      {"noequals", "", {}, "NAME=COMMAND"},
      {"=x", "", {}, "1..32"},
      {"a/b=x", "", {}, "letters"},
      {"a b=x", "", {}, "letters"},
      {"abcdefghijabcdefghijabcdefghijabc=x", "", {}, "1..32"},
      {"a=", "", {}, "a: the command is empty"},
      {"a='x", "", {}, "a: unterminated"},
  };
  for (const auto& c : cases) {
    ProgramSpec spec;
    std::string error;
    EXPECT_EQ(c.error[0] == '\0', parseProgram(c.text, &spec, &error))
        << c.text;
    EXPECT_NE(std::string::npos, error.find(c.error))
        << c.text << ": " << error;
    if (c.error[0] != '\0') continue;
    EXPECT_EQ(c.name, spec.name) << c.text;
    EXPECT_EQ(c.argv, spec.argv) << c.text;
  }
}

TEST(ProgramListTest, KernelNameIsTheFilesNameCutTo15) {
  EXPECT_EQ("wsgated", kernelName("/usr/sbin/wsgated"));
  EXPECT_EQ("wsgated", kernelName("wsgated"));
  EXPECT_EQ("wsgated-supervi", kernelName("/b/wsgated-supervisor"));
}

}  // namespace
}  // namespace wsgated
