// The Delta logger: appends the logged value changes of the store's points
// to the Delta log, which the web services' getDeltaLog reads.
//
// Which points, and when (common/logged_points.h): every point with a
// ".LogInterval" (seconds) is sampled at each step; a sample is logged when
//   - the point has no record in the log yet (its first value),
//   - a number moved from the last logged value by its ".Deadband" or more
//     (0 or absent: any change), a Boolean or a multistate changed at all,
//   - or its interval passed since its last record (the value holds then).
// A record carries the typed value with the value's own time stamp, the
// point's ".Quality" (192 when it has none), the path "<node>/Value", and is
// stamped with the value's time (an interval record: the sampling instant).
// Records of one time stamp get sequence indexes 0, 1, 2 ... in point order.
//
// Nothing is kept outside the log: at start the last record of each point
// is read back from the log, so a logger killed at any point neither loses
// a committed record nor writes one twice. A batch that cannot be written
// (the log locked) is kept and written at the next step; a store that
// cannot be read skips the step.

#ifndef CARD_DELTALOG_DELTA_LOGGER_H_
#define CARD_DELTALOG_DELTA_LOGGER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "card/common/card_process.h"
#include "common/logged_points.h"
#include "platform/event.h"
#include "platform/log.h"

namespace wsgated {

class DeltaLogger : public Companion {
 public:
  explicit DeltaLogger(QrxClock clock = nullptr);
  ~DeltaLogger() override;

  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override { return checkSeconds_; }
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds& store) override;

  // Records appended since start (for the benchmark and the tests).
  uint64_t appended() const { return appended_; }

 private:
  // What the log holds of one point.
  struct PointState {
    bool logged = false;
    toolkit::CElement last;  // the last logged value
    int64_t lastUs = 0;      // its record's time
  };

  bool scanPoints(toolkit::CCds& store);
  void restoreFromLog(pcd_log_handle_t reader);
  bool sample(toolkit::CCds& store, int64_t nowUs,
              std::vector<toolkit::CEvent>& records);
  // Why a sample is logged: it moved past its deadband (or is the point's
  // first), or its interval passed.
  enum class Due { kNo, kChange, kInterval };
  Due due(const LoggedPoint& point, const PointState& state,
          const toolkit::CElement& value, int64_t nowUs) const;
  void number(std::vector<toolkit::CEvent>& records);

  QrxClock clock_;
  std::string logPath_;
  double checkSeconds_ = 1;
  double rescanSeconds_ = 60;
  long long maxRecords_ = 0;  // 0: the platform's default
  pcd_log_writer_t writer_ = nullptr;
  std::vector<LoggedPoint> points_;
  std::vector<PointState> states_;
  int64_t scannedUs_ = 0;
  long long structureId_ = -1;
  // The newest record's time and the next sequence index for it.
  int64_t newestUs_ = 0;
  uint32_t nextSeq_ = 0;
  // A batch a locked log refused, written before anything newer.
  std::vector<toolkit::CEvent> pending_;
  std::vector<size_t> pendingPoints_;
  uint64_t appended_ = 0;
};

}  // namespace wsgated

#endif  // CARD_DELTALOG_DELTA_LOGGER_H_
