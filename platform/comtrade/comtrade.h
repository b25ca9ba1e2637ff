// The COMTRADE reader: reads the record sets of transient recordings
// (IEEE C37.111 1991, 1999 and 2013; IEC 60255-24) that the device stores
// in its waveform folder.
//
// A record set is a configuration file (.cfg), a data file (.dat), a header
// file (.hdr) and an information file (.inf) sharing one base name, or the
// single combined file (.cff) of the 2013 revision that holds them all.
// Each part may be absent. The data classes of wave_data.h turn what a
// handle holds into the figures the web service answers with;
// docs/comtrade.md describes the formats read and the reader's choices.
//
// Every function reports success as 0 (COMTRADE_OK) and failure as one of
// the status values below; no exception leaves the library. A handle
// belongs to one thread at a time.
//
//   comtrade_handle_t* h = comtrade_alloc_handle();
//   if (h != nullptr && comtrade_read_all_files(h, path) == COMTRADE_OK) {
//     ... toolkit::CWaveConfigData::fillData(h) ...
//   }
//   comtrade_close(h);

#ifndef PLATFORM_COMTRADE_COMTRADE_H_
#define PLATFORM_COMTRADE_COMTRADE_H_

#include <cstddef>

namespace toolkit {
namespace comtrade {
struct Record;
}  // namespace comtrade
}  // namespace toolkit

enum comtrade_status {
  COMTRADE_OK = 0,
  COMTRADE_ERR_ARGUMENT = 1,      // null handle or path, or a bad argument
  COMTRADE_ERR_NOT_FOUND = 2,     // no part of the record set exists (or
                                  // every part present is empty)
  COMTRADE_ERR_IO = 3,            // a file exists but cannot be read
  COMTRADE_ERR_NOT_REGULAR = 4,   // a record file is a folder, FIFO, device..
  COMTRADE_ERR_TOO_LARGE = 5,     // a file exceeds COMTRADE_MAX_FILE_BYTES
  COMTRADE_ERR_SYNTAX = 6,        // a line or field breaks the format
  COMTRADE_ERR_INCONSISTENT = 7,  // counts or declarations contradict
  COMTRADE_ERR_TRUNCATED = 8,     // data shorter than the configuration says
  COMTRADE_ERR_UNSUPPORTED = 9,   // unknown revision or data file type
  COMTRADE_ERR_NO_PART = 10,      // the handle lacks the part asked for
  COMTRADE_ERR_PATH = 11,         // a URL or path refused (comtrade_view.h)
  COMTRADE_ERR_RANGE = 12,        // a time outside what timeval can hold
  COMTRADE_ERR_NO_MEMORY = 13     // memory ran out
};

// Largest record file read (64 MiB). Decoded samples take at most about
// four times a data file's size, so this bounds the memory of a read.
constexpr size_t COMTRADE_MAX_FILE_BYTES = size_t{64} << 20;

typedef struct comtrade_handle comtrade_handle_t;

// A new, empty handle; nullptr when memory runs out.
comtrade_handle_t* comtrade_alloc_handle();

// Releases the handle and everything read into it. Null is ignored.
void comtrade_close(comtrade_handle_t* handle);

// Reads the record set at `path` into the handle, replacing what it held.
// `path` names the set with or without an extension: "dir/rec",
// "dir/rec.cfg" (or .dat/.hdr/.inf: the set is read all the same) or
// "dir/rec.cff". Without an extension the separate files are read when any
// of them exists, otherwise "dir/rec.cff". Each extension is tried as the
// path spells it, then in lower and in upper case. Only regular files are
// opened, never blocking on a FIFO or device. The whole set fails when a
// part present is bad (data shorter or longer than the configuration
// declares, counts that contradict, syntax); a data file without a
// configuration cannot be decoded and counts as absent. On failure the
// handle holds no part.
int comtrade_read_all_files(comtrade_handle_t* handle, const char* path);

// Which parts the last successful read found (false for a null handle).
bool comtrade_has_config(const comtrade_handle_t* handle);
bool comtrade_has_header(const comtrade_handle_t* handle);
bool comtrade_has_info(const comtrade_handle_t* handle);
bool comtrade_has_data(const comtrade_handle_t* handle);
// True when there is no data part or it holds no sample.
bool comtrade_data_is_empty(const comtrade_handle_t* handle);

// The path given to the last successful read ("" when none).
const char* comtrade_path(const comtrade_handle_t* handle);

// What went wrong in the last failed call on the handle, for a log line
// ("sample_bin.cfg line 4: analog channel 2: a is not a number"); "" after
// a success.
const char* comtrade_last_error(const comtrade_handle_t* handle);

// A short English name of a status value.
const char* comtrade_status_name(int status);

// Everything the handle holds, for callers that need more than the data
// classes give (null for a null handle). Valid until the next read or
// comtrade_close.
const toolkit::comtrade::Record* comtrade_record(
    const comtrade_handle_t* handle);

#endif  // PLATFORM_COMTRADE_COMTRADE_H_
