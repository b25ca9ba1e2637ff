// Test support; see record_writer.h.

#include "tests/comtrade/record_writer.h"

#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace comtrade_test {

namespace {

void PutLe(uint32_t value, int bytes, std::string* out) {
  for (int i = 0; i < bytes; ++i) {
    out->push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  }
}

// Digital channel d of sample s is set in a pattern that varies per word.
bool DigitalBit(size_t sample, int channel) {
  return (sample * 7 + static_cast<size_t>(channel) * 3) % 5 < 2;
}

std::string AsciiLine(const Recording& r, size_t s) {
  std::ostringstream line;
  line << s + 1 << ',' << s * 1000000 / static_cast<size_t>(r.rate_hz);
  for (int32_t value : r.raw[s]) line << ',' << value;
  for (int d = 0; d < r.digital; ++d) line << ',' << DigitalBit(s, d);
  line << "\r\n";
  return line.str();
}

void PutBinarySample(const Recording& r, size_t s, const std::string& format,
                     std::string* out) {
  PutLe(static_cast<uint32_t>(s + 1), 4, out);
  PutLe(static_cast<uint32_t>(s * 1000000 / static_cast<size_t>(r.rate_hz)),
        4, out);
  for (int32_t value : r.raw[s]) {
    uint32_t bits = static_cast<uint32_t>(value);
    if (format == "FLOAT32") {
      const float f = static_cast<float>(value);
      std::memcpy(&bits, &f, 4);
    }
    PutLe(bits, format == "BINARY" ? 2 : 4, out);
  }
  for (int word = 0; word < (r.digital + 15) / 16; ++word) {
    uint32_t bits = 0;
    for (int d = word * 16; d < r.digital && d < word * 16 + 16; ++d) {
      if (DigitalBit(s, d)) bits |= 1u << (d - word * 16);
    }
    PutLe(bits, 2, out);
  }
}

}  // namespace

float Recording::Engineering(size_t sample, size_t channel) const {
  return static_cast<float>(analog[channel].a * raw[sample][channel] +
                            analog[channel].b);
}

Recording MakeRecording(int analog, int digital, int samples, double rate_hz) {
  Recording r;
  for (int c = 0; c < analog; ++c) {
    r.analog.push_back({"CH" + std::to_string(c + 1), 0.001 * (c + 1),
                        c % 2 == 0 ? 0.0 : -1.5 * c});
  }
  r.digital = digital;
  r.rate_hz = rate_hz;
  uint32_t state = 12345;
  for (int s = 0; s < samples; ++s) {
    std::vector<int32_t> row;
    for (int c = 0; c < analog; ++c) {
      state = state * 1103515245u + 12345u;
      row.push_back(static_cast<int32_t>((state >> 8) % 65535) - 32767);
    }
    r.raw.push_back(row);
  }
  return r;
}

std::string ConfigText(const Recording& r, const std::string& format) {
  std::ostringstream cfg;
  cfg.precision(17);
  const size_t analog = r.analog.size();
  cfg << "generated station,generated device,2013\r\n"
      << analog + static_cast<size_t>(r.digital) << ',' << analog << "A,"
      << r.digital << "D\r\n";
  for (size_t c = 0; c < analog; ++c) {
    cfg << c + 1 << ',' << r.analog[c].name << ",,,V," << r.analog[c].a
        << ',' << r.analog[c].b << ",0,-32767,32767,1,1,P\r\n";
  }
  for (int d = 0; d < r.digital; ++d) {
    cfg << d + 1 << ",D" << d + 1 << ",,,0\r\n";
  }
  cfg << "50\r\n1\r\n" << r.rate_hz << ',' << r.raw.size() << "\r\n"
      << "15/03/2026,12:00:00.000000\r\n15/03/2026,12:00:00.500000\r\n"
      << format << "\r\n1\r\n0,0\r\n3,0\r\n";
  return cfg.str();
}

std::string DataBytes(const Recording& r, const std::string& format) {
  std::string out;
  for (size_t s = 0; s < r.raw.size(); ++s) {
    if (format == "ASCII") {
      out += AsciiLine(r, s);
    } else {
      PutBinarySample(r, s, format, &out);
    }
  }
  return out;
}

std::string CombinedFile(const Recording& r, const std::string& format) {
  const std::string data = DataBytes(r, format);
  std::string marker = "--- file type: DAT " + format;
  if (format != "ASCII") marker += ": " + std::to_string(data.size());
  return "--- file type: CFG ---\r\n" + ConfigText(r, format) +
         "--- file type: INF ---\r\n--- file type: HDR ---\r\n" + marker +
         " ---\r\n" + data;
}

void WriteFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

TempDir::TempDir() {
  std::string pattern =
      (std::filesystem::temp_directory_path() / "comtrade-test-XXXXXX")
          .string();
  path_ = mkdtemp(&pattern[0]) == nullptr ? "" : pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

}  // namespace comtrade_test
