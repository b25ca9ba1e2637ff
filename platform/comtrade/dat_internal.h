// The data file decoders behind ParseData (parse.h), one per encoding.
// Both receive a configuration and fill *samples, which ParseData has
// cleared; both check the data's length against the sample count before
// allocating.

#ifndef PLATFORM_COMTRADE_DAT_INTERNAL_H_
#define PLATFORM_COMTRADE_DAT_INTERNAL_H_

#include <string>
#include <string_view>

#include "platform/comtrade/record.h"

namespace toolkit {
namespace comtrade {

// ASCII data: one line per sample, "n,timestamp,A1..Ak,D1..Dm".
int ParseAsciiData(const Config& config, std::string_view bytes,
                   Samples* samples, std::string* why);

// BINARY, BINARY32 and FLOAT32 data: fixed-size little-endian records.
int ParseBinaryData(const Config& config, std::string_view bytes,
                    Samples* samples, std::string* why);

// Sizes samples->stamps and samples->analog for config.sample_count samples.
void AllocateSamples(const Config& config, Samples* samples);

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_DAT_INTERNAL_H_
