// The COMTRADE writer; see comtrade_writer.h.

#include "tools/waveforms/comtrade_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>

namespace wsgated {

namespace {

constexpr double kFullScale = 32767.0;

// "dd/mm/yyyy,hh:mm:ss.ssssss", the 1999 revision's time form.
std::string comtradeTime(const timeval& time) {
  const time_t seconds = time.tv_sec;
  tm utc{};
  gmtime_r(&seconds, &utc);
  char text[48];
  std::snprintf(text, sizeof(text), "%02d/%02d/%04d,%02d:%02d:%02d.%06ld",
                utc.tm_mday, utc.tm_mon + 1, utc.tm_year + 1900, utc.tm_hour,
                utc.tm_min, utc.tm_sec, static_cast<long>(time.tv_usec));
  return text;
}

// The multiplier that maps the channel's largest magnitude to full scale.
double scaleOf(const AnalogTrace& trace) {
  double largest = 0.0;
  for (double v : trace.values) largest = std::max(largest, std::fabs(v));
  return largest > 0.0 ? largest / kFullScale : 1.0;
}

std::string configuration(const RecordToWrite& record, size_t samples,
                          const std::vector<double>& scales) {
  std::ostringstream cfg;
  cfg.precision(9);
  cfg << record.station << ',' << record.device << ",1999\r\n";
  cfg << record.analog.size() + record.digital.size() << ','
      << record.analog.size() << "A," << record.digital.size() << "D\r\n";
  for (size_t i = 0; i < record.analog.size(); ++i) {
    const AnalogTrace& a = record.analog[i];
    cfg << i + 1 << ',' << a.name << ',' << a.phase << ",," << a.units << ','
        << scales[i] << ",0,0,-32767,32767,1,1,P\r\n";
  }
  for (size_t i = 0; i < record.digital.size(); ++i) {
    const DigitalTrace& d = record.digital[i];
    cfg << i + 1 << ',' << d.name << ",,," << d.normalState << "\r\n";
  }
  cfg << record.lineFrequency << "\r\n1\r\n"
      << record.samplingRate << ',' << samples << "\r\n"
      << comtradeTime(record.start) << "\r\n"
      << comtradeTime(record.trigger) << "\r\nBINARY\r\n1\r\n";
  return cfg.str();
}

void putLittleEndian(std::string& out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i)
    out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

std::string binaryData(const RecordToWrite& record, size_t samples,
                       const std::vector<double>& scales) {
  std::string dat;
  const size_t words = (record.digital.size() + 15) / 16;
  for (size_t n = 0; n < samples; ++n) {
    putLittleEndian(dat, static_cast<uint32_t>(n + 1), 4);
    const double micros = std::round(n * 1e6 / record.samplingRate);
    putLittleEndian(dat, static_cast<uint32_t>(micros), 4);
    for (size_t i = 0; i < record.analog.size(); ++i) {
      const long x = std::lround(record.analog[i].values[n] / scales[i]);
      putLittleEndian(dat, static_cast<uint16_t>(static_cast<int16_t>(x)), 2);
    }
    for (size_t w = 0; w < words; ++w) {
      uint32_t bits = 0;
      for (size_t b = 0; b < 16 && w * 16 + b < record.digital.size(); ++b)
        if (record.digital[w * 16 + b].values[n]) bits |= 1u << b;
      putLittleEndian(dat, bits, 2);
    }
  }
  return dat;
}

bool writeFile(const std::string& path, const std::string& bytes,
               std::string& error) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (out) return true;
  error = "cannot write " + path;
  return false;
}

// Every channel as long as the first; false with the reason otherwise.
bool consistent(const RecordToWrite& record, size_t& samples,
                std::string& error) {
  samples = record.analog.empty() ? 0 : record.analog[0].values.size();
  for (const AnalogTrace& a : record.analog)
    if (a.values.size() != samples) error = "channel " + a.name + " differs";
  for (const DigitalTrace& d : record.digital)
    if (d.values.size() != samples) error = "channel " + d.name + " differs";
  if (!(record.samplingRate > 0.0)) error = "no sampling rate";
  return error.empty();
}

}  // namespace

bool writeComtradeRecord(const std::string& base, const RecordToWrite& record,
                         std::string& error) {
  error.clear();
  size_t samples = 0;
  if (!consistent(record, samples, error)) return false;
  std::vector<double> scales;
  for (const AnalogTrace& a : record.analog) scales.push_back(scaleOf(a));
  if (!writeFile(base + ".cfg", configuration(record, samples, scales),
                 error) ||
      !writeFile(base + ".dat", binaryData(record, samples, scales), error)) {
    return false;
  }
  return record.header.empty() ||
         writeFile(base + ".hdr", record.header, error);
}

}  // namespace wsgated
