// wavectl: the waveform records of the card's waveform folder from the
// command line. `demo` writes the demo's records (demo_records.h); `chart`
// draws a record's analog channels as an SVG document (record_chart.h),
// the quickest look at a capture without a COMTRADE viewer.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tools/waveforms/demo_records.h"
#include "tools/waveforms/record_chart.h"

namespace wsgated {
namespace {

const char kUsage[] =
    "usage: wavectl demo FOLDER\n"
    "       wavectl chart RECORD [--channel NAME]... [--title TEXT]\n"
    "                     [--width PIXELS] [--height PIXELS]\n"
    "\n"
    "demo writes the demo's COMTRADE records (configuration, binary data\n"
    "and header files) into FOLDER, which must exist, replacing files of\n"
    "the same names. chart reads the record set RECORD (a path with or\n"
    "without extension) and writes an SVG chart of its analog channels\n"
    "(all, or each NAME given, matched exactly) to standard output.\n"
    "\n"
    "Exit status: 0 done, 1 bad usage, 2 the record or folder failed.\n";

int usage(const char* why) {
  std::fprintf(stderr, "wavectl: %s\n%s", why, kUsage);
  return 1;
}

int failed(const std::string& why) {
  std::fprintf(stderr, "wavectl: %s\n", why.c_str());
  return 2;
}

bool pixels(const char* text, int& value) {
  char* end = nullptr;
  errno = 0;
  const long v = std::strtol(text, &end, 10);
  if (errno != 0 || end == text || *end != '\0' || v < kMinChartSide ||
      v > 20000) {
    return false;
  }
  value = static_cast<int>(v);
  return true;
}

int chart(int argc, char** argv) {
  if (argc < 3) return usage("chart needs a record");
  std::vector<std::string> channels;
  ChartLayout layout;
  for (int i = 3; i < argc; i += 2) {
    if (i + 1 >= argc) return usage("an option lacks its value");
    const std::string option = argv[i];
    if (option == "--channel") {
      channels.push_back(argv[i + 1]);
    } else if (option == "--title") {
      layout.title = argv[i + 1];
    } else if (option == "--width" || option == "--height") {
      if (!pixels(argv[i + 1],
                  option == "--width" ? layout.width : layout.height))
        return usage("a size is a number of pixels from 200 to 20000");
    } else {
      return usage(("unknown option " + option).c_str());
    }
  }
  std::string svg, error;
  if (!chartRecord(argv[2], channels, layout, svg, error)) return failed(error);
  std::fwrite(svg.data(), 1, svg.size(), stdout);
  return std::fflush(stdout) == 0 ? 0 : failed("cannot write the chart");
}

int run(int argc, char** argv) {
  if (argc < 2) return usage("a command is needed");
  const std::string command = argv[1];
  if (command == "chart") return chart(argc, argv);
  if (command != "demo") return usage(("unknown command " + command).c_str());
  if (argc != 3) return usage("demo needs one folder");
  std::string error;
  if (!writeDemoRecords(argv[2], error)) return failed(error);
  return 0;
}

}  // namespace
}  // namespace wsgated

int main(int argc, char** argv) { return wsgated::run(argc, argv); }
