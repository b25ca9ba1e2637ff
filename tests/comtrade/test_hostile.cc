// Hostile input: truncated, inconsistent, garbage and oversized records
// fail cleanly, and what the reader allocates stays bounded by the input,
// whatever the configuration declares.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/parse.h"
#include "tests/comtrade/files.h"

// Records the largest single allocation while armed. Every allocation of
// the test program passes through here; it only observes.
namespace {
std::atomic<bool> g_armed{false};
std::atomic<size_t> g_largest{0};

// Out of line, so that the compiler does not pair an inlined free() with
// a new-expression and warn of a mismatch.
__attribute__((noinline)) void Release(void* block) { std::free(block); }
}  // namespace

void* operator new(size_t size) {
  if (g_armed && size > g_largest) g_largest = size;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept { Release(block); }
void operator delete(void* block, size_t) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete[](void* block, size_t) noexcept { Release(block); }

namespace {

using comtrade_test::ReadFile;
using toolkit::comtrade::Record;

const std::string kData = std::string(COMTRADE_TEST_DATA) + "/";

// The largest allocation made by `parse`.
template <typename Parse>
size_t LargestAllocation(Parse parse) {
  g_largest = 0;
  g_armed = true;
  parse();
  g_armed = false;
  return g_largest;
}

TEST(Hostile, FixtureFilesFailWithTheirReasonAndLeaveNoPart) {
  const struct { const char* name; int status; } cases[] = {
      {"hostile_truncated", COMTRADE_ERR_TRUNCATED},
      {"hostile_counts", COMTRADE_ERR_INCONSISTENT},
      {"hostile_huge", COMTRADE_ERR_TRUNCATED},
      {"hostile_garbage.cfg", -1},  // random: any failure
  };
  comtrade_handle_t* handle = comtrade_alloc_handle();
  for (const auto& c : cases) {
    ASSERT_EQ(COMTRADE_OK,
              comtrade_read_all_files(handle, (kData + "hand").c_str()));
    size_t largest = LargestAllocation([&] {
      const int rc = comtrade_read_all_files(handle, (kData + c.name).c_str());
      EXPECT_TRUE(c.status == -1 ? rc != COMTRADE_OK : rc == c.status)
          << c.name << ": " << rc << " " << comtrade_last_error(handle);
    });
    EXPECT_LT(largest, 64u * 1024) << c.name;
    EXPECT_FALSE(comtrade_has_config(handle)) << c.name;
    EXPECT_FALSE(comtrade_has_header(handle)) << c.name;
    EXPECT_STRNE("", comtrade_last_error(handle)) << c.name;
  }
  comtrade_close(handle);
}

TEST(Hostile, DeclaredSizesNeverDriveAllocation) {
  const std::string cfg = ReadFile(kData + "hand.cfg");
  const std::string ascii_cfg = ReadFile(kData + "hand_ascii.cfg");
  const std::string huge_rate = "1000,1000000000\r";
  const struct { std::string cfg; std::string dat; } cases[] = {
      {ReadFile(kData + "hostile_huge.cfg"), std::string(4096, '\0')},
      {std::string(ascii_cfg).replace(ascii_cfg.find("1000,3\r"), 7, huge_rate),
       std::string(4096, '\n') + "1,0,1,1,0,0,0"},
      {"s,d,2013\n1999998,999999A,999999D\n1,V,,,V,1,0,0,0,0\n", ""},
      {"s,d,2013\n0,0A,0D\n50\n999999999\n1,1\n", ""},
  };
  for (const auto& c : cases) {
    toolkit::comtrade::RecordBytes parts;
    parts.cfg = {true, c.cfg};
    parts.dat = {true, c.dat};
    Record record;
    int rc = COMTRADE_OK;
    EXPECT_LT(LargestAllocation([&] {
                rc = toolkit::comtrade::LoadRecord(parts, &record, nullptr);
              }),
              64u * 1024);
    EXPECT_NE(COMTRADE_OK, rc);
  }
}

TEST(Hostile, DataOfTheWrongLengthFails) {
  const std::string cfg = ReadFile(kData + "hand.cfg");
  const std::string dat = ReadFile(kData + "hand.dat");
  const std::string ascii_cfg = ReadFile(kData + "hand_ascii.cfg");
  const struct { const std::string& cfg; std::string dat; int status; }
      cases[] = {
          {cfg, dat + '\0', COMTRADE_ERR_INCONSISTENT},
          {cfg, dat + dat.substr(0, 14), COMTRADE_ERR_INCONSISTENT},
          {cfg, dat.substr(0, 41), COMTRADE_ERR_TRUNCATED},
          {cfg, "", COMTRADE_ERR_TRUNCATED},
          {ascii_cfg, "1,0,1,1,0,0,0\n2,0,1,1,0,0,0\n", COMTRADE_ERR_TRUNCATED},
          {ascii_cfg, "1,0,1,1,0,0,0\n2,0,1,1,0,0,0\n3,0,1,1,0,0,0\n"
                      "4,0,1,1,0,0,0\n", COMTRADE_ERR_INCONSISTENT},
          {ascii_cfg, "1,0,1,1,0,0,0\n2,0,1,1,0,0\n3,0,1,1,0,0,0\n",
           COMTRADE_ERR_SYNTAX},
          {ascii_cfg, "1,0,1,1,0,0,0\n2,0,1,1,0,0,0,0\n3,0,1,1,0,0,0\n",
           COMTRADE_ERR_SYNTAX},
          {ascii_cfg, "1,0,1,1,0,0,0\n2,0,1,x,0,0,0\n3,0,1,1,0,0,0\n",
           COMTRADE_ERR_SYNTAX},
          {ascii_cfg, "1,0,1,1,0,0,0\n2,0,1,1,0,2,0\n3,0,1,1,0,0,0\n",
           COMTRADE_ERR_SYNTAX},
      };
  for (const auto& c : cases) {
    toolkit::comtrade::RecordBytes parts;
    parts.cfg = {true, c.cfg};
    parts.dat = {true, c.dat};
    Record record;
    std::string why;
    EXPECT_EQ(c.status, LoadRecord(parts, &record, &why)) << c.dat;
    EXPECT_FALSE(record.has_config || record.has_data);
    EXPECT_EQ(0u, why.find("data: ")) << why;
  }
}

TEST(Hostile, BrokenCombinedFiles) {
  const std::string combined = ReadFile(kData + "hand_binary.cff");
  const auto replace = [&](const std::string& from, const std::string& to) {
    std::string out = combined;
    return out.replace(out.find(from), from.size(), to);
  };
  const struct { std::string bytes; int status; } cases[] = {
      {replace("BINARY: 42", "BINARY: 43"), COMTRADE_ERR_INCONSISTENT},
      {replace("BINARY: 42", "BINARY: 4200"), COMTRADE_ERR_TRUNCATED},
      {replace("BINARY: 42", "BINARY"), COMTRADE_ERR_SYNTAX},
      {replace("BINARY: 42", "FLOAT32: 42"), COMTRADE_ERR_INCONSISTENT},
      {replace("BINARY: 42", "DOUBLE: 42"), COMTRADE_ERR_UNSUPPORTED},
      {replace("file type: INF", "file type: CFG"), COMTRADE_ERR_INCONSISTENT},
      {"stray text\r\n" + combined, COMTRADE_ERR_SYNTAX},
      {combined + "more text\r\n", COMTRADE_ERR_SYNTAX},
      {combined.substr(0, combined.size() - 20), COMTRADE_ERR_TRUNCATED},
      {"", COMTRADE_ERR_NOT_FOUND},
      {"--- file type: HDR ---\r\n \r\n", COMTRADE_ERR_NOT_FOUND},
  };
  for (const auto& c : cases) {
    Record record;
    EXPECT_EQ(c.status, toolkit::comtrade::ParseCombined(c.bytes, &record,
                                                         nullptr))
        << c.bytes.substr(0, 60);
  }
  Record record;  // a trailing DOS end-of-file byte is no stray text
  EXPECT_EQ(COMTRADE_OK,
            toolkit::comtrade::ParseCombined(combined + "\x1a", &record,
                                             nullptr));
}

TEST(Hostile, EveryTruncationOfARecordFailsOrReadsCleanly) {
  // Cutting the combined file anywhere must never crash or hang; a cut
  // inside the data can only fail.
  const std::string combined = ReadFile(kData + "hand_binary.cff");
  const size_t data_start = combined.find("BINARY: 42 ---") + 16;
  for (size_t length = 0; length < combined.size(); ++length) {
    Record record;
    const int rc = toolkit::comtrade::ParseCombined(combined.substr(0, length),
                                                    &record, nullptr);
    if (length > data_start && length < data_start + 42) {
      EXPECT_EQ(COMTRADE_ERR_TRUNCATED, rc) << length;
    }
  }
}

}  // namespace
