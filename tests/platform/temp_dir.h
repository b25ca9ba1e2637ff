// A fresh folder below /tmp for one test, removed with everything in it at
// the end; `dir / "name"` names a file inside it.

#ifndef TESTS_PLATFORM_TEMP_DIR_H_
#define TESTS_PLATFORM_TEMP_DIR_H_

#include <stdlib.h>

#include <filesystem>
#include <string>

namespace testing_files {

class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/wsgated_test.XXXXXX";
    if (mkdtemp(pattern) != nullptr) path_ = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const {
    return path_ + "/" + name;
  }

 private:
  std::string path_;
};

}  // namespace testing_files

#endif  // TESTS_PLATFORM_TEMP_DIR_H_
