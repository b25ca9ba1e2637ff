// The context fixture (a ServiceContext over a fresh store, the log
// mirrored into a file) for the operations' tests: seed text loaded with the
// platform's seed loader, users of each role, the request's caller, and
// optional locale support with the built catalogues.

#ifndef TESTS_COMMON_SERVICE_FIXTURE_H_
#define TESTS_COMMON_SERVICE_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>

#include "common/service_context.h"
#include "common/service_options.h"
#include "host/locale_support.h"
#include "platform/seed.h"
#include "tests/common/context_fixture.h"

namespace wsgated {

class ServiceTest : public ContextTest {
 protected:
  void SetUp() override {
    ContextTest::SetUp();
    if (HasFatalFailure()) return;
    // Security rules that tests rely on: "admin" is an Administrator,
    // "operator" an Operator, "viewer" a Viewer; others have no role.
    Seed("[/Software/Security/Users/admin]\nValue = Administrator\n"
         "[/Software/Security/Users/operator]\nValue = Operator\n"
         "[/Software/Security/Users/viewer]\nValue = Viewer\n");
    SetCaller("admin", "127.0.0.1");
  }

  // Load seed text (the format of deploy/seed/*.seed) into the store.
  void Seed(const std::string& text) {
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(ctx_->cds, text, error)) << error;
  }

  // The request's caller as the request loop records it ("" for none).
  void SetCaller(const std::string& user, const std::string& address) {
    ctx_->caller.user = user;
    ctx_->caller.address = address;
  }

  // Locale support as the daemon sets it up, with the built catalogues.
  void EnableLocales(const std::string& supported = "en_US;de_DE;fr_FR") {
    ASSERT_TRUE(setupLocalesFromList(ctx_.get(), supported,
                                     TEST_LOCALE_DIR));
  }

  ServiceOptions Options(const std::string& text) {
    ServiceOptions options;
    parseServiceOptions(ctx_.get(), &text, options);
    return options;
  }

  bool LogHas(const std::string& needle) const {
    return Log().find(needle) != std::string::npos;
  }
};

}  // namespace wsgated

#endif  // TESTS_COMMON_SERVICE_FIXTURE_H_
