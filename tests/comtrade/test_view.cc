// The waveform URL mapping: the forms accepted, everything refused, and
// that a refusal touches no file outside the waveform folder.

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/comtrade_view.h"
#include "tests/comtrade/files.h"

namespace {

using comtrade_test::TempDir;
using comtrade_test::WriteFile;
using toolkit::CComtradeView;

// <tmp>/wave is the waveform folder; <tmp>/outside and <tmp>/wave2 are not.
class ViewTest : public ::testing::Test {
 protected:
  ViewTest() {
    char real[PATH_MAX];
    root_ = realpath(tmp_.path().c_str(), real) ? real : "";
    wave_ = root_ + "/wave";
    for (const char* folder : {"/wave", "/wave/sub", "/outside", "/wave2"}) {
      mkdir((root_ + folder).c_str(), 0700);
    }
    WriteFile(wave_ + "/rec.cfg", "x");
    WriteFile(wave_ + "/sub/rec2.cfg", "x");
    WriteFile(root_ + "/outside/secret.cfg", "secret");
    WriteFile(root_ + "/wave2/near.cfg", "near");
    Link("../outside/secret.cfg", "/wave/out.cfg");
    Link("../outside/secret.cfg", "/wave/sneaky.DAT");  // a part of "sneaky"
    Link("../outside", "/wave/linkdir");
    Link("../wave2/near.cfg", "/wave/near.cfg");   // "/wave2" is not inside
    Link("rec.cfg", "/wave/inside.cfg");           // stays inside: allowed
    Link("sub", "/wave/sublink");
    Link("nowhere.cfg", "/wave/dangling.cfg");
  }
  void Link(const char* target, const char* name) {
    ASSERT_EQ(0, symlink(target, (root_ + name).c_str()));
  }

  TempDir tmp_;
  std::string root_, wave_;
};

TEST_F(ViewTest, AcceptedForms) {
  const struct { std::string url; const char* relative; } cases[] = {
      {"rec", "rec"},
      {"rec.cfg", "rec.cfg"},
      {"sub/rec2", "sub/rec2"},
      {"sublink/rec2", "sub/rec2"},  // folders are resolved
      {"fault-2026-11-01", "fault-2026-11-01"},  // need not exist yet
      {"new/deeper/rec", "new/deeper/rec"},
      {"inside", "inside"},
      {"a%20b%C3%A9", "a b\xC3\xA9"},
      {"http://host/wsgated/waveforms/rec.cfg", "rec.cfg"},
      {"HTTPS://host:8443/wsgated/waveforms/sub/rec2?x=1#top", "sub/rec2"},
  };
  for (const auto& c : cases) {
    std::string path = "stale";
    EXPECT_EQ(COMTRADE_OK, CComtradeView::parseUrlToFilepath(c.url, wave_,
                                                             path))
        << c.url;
    EXPECT_EQ(wave_ + "/" + c.relative, path) << c.url;
  }
  std::string path;  // the folder is resolved too
  EXPECT_EQ(COMTRADE_OK, CComtradeView::parseUrlToFilepath(
                             "rec", root_ + "/wave/../wave/", path));
  EXPECT_EQ(wave_ + "/rec", path);
}

TEST_F(ViewTest, RefusalsTouchNothingOutside) {
  const std::string refused[] = {
      "", "/etc/passwd", "../outside/secret", "sub/../rec", "./rec",
      "sub//rec2", "rec/", "sub\\rec2", "%2e%2e/outside/secret",
      "..%2Foutside/secret", "rec%2Ecfg", "rec%5c", "rec%00", "rec%0A",
      "rec%zz", "rec%4", "rec\nx", std::string("rec\0x", 5), "rec\x7f",
      "ftp://host/wsgated/waveforms/rec", "file:///etc/passwd",
      "http://host/other/rec", "http://host", "http://host/wsgated/waveforms/",
      "http://host/wsgated/waveforms/../outside/secret",
      "http://host/wsgated/waveforms/%2e%2e/outside/secret",
      "out", "out.cfg", "sneaky", "linkdir/secret", "linkdir/none", "near",
      "dangling",
      std::string(2000, 'a'),
  };
  const int watch = inotify_init1(IN_NONBLOCK);
  ASSERT_GE(watch, 0);
  ASSERT_GE(inotify_add_watch(watch, (root_ + "/outside").c_str(),
                              IN_OPEN | IN_ACCESS),
            0);
  for (const std::string& url : refused) {
    std::string path = "stale";
    EXPECT_EQ(COMTRADE_ERR_PATH,
              CComtradeView::parseUrlToFilepath(url, wave_, path))
        << url;
    EXPECT_EQ("", path) << url;
  }
  char events[4096];
  EXPECT_LT(read(watch, events, sizeof events), 0) << "a file outside was "
                                                      "opened";
  close(watch);
}

TEST_F(ViewTest, BadFoldersAreRefused) {
  for (const std::string& folder :
       {std::string(), std::string("wave"), root_ + "/missing",
        wave_ + "/rec.cfg"}) {
    std::string path;
    EXPECT_EQ(COMTRADE_ERR_PATH,
              CComtradeView::parseUrlToFilepath("rec", folder, path))
        << folder;
  }
}

}  // namespace
