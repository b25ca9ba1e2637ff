// CCds_Utils: locale ranking (pure) and the store-backed helpers.

#include "platform/utils.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/cds.h"
#include "tests/platform/temp_store.h"

namespace {

using toolkit::CCds_Utils;
using toolkit::CElement;

struct PrimeCase {
  const char* supported;
  const char* accepted;
  bool matched;
  const char* prime;
};

const char* const kList = "en_US;de_DE;fr_FR;zh_TW";

const PrimeCase kPrimeCases[] = {
    // Single names, as option parsing and the loop's default pass them.
    {kList, "de_DE", true, "de_DE"},
    {kList, "fr-FR.UTF-8", true, "fr_FR"},
    {kList, "en_US.UTF-8", true, "en_US"},
    {kList, "de-DE@euro", true, "de_DE"},
    {kList, "DE-de", true, "de_DE"},
    // Headers ranked by q, ties in header order.
    {kList, "de-DE,de;q=0.9,en;q=0.5", true, "de_DE"},
    {kList, "fr;q=0.5,de;q=0.8", true, "de_DE"},
    {kList, "it,fr;q=0.5", true, "fr_FR"},
    {kList, "  de-DE  ; q = 0.7 , fr", true, "fr_FR"},
    {kList, "fr;q=0.5,de;q=0", true, "fr_FR"},
    {kList, "fr;q=2,de", true, "fr_FR"},      // q above 1 counts as 1
    {kList, "de;q=1,fr;q=5", true, "de_DE"},
    {kList, "de;q=abc", true, "de_DE"},       // malformed q is ignored
    {kList, "de;Q=0.000,fr;q=0.1", true, "fr_FR"},
    // Language and region, then language.
    {kList, "de-AT", true, "de_DE"},
    {kList, "zh_Hant_TW", true, "zh_TW"},
    {kList, "zh-CN", true, "zh_TW"},
    {kList, "en-GB,de-DE", true, "en_US"},    // each range in turn
    {"de_AT;de_DE", "de-DE", true, "de_DE"},
    {"de_DE;de;en_US", "de-AT", true, "de"},  // a bare language is closer
    {"de-DE;en_US", "de_de", true, "de-DE"},  // the name as listed
    {"  ;bogus!!;de_DE", "de", true, "de_DE"},
    // Wildcard: the first supported name.
    {kList, "*", true, "en_US"},
    {"fr_FR;en_US", "ja,*;q=0.1", true, "fr_FR"},
    {"fr_FR;en_US", "*;q=0", false, "en_US"},
    // Nothing usable: en_US when supported, else the first, else en_US.
    {kList, "", false, "en_US"},
    {kList, ";;;", false, "en_US"},
    {kList, ",,, ,;", false, "en_US"},
    {kList, "ja", false, "en_US"},
    {kList, "de;q=0", false, "en_US"},
    {kList, "1234,!!!,d\xC3\xA9", false, "en_US"},
    {kList, "de;q=-1", false, "en_US"},
    {"fr_FR;de_DE", "ja", false, "fr_FR"},
    {"de_DE;en-us", "ja", false, "en-us"},
    {"", "de", false, "en_US"},
    {";;", "*", false, "en_US"},
};

TEST(GetPrimeLocale, RanksAcceptLanguage) {
  for (const PrimeCase& c : kPrimeCases) {
    std::string prime = "stale";
    bool matched = CCds_Utils::getPrimeLocale(c.supported, c.accepted, prime);
    EXPECT_EQ(c.matched, matched) << c.supported << " | " << c.accepted;
    EXPECT_EQ(c.prime, prime) << c.supported << " | " << c.accepted;
  }
}

TEST(GetPrimeLocale, SurvivesHugeHeaders) {
  std::string header;
  while (header.size() < 10240) header += "xx-YY;q=0.1,";
  std::string prime;
  EXPECT_TRUE(CCds_Utils::getPrimeLocale(kList, header + "de", prime));
  EXPECT_EQ("de_DE", prime);

  std::string junk(10240, ';');
  for (size_t i = 0; i < junk.size(); i += 3) junk[i] = '\xff';
  EXPECT_FALSE(CCds_Utils::getPrimeLocale(kList, junk, prime));
  EXPECT_EQ("en_US", prime);

  std::string long_tag(10240, 'a');
  EXPECT_FALSE(CCds_Utils::getPrimeLocale(kList, long_tag, prime));
  EXPECT_FALSE(CCds_Utils::getPrimeLocale(long_tag, "de", prime));
  EXPECT_EQ("en_US", prime);
}

class UtilsStoreTest : public testing_store::StoreTest {};

TEST_F(UtilsStoreTest, DeviceListIsEveryDeviceInPathOrder) {
  const char* const devices[] = {"/Other/UPS", "/A B", "/A/B",
                                 "/Devices/Meter1", "/Devices/Meter1/Sub"};
  for (const char* d : devices) {
    AddNode(d);
    SetText(std::string(d) + "/NodeType", "Device");
  }
  AddNode("/Devices/Panel");
  SetText("/Devices/Panel/NodeType", "Collection");
  AddNode("/Devices/Panel/Breaker");  // no NodeType at all

  CCds_Utils utils(*cds_);
  std::vector<std::string> list{"stale"};
  ASSERT_EQ(5, utils.GetDeviceList(list));
  std::vector<std::string> expected{"/A/B", "/A B", "/Devices/Meter1",
                                    "/Devices/Meter1/Sub", "/Other/UPS"};
  EXPECT_EQ(expected, list);
}

TEST_F(UtilsStoreTest, QualityComesFromTheNearestNodeThatHasOne) {
  AddNode("/Dev/Group/Point");
  AddNode("/Other/Point");
  CCds_Utils utils(*cds_);
  CElement value(static_cast<int32_t>(5));

  EXPECT_EQ(0, utils.CheckDeviceQuality("/Dev/Group/Point", CElement()));
  EXPECT_EQ(192, utils.CheckDeviceQuality("/Dev/Group/Point", value));

  Set("/Dev/.Quality", CElement(static_cast<int32_t>(64)));
  EXPECT_EQ(64, utils.CheckDeviceQuality("/Dev/Group/Point", value));
  EXPECT_EQ(192, utils.CheckDeviceQuality("/Other/Point", value));

  Set("/Dev/Group/Point/.Quality", CElement(static_cast<int32_t>(0)));
  EXPECT_EQ(0, utils.CheckDeviceQuality("/Dev/Group/Point", value));
  EXPECT_EQ(64, utils.CheckDeviceQuality("/Dev/Group", value));
  // No value still means bad, whatever the node says.
  EXPECT_EQ(0, utils.CheckDeviceQuality("/Dev/Group", CElement()));
}

}  // namespace
