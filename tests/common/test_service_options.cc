// The service-options parser: lenient keys and values, and the choice of
// the locale values are rendered in.

#include <boost/locale.hpp>
#include <gtest/gtest.h>

#include "common/service_options.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

// "de_DE" for a locale the generator made; "" for one without locale info.
std::string NameOf(const std::locale& locale) {
  if (!std::has_facet<boost::locale::info>(locale)) return "";
  const auto& info = std::use_facet<boost::locale::info>(locale);
  return info.language() + "_" + info.country();
}

class ServiceOptionsTest : public ServiceTest {};

TEST_F(ServiceOptionsTest, AbsentOrEmptyTextGivesTheDefaults) {
  ServiceOptions options;
  options.readback = true;
  options.errorString = "left over";
  options.precision = 2;
  options.persist = true;
  parseServiceOptions(ctx_.get(), nullptr, options);
  EXPECT_FALSE(options.readback);
  EXPECT_EQ(kErrorStringNotGiven, options.errorString);
  EXPECT_STREQ("QZX", kErrorStringNotGiven);
  EXPECT_EQ("", options.errorPrefix);
  EXPECT_TRUE(options.localeValid);
  EXPECT_EQ(6, options.precision);
  EXPECT_FALSE(options.persist);
  EXPECT_FALSE(options.localeSupport);

  ServiceOptions empty = Options("");
  EXPECT_EQ(kErrorStringNotGiven, empty.errorString);
  EXPECT_FALSE(empty.canonical);
}

TEST_F(ServiceOptionsTest, BooleansAreFalseOnlyWhenTheValueSaysFalse) {
  EXPECT_TRUE(Options("readback").readback);
  EXPECT_TRUE(Options("readback=true").readback);
  EXPECT_TRUE(Options("readback=0").readback);
  EXPECT_TRUE(Options("readback=False").readback);
  EXPECT_FALSE(Options("readback=false").readback);
  EXPECT_FALSE(Options("readback=notfalse").readback);
  EXPECT_TRUE(Options("canonical").canonical);
  EXPECT_FALSE(Options("canonical=false").canonical);
  EXPECT_TRUE(Options("persist=1").persist);
  EXPECT_TRUE(Options("writeSingleLocale").writeSingleLocale);
  EXPECT_TRUE(Options("noEmptyArrays=yes").noEmptyArrays);
}

TEST_F(ServiceOptionsTest, TokensCountForTheFirstKeyTheyBeginWith) {
  EXPECT_TRUE(Options("readbackNow").readback);
  EXPECT_TRUE(Options("persistently").persist);
  // "errorStringX=a" is errorString, not an unknown option.
  EXPECT_EQ("a", Options("errorStringX=a").errorString);
  EXPECT_FALSE(LogHas("Unrecognized"));
  // Keys are case-sensitive.
  EXPECT_FALSE(Options("Readback").readback);
  EXPECT_TRUE(LogHas("An Unrecognized service option in the request: Readback"));
}

TEST_F(ServiceOptionsTest, UnknownTokensAreLoggedAndIgnored) {
  ServiceOptions options = Options(" readback;frobnicate=1;canonical");
  EXPECT_FALSE(options.readback);
  EXPECT_TRUE(options.canonical);
  EXPECT_TRUE(LogHas("An Unrecognized service option in the request:  readback"));
  EXPECT_TRUE(LogHas("An Unrecognized service option in the request: frobnicate=1"));
}

TEST_F(ServiceOptionsTest, UnknownTokensAreQuietBelowVerbosityTwo) {
  toolkit::g_syslog->level = 1;
  Options("frobnicate");
  EXPECT_FALSE(LogHas("frobnicate"));
}

TEST_F(ServiceOptionsTest, AcceptedKeysWithoutEffectAreNotLogged) {
  ServiceOptions options =
      Options("readback;writeSingleLocale;precision=3;noEmptyArrays");
  EXPECT_EQ(3, options.precision);
  EXPECT_FALSE(LogHas("Unrecognized"));
}

