// SearchPattern: the regular expression of one search: an attribute
// search, or the path filter of the active alarms.
//
// Patterns are Boost.Regex patterns in its default (Perl) syntax, and a
// text matches when the pattern occurs anywhere in it (regex_search; no
// anchoring is added, "^abc$" still anchors itself).
//
// Bounded work. A backtracking matcher can take exponential time on
// patterns such as "(a+)+$". Boost.Regex protects itself by giving up
// (std::runtime_error, "The complexity of matching ... exceeded predefined
// bounds") after a number of matcher states that grows with the text
// length N and the pattern's state count S: the larger of N*S*S and
// min(N*N, 100,000,000), plus 100,000. Against a value of ten thousand
// characters that is seconds per value, and a recursive search may test
// thousands of values, all while the daemon's only thread serves nobody
// else. So the matcher of this class (and only of this class) is held to
// a tighter allowance, set per text from the matching time the search has
// spent so far:
//
//   - until `budget`: Boost's own allowance, but never more than
//     `statesPerText` (about 0.1 s on a desktop processor);
//   - until `limit`: only linear work, `linearStatesPerChar` states per
//     character and pattern state (plenty for ordinary patterns, nothing
//     for backtracking blow-ups);
//   - after `limit`: no more matching at all (kFailed, kSearchTimeSpent).
//
// A text refused by an allowance fails exactly as Boost's own limit fails
// (kFailed with the library's complexity message). So one search spends at
// most `limit` plus one text's allowance on matching, whatever the pattern
// and the values, and answers with the values it could test.
//
// Compilation. A pattern is compiled once, on its first use, and kept for
// the whole search; a pattern that does not compile fails every later use
// with the same result and error text, so the outcome of every text is
// exactly what compiling anew for each text would give (kPerText does that;
// a test and the benchmark compare the two).

#ifndef COMMON_SEARCH_PATTERN_H_
#define COMMON_SEARCH_PATTERN_H_

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace wsgated {

enum class PatternCompilation {
  kOncePerSearch,  // compile at the first text, reuse for the others
  kPerText,        // compile anew for every text (for comparisons only)
};

struct PatternSettings {
  PatternCompilation compilation = PatternCompilation::kOncePerSearch;
  // Most matcher states one text may take while the budget lasts.
  std::ptrdiff_t statesPerText = 2000000;
  // Matching time of one search before only linear work is allowed.
  std::chrono::steady_clock::duration budget = std::chrono::seconds(1);
  // The linear allowance: states per (character + 1) * (pattern state + 1).
  std::ptrdiff_t linearStatesPerChar = 4;
  // Matching time of one search after which nothing more is matched.
  std::chrono::steady_clock::duration limit = std::chrono::seconds(3);
};

// The error text of a text refused because the search reached its limit.
extern const char* const kSearchTimeSpent;

enum class PatternResult {
  kFound,       // the pattern occurs in the text
  kNotFound,    // it does not
  kBadPattern,  // the library raised a regular-expression error (invalid
                // pattern); `error` holds its text
  kFailed,      // any other exception while compiling or matching (the
                // complexity limit among them), or the search's time limit
                // reached; `error` holds the text
};

class SearchPattern {
 public:
  explicit SearchPattern(const std::string& pattern,
                         const PatternSettings& settings = PatternSettings());
  ~SearchPattern();
  SearchPattern(const SearchPattern&) = delete;
  SearchPattern& operator=(const SearchPattern&) = delete;

  // search the pattern in `text`. `error` receives the exception text for
  // kBadPattern and kFailed and is left alone otherwise. Exceptions that
  // are not std::exception pass through.
  PatternResult search(const std::string& text, std::string& error);

  // True once the search has spent its budget (only linear work is left).
  bool budgetSpent() const { return spent_ >= settings_.budget; }
  // True once the search has reached its limit (nothing is matched).
  bool limitReached() const { return spent_ >= settings_.limit; }
  // True when no later text can be found any more: the pattern did not
  // compile, or the limit is reached.
  bool exhausted() const { return compileFailed_ || limitReached(); }

 private:
  struct Compiled;

  // Make compiled_ ready (kPerText: anew); false when compiling failed,
  // with compileResult_ and compileError_ saying how.
  bool compile();
  // regex_search of the compiled pattern in `text`, under the allowance;
  // throws what the library throws.
  bool find(const std::string& text);

  const std::string pattern_;
  const PatternSettings settings_;
  std::unique_ptr<Compiled> compiled_;
  bool compileFailed_ = false;
  PatternResult compileResult_ = PatternResult::kBadPattern;
  std::string compileError_;
  std::chrono::steady_clock::duration spent_{};
};

}  // namespace wsgated

#endif  // COMMON_SEARCH_PATTERN_H_
