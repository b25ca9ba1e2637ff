// The service-options parser: lenient keys and values, and the choice of
// the locale values are rendered in.

#include <gtest/gtest.h>

#include <cstdint>

#include "common/service_options.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

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
  EXPECT_EQ("", options.errorPrefix);
  EXPECT_TRUE(options.localeValid);
  EXPECT_EQ(6, options.precision);
  EXPECT_FALSE(options.persist);
  EXPECT_FALSE(options.localeSupport);

  ServiceOptions empty = Options("");
  EXPECT_EQ(kErrorStringNotGiven, empty.errorString);
  EXPECT_FALSE(empty.canonical);
}

// Keys are case-sensitive and a token counts for the first key it begins
// with; a boolean is false only when its value says "false".
TEST_F(ServiceOptionsTest, BooleansByPrefixAndValue) {
  const struct {
    const char* text;
    bool ServiceOptions::*flag;
    bool set;
  } cases[] = {
      {"readback", &ServiceOptions::readback, true},
      {"readback=true", &ServiceOptions::readback, true},
      {"readback=0", &ServiceOptions::readback, true},
      {"readback=False", &ServiceOptions::readback, true},
      {"readback=false", &ServiceOptions::readback, false},
      {"readback=notfalse", &ServiceOptions::readback, false},
      {"readbackNow", &ServiceOptions::readback, true},
      {"Readback", &ServiceOptions::readback, false},
      {"canonical", &ServiceOptions::canonical, true},
      {"canonical=false", &ServiceOptions::canonical, false},
      {"persist=1", &ServiceOptions::persist, true},
      {"persistently", &ServiceOptions::persist, true},
      {"persist;persist=false", &ServiceOptions::persist, false},
      {"writeSingleLocale", &ServiceOptions::writeSingleLocale, true},
      {"noEmptyArrays=yes", &ServiceOptions::noEmptyArrays, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.set, Options(c.text).*c.flag) << c.text;
  }
}

TEST_F(ServiceOptionsTest, TextAndNumberKeys) {
  const struct {
    const char* text;
    const char* errorString;
    const char* errorPrefix;
    int precision;
  } cases[] = {
      {"errorString=a=b;errorPrefix=#", "a=b", "#", 6},
      // "errorStringX=a" is errorString, not an unknown option.
      {"errorStringX=a", "a", "", 6},
      {"errorString;errorPrefix", "", "", 6},
      {"errorString=A;errorString=B", "B", "", 6},
      // Precision follows atoi and must be positive.
      {"precision=3", kErrorStringNotGiven, "", 3},
      {"precision=12abc", kErrorStringNotGiven, "", 12},
      {"precision=0", kErrorStringNotGiven, "", 6},
      {"precision=-2", kErrorStringNotGiven, "", 6},
      {"precision=abc", kErrorStringNotGiven, "", 6},
      {"precision", kErrorStringNotGiven, "", 6},
      {"precision=4;precision=0", kErrorStringNotGiven, "", 4},
      // The device's atoi stops at 32 bits; a wider long wraps to 1.
      {"precision=4294967297", kErrorStringNotGiven, "", INT32_MAX},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const ServiceOptions options = Options(c.text);
    EXPECT_EQ(c.errorString, options.errorString);
    EXPECT_EQ(c.errorPrefix, options.errorPrefix);
    EXPECT_EQ(c.precision, options.precision);
  }
  // Without locale support the locale is kept but not checked.
  const ServiceOptions options = Options("locale=xx");
  EXPECT_EQ("xx", options.locale);
  EXPECT_TRUE(options.localeValid);
}

TEST_F(ServiceOptionsTest, OnlyUnknownTokensAreLoggedFromVerbosityTwo) {
  ServiceOptions options = Options(" readback;frobnicate=1;canonical");
  EXPECT_FALSE(options.readback);
  EXPECT_TRUE(options.canonical);
  EXPECT_TRUE(LogHas("An Unrecognized service option in the request:  "
                     "readback"));
  EXPECT_TRUE(LogHas("An Unrecognized service option in the request: "
                     "frobnicate=1"));
  Options("readbackNow;writeSingleLocale;precision=3;noEmptyArrays;"
          "errorStringX=a");
  EXPECT_FALSE(LogHas("readbackNow"));
  EXPECT_FALSE(LogHas("errorStringX"));
  toolkit::g_syslog->level = 1;
  Options("quietly");
  EXPECT_FALSE(LogHas("quietly"));
}

class ServiceOptionsLocaleTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    EnableLocales();
  }
};

// Client spellings resolve to the listed name (as rendering in the
// caller's language shows); only the first "-" becomes "_", and the
// language alone still finds its country.
TEST_F(ServiceOptionsLocaleTest, LanguageAloneFindsTheListedName) {
  const ServiceOptions options = Options("locale=fr-x-y");
  EXPECT_TRUE(options.localeValid);
  EXPECT_EQ("fr_FR", NameOf(options.stdLocale));
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

TEST_F(ServiceOptionsLocaleTest, EmptyValueOrNoLocaleSupportResolveNothing) {
  EXPECT_TRUE(Options("locale=").localeValid);
  ctx_->localeSupport = false;
  ServiceOptions options = Options("locale=ja_JP");
  EXPECT_FALSE(options.localeSupport);
  EXPECT_TRUE(options.localeValid);
  EXPECT_FALSE(LogHas("unsupported"));
}

}  // namespace

}  // namespace wsgated
