// A fresh store in a private temporary folder, for tests that need a real
// CDS, with small helpers that turn store calls into assertions.

#ifndef TESTS_PLATFORM_TEMP_STORE_H_
#define TESTS_PLATFORM_TEMP_STORE_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/cds.h"
#include "platform/element.h"
#include "tests/platform/temp_dir.h"

namespace testing_store {

// "cds.db" made with cds_create in a temporary folder.
class TempStore {
 public:
  TempStore() : created_(cds_create(path_, false) == 0) {}

  bool created() const { return created_; }
  const std::string& path() const { return path_; }
  // A new connection; the CCds takes ownership.
  std::unique_ptr<toolkit::CCds> Open() const {
    return std::make_unique<toolkit::CCds>(pcd_open(path_.c_str()));
  }

 private:
  testing_files::TempDir dir_;
  std::string path_ = dir_ / "cds.db";
  bool created_;
};

// Fixture: one store and one open handle to it.
class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(store_.created());
    cds_ = store_.Open();
    ASSERT_TRUE(cds_->is_open());
  }

  void AddNode(const std::string& path) {
    api_status_t status;
    ASSERT_EQ(0, cds_->add_node(path, status, "test")) << path;
    ASSERT_TRUE(status == API_STATUS_OK || status == API_STATUS_EXISTS)
        << path << " " << pcd_status_name(status);
  }
  void Set(const std::string& path, const toolkit::CElement& value) {
    api_status_t status;
    ASSERT_EQ(0, cds_->set_leaf(path, value, status, PCD_TRIBOOL_UNKNOWN,
                                "test"))
        << path;
    ASSERT_EQ(API_STATUS_OK, status) << path << " " << pcd_status_name(status);
  }
  void SetText(const std::string& path, const char* text) {
    Set(path, toolkit::CElement(text));
  }
  // The leaf's value; an element of type None when it cannot be read.
  toolkit::CElement Get(const std::string& path) {
    return Get(*cds_, path);
  }
  static toolkit::CElement Get(toolkit::CCds& cds, const std::string& path) {
    api_status_t status;
    toolkit::CElement element;
    element_property_t property;
    if (cds.get_leaf(path, status, element, property) != 0 ||
        status != API_STATUS_OK) {
      element.clear();
    }
    return element;
  }
  bool Exists(const std::string& path) {
    api_status_t status;
    return cds_->test_node(path, status) == 0 && status == API_STATUS_OK;
  }

  TempStore store_;
  std::unique_ptr<toolkit::CCds> cds_;
};

}  // namespace testing_store

#endif  // TESTS_PLATFORM_TEMP_STORE_H_
