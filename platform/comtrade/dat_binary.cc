// Binary data files: ParseBinaryData of dat_internal.h.
//
// Each sample is one record of little-endian fields:
//   sample number   4 bytes, unsigned
//   time stamp      4 bytes, unsigned; 0xFFFFFFFF = missing
//   analog values   2 bytes each (BINARY, two's complement; 0x8000 = missing)
//                   4 bytes each (BINARY32, two's complement;
//                                 0x80000000 = missing)
//                   4 bytes each (FLOAT32, IEEE 754 single)
//   digital values  16 channels per 2-byte word, first channel in bit 0
// The bytes are assembled into integers explicitly, so the result is the
// same on a big-endian host (the device) as on a little-endian one.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/dat_internal.h"

namespace toolkit {
namespace comtrade {

namespace {

using Bytes = const unsigned char*;

constexpr uint16_t kMissing16 = 0x8000;
constexpr uint32_t kMissing32 = 0x80000000u;
constexpr uint32_t kMissingStamp32 = 0xFFFFFFFFu;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

uint16_t Le16(Bytes p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

uint32_t Le32(Bytes p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

float Int16Value(Bytes p) {
  const uint16_t u = Le16(p);
  if (u == kMissing16) return kNaN;
  return static_cast<float>(u >= 0x8000 ? int32_t{u} - 0x10000 : int32_t{u});
}

float Int32Value(Bytes p) {
  const uint32_t u = Le32(p);
  if (u == kMissing32) return kNaN;
  const int64_t value = u >= 0x80000000u ? int64_t{u} - (int64_t{1} << 32)
                                         : int64_t{u};
  return static_cast<float>(value);
}

// The float's bits arrive as an integer in host order, and a float has the
// same byte order as an integer on every host we build for.
float Float32Value(Bytes p) {
  const uint32_t u = Le32(p);
  float value;
  std::memcpy(&value, &u, sizeof value);
  return value;
}

// Decodes `samples->count` records. Value and its size are template
// arguments so that the inner loop has no branch on the format.
template <float (*Value)(Bytes), size_t kValueSize>
void DecodeRecords(Bytes data, size_t record_size, Samples* samples) {
  const size_t channels = samples->analog.size();
  const size_t count = static_cast<size_t>(samples->count);
  for (size_t i = 0; i < count; ++i) {
    const Bytes record = data + i * record_size;
    const uint32_t stamp = Le32(record + 4);
    samples->stamps[i] = stamp == kMissingStamp32 ? kMissingStamp : stamp;
    for (size_t c = 0; c < channels; ++c) {
      samples->analog[c][i] = Value(record + 8 + c * kValueSize);
    }
  }
}

int Fail(std::string* why, int status, const std::string& message) {
  if (why != nullptr) *why = message;
  return status;
}

}  // namespace

void AllocateSamples(const Config& config, Samples* samples) {
  const size_t count = static_cast<size_t>(config.sample_count);
  samples->count = config.sample_count;
  samples->stamps.assign(count, kMissingStamp);
  samples->analog.assign(config.analog.size(), std::vector<float>(count));
}

int ParseBinaryData(const Config& config, std::string_view bytes,
                    Samples* samples, std::string* why) {
  const size_t value_size = config.format == DataFormat::kBinary ? 2 : 4;
  const uint64_t record_size = 8 + config.analog.size() * value_size +
                               2 * ((config.digital.size() + 15) / 16);
  const uint64_t count = static_cast<uint64_t>(config.sample_count);
  const uint64_t whole_records = bytes.size() / record_size;
  if (count > whole_records) {
    return Fail(why, COMTRADE_ERR_TRUNCATED, "data holds " +
                std::to_string(whole_records) + " samples, the configuration "
                "declares " + std::to_string(count));
  }
  if (bytes.size() != count * record_size) {
    return Fail(why, COMTRADE_ERR_INCONSISTENT, "data holds " +
                std::to_string(bytes.size() - count * record_size) +
                " bytes beyond the " + std::to_string(count) +
                " samples the configuration declares");
  }
  AllocateSamples(config, samples);
  const Bytes data = reinterpret_cast<Bytes>(bytes.data());
  const size_t size = static_cast<size_t>(record_size);
  switch (config.format) {
    case DataFormat::kBinary:
      DecodeRecords<Int16Value, 2>(data, size, samples);
      break;
    case DataFormat::kBinary32:
      DecodeRecords<Int32Value, 4>(data, size, samples);
      break;
    default:
      DecodeRecords<Float32Value, 4>(data, size, samples);
      break;
  }
  return COMTRADE_OK;
}

}  // namespace comtrade
}  // namespace toolkit
