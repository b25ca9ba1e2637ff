// The trend log: opening (missing, foreign, damaged, replaced and removed
// files), what the writer declares and keeps (max_entries per device and
// period), and get_trend_data's limit and order across periods.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "platform/log.h"
#include "platform/trend.h"
#include "tests/platform/temp_dir.h"

namespace {

using testing_files::TempDir;
using toolkit::trend::CDeviceData;
using toolkit::trend::CDeviceParams;
using toolkit::trend::CDeviceProperties;
using toolkit::trend::CLog;
using toolkit::trend::CParamProperties;
using toolkit::trend::CPeriodProperties;
using toolkit::trend::CSample;
using toolkit::trend::CSnapshot;
using toolkit::trend::CWriter;

const std::string kMeter = "/Devices/Meter1";

CParamProperties Param(const std::string& path) {
  CParamProperties param;
  param.path = path;
  param.has_min = param.has_max = param.has_avg = param.has_actual = true;
  return param;
}

// A snapshot whose parameter i has the values `base` + i.
CSnapshot Snapshot(unsigned period, long time, size_t params, double base) {
  CSnapshot snapshot;
  snapshot.period = period;
  snapshot.time = time;
  snapshot.percent_valid = 100;
  for (size_t i = 0; i < params; ++i) {
    const double v = base + static_cast<double>(i);
    snapshot.samples.push_back(CSample{v, v, v, v, 0});
  }
  return snapshot;
}

int OpenReader(CLog& log, const std::string& path, bool pin = false) {
  return log.open(path, true, false, 40, false, 0, 0, 0, pin);
}

// A log with periods 10 s (5 kept) and 60 s (3 kept) and the meter with
// parameters A and B.
class TrendTest : public ::testing::Test {
 protected:
  void SetUp() override { Make(path_, &device_); }

  void Make(const std::string& path, CDeviceProperties* device) {
    CWriter writer;
    ASSERT_EQ(0, writer.open(path, 0, 0));
    ASSERT_EQ(0, writer.set_periods({{60, 3}, {10, 5}}));
    ASSERT_EQ(0, writer.set_device(kMeter, "Meter", params_, *device));
  }

  void Append(std::vector<CSnapshot> snapshots) {
    CWriter writer;
    ASSERT_EQ(0, writer.open(path_, 0, 0));
    CDeviceData data{device_, params_, std::move(snapshots)};
    ASSERT_EQ(0, writer.append(data));
  }

  // (period, time) of what get_trend_data answers, in its order.
  std::vector<std::pair<unsigned, long>> Found(
      const std::vector<CPeriodProperties>& periods, std::pair<long, long> range,
      unsigned max, unsigned skip, bool ascending, bool oldest) {
    CLog log;
    EXPECT_EQ(0, OpenReader(log, path_));
    CDeviceData data;
    EXPECT_EQ(0, log.get_trend_data(data, {device_, params_}, periods, range,
                                    max, skip, ascending, oldest));
    std::vector<std::pair<unsigned, long>> found;
    for (const CSnapshot& snapshot : data.snapshots) {
      found.emplace_back(snapshot.period, snapshot.time);
    }
    return found;
  }

