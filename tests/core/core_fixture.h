// A ServiceContext over a fresh store for the core tests: seed text loaded
// with the platform's seed loader, the caller's identity in the environment
// as the request loop exports it, optional locale support with the built
// catalogues, and the log mirrored into a file the test can search.

#ifndef TESTS_CORE_CORE_FIXTURE_H_
#define TESTS_CORE_CORE_FIXTURE_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <locale>
#include <memory>
#include <sstream>
#include <string>

#include "core/service_options.h"
#include "host/locale_support.h"
#include "host/service_context.h"
#include "platform/cds.h"
#include "platform/seed.h"
#include "platform/syslog.h"

class CoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/wsgated_core_test.XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(tmpl));
    dir_ = tmpl;
    ASSERT_EQ(0, cds_create(dir_ + "/cds.db", false));
    setenv("TOOLKIT_CDS_PATH", (dir_ + "/cds.db").c_str(), 1);
    log_path_ = dir_ + "/wsgated.log";
    toolkit::g_syslog = new toolkit::CSysLog("wsgated", 6, false, false,
                                             false, log_path_.c_str());
    saved_global_ = std::locale();
    ctx_ = std::make_unique<ServiceContext>();
    ASSERT_TRUE(ctx_->cds.is_open());
    // Security rules that tests rely on: "admin" is an Administrator,
    // "operator" an Operator, "viewer" a Viewer; others have no role.
    Seed("[/Software/Security/Users/admin]\nValue = Administrator\n"
         "[/Software/Security/Users/operator]\nValue = Operator\n"
         "[/Software/Security/Users/viewer]\nValue = Viewer\n");
    SetCaller("admin", "127.0.0.1");
  }

  void TearDown() override {
    ctx_.reset();
    std::locale::global(saved_global_);
    delete toolkit::g_syslog;
    toolkit::g_syslog = nullptr;
    unsetenv("TOOLKIT_CDS_PATH");
    unsetenv("REMOTE_USER");
    unsetenv("REMOTE_ADDR");
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
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

  std::string Log() const {
    std::ifstream in(log_path_);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  bool LogHas(const std::string& needle) const {
    return Log().find(needle) != std::string::npos;
  }

  std::string dir_;
  std::string log_path_;
  std::locale saved_global_;
  std::unique_ptr<ServiceContext> ctx_;
};

#endif  // TESTS_CORE_CORE_FIXTURE_H_
