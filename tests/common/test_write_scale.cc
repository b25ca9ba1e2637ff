// A multi-write costs in proportion to its size: the store statements and
// the prefetched paths compared per entry do not grow with the call.

#include <string>
#include <vector>

#include "common/value_conversion.h"
#include "common/write_path.h"
#include "platform/cds.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

struct CostPerEntry {
  double statements;
  double comparisons;
};

class WriteScaleTest : public ServiceTest {
 protected:
  // SetLeaves-style write of a ValueType and a state name to each of
  // `count` multistate points: every entry looks its node up in the call.
  CostPerEntry Measure(int count) {
    std::string seed;
    std::vector<std::string> paths, values;
    const std::string prefix = "/Scale" + std::to_string(count) + "/P";
    for (int i = 0; i < count; ++i) {
      const std::string node = prefix + std::to_string(i);
      seed += "[" + node + "]\nValueType = Multistate\n"
              "PossibleValues = Off;On\nValue = 0\n";
      paths.insert(paths.end(), {node + "/ValueType", node});
      values.insert(values.end(), {"Multistate", "On"});
    }
    Seed(seed);
    std::vector<std::string> results;
    const unsigned long long statements = pcd_statement_count(ctx_->cds.handle);
    const unsigned long long comparisons = PrefetchedLeaves::comparisons();
    EXPECT_EQ(0, writeValues(ctx_.get(), true, Options(""), paths, values,
                             results));
    EXPECT_EQ("1", results.back());
    const double entries = 2.0 * count;
    return {(pcd_statement_count(ctx_->cds.handle) - statements) / entries,
            (PrefetchedLeaves::comparisons() - comparisons) / entries};
  }
};

TEST_F(WriteScaleTest, CostPerEntryDoesNotGrowWithTheCall) {
  const CostPerEntry small = Measure(20);
  const CostPerEntry large = Measure(2000);
  EXPECT_LE(large.statements, small.statements + 1);
  EXPECT_LE(large.comparisons, small.comparisons + 1);
}

}  // namespace

}  // namespace wsgated
