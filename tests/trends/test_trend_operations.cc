// The trend operations over a real trend log: the log opened on first use
// and again after a failed open, the device lookup with its rights, the
// request checks of getTrendData in their order, the retry rule (with a
// log that fails on demand) and the conversion of the snapshots.

#include <stdsoap2.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/qrxtime.h"
#include "soapH.h"
#include "tests/common/service_fixture.h"
#include "trends/trend_log.h"

namespace wsgated {

namespace {

using toolkit::trend::CDeviceData;
using toolkit::trend::CDeviceParams;
using toolkit::trend::CParamProperties;
using toolkit::trend::CPeriodProperties;
using toolkit::trend::CSnapshot;

const long kFirst = 1700000000;  // UNIX seconds of the first snapshot
const int kSnapshots = 900;

CParamProperties Param(const std::string& path,
                       toolkit::trend::sample_type_t type =
                           toolkit::trend::TREND_SAMPLE_NORMAL) {
  CParamProperties param;
  param.path = path;
  param.type = type;
  param.has_avg = param.has_actual = true;
  return param;
}

// A trend log that fails get_trend_data the first `failures` times.
class FailingLog : public toolkit::trend::CLog {
 public:
  explicit FailingLog(int failures) : failures_(failures) {}
  int get_trend_data(CDeviceData& data, const CDeviceParams& params,
                     const std::vector<CPeriodProperties>& periods,
                     const std::pair<long, long>& range, unsigned max,
                     unsigned skip, bool ascending, bool oldest) override {
    ++calls;
    if (calls <= failures_) return LOG_STATUS_BUSY;
    return CLog::get_trend_data(data, params, periods, range, max, skip,
                                ascending, oldest);
  }
  int calls = 0;

 private:
  int failures_;
};

class TrendOperationsTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed("[/Software/Security/Access/Secret/Path]\nValue = /Meter/Secret\n"
         "[/Software/Security/Access/Secret/Read]\nValue = Operator\n"
         "[/Software/Security/Access/Secret/Write]\nValue = Operator\n");
    ctx_->trendLogPath = dir_ + "/trends.db";
  }

  void TearDown() override {
    if (ctx_->trendLog != nullptr) ctx_->trendLogClose(ctx_->trendLog);
    ctx_->trendLog = nullptr;
    ServiceTest::TearDown();
  }

  // The meter's log: minute snapshots of V, PF and Secret/X, V being the
  // snapshot's number, and hour periods without snapshots.
  void WriteLog() {
    toolkit::trend::CWriter writer;
    ASSERT_EQ(0, writer.open(ctx_->trendLogPath, 0, 0));
    ASSERT_EQ(0, writer.set_periods({{3600, 24}, {60, 1000}}));
    CDeviceData data;
    data.params = {Param("/Meter/V"),
                   Param("/Meter/PF", toolkit::trend::TREND_SAMPLE_PF),
                   Param("/Meter/Secret/X")};
    ASSERT_EQ(0, writer.set_device("/Meter", "Meter", data.params,
                                   data.device));
    for (int i = 0; i < kSnapshots; ++i) {
      CSnapshot snapshot;
      snapshot.period = 60;
      snapshot.time = kFirst + 60L * i;
      snapshot.percent_valid = 100;
      const double v = i;
      snapshot.samples.assign(3, {v, v, v, v, 0});
      data.snapshots.push_back(snapshot);
    }
    ASSERT_EQ(0, writer.append(data));
  }

  TrendDataQuery Query() {
    TrendDataQuery query;
    query.devicePath = "/Meter";
    query.periods = {60};
    query.ascendingOrder = true;
    return query;
  }

  std::string Retrieve(const TrendDataQuery& query, CDeviceData* data) {
    std::string result;
    retrieveTrendData(ctx_.get(), Options(""), query, *data, result, 0);
    return result;
  }

  std::string Periods(std::vector<CPeriodProperties>* periods) {
    std::string result;
    listTrendPeriods(ctx_.get(), Options(""), *periods, result);
    return result;
  }
};

TEST_F(TrendOperationsTest, TheLogIsOpenedOnFirstUseAndAgainAfterAFailure) {
  std::vector<CPeriodProperties> periods;
  EXPECT_EQ("? 21 No History : Failed to open trend log database",
            Periods(&periods));
  EXPECT_EQ(nullptr, ctx_->trendLog);
  EXPECT_TRUE(LogHas("Failed to open database " + ctx_->trendLogPath));
  WriteLog();
  EXPECT_EQ("OK", Periods(&periods));
  ASSERT_EQ(2u, periods.size());
  EXPECT_EQ(60u, periods[0].period);
  EXPECT_EQ(24u, periods[1].max_entries);
  toolkit::trend::CLog* opened = ctx_->trendLog;
  ASSERT_NE(nullptr, opened);
  EXPECT_EQ("OK", Periods(&periods));
  EXPECT_EQ(opened, ctx_->trendLog);
}

