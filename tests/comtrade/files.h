// Test support: temporary folders and whole-file reads and writes.

#ifndef TESTS_COMTRADE_FILES_H_
#define TESTS_COMTRADE_FILES_H_

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace comtrade_test {

inline void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

// A fresh folder below the system's temporary folder, removed with
// everything in it at destruction.
class TempDir {
 public:
  TempDir() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "comtrade-test-XXXXXX")
            .string();
    path_ = mkdtemp(&pattern[0]) == nullptr ? "" : pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const {
    return path_ + "/" + name;
  }

 private:
  std::string path_;
};

}  // namespace comtrade_test

#endif  // TESTS_COMTRADE_FILES_H_
