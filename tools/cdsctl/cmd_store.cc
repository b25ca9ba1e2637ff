// Subcommands that make, fill and export a whole store: create, load, export.

#include <iostream>

#include "platform/cds.h"
#include "platform/seed.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

// Reads every seed file first, so that a missing file is reported before
// anything is created or replaced.
bool ReadSeeds(const std::vector<std::string>& files,
               std::vector<std::string>* texts) {
  for (const std::string& file : files) {
    std::string text;
    if (!ReadFile(file, &text)) {
      std::cerr << "cdsctl: cannot read seed file " << file << "\n";
      return false;
    }
    texts->push_back(text);
  }
  return true;
}

int LoadSeeds(toolkit::CCds& cds, const std::vector<std::string>& files,
              const std::vector<std::string>& texts) {
  for (size_t i = 0; i < files.size(); ++i) {
    std::string error;
    if (toolkit::cds_load_seed(cds, texts[i], error) != 0) {
      return FailedMessage(files[i] + ":" + error);
    }
  }
  return kExitOk;
}

}  // namespace

int CmdCreate(const Invocation& invocation) {
  std::vector<std::string> files = invocation.args;
  bool replace = TakeFlag(&files, "--replace");
  std::string error;
  if (!NoUnknownOptions(files, &error)) return UsageError(error);
  std::vector<std::string> texts;
  if (!ReadSeeds(files, &texts)) return kExitUsage;
  if (cds_create(invocation.store, replace) != 0) {
    return FailedMessage("cannot create store " + invocation.store +
                         (replace ? "" : " (does it exist? use --replace)"));
  }
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  return LoadSeeds(*cds, files, texts);
}

int CmdLoad(const Invocation& invocation) {
  std::string error;
  if (!NoUnknownOptions(invocation.args, &error)) return UsageError(error);
  if (invocation.args.size() != 1) {
    return UsageError("load needs exactly one seed file");
  }
  std::vector<std::string> texts;
  if (!ReadSeeds(invocation.args, &texts)) return kExitUsage;
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  return LoadSeeds(*cds, invocation.args, texts);
}

int CmdExport(const Invocation& invocation) {
  std::string error;
  if (!NoUnknownOptions(invocation.args, &error)) return UsageError(error);
  if (invocation.args.size() > 1) return UsageError("export takes one path");
  std::string path = invocation.args.empty() ? "/" : invocation.args[0];
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  api_status_t status = API_STATUS_UNKNOWN;
  if (cds->test_node(path, status) != 0 || status != API_STATUS_OK) {
    return Failed("export " + path, status);
  }
  if (toolkit::cds_dump_seed(*cds, path, std::cout) != 0) {
    return FailedMessage("export " + path + ": the store could not be read");
  }
  return kExitOk;
}

}  // namespace cdsctl
