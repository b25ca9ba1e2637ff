// Locale set-up and the choice of each request's locale.

#include <boost/locale.hpp>
#include <gtest/gtest.h>

#include "host/locale_support.h"
#include "host/request_context.h"
#include "tests/host/host_fixture.h"

namespace {

// The locale name a generated locale carries ("de_DE"), or "" for none.
std::string NameOf(const std::locale& locale) {
  if (!std::has_facet<boost::locale::info>(locale)) return "";
  const auto& info = std::use_facet<boost::locale::info>(locale);
  return info.language() + "_" + info.country();
}

std::string Translate(const std::locale& locale, const char* text) {
  return boost::locale::translate(text).str(locale, "toolkit");
}

class LocaleSetup : public HostTest {};

TEST_F(LocaleSetup, OneLocalePerListedNameAndEnglishBecomesGlobal) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "en_US;de_DE", HOST_TEST_LOCALE_DIR));
  EXPECT_TRUE(ctx_->locale_support);
  ASSERT_EQ(2u, ctx_->locale_map.size());
  EXPECT_EQ("de_DE", NameOf(ctx_->locale_map.at("de_DE")));
  EXPECT_EQ("en_US", NameOf(ctx_->locale_map.at("en_US")));
  EXPECT_EQ(1u, CountInLog("Added locale en_US.UTF-8 support"));
  EXPECT_EQ(1u, CountInLog("Added locale de_DE.UTF-8 support"));
  EXPECT_EQ("en_US", NameOf(std::locale()));
}

TEST_F(LocaleSetup, CataloguesOfTheToolkitDomainTranslate) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "en_US;de_DE;fr_FR",
                                   HOST_TEST_LOCALE_DIR));
  EXPECT_EQ("Aus", Translate(ctx_->locale_map.at("de_DE"), "Off"));
  EXPECT_EQ("Arrêt", Translate(ctx_->locale_map.at("fr_FR"), "Off"));
  EXPECT_EQ("Off", Translate(ctx_->locale_map.at("en_US"), "Off"));
}

TEST_F(LocaleSetup, DuplicateNameIsLoggedOnce) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "de_DE;de_DE", HOST_TEST_LOCALE_DIR));
  EXPECT_EQ(1u, ctx_->locale_map.size());
  EXPECT_EQ(1u, CountInLog("Added locale de_DE.UTF-8 support"));
}

TEST_F(LocaleSetup, WithoutEnglishTheGlobalLocaleStays) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "de_DE;fr_FR", HOST_TEST_LOCALE_DIR));
  EXPECT_EQ(NameOf(saved_global_), NameOf(std::locale()));
  EXPECT_NE("de_DE", NameOf(std::locale()));
}

TEST_F(LocaleSetup, EmptyListSucceedsWithAnEmptyMap) {
  EXPECT_TRUE(SetupLocalesFromList(ctx_.get(), "", HOST_TEST_LOCALE_DIR));
  EXPECT_TRUE(ctx_->locale_map.empty());
  EXPECT_EQ(0u, CountInLog("Added locale"));
}

TEST_F(LocaleSetup, TeardownEmptiesTheMap) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "en_US", HOST_TEST_LOCALE_DIR));
  TeardownLocaleSupport(ctx_.get());
  EXPECT_TRUE(ctx_->locale_map.empty());
}

class RequestLocale : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    ASSERT_EQ(0, ctx_->connxns.bind(&ctx_->cds, kConnxnsNode, toolkit::g_syslog));
  }
  void Request(const char* address, const char* languages) {
    RequestIdentity caller;
    caller.address = address;
    caller.user = "viewer";
    caller.languages = languages;
    SetupRequestContext(ctx_.get(), caller);
  }
};

TEST_F(RequestLocale, FirstRequestNegotiatesLaterOnesAreEnglish) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "en_US;de_DE;fr_FR",
                                   HOST_TEST_LOCALE_DIR));
  Request("127.0.0.2", "de-DE,de;q=0.9");
  EXPECT_EQ("de_DE", NameOf(ctx_->current_locale));
  EXPECT_EQ(1u, ctx_->connxns.size());
  EXPECT_EQ(1u, CountInLog("New wsgated connection"));
  EXPECT_EQ(1u, CountInLog("viewer@http:127.0.0.2"));

  Request("127.0.0.2", "fr-FR");
  EXPECT_EQ("en_US", NameOf(ctx_->current_locale));
  EXPECT_EQ(1u, ctx_->connxns.size());

  Request("127.0.0.3", "fr-FR");
  EXPECT_EQ("fr_FR", NameOf(ctx_->current_locale));
  EXPECT_EQ(2u, ctx_->connxns.size());
}

TEST_F(RequestLocale, TheNewCallersLocaleIsKeptAsItsUserData) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "en_US;de_DE", HOST_TEST_LOCALE_DIR));
  Request("127.0.0.2", "de");
  auto data = std::static_pointer_cast<std::locale>(ctx_->connxns.UserData("127.0.0.2"));
  ASSERT_NE(nullptr, data);
  EXPECT_EQ("de_DE", NameOf(*data));
}

TEST_F(RequestLocale, UnknownPrimeNameFallsBackToAMapEntry) {
  ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), "de_DE", HOST_TEST_LOCALE_DIR));
  ctx_->supported_locales = "xx_XX";  // listed but never generated
  Request("127.0.0.2", "xx-XX");
  EXPECT_EQ(1u, CountInLog("Locale map lookup failed for xx_XX"));
  EXPECT_EQ("de_DE", NameOf(ctx_->current_locale));
}

TEST_F(RequestLocale, WithoutLocaleSupportTheLocaleNeverChanges) {
  Request("127.0.0.2", "de-DE");
  EXPECT_EQ("", NameOf(ctx_->current_locale));
  Request("127.0.0.2", "de-DE");
  EXPECT_EQ("", NameOf(ctx_->current_locale));
  EXPECT_EQ(1u, ctx_->connxns.size());  // the caller is still tracked
}

}  // namespace