  TempDir dir_;
  std::string path_ = dir_ / "trends.db";
  std::vector<CParamProperties> params_ = {Param(kMeter + "/A"),
                                           Param(kMeter + "/B")};
  CDeviceProperties device_;
};

TEST_F(TrendTest, DeclarationsReadBackInTheirOrder) {
  CLog log;
  ASSERT_EQ(0, OpenReader(log, path_));
  std::vector<CPeriodProperties> periods;
  ASSERT_EQ(0, log.get_periods(periods));
  ASSERT_EQ(2u, periods.size());
  EXPECT_EQ(10u, periods[0].period);
  EXPECT_EQ(3u, periods[1].max_entries);
  std::vector<CDeviceProperties> devices;
  ASSERT_EQ(0, log.get_devices(devices));
  ASSERT_EQ(1u, devices.size());
  EXPECT_EQ(device_.log_id, devices[0].log_id);
  EXPECT_EQ("Meter", devices[0].name);
  // A later declaration adds C after the others and changes B's type.
  CParamProperties pf = Param(kMeter + "/B");
  pf.type = toolkit::trend::TREND_SAMPLE_PF;
  pf.has_stddev = true;
  CWriter writer;
  ASSERT_EQ(0, writer.open(path_, 0, 0));
  ASSERT_EQ(0, writer.set_device(kMeter, "Meter", {Param(kMeter + "/C"), pf},
                                 device_));
  std::vector<CParamProperties> params;
  ASSERT_EQ(0, log.get_params(devices[0], params));
  ASSERT_EQ(3u, params.size());
  EXPECT_EQ(kMeter + "/C", params[2].path);
  EXPECT_EQ(toolkit::trend::TREND_SAMPLE_PF, params[1].type);
  EXPECT_TRUE(params[1].has_stddev);
  EXPECT_FALSE(params[0].has_stddev);
  // Paths are matched byte for byte.
  for (const char* other : {"/devices/meter1", "/Devices/Meter1/",
                            "/Devices/Meter"}) {
    EXPECT_EQ(LOG_STATUS_NOT_FOUND,
              log.get_params(CDeviceProperties{other, "", 0, 0}, params))
        << other;
  }
}

TEST_F(TrendTest, EachDeviceAndPeriodKeepsItsNewestMaxEntries) {
  std::vector<CSnapshot> snapshots;
  for (long t = 1; t <= 8; ++t) snapshots.push_back(Snapshot(10, t * 10, 2, 0));
  snapshots.push_back(Snapshot(60, 60, 2, 0));
  Append(snapshots);
  // The same time again replaces its snapshot.
  Append({Snapshot(10, 80, 2, 7)});
  const auto found = Found({{10, 0}, {60, 0}}, {-1, -1}, 0, 0, true, false);
  const std::vector<std::pair<unsigned, long>> want = {
      {10, 40}, {10, 50}, {10, 60}, {60, 60}, {10, 70}, {10, 80}};
  EXPECT_EQ(want, found);
  CWriter writer;
  ASSERT_EQ(0, writer.open(path_, 0, 0));
  EXPECT_EQ(LOG_STATUS_BAD_ARGUMENT,
            writer.append({device_, params_, {Snapshot(15, 15, 2, 0)}}));
  EXPECT_EQ(LOG_STATUS_NOT_FOUND,
            writer.append({device_, {Param(kMeter + "/Z")},
                           {Snapshot(10, 90, 1, 0)}}));
  EXPECT_EQ(6u, Found({{10, 0}, {60, 0}}, {-1, -1}, 0, 0, true, false).size());
}

TEST_F(TrendTest, LimitAndOrderAcrossPeriods) {
  // 10 s snapshots at 10..50, 60 s snapshots at 30 and 60 (times chosen so
  // that the periods interleave and tie at 30).
  Append({Snapshot(10, 10, 2, 0), Snapshot(10, 20, 2, 0),
          Snapshot(10, 30, 2, 0), Snapshot(10, 40, 2, 0),
          Snapshot(10, 50, 2, 0), Snapshot(60, 30, 2, 0),
          Snapshot(60, 60, 2, 0)});
  using Found_t = std::vector<std::pair<unsigned, long>>;
  struct Case {
    const char* what;
    std::pair<long, long> range;
    unsigned max, skip;
    bool ascending, oldest;
    Found_t want;
  } cases[] = {
      {"newest three, ascending", {-1, -1}, 3, 0, true, false,
       {{10, 40}, {10, 50}, {60, 60}}},
      {"newest three, descending", {-1, -1}, 3, 0, false, false,
       {{60, 60}, {10, 50}, {10, 40}}},
      {"oldest three: the tie at 30 by period", {-1, -1}, 3, 0, true, true,
       {{10, 10}, {10, 20}, {10, 30}}},
      {"skip two of the newest", {-1, -1}, 2, 2, true, false,
       {{60, 30}, {10, 40}}},
      {"closed range", {20, 40}, 0, 0, true, false,
       {{10, 20}, {10, 30}, {60, 30}, {10, 40}}},
      {"open start", {-1, 20}, 0, 0, false, false, {{10, 20}, {10, 10}}},
      {"open end", {50, -1}, 0, 0, true, false, {{10, 50}, {60, 60}}},
      {"skip beyond the end", {-1, -1}, 2, 9, true, false, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.want, Found({{60, 0}, {10, 0}}, c.range, c.max, c.skip,
                            c.ascending, c.oldest));
  }
  EXPECT_EQ((Found_t{{60, 30}, {60, 60}}),
            Found({{60, 0}, {60, 0}, {99, 0}}, {-1, -1}, 0, 0, true, false));
}

TEST_F(TrendTest, SamplesFollowTheCallersParametersAndKeepNaN) {
  CSnapshot snapshot = Snapshot(10, 10, 2, 1);
  snapshot.samples[1].avg = std::nan("");
  snapshot.percent_valid = 37.5;
  Append({snapshot});
  CLog log;
  ASSERT_EQ(0, OpenReader(log, path_));
  CDeviceData data;
  // B before A, and a parameter the device does not have.
  ASSERT_EQ(0, log.get_trend_data(
                   data, {device_, {params_[1], Param("/X"), params_[0]}},
                   {{10, 0}}, {-1, -1}, 0, 0, true, false));
  ASSERT_EQ(1u, data.snapshots.size());
  const CSnapshot& got = data.snapshots[0];
  EXPECT_EQ(37.5, got.percent_valid);
  ASSERT_EQ(3u, got.samples.size());
  EXPECT_EQ(2.0, got.samples[0].min);
  EXPECT_TRUE(std::isnan(got.samples[0].avg));
  EXPECT_TRUE(std::isnan(got.samples[1].min));
  EXPECT_EQ(1.0, got.samples[2].actual);
  EXPECT_EQ(0.0, got.samples[2].stddev);
  EXPECT_EQ(LOG_STATUS_NOT_FOUND,
            log.get_trend_data(data, {{"/Nope", "", 0, 0}, params_}, {{10, 0}},
                               {-1, -1}, 0, 0, true, false));
  EXPECT_TRUE(data.snapshots.empty());
}

// --- Opening -----------------------------------------------------------------

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

TEST(TrendOpen, RefusesWhatIsNoTrendLogAndCreatesNothing) {
  TempDir dir;
  WriteFile(dir / "text.db", "not a database\n");
  sqlite3* db = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open((dir / "other.db").c_str(), &db));
  sqlite3_exec(db, "CREATE TABLE t(x)", nullptr, nullptr, nullptr);
  sqlite3_close(db);
  pcd_log_writer_t events = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer((dir / "events.db").c_str(), nullptr,
                                   &events));
  pcd_log_close_writer(events);
  struct Case {
    const char* file;
    int want;
  } cases[] = {{"absent.db", LOG_STATUS_NO_FILE},
               {"text.db", LOG_STATUS_NOT_DATABASE},
               {"other.db", LOG_STATUS_NOT_LOG},
               {"events.db", LOG_STATUS_NOT_LOG},
               {"", LOG_STATUS_NOT_DATABASE}};  // the folder
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    CLog log;
    EXPECT_EQ(c.want, OpenReader(log, dir / c.file));
    EXPECT_FALSE(log.is_open());
    std::vector<CPeriodProperties> periods;
    EXPECT_EQ(LOG_STATUS_BAD_ARGUMENT, log.get_periods(periods));
  }
  struct stat info;
  EXPECT_NE(0, stat((dir / "absent.db").c_str(), &info));
  CLog log;
  EXPECT_EQ(LOG_STATUS_BAD_ARGUMENT,
            log.open(dir / "x.db", false, false, 40, false, 0, 0, 0, false));
  EXPECT_EQ(LOG_STATUS_BAD_ARGUMENT,
            log.open(dir / "x.db", true, true, 40, false, 0, 0, 0, false));
  EXPECT_EQ(LOG_STATUS_BAD_ARGUMENT,
            log.open(dir / "x.db", true, false, 40, false, 1000, 0, 0, false));
}

