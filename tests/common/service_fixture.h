// Fixtures for the operations' tests. ContextTest: a ServiceContext over a
// fresh store in a private temporary folder, with the log mirrored into a
// file of that folder so tests can read it. ServiceTest adds seed text
// loaded with the platform's seed loader, users of each role, the
// request's caller, and optional locale support with the built catalogues.

#ifndef TESTS_COMMON_SERVICE_FIXTURE_H_
#define TESTS_COMMON_SERVICE_FIXTURE_H_

#include <gtest/gtest.h>

#include <boost/locale.hpp>
#include <fstream>
#include <locale>
#include <memory>
#include <sstream>
#include <string>

#include "common/service_context.h"
#include "common/service_options.h"
#include "host/locale_support.h"
#include "platform/cds.h"
#include "platform/seed.h"
#include "platform/syslog.h"
#include "tests/platform/temp_dir.h"

namespace wsgated {

// The name a generated locale carries ("de_DE"), or "" for one without
// locale information.
inline std::string NameOf(const std::locale& locale) {
  if (!std::has_facet<boost::locale::info>(locale)) return "";
  const auto& info = std::use_facet<boost::locale::info>(locale);
  return info.language() + "_" + info.country();
}

class ContextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, cds_create(dir_ + "/cds.db", false));
    setenv("TOOLKIT_CDS_PATH", (dir_ + "/cds.db").c_str(), 1);
    log_path_ = dir_ + "/wsgated.log";
    toolkit::g_syslog =
        new toolkit::CSysLog("wsgated", 6, false, false, false, log_path_.c_str());
    saved_global_ = std::locale();
    ctx_ = std::make_unique<ServiceContext>();
    ASSERT_TRUE(ctx_->cds.is_open());
  }

  void TearDown() override {
    ctx_.reset();
    std::locale::global(saved_global_);
    delete toolkit::g_syslog;
    toolkit::g_syslog = nullptr;
    unsetenv("TOOLKIT_CDS_PATH");
  }

  std::string Log() const {
    std::ifstream in(log_path_);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  size_t CountInLog(const std::string& needle) const {
    const std::string log = Log();
    size_t count = 0;
    for (size_t at = log.find(needle); at != std::string::npos;
         at = log.find(needle, at + 1)) {
      ++count;
    }
    return count;
  }

  testing_files::TempDir temp_;
  std::string dir_ = temp_.path();
  std::string log_path_;
  std::locale saved_global_;
  std::unique_ptr<ServiceContext> ctx_;
};

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

  // The leaf at `path`, which must be readable.
  toolkit::CElement Stored(const std::string& path,
                           element_property_t* property = nullptr) {
    api_status_t status = API_STATUS_UNKNOWN;
    toolkit::CElement element;
    element_property_t ignored = PCD_PROP_NORMAL;
    ctx_->cds.get_leaf(path, status, element, property ? *property : ignored);
    EXPECT_EQ(API_STATUS_OK, status) << path;
    return element;
  }

  bool LogHas(const std::string& needle) const {
    return Log().find(needle) != std::string::npos;
  }
};

}  // namespace wsgated

#endif  // TESTS_COMMON_SERVICE_FIXTURE_H_
