// The reader handle: comtrade.h.

#include "platform/comtrade/comtrade.h"

#include <new>
#include <string>

#include "platform/comtrade/parse.h"
#include "platform/comtrade/record.h"
#include "platform/comtrade/record_files.h"

using toolkit::comtrade::Record;
using toolkit::comtrade::RecordBytes;
using toolkit::comtrade::RecordFiles;

struct comtrade_handle {
  Record record;
  std::string path;
  std::string error;
};

namespace {

toolkit::comtrade::PartBytes Part(const toolkit::comtrade::FileContent& file) {
  toolkit::comtrade::PartBytes part;
  part.present = file.present;
  part.bytes = file.bytes;
  return part;
}

int ReadAll(comtrade_handle_t* handle, const std::string& path) {
  RecordFiles files;
  int rc = toolkit::comtrade::ReadRecordFiles(path, &files, &handle->error);
  if (rc != COMTRADE_OK) return rc;
  if (files.cff.present) {
    rc = toolkit::comtrade::ParseCombined(files.cff.bytes, &handle->record,
                                          &handle->error);
  } else {
    RecordBytes parts;
    parts.cfg = Part(files.cfg);
    parts.dat = Part(files.dat);
    parts.hdr = Part(files.hdr);
    parts.inf = Part(files.inf);
    rc = toolkit::comtrade::LoadRecord(parts, &handle->record, &handle->error);
  }
  if (rc == COMTRADE_OK) handle->path = path;
  return rc;
}

}  // namespace

comtrade_handle_t* comtrade_alloc_handle() {
  return new (std::nothrow) comtrade_handle();
}

void comtrade_close(comtrade_handle_t* handle) { delete handle; }

int comtrade_read_all_files(comtrade_handle_t* handle, const char* path) {
  if (handle == nullptr) return COMTRADE_ERR_ARGUMENT;
  handle->record = Record();
  handle->path.clear();
  handle->error.clear();
  if (path == nullptr || *path == '\0') {
    handle->error = "no path given";
    return COMTRADE_ERR_ARGUMENT;
  }
  int rc;
  try {
    rc = ReadAll(handle, path);
  } catch (const std::bad_alloc&) {
    handle->error = "out of memory";
    rc = COMTRADE_ERR_NO_MEMORY;
  } catch (...) {  // nothing else is thrown; keep it inside all the same
    handle->error = "unexpected failure";
    rc = COMTRADE_ERR_IO;
  }
  if (rc != COMTRADE_OK) handle->record = Record();
  if (rc != COMTRADE_OK && handle->error.empty()) {
    handle->error = comtrade_status_name(rc);
  }
  return rc;
}

bool comtrade_has_config(const comtrade_handle_t* handle) {
  return handle != nullptr && handle->record.has_config;
}

bool comtrade_has_header(const comtrade_handle_t* handle) {
  return handle != nullptr && handle->record.has_header;
}

bool comtrade_has_info(const comtrade_handle_t* handle) {
  return handle != nullptr && handle->record.has_info;
}

bool comtrade_has_data(const comtrade_handle_t* handle) {
  return handle != nullptr && handle->record.has_data;
}

bool comtrade_data_is_empty(const comtrade_handle_t* handle) {
  return !comtrade_has_data(handle) || handle->record.samples.count == 0;
}

const char* comtrade_path(const comtrade_handle_t* handle) {
  return handle == nullptr ? "" : handle->path.c_str();
}

const char* comtrade_last_error(const comtrade_handle_t* handle) {
  return handle == nullptr ? "" : handle->error.c_str();
}

const char* comtrade_status_name(int status) {
  static const char* const kNames[] = {
      "success",          "bad argument",        "record not found",
      "read error",       "not a regular file",  "file too large",
      "syntax error",     "inconsistent record", "truncated data",
      "unsupported",      "part absent",         "path refused",
      "time out of range", "out of memory"};
  if (status < 0 || status >= static_cast<int>(sizeof kNames / sizeof *kNames))
    return "unknown status";
  return kNames[status];
}

const toolkit::comtrade::Record* comtrade_record(
    const comtrade_handle_t* handle) {
  return handle == nullptr ? nullptr : &handle->record;
}