TEST_F(TrendOperationsTest, DeviceParamsFollowTheDevicePathAndTheRights) {
  WriteLog();
  struct Case {
    const char* user;
    const char* device;
    std::string result;
    std::vector<std::string> paths;
  } cases[] = {
      {"admin", "/Meter", "OK",
       {"/Meter/V", "/Meter/PF", "/Meter/Secret/X"}},
      {"viewer", "/Meter", "OK", {"/Meter/V", "/Meter/PF"}},
      {"admin", "/Meter/", "? 21 No History : No Trend data found for this "
       "device.", {}},
      {"admin", "/meter", "? 21 No History : No Trend data found for this "
       "device.", {}},
      {"admin", "", "? 21 No History : No Trend data found for this device.",
       {}},
      {"nobody", "/Meter", "? 2 Not Authorized : Unauthorized read", {}},
      {"nobody", "/Elsewhere", "? 2 Not Authorized : Unauthorized read", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.user) + " " + c.device);
    SetCaller(c.user, "127.0.0.1");
    std::vector<CParamProperties> params;
    std::string result;
    listDeviceTrendParams(ctx_.get(), Options(""), c.device, params, result);
    EXPECT_EQ(c.result, result);
    std::vector<std::string> paths;
    for (const CParamProperties& param : params) paths.push_back(param.path);
    EXPECT_EQ(c.paths, paths);
    if (params.size() > 1) {
      EXPECT_EQ(toolkit::trend::TREND_SAMPLE_PF, params[1].type);
    }
  }
}

TEST_F(TrendOperationsTest, TooLargeRequestsAreRefusedBeforeTheLogIsOpened) {
  TrendDataQuery query = Query();
  query.nMaxToReturn = 834;
  CDeviceData data;
  EXPECT_EQ("? 34 Result Too Big to Return : Please request less than 833 "
            "records.",
            Retrieve(query, &data));
  EXPECT_EQ(nullptr, ctx_->trendLog);
  ctx_->maxDeltaRecords = 120;
  query.nMaxToReturn = 11;
  EXPECT_EQ("? 34 Result Too Big to Return : Please request less than 10 "
            "records.",
            Retrieve(query, &data));
  query.nMaxToReturn = 10;
  EXPECT_EQ("? 21 No History : Failed to open trend log database",
            Retrieve(query, &data));
}

