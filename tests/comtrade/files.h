// Test support: whole-file reads and writes, and temporary folders.

#ifndef TESTS_COMTRADE_FILES_H_
#define TESTS_COMTRADE_FILES_H_

#include <fstream>
#include <sstream>
#include <string>

#include "tests/platform/temp_dir.h"

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

using TempDir = testing_files::TempDir;

}  // namespace comtrade_test

#endif  // TESTS_COMTRADE_FILES_H_
