// Test support: writes COMTRADE records independently of the reader (the
// same raw samples in any data format, as separate files or one combined
// file), temporary folders, and file helpers.

#ifndef TESTS_COMTRADE_RECORD_WRITER_H_
#define TESTS_COMTRADE_RECORD_WRITER_H_

#include <cstdint>
#include <string>
#include <vector>

namespace comtrade_test {

struct Channel {
  std::string name;
  double a;
  double b;
};

struct Recording {
  std::vector<Channel> analog;
  int digital = 0;
  double rate_hz = 1000.0;
  std::vector<std::vector<int32_t>> raw;  // [sample][analog channel]

  // a * raw + b, as the reader should report it.
  float Engineering(size_t sample, size_t channel) const;
};

// `analog` channels of varied names, factors and offsets, `digital`
// digital channels, `samples` samples of pseudo-random raw values within
// the 16-bit range (so every format can hold them).
Recording MakeRecording(int analog, int digital, int samples, double rate_hz);

// The configuration (2013 revision) naming data file type `format`
// ("ASCII", "BINARY", "BINARY32" or "FLOAT32").
std::string ConfigText(const Recording& recording, const std::string& format);
std::string DataBytes(const Recording& recording, const std::string& format);
// Configuration and data as one 2013 combined file.
std::string CombinedFile(const Recording& recording, const std::string& format);

void WriteFile(const std::string& path, const std::string& bytes);
std::string ReadFile(const std::string& path);

// A fresh folder below the system's temporary folder, removed with
// everything in it at destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const {
    return path_ + "/" + name;
  }

 private:
  std::string path_;
};

}  // namespace comtrade_test

#endif  // TESTS_COMTRADE_RECORD_WRITER_H_
