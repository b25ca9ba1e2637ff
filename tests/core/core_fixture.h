// The host fixture (a ServiceContext over a fresh store, the log mirrored
// into a file) for the operations' tests: seed text loaded with the
// platform's seed loader, users of each role, the caller's identity in the
// environment as the request loop exports it, and optional locale support
// with the built catalogues.

#ifndef TESTS_CORE_CORE_FIXTURE_H_
#define TESTS_CORE_CORE_FIXTURE_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "core/service_options.h"
#include "host/locale_support.h"
#include "host/service_context.h"
#include "platform/seed.h"
#include "tests/host/host_fixture.h"

class CoreTest : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    if (HasFatalFailure()) return;
    // Security rules that tests rely on: "admin" is an Administrator,
    // "operator" an Operator, "viewer" a Viewer; others have no role.
    Seed("[/Software/Security/Users/admin]\nValue = Administrator\n"
         "[/Software/Security/Users/operator]\nValue = Operator\n"
         "[/Software/Security/Users/viewer]\nValue = Viewer\n");
    SetCaller("admin", "127.0.0.1");
  }

  void TearDown() override {
    unsetenv("REMOTE_USER");
    unsetenv("REMOTE_ADDR");
    HostTest::TearDown();
  }

  // Load seed text (the format of deploy/seed/*.seed) into the store.
  void Seed(const std::string& text) {
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(ctx_->cds, text, error)) << error;
  }

  // The caller as the request loop exports it; a null user unsets it.
  void SetCaller(const char* user, const char* address) {
    if (user) setenv("REMOTE_USER", user, 1); else unsetenv("REMOTE_USER");
    if (address) setenv("REMOTE_ADDR", address, 1); else unsetenv("REMOTE_ADDR");
  }

  // Locale support as the daemon sets it up, with the built catalogues.
  void EnableLocales(const std::string& supported = "en_US;de_DE;fr_FR") {
    ASSERT_TRUE(SetupLocalesFromList(ctx_.get(), supported,
                                     CORE_TEST_LOCALE_DIR));
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

#endif  // TESTS_CORE_CORE_FIXTURE_H_