TEST_F(TrendTest, DamagedFileFailsTheQuickCheckAndTheRead) {
  Append({Snapshot(10, 10, 2, 0)});
  // Garbage over every page but the first, which keeps the header.
  std::string bytes(4096 * 3, '\x5a');
  FILE* file = fopen(path_.c_str(), "r+b");
  ASSERT_NE(nullptr, file);
  fseek(file, 4096, SEEK_SET);
  fwrite(bytes.data(), 1, bytes.size(), file);
  fclose(file);
  CLog checked;
  EXPECT_EQ(LOG_STATUS_CORRUPT,
            checked.open(path_, true, false, 40, true, 0, 0, 0, false));
  CLog log;
  ASSERT_EQ(0, OpenReader(log, path_));
  std::vector<CDeviceProperties> devices;
  EXPECT_NE(0, log.get_devices(devices));
}

TEST_F(TrendTest, AReplacedFileIsReadUnlessPinnedAndARemovedOneFails) {
  CLog log, pinned;
  ASSERT_EQ(0, OpenReader(log, path_));
  ASSERT_EQ(0, OpenReader(pinned, path_, true));
  CDeviceProperties other;
  Make(dir_ / "new.db", &other);
  CWriter writer;
  ASSERT_EQ(0, writer.open(dir_ / "new.db", 0, 0));
  ASSERT_EQ(0, writer.set_periods({{7, 1}}));
  writer.close();
  ASSERT_EQ(0, rename((dir_ / "new.db").c_str(), path_.c_str()));
  std::vector<CPeriodProperties> periods;
  ASSERT_EQ(0, log.get_periods(periods));
  EXPECT_EQ(3u, periods.size());
  ASSERT_EQ(0, pinned.get_periods(periods));
  EXPECT_EQ(2u, periods.size());
  ASSERT_EQ(0, unlink(path_.c_str()));
  EXPECT_EQ(LOG_STATUS_NO_FILE, log.get_periods(periods));
  EXPECT_TRUE(periods.empty());
  WriteFile(path_, "not a database\n");
  EXPECT_EQ(LOG_STATUS_NOT_DATABASE, log.get_periods(periods));
  ASSERT_EQ(0, unlink(path_.c_str()));
  Make(path_, &other);
  ASSERT_EQ(0, log.get_periods(periods));
  EXPECT_EQ(2u, periods.size());
}

}  // namespace
