// Shared plumbing of the cdsctl subcommands (see cli.h).

#include "tools/cdsctl/cli.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#include "platform/element.h"
#include "platform/qrxtime.h"

namespace cdsctl {

int UsageError(const std::string& message) {
  std::cerr << "cdsctl: " << message << "\n"
            << "Try 'cdsctl --help'.\n";
  return kExitUsage;
}

namespace {

// What a status means to someone at the command line, and what to do.
struct StatusAdvice {
  api_status_t status;
  const char* words;
};

const StatusAdvice kStatusAdvice[] = {
    {API_STATUS_UNKNOWN, "the store did not say what happened"},
    {API_STATUS_NO_NODE,
     "no such node; 'cdsctl show PARENT --depth 1' lists what is there"},
    {API_STATUS_NO_ATTRIBUTE,
     "the node has no such attribute; 'cdsctl show NODE --depth 0' lists "
     "its attributes"},
    {API_STATUS_NOT_TYPED, "the attribute exists but holds no value"},
    {API_STATUS_BAD_PATH,
     "not a path the store accepts: nodes separated by '/', an attribute "
     "after '/' or ':'"},
    {API_STATUS_READ_ONLY,
     "the store is read-only (/ReadOnlyCDS, or the file's permissions)"},
    {API_STATUS_TYPE_MISMATCH,
     "the value does not fit the attribute's type; --type names another"},
    {API_STATUS_BUSY,
     "another process held the store's lock too long "
     "(TOOLKIT_CDS_BUSY_MS); try again"},
    {API_STATUS_IO_ERROR,
     "the store's database reported an error; check the disk and the "
     "file's permissions"},
    {API_STATUS_EXISTS, "it already exists"},
    {API_STATUS_NOT_OPEN,
     "the store is no longer open; was its file removed or replaced?"},
    {API_STATUS_ROLLED_BACK,
     "not written, because another part of the same change failed"},
    {API_STATUS_READ_ONLY_LEAF,
     "the store maintains this attribute itself; nobody writes it"},
};

}  // namespace

std::string StatusWords(api_status_t status) {
  for (const StatusAdvice& advice : kStatusAdvice) {
    if (advice.status == status) {
      return std::string(pcd_status_name(status)) + " (" + advice.words + ")";
    }
  }
  return pcd_status_name(status);
}

int Failed(const std::string& what, api_status_t status) {
  std::cerr << "cdsctl: " << what << ": " << StatusWords(status) << "\n";
  return kExitFailed;
}

void ReportEmpty(const std::string& what) {
  std::cerr << "cdsctl: " << what << ": none\n";
}

int FailedMessage(const std::string& message) {
  std::cerr << "cdsctl: " << message << "\n";
  return kExitFailed;
}

std::unique_ptr<toolkit::CCds> OpenStore(const Invocation& invocation) {
  // pcd_open reports only "no"; say whether the file is missing, which is
  // the usual mistake (a store is made by `cdsctl create`).
  struct stat info;
  if (stat(invocation.store.c_str(), &info) != 0) {
    std::cerr << "cdsctl: cannot open store " << invocation.store
              << ": no such file (create it with 'cdsctl create')\n";
    return nullptr;
  }
  pcd_handle_t handle = pcd_open(invocation.store.c_str());
  if (handle == nullptr) {
    std::cerr << "cdsctl: cannot open store " << invocation.store
              << ": not a store or not readable\n";
    return nullptr;
  }
  return std::unique_ptr<toolkit::CCds>(new toolkit::CCds(handle));
}

bool TakeOption(std::vector<std::string>* args, const std::string& name,
                std::string* value, bool* found, std::string* error) {
  *found = false;
  for (size_t i = 0; i < args->size(); ++i) {
    if ((*args)[i] != name) continue;
    if (i + 1 == args->size()) {
      *error = "option " + name + " needs a value";
      return false;
    }
    *value = (*args)[i + 1];
    *found = true;
    args->erase(args->begin() + i, args->begin() + i + 2);
    return true;
  }
  return true;
}

bool TakeTime(std::vector<std::string>* args, const std::string& name,
              bool* found, timeval* time, std::string* error) {
  std::string text;
  if (!TakeOption(args, name, &text, found, error)) return false;
  if (*found && !ParseTime(text, time)) {
    *error = "option " + name + " needs a time, not '" + text + "'";
    return false;
  }
  return true;
}

bool TakeFlag(std::vector<std::string>* args, const std::string& name) {
  for (size_t i = 0; i < args->size(); ++i) {
    if ((*args)[i] == name) {
      args->erase(args->begin() + i);
      return true;
    }
  }
  return false;
}

bool NoUnknownOptions(const std::vector<std::string>& args,
                      std::string* error) {
  for (const std::string& arg : args) {
    if (arg.compare(0, 2, "--") == 0) {
      *error = "unknown option '" + arg + "'";
      return false;
    }
  }
  return true;
}

bool ParseNumber(const std::string& text, long long* value) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  long long parsed = std::strtoll(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0') return false;
  *value = parsed;
  return true;
}

bool TakeNumberOption(std::vector<std::string>* args, const std::string& name,
                      long long fallback, long long* value,
                      std::string* error) {
  std::string text;
  bool found = false;
  if (!TakeOption(args, name, &text, &found, error)) return false;
  if (!found) {
    *value = fallback;
    return true;
  }
  if (!ParseNumber(text, value) || *value < 0) {
    *error = "option " + name + " needs a number, not '" + text + "'";
    return false;
  }
  return true;
}

std::string FormatQrxTime(long long qrx_us) {
  timeval tv;
  qrx_QRXtoUNIXtime64(qrx_us, &tv);
  return toolkit::CElement(tv).to_string();
}

bool ParseTime(const std::string& text, timeval* time) {
  toolkit::CElement element(text);
  if (text.empty() || element.convert_type(PCD_TYPE_TIMEVAL) != 0) {
    return false;
  }
  *time = element.to_timeval();
  return true;
}

bool ReadFile(const std::string& path, std::string* text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream contents;
  contents << in.rdbuf();
  *text = contents.str();
  return !in.bad();
}

}  // namespace cdsctl
