// SearchPattern: compiling once versus per text, and the work limits.
// (Invalid patterns and a reached limit are the attribute search's.)

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "common/search_pattern.h"

namespace wsgated {

namespace {

PatternSettings PerText() {
  PatternSettings settings;
  settings.compilation = PatternCompilation::kPerText;
  return settings;
}

// Settings whose budget is spent before the first text.
PatternSettings Spent() {
  PatternSettings settings;
  settings.budget = std::chrono::steady_clock::duration::zero();
  return settings;
}

TEST(SearchPattern, CompilingOnceAnswersExactlyAsCompilingPerText) {
  const std::vector<std::string> patterns = {
      "abc", "^abc$", "", "a|", "(a+)+$", "[0-9]{2,}", "\\bV\\b",
      "(", ")", "[a-", "*a", "a{2,1}", "(?<n", "\\", "(?<=a+)b"};
  const std::vector<std::string> texts = {
      "abc", "xxabcxx", "", "V", "230.4", std::string(40, 'a') + "!", "b"};
  for (const std::string& pattern : patterns) {
    SearchPattern once(pattern);
    SearchPattern per_text(pattern, PerText());
    for (const std::string& text : texts) {
      std::string once_error, per_text_error;
      EXPECT_EQ(once.search(text, once_error),
                per_text.search(text, per_text_error))
          << pattern << " in " << text;
      EXPECT_EQ(once_error, per_text_error) << pattern << " in " << text;
    }
  }
}

TEST(SearchPattern, CatastrophicBacktrackingFailsInsteadOfRunning) {
  SearchPattern search("(a+)+$");
  std::string error;
  EXPECT_EQ(PatternResult::kFailed,
            search.search(std::string(5000, 'a') + "!", error));
  EXPECT_NE(std::string::npos, error.find("complexity")) << error;
  // The same pattern still answers ordinary texts.
  EXPECT_EQ(PatternResult::kFound, search.search("aaa", error));
}

TEST(SearchPattern, SpentBudgetLeavesOnlyLinearWork) {
  // "(?:a)*x" on a text of a's backtracks quadratically: allowed while the
  // budget lasts, refused once it is spent.
  const std::string text(100, 'a');
  std::string error;
  SearchPattern fresh("(?:a)*x");
  EXPECT_EQ(PatternResult::kNotFound, fresh.search(text, error));
  EXPECT_FALSE(fresh.budgetSpent());
  SearchPattern spent("(?:a)*x", Spent());
  EXPECT_TRUE(spent.budgetSpent());
  EXPECT_EQ(PatternResult::kFailed, spent.search(text, error));
  // Linear searches still find what they look for, also in long texts.
  SearchPattern linear("abc", Spent());
  const std::string long_text(20000, 'a');
  EXPECT_EQ(PatternResult::kFound, linear.search(long_text + "abc", error));
  EXPECT_EQ(PatternResult::kNotFound, linear.search(long_text, error));
}

TEST(SearchPattern, PerTextCapAppliesWhileBudgetLasts) {
  PatternSettings tight;
  tight.statesPerText = 1000;
  SearchPattern capped("(?:a)*x", tight);
  std::string error;
  EXPECT_EQ(PatternResult::kFailed,
            capped.search(std::string(100, 'a'), error));
  EXPECT_EQ(PatternResult::kFound, capped.search("ax", error));
}

}  // namespace

}  // namespace wsgated
