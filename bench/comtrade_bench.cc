// comtrade_bench: how fast the COMTRADE reader reads a record.
//
// Writes one record of 10 analog channels, 1 second at 30 kHz (30,000
// samples of 50 Hz sine waves), in each data format (ASCII, BINARY,
// BINARY32, FLOAT32) as .cfg/.dat, and in BINARY as one combined .cff file,
// into a temporary folder (removed at the end). Then times
// comtrade_read_all_files() on each (open, read, decode: what a
// getWaveformData request pays before it picks a channel) and prints one
// table row per form: bytes read, milliseconds per read (median), MB/s, and
// the time relative to BINARY.
//
// Usage: comtrade_bench [scale]   (scale multiplies the repetitions;
// default 1: 21 reads per form after a warm-up read)

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/wave_data.h"

namespace {

constexpr int kChannels = 10;
constexpr int kSamples = 30000;
constexpr double kRate = 30000.0;
constexpr double kScale = 0.01;  // a: engineering value per raw step
constexpr double kPi = 3.14159265358979323846;

int32_t Raw(int sample, int channel) {
  const double t = sample / kRate;
  return static_cast<int32_t>(std::lround(
      30000.0 * std::sin(2 * kPi * 50.0 * t + channel * 0.6)));
}

uint32_t Stamp(int sample) {
  return static_cast<uint32_t>(std::lround(sample * 1e6 / kRate));
}

std::string Config(const std::string& format) {
  std::string cfg = "bench station,bench recorder,2013\r\n10,10A,0D\r\n";
  for (int c = 1; c <= kChannels; ++c) {
    cfg += std::to_string(c) + ",CH" + std::to_string(c) +
           ",A,bay,kV,0.01,0,0,-32767,32767,1,1,P\r\n";
  }
  return cfg + "50\r\n1\r\n30000,30000\r\n01/01/2026,00:00:00.000000\r\n" +
         "01/01/2026,00:00:00.100000\r\n" + format + "\r\n1\r\n0,0\r\n3,0\r\n";
}

void PutLe(uint32_t value, int bytes, std::string* out) {
  for (int i = 0; i < bytes; ++i) {
    out->push_back(static_cast<char>(value >> (8 * i)));
  }
}

std::string Data(const std::string& format) {
  std::string out;
  for (int s = 0; s < kSamples; ++s) {
    if (format == "ASCII") {
      out += std::to_string(s + 1) + "," + std::to_string(Stamp(s));
      for (int c = 0; c < kChannels; ++c) out += "," + std::to_string(Raw(s, c));
      out += "\r\n";
      continue;
    }
    PutLe(static_cast<uint32_t>(s + 1), 4, &out);
    PutLe(Stamp(s), 4, &out);
    for (int c = 0; c < kChannels; ++c) {
      uint32_t bits = static_cast<uint32_t>(Raw(s, c));
      if (format == "FLOAT32") {
        const float value = static_cast<float>(Raw(s, c));
        std::memcpy(&bits, &value, sizeof bits);
      }
      PutLe(bits, format == "BINARY" ? 2 : 4, &out);
    }
  }
  return out;
}

size_t Write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
  return bytes.size();
}

// Reads `path` once; false (with a message) if the record is not as
// written.
bool ReadOnce(const std::string& path) {
  comtrade_handle_t* handle = comtrade_alloc_handle();
  bool good = comtrade_read_all_files(handle, path.c_str()) == COMTRADE_OK;
  if (good) {
    toolkit::CWaveSampleData samples;
    good = samples.fillData(handle, true) == COMTRADE_OK &&
           samples.channels.size() == kChannels &&
           samples.channels[9].samples.size() == kSamples &&
           std::fabs(samples.channels[9].samples[12345] -
                     Raw(12345, 9) * kScale) < 1e-3;
  }
  if (!good) {
    fprintf(stderr, "comtrade_bench: %s read wrong: %s\n", path.c_str(),
            comtrade_last_error(handle));
  }
  comtrade_close(handle);
  return good;
}

// Median milliseconds of `runs` reads of `path`.
double TimeReads(const std::string& path, int runs) {
  std::vector<double> ms;
  if (!ReadOnce(path)) return -1;  // warm-up and check
  for (int i = 0; i < runs; ++i) {
    const auto start = std::chrono::steady_clock::now();
    comtrade_handle_t* handle = comtrade_alloc_handle();
    comtrade_read_all_files(handle, path.c_str());
    comtrade_close(handle);
    ms.push_back(std::chrono::duration<double, std::milli>(
                     std::chrono::steady_clock::now() - start).count());
  }
  std::sort(ms.begin(), ms.end());
  return ms[ms.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const int scale = argc > 1 ? std::max(1, atoi(argv[1])) : 1;
  std::string folder =
      (std::filesystem::temp_directory_path() / "comtrade-bench-XXXXXX")
          .string();
  if (mkdtemp(&folder[0]) == nullptr) {
    perror("comtrade_bench: mkdtemp");
    return 1;
  }
  struct Form { std::string label, path; size_t bytes; };
  std::vector<Form> forms;
  for (const char* format : {"ASCII", "BINARY", "BINARY32", "FLOAT32"}) {
    const std::string base = folder + "/" + format;
    const size_t bytes = Write(base + ".cfg", Config(format)) +
                         Write(base + ".dat", Data(format));
    forms.push_back({format, base, bytes});
  }
  const std::string data = Data("BINARY");
  const std::string combined =
      "--- file type: CFG ---\r\n" + Config("BINARY") +
      "--- file type: DAT BINARY: " + std::to_string(data.size()) +
      " ---\r\n" + data;
  forms.push_back({"CFF (BINARY)", folder + "/combined.cff",
                   Write(folder + "/combined.cff", combined)});

  printf("%d analog channels, %d samples at %.0f Hz; median of %d reads\n\n",
         kChannels, kSamples, kRate, 21 * scale);
  printf("| %-13s | %10s | %8s | %8s | %9s |\n", "form", "bytes", "ms/read",
         "MB/s", "vs BINARY");
  printf("|---------------|-----------:|---------:|---------:|----------:|\n");
  std::vector<double> ms;
  double binary_ms = 1;
  for (const Form& form : forms) {
    ms.push_back(TimeReads(form.path, 21 * scale));
    if (form.label == "BINARY") binary_ms = ms.back();
  }
  int failures = 0;
  for (size_t i = 0; i < forms.size(); ++i) {
    if (ms[i] < 0) {
      ++failures;
      continue;
    }
    printf("| %-13s | %10zu | %8.2f | %8.1f | %8.2fx |\n",
           forms[i].label.c_str(), forms[i].bytes, ms[i],
           forms[i].bytes / 1e6 / (ms[i] / 1e3), ms[i] / binary_ms);
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return failures == 0 ? 0 : 1;
}
