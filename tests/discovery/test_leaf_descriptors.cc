// Leaf descriptors: base path concatenation, the two whole-call errors and
// the per-leaf texts, change times and leaf types.

#include <string>
#include <vector>

#include "discovery/leaf_descriptors.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

const char kLeaves[] =
    "[/a]\nValueType = Integer\nValue = 1\n"
    "[/ab]\nValueType = Integer\nValue = 2\n"
    "[/Meter]\nNodeType = Device\nUnits = V\n"
    "ValueType = Real\nValue@persistent = 230.5\n"
    "[/Meter/Service]\nValueType = String\nValue = secret\n"
    "[/Software/Security/Access/Service/Path]\nValue = /Meter/Service\n"
    "[/Software/Security/Access/Service/Read]\nValue = Administrator\n"
    "[/Software/Security/Access/Service/Write]\nValue = Administrator\n";

class LeafDescriptorsTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed(kLeaves);
  }

  // Describe with `optionsText`; returns the overall result.
  std::string Describe(const std::string& base,
                       const std::vector<std::string>& leaves,
                       const std::string& optionsText = "") {
    std::string result;
    describeLeaves(ctx_.get(), Options(optionsText), base, leaves, result,
                   descriptors_);
    return result;
  }

  std::vector<LeafDescriptor> descriptors_;
};

TEST_F(LeafDescriptorsTest, NoLeafPathsIsError17EvenWithBasePath) {
  EXPECT_EQ("? 17 No Paths Provided : No paths provided",
            Describe("/Meter", {}));
  EXPECT_TRUE(descriptors_.empty());
  EXPECT_EQ("ERR? 17 No Paths Provided : No paths provided",
            Describe("", {}, "errorPrefix=ERR"));
}

TEST_F(LeafDescriptorsTest, LeafIsAppendedToBaseWithoutSeparator) {
  EXPECT_EQ("OK", Describe("/a", {"b"}));
  ASSERT_EQ(1u, descriptors_.size());
  EXPECT_EQ("2", descriptors_[0].result);  // "/ab", not "/a/b"
  EXPECT_EQ("OK", Describe("/Meter", {"/Units", ":Units", "//Units/"}));
  ASSERT_EQ(3u, descriptors_.size());
  for (const LeafDescriptor& leaf : descriptors_) EXPECT_EQ("V", leaf.result);
  // Without a base path the leaf paths stand alone.
  EXPECT_EQ("OK", Describe("", {"/a"}));
  EXPECT_EQ("1", descriptors_.at(0).result);
}

TEST_F(LeafDescriptorsTest, EachLeafCarriesItsOwnErrorWhileResultStaysOk) {
  SetCaller("viewer", "127.0.0.1");
  EXPECT_EQ("OK", Describe("/Meter", {"", "/Nope", "/Service", "/Units"}));
  ASSERT_EQ(4u, descriptors_.size());
  EXPECT_EQ("230.5", descriptors_[0].result);
  EXPECT_EQ("? 9 Node Not Found : CDS access failed", descriptors_[1].result);
  EXPECT_EQ("? 2 Not Authorized : Unauthorized read", descriptors_[2].result);
  EXPECT_EQ("V", descriptors_[3].result);
}

// Each leaf's type is its property (store clients cannot make MPL leaves;
// the code passes them through alike) and its change time its stamp, 0
// when nothing was read.
TEST_F(LeafDescriptorsTest, LeafTypeAndChangeTimeAreTheLeafs) {
  toolkit::CElement units("kV");
  units.set_time(timeval{1700000000, 500000});
  api_status_t status = API_STATUS_UNKNOWN;
  ASSERT_EQ(0, ctx_->cds.set_leaf("/Meter/Units", units, status,
                                  PCD_TRIBOOL_UNKNOWN, "test"));
  EXPECT_EQ("OK", Describe("/Meter", {"/Units", "", ":Children", "/Nope"}));
  ASSERT_EQ(4u, descriptors_.size());
  const element_property_t types[] = {PCD_PROP_NORMAL, PCD_PROP_PERSISTENT,
                                      PCD_PROP_AUTOMATIC, PCD_PROP_NORMAL};
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(types[i], descriptors_[i].leafType);
  EXPECT_EQ("kV", descriptors_[0].result);
  EXPECT_EQ(1700000000500000LL, descriptors_[0].changeTime);
  EXPECT_EQ(0, descriptors_[3].changeTime);
}

TEST_F(LeafDescriptorsTest, FailedStoreCallIsError9WithoutDescriptors) {
  // Closed for this call only; the fixture closes the real handle.
  const pcd_handle_t open = ctx_->cds.handle;
  ctx_->cds.handle = nullptr;
  const std::string result = Describe("/Meter", {"/Units"});
  ctx_->cds.handle = open;
  EXPECT_EQ("? 9 Node Not Found : CDS access failed", result);
  EXPECT_TRUE(descriptors_.empty());
}

}  // namespace

}  // namespace wsgated
