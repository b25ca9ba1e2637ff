// Locale set-up and the choice of each request's locale. (That the
// catalogues translate is seen in tests/common's rendering tests.)

#include <gtest/gtest.h>

#include "host/locale_support.h"
#include "host/request_context.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

class LocaleSetup : public ContextTest {};

TEST_F(LocaleSetup, OneLocalePerListedNameAndEnglishBecomesGlobal) {
  ASSERT_TRUE(setupLocalesFromList(ctx_.get(), "en_US;de_DE", TEST_LOCALE_DIR));
  EXPECT_TRUE(ctx_->localeSupport);
  ASSERT_EQ(2u, ctx_->localeMap.size());
  EXPECT_EQ("de_DE", NameOf(ctx_->localeMap.at("de_DE")));
  EXPECT_EQ("en_US", NameOf(ctx_->localeMap.at("en_US")));
  EXPECT_EQ(1u, CountInLog("Added locale en_US.UTF-8 support"));
  EXPECT_EQ(1u, CountInLog("Added locale de_DE.UTF-8 support"));
  EXPECT_EQ("en_US", NameOf(std::locale()));
}

TEST_F(LocaleSetup, WithoutEnglishTheGlobalLocaleStays) {
  ASSERT_TRUE(setupLocalesFromList(ctx_.get(), "de_DE;fr_FR", TEST_LOCALE_DIR));
  EXPECT_EQ(NameOf(saved_global_), NameOf(std::locale()));
}

TEST_F(LocaleSetup, DuplicatesCountOnceAndEmptyListsOrTeardownLeaveNone) {
  ASSERT_TRUE(setupLocalesFromList(ctx_.get(), "de_DE;de_DE", TEST_LOCALE_DIR));
  EXPECT_EQ(1u, ctx_->localeMap.size());
  EXPECT_EQ(1u, CountInLog("Added locale de_DE.UTF-8 support"));
  teardownLocaleSupport(ctx_.get());
  EXPECT_TRUE(ctx_->localeMap.empty());
  EXPECT_TRUE(setupLocalesFromList(ctx_.get(), "", TEST_LOCALE_DIR));
  EXPECT_TRUE(ctx_->localeMap.empty());
}

class RequestLocale : public ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    ASSERT_EQ(0, ctx_->connxns.bind(&ctx_->cds, kConnxnsNode, toolkit::g_syslog));
  }
  void Request(const char* address, const char* languages) {
    ctx_->caller.address = address;
    ctx_->caller.user = "viewer";
    ctx_->caller.languages = languages;
    setupRequestContext(ctx_.get());
  }
};

TEST_F(RequestLocale, FirstRequestNegotiatesLaterOnesAreEnglish) {
  ASSERT_TRUE(setupLocalesFromList(ctx_.get(), "en_US;de_DE;fr_FR",
                                   TEST_LOCALE_DIR));
  Request("127.0.0.2", "de-DE,de;q=0.9");
  EXPECT_EQ("de_DE", NameOf(ctx_->currentLocale));
  EXPECT_EQ(1u, ctx_->connxns.size());
  EXPECT_EQ(1u, CountInLog("New wsgated connection"));
  EXPECT_EQ(1u, CountInLog("viewer@http:127.0.0.2"));

  // The new caller's locale is kept as its user data.
  auto data = std::static_pointer_cast<std::locale>(
      ctx_->connxns.UserData("127.0.0.2"));
  ASSERT_NE(nullptr, data);
  EXPECT_EQ("de_DE", NameOf(*data));

  Request("127.0.0.2", "fr-FR");
  EXPECT_EQ("en_US", NameOf(ctx_->currentLocale));
  EXPECT_EQ(1u, ctx_->connxns.size());

  Request("127.0.0.3", "fr-FR");
  EXPECT_EQ("fr_FR", NameOf(ctx_->currentLocale));
  EXPECT_EQ(2u, ctx_->connxns.size());
}

TEST_F(RequestLocale, UnknownPrimeNameFallsBackToAMapEntry) {
  ASSERT_TRUE(setupLocalesFromList(ctx_.get(), "de_DE", TEST_LOCALE_DIR));
  ctx_->supportedLocales = "xx_XX";  // listed but never generated
  Request("127.0.0.2", "xx-XX");
  EXPECT_EQ(1u, CountInLog("Locale map lookup failed for xx_XX"));
  EXPECT_EQ("de_DE", NameOf(ctx_->currentLocale));
}

TEST_F(RequestLocale, WithoutLocaleSupportTheLocaleNeverChanges) {
  Request("127.0.0.2", "de-DE");
  EXPECT_EQ("", NameOf(ctx_->currentLocale));
  Request("127.0.0.2", "de-DE");
  EXPECT_EQ("", NameOf(ctx_->currentLocale));
  EXPECT_EQ(1u, ctx_->connxns.size());  // the caller is still tracked
}

}  // namespace

}  // namespace wsgated