TEST_F(TrendOperationsTest, RequestsAnswerTheirSnapshotsOrTheirError) {
  WriteLog();
  const std::string kNoPeriods =
      "? 21 No History : No Trend periods data matching the request.";
  const long kLast = kFirst + 60L * (kSnapshots - 1);
  struct Case {
    const char* what;
    void (*change)(TrendDataQuery&);
    std::string result;
    size_t snapshots;
    long firstTime;
  } cases[] = {
      {"the limit itself", [](TrendDataQuery& q) { q.nMaxToReturn = 833; },
       "OK", 833, kLast - 60L * 832},
      {"0 means the limit", [](TrendDataQuery& q) { q.nMaxToReturn = 0; },
       "OK", 833, kLast - 60L * 832},
      {"so does -5", [](TrendDataQuery& q) { q.nMaxToReturn = -5; }, "OK",
       833, kLast - 60L * 832},
      {"the newest ten, newest first",
       [](TrendDataQuery& q) {
         q.nMaxToReturn = 10;
         q.ascendingOrder = false;
       },
       "OK", 10, kLast},
      {"a closed range",
       [](TrendDataQuery& q) {
         q.startTime = (kFirst + 60) * 1000000LL;
         q.endTime = (kFirst + 180) * 1000000LL + 999999;
       },
       "OK", 3, kFirst + 60},
      {"start 0 leaves the range open",
       [](TrendDataQuery& q) { q.endTime = kFirst * 1000000LL; }, "OK", 1,
       kFirst},
      {"no periods", [](TrendDataQuery& q) { q.periods.clear(); }, kNoPeriods,
       0, 0},
      {"a period the log lacks", [](TrendDataQuery& q) { q.periods = {61}; },
       kNoPeriods, 0, 0},
      {"a period with no snapshots",
       [](TrendDataQuery& q) { q.periods = {3600}; }, "OK", 0, 0},
      {"unmatched points",
       [](TrendDataQuery& q) { q.pointPaths = {"/Meter/v", "/Meter"}; }, "",
       0, 0},
      {"an unknown device",
       [](TrendDataQuery& q) { q.devicePath = "/Meter1"; },
       "? 21 No History : No Trend data found for this device.", 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    TrendDataQuery query = Query();
    c.change(query);
    CDeviceData data;
    EXPECT_EQ(c.result, Retrieve(query, &data));
    ASSERT_EQ(c.snapshots, data.snapshots.size());
    if (c.snapshots == 0) continue;
    EXPECT_EQ(c.firstTime, data.snapshots.front().time);
    EXPECT_EQ(3u, data.snapshots.front().samples.size());
  }
}

TEST_F(TrendOperationsTest, PointsKeepTheLogsOrderAndLeaveOutTheUnreadable) {
  WriteLog();
  SetCaller("viewer", "127.0.0.1");
  TrendDataQuery query = Query();
  query.nMaxToReturn = 1;
  query.pointPaths = {"/Meter/Secret/X", "/Meter/PF", "/Meter/V"};
  CDeviceData data;
  EXPECT_EQ("OK", Retrieve(query, &data));
  ASSERT_EQ(2u, data.params.size());
  EXPECT_EQ("/Meter/V", data.params[0].path);
  EXPECT_EQ("/Meter/PF", data.params[1].path);
  query.pointPaths = {"/Meter/Secret/X"};
  EXPECT_EQ("", Retrieve(query, &data));
  EXPECT_TRUE(LogHas("No Trend data for requested parameter(s) "
                     "/Meter/Secret/X"));
}

TEST_F(TrendOperationsTest, TheAttemptThatSucceededDecidesTheResult) {
  WriteLog();
  const std::string kFailed =
      "? 22 No Data Available : Trend data retrieval failed with these params";
  struct Case {
    int failures;
    std::string result;
    bool data;
    int calls;
  } cases[] = {{0, "OK", true, 1},     {2, "OK", true, 3},
               {3, kFailed, true, 4},  {4, kFailed, true, 5},
               {5, kFailed, false, 5}, {9, kFailed, false, 5}};
  ctx_->trendLogClose = [](toolkit::trend::CLog* log) { delete log; };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.failures);
    FailingLog* log = new FailingLog(c.failures);
    ASSERT_EQ(0, log->open(ctx_->trendLogPath, true, false, 40, false, 0, 0,
                           0, false));
    if (ctx_->trendLog != nullptr) ctx_->trendLogClose(ctx_->trendLog);
    ctx_->trendLog = log;
    TrendDataQuery query = Query();
    query.nMaxToReturn = 5;
    CDeviceData data;
    EXPECT_EQ(c.result, Retrieve(query, &data));
    EXPECT_EQ(c.data ? 5u : 0u, data.snapshots.size());
    EXPECT_EQ(c.calls, log->calls);
  }
}

TEST(FillTrendData, MissingValuesAreZeroAndNotValid) {
  struct soap* soap = soap_new();
  CDeviceData data;
  data.device.path = "/Meter";
  data.params = {Param("/Meter/V"), Param("/Meter/PF")};
  CSnapshot snapshot;
  snapshot.period = 900;
  snapshot.time = kFirst;
  snapshot.percent_valid = 50;
  const double nan = std::nan("");
  snapshot.samples = {{1.5, nan, -2, 0, 7}, {nan, nan, nan, nan, nan}};
  data.snapshots = {snapshot};
  stDeviceData out;
  ASSERT_TRUE(fillTrendData(soap, data, out));
  EXPECT_EQ("/Meter", out.params.devicePath);
  ASSERT_EQ(2, out.params.__sizeparamPaths);
  EXPECT_EQ("/Meter/PF", out.params.paramPaths[1]);
  ASSERT_EQ(1, out.__sizesamples);
  const stSnapshot& got = out.samples[0];
  EXPECT_EQ(900u, got.period);
  EXPECT_EQ(kFirst * 1000000LL, got.timestamp);
  EXPECT_EQ(50, got.percent_valid);
  ASSERT_EQ(2, got.__sizedata);
  const stSample& first = got.data[0];
  EXPECT_EQ(1.5, first.min);
  EXPECT_EQ(0, first.max);
  EXPECT_EQ(-2, first.avg);
  EXPECT_EQ(0, first.actual);
  EXPECT_TRUE(first.minValid && first.avgValid && first.actualValid);
  EXPECT_FALSE(first.maxValid);
  const stSample& second = got.data[1];
  EXPECT_FALSE(second.minValid || second.maxValid || second.avgValid ||
               second.actualValid);
  EXPECT_EQ(0, second.min + second.max + second.avg + second.actual);
  soap_destroy(soap);
  soap_end(soap);
  soap_free(soap);
}

}  // namespace

}  // namespace wsgated
