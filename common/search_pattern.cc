// SearchPattern: Boost.Regex with a per-text and per-search work limit.
//
// How the limit gets into the library: Boost.Regex decides how many states
// a match may visit in perl_matcher::estimate_max_state_count(), once per
// match, from the text length and the pattern size; the macro
// BOOST_REGEX_MAX_STATE_COUNT only caps one of its two terms, and the
// matcher for the ordinary regex_traits<char> is compiled into the shared
// library, out of our reach. So patterns here use a traits type of this
// file's own (SearchTraits, behaving exactly like regex_traits<char>): its
// matcher is instantiated in this file alone, and that one member function
// is specialised for it to apply the allowance described in the header.
// Every other use of Boost.Regex in the program keeps the stock matcher.

#include "common/search_pattern.h"

#include <algorithm>
#include <boost/regex.hpp>
#include <iterator>

// The matcher's allowance lives outside namespace wsgated: Boost's
// specialisation below must name it from namespace boost.
namespace {

struct SearchTraits : boost::regex_traits<char> {};
using SearchRegex = boost::basic_regex<char, SearchTraits>;

// The allowance of the next match in this thread, set by find() right
// before it calls the matcher: at most `amount` states, or, when `linear`,
// `amount` states per character and pattern state. (The daemon has one
// thread; thread_local keeps other users of this class apart all the same.)
struct StateRule {
  bool linear;
  std::ptrdiff_t amount;
};
thread_local StateRule tRule{true, 1};

// Boost's own allowance for a text of `length` characters and a pattern of
// `states` states: the larger of states*states*length and length*length
// (the latter capped at BOOST_REGEX_MAX_STATE_COUNT), plus 100000. Doubles,
// so that nothing overflows; only comparisons with smaller caps follow.
double boostAllowance(double length, double states) {
  const double k = 100000;
  const double byPattern = states * states * length + k;
  const double byText =
      std::min<double>(length * length + k, BOOST_REGEX_MAX_STATE_COUNT);
  return std::max(byPattern, byText);
}

std::ptrdiff_t stateAllowance(std::ptrdiff_t length, std::size_t size) {
  const double n = static_cast<double>(std::max<std::ptrdiff_t>(length, 1));
  const double s = static_cast<double>(std::max<std::size_t>(size, 1));
  const double amount = static_cast<double>(tRule.amount);
  const double limit = tRule.linear ? amount * (n + 1) * (s + 1) : amount;
  return static_cast<std::ptrdiff_t>(std::min(boostAllowance(n, s), limit));
}

}  // namespace

namespace boost {
namespace BOOST_REGEX_DETAIL_NS {

// The matcher of SearchTraits patterns over const char* (the only one
// find() instantiates) takes its state allowance from tRule.
template <>
void perl_matcher<const char*, match_results<const char*>::allocator_type,
                  ::SearchTraits>::
    estimate_max_state_count(std::random_access_iterator_tag*) {
  max_state_count = ::stateAllowance(last - base, re.size());
}

}  // namespace BOOST_REGEX_DETAIL_NS
}  // namespace boost

namespace wsgated {

namespace {

// Adds the time between its construction and destruction to `total`, also
// when the measured code throws.
class TimeCharge {
 public:
  explicit TimeCharge(std::chrono::steady_clock::duration& total)
      : total_(total), start_(std::chrono::steady_clock::now()) {}
  ~TimeCharge() { total_ += std::chrono::steady_clock::now() - start_; }
  TimeCharge(const TimeCharge&) = delete;
  TimeCharge& operator=(const TimeCharge&) = delete;

 private:
  std::chrono::steady_clock::duration& total_;
  const std::chrono::steady_clock::time_point start_;
};

// Runs `step`; false when it threw, with `result` and `error` saying how.
template <typename Step>
bool run(Step step, PatternResult& result, std::string& error) {
  try {
    step();
    return true;
  } catch (const boost::regex_error& e) {
    result = PatternResult::kBadPattern;
    error = e.what();
  } catch (const std::exception& e) {
    // Boost reports a match that exceeded its allowance (and one that ran
    // out of backtracking memory) as std::runtime_error, not regex_error.
    result = PatternResult::kFailed;
    error = e.what();
  }
  return false;
}

}  // namespace

const char* const kSearchTimeSpent =
    "The search has spent its matching time; the value was not matched";

struct SearchPattern::Compiled {
  explicit Compiled(const std::string& pattern) : regex(pattern) {}
  SearchRegex regex;  // default flags: Perl syntax
};

SearchPattern::SearchPattern(const std::string& pattern,
                             const PatternSettings& settings)
    : pattern_(pattern), settings_(settings) {}

SearchPattern::~SearchPattern() = default;

bool SearchPattern::compile() {
  if (settings_.compilation == PatternCompilation::kPerText) {
    compiled_.reset();
  } else if (compiled_ || compileFailed_) {
    return !compileFailed_;
  }
  compileFailed_ =
      !run([this] { compiled_ = std::make_unique<Compiled>(pattern_); },
           compileResult_, compileError_);
  return !compileFailed_;
}

bool SearchPattern::find(const std::string& text) {
  tRule = budgetSpent() ? StateRule{true, settings_.linearStatesPerChar}
                        : StateRule{false, settings_.statesPerText};
  const char* begin = text.data();
  return boost::regex_search(begin, begin + text.size(), compiled_->regex);
}

PatternResult SearchPattern::search(const std::string& text,
                                    std::string& error) {
  if (limitReached()) {
    error = kSearchTimeSpent;
    return PatternResult::kFailed;
  }
  TimeCharge charge(spent_);
  if (!compile()) {
    error = compileError_;
    return compileResult_;
  }
  bool found = false;
  PatternResult failure = PatternResult::kFailed;
  if (!run([&] { found = find(text); }, failure, error)) return failure;
  return found ? PatternResult::kFound : PatternResult::kNotFound;
}

}  // namespace wsgated