TEST_F(ServiceOptionsTest, PrecisionFollowsAtoiAndMustBePositive) {
  EXPECT_EQ(3, Options("precision=3").precision);
  EXPECT_EQ(12, Options("precision=12abc").precision);
  EXPECT_EQ(6, Options("precision=0").precision);
  EXPECT_EQ(6, Options("precision=-2").precision);
  EXPECT_EQ(6, Options("precision=abc").precision);
  EXPECT_EQ(6, Options("precision").precision);
  EXPECT_EQ(4, Options("precision=4;precision=0").precision);
}

TEST_F(ServiceOptionsTest, TextKeysTakeEverythingAfterTheFirstEquals) {
  ServiceOptions options = Options("errorString=a=b;errorPrefix=#;locale=xx");
  EXPECT_EQ("a=b", options.errorString);
  EXPECT_EQ("#", options.errorPrefix);
  EXPECT_EQ("xx", options.locale);
  // Without locale support the locale is kept but not checked.
  EXPECT_TRUE(options.localeValid);
  EXPECT_EQ("", Options("errorString").errorString);
  EXPECT_EQ("", Options("errorPrefix").errorPrefix);
}

TEST_F(ServiceOptionsTest, LaterTokensOverwriteEarlierOnes) {
  ServiceOptions options =
      Options("errorString=A;persist;errorString=B;persist=false");
  EXPECT_EQ("B", options.errorString);
  EXPECT_FALSE(options.persist);
}

class ServiceOptionsLocaleTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    EnableLocales();
  }
};

TEST_F(ServiceOptionsLocaleTest, ClientSpellingsResolveToTheListedName) {
  ServiceOptions options = Options("locale=de-DE.UTF-8");
  EXPECT_TRUE(options.localeSupport);
  EXPECT_TRUE(options.localeValid);
  EXPECT_EQ("de-DE.UTF-8", options.locale);
  EXPECT_EQ("de_DE", NameOf(options.stdLocale));
  EXPECT_EQ("fr_FR", NameOf(Options("locale=fr_FR").stdLocale));
  // Only the first "-" becomes "_"; the language alone still finds fr_FR.
  EXPECT_EQ("fr_FR", NameOf(Options("locale=fr-x-y").stdLocale));
}

TEST_F(ServiceOptionsLocaleTest, UnsupportedLocaleIsInvalidAndLogged) {
  ServiceOptions options = Options("locale=ja-JP.UTF-8");
  EXPECT_FALSE(options.localeValid);
  EXPECT_EQ("ja-JP.UTF-8", options.locale);
  EXPECT_TRUE(LogHas("The requested locale ja_JP is unsupported"));
}

TEST_F(ServiceOptionsLocaleTest, SupportedNameMissingFromTheMapIsInvalid) {
  // The list names es_ES but no locale was generated for it.
  ctx_->supportedLocales += ";es_ES";
  EXPECT_FALSE(Options("locale=es_ES").localeValid);
  EXPECT_TRUE(LogHas("Locale map lookup failed for es_ES"));
}

TEST_F(ServiceOptionsLocaleTest, AValidLocaleBecomesTheContextsCurrentLocale) {
  EXPECT_NE("de_DE", NameOf(Options("").stdLocale));
  Options("locale=de_DE");
  EXPECT_EQ("de_DE", NameOf(ctx_->currentLocale));
  // A later call without a locale option renders in it too...
  EXPECT_EQ("de_DE", NameOf(Options("canonical").stdLocale));
  // ...and an unsupported one leaves the current locale alone.
  Options("locale=ja_JP");
  EXPECT_EQ("de_DE", NameOf(ctx_->currentLocale));
}

TEST_F(ServiceOptionsLocaleTest, EmptyLocaleValueIsNotResolved) {
  ServiceOptions options = Options("locale=");
  EXPECT_TRUE(options.localeValid);
  EXPECT_FALSE(LogHas("unsupported"));
}

TEST_F(ServiceOptionsLocaleTest, WithoutLocaleSupportNothingIsResolved) {
  ctx_->localeSupport = false;
  ServiceOptions options = Options("locale=ja_JP");
  EXPECT_FALSE(options.localeSupport);
  EXPECT_TRUE(options.localeValid);
  EXPECT_FALSE(LogHas("unsupported"));
}

}  // namespace

}  // namespace wsgated
