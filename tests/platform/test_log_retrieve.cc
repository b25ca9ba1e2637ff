// CLog::retrieve: time bounds, the total order, the limit with its two
// flags, the path filter, and records coming back as they were written.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tests/platform/temp_log.h"

namespace {

using testing_log::LogTest;
using testing_log::Record;
using toolkit::CElement;
using toolkit::CEvent;
using Seqs = std::vector<uint32_t>;

timeval At(long long sec, long usec) {
  return timeval{static_cast<time_t>(sec), static_cast<suseconds_t>(usec)};
}

TEST_F(LogTest, BoundsAreInclusiveToTheMicrosecond) {
  Append({Record(1000, 0, 1), Record(1000, 1, 2), Record(1000, 999999, 3),
          Record(1001, 0, 4), Record(1002, 500000, 5)});
  const timeval t1000 = At(1000, 0), t1000_1 = At(1000, 1),
                t1000_2 = At(1000, 2), t1001 = At(1001, 0),
                t999 = At(999, 999999);
  struct Case {
    const timeval* start;
    const timeval* end;
    Seqs want;
  } cases[] = {{nullptr, nullptr, {1, 2, 3, 4, 5}},
               {&t1000_1, nullptr, {2, 3, 4, 5}}, {nullptr, &t1000_1, {1, 2}},
               {&t1000_1, &t1000_1, {2}},  // one time stamp as both bounds
               {&t1000_2, &t1001, {3, 4}}, {&t1000, &t1000, {1}},
               {&t1001, &t1000, {}},  // crossed bounds
               {&t999, &t999, {}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want, Found(nullptr, c.start, c.end, 0, false, false))
        << (c.start ? c.start->tv_usec : -1) << ".."
        << (c.end ? c.end->tv_usec : -1);
  }
}

TEST_F(LogTest, OrderIsTimeThenSequenceThenAppendOrder) {
  // Appended out of order and in two batches; 30 and 31 tie completely.
  Append({Record(7, 0, 20), Record(5, 0, 10), Record(7, 0, 30)});
  Append({Record(7, 0, 31), Record(7, 0, 25), Record(6, 0, 15)});
  EXPECT_EQ(Seqs({10, 15, 20, 25, 30, 31}),
            Found(nullptr, nullptr, nullptr, 0, false, false));
  EXPECT_EQ(Seqs({31, 30, 25, 20, 15, 10}),
            Found(nullptr, nullptr, nullptr, 0, false, true));
}

TEST_F(LogTest, LimitKeepsOldestOrNewestInEitherOrder) {
  Append({Record(1, 0, 1), Record(2, 0, 2), Record(3, 0, 3), Record(4, 0, 4),
          Record(5, 0, 5), Record(6, 0, 6)});
  struct Case {
    int max;
    bool latest, reverse;
    Seqs want;
  } cases[] = {{3, false, false, {1, 2, 3}}, {3, true, false, {4, 5, 6}},
               {3, false, true, {3, 2, 1}}, {3, true, true, {6, 5, 4}},
               {1, true, false, {6}}, {0, true, false, {1, 2, 3, 4, 5, 6}},
               {10, true, false, {1, 2, 3, 4, 5, 6}},
               {-1, false, true, {6, 5, 4, 3, 2, 1}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want,
              Found(nullptr, nullptr, nullptr, c.max, c.latest, c.reverse))
        << "max " << c.max << " latest " << c.latest << " reverse "
        << c.reverse;
  }
  // The limit applies after the bounds and the filter.
  const timeval t2 = At(2, 0), t5 = At(5, 0);
  EXPECT_EQ(Seqs({4, 5}), Found("/Devices/M", &t2, &t5, 2, true, false));
}

TEST_F(LogTest, FilterMatchesWholeComponentsAndItsTextLiterally) {
  // Indexes 0..8 name the records in the expectations.
  const char* const paths[] = {
      "/Devices/Meter1", "/Devices/Meter1/VoltageL1N/Value",
      "/Devices/Meter1:Units", "/Devices/Meter10/Value",
      "/Devices/Meter1-2/Value", "/Devices/Me%er1/Value",
      "/Devices/Me_er1/Value", "/Devices/O'Brien\"/Value", "/Other/Value"};
  std::vector<CEvent> records;
  for (uint32_t i = 0; i < 9; ++i) records.push_back(Record(1, 0, i, paths[i]));
  Append(records);
  struct Case {
    const char* filter;
    Seqs want;
  } cases[] = {{"/Devices/Meter1", {0, 1, 2}},
               {"/Devices/Meter1/", {0, 1, 2}},
               {"/Devices/Meter1/VoltageL1N", {1}}, {"/Devices/Meter", {}},
               {"/Devices/Me%er1", {5}}, {"/Devices/Me_er1", {6}},
               {"/Devices/Me%", {}}, {"%", {}}, {"/Devices/O'Brien\"", {7}},
               {"/Devices", {0, 1, 2, 3, 4, 5, 6, 7}},
               {"", {0, 1, 2, 3, 4, 5, 6, 7, 8}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want, Found(c.filter, nullptr, nullptr, 0, false, false))
        << "filter '" << c.filter << "'";
  }
}

// A filter matching at least ten times the limit reads the log in time
// order (a scan), one matching fewer by path (a seek): they answer alike.
TEST_F(LogTest, ScanAndSeekAnswerAlike) {
  std::vector<CEvent> records;
  for (uint32_t i = 0; i < 40; ++i) {  // later appends are older
    records.push_back(Record(100 - i, 0, i, i % 2 ? "/D/A:Units" : "/D/AB"));
  }
  Append(records);
  // "/D/A" matches the 20 odd records: a scan for 2, a seek for 3.
  struct Case {
    int max;
    bool latest, reverse;
    Seqs want;
  } cases[] = {{2, false, false, {39, 37}},       {2, true, false, {3, 1}},
               {2, true, true, {1, 3}},           {2, false, true, {37, 39}},
               {3, false, false, {39, 37, 35}},   {3, true, true, {1, 3, 5}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want, Found("/D/A", nullptr, nullptr, c.max, c.latest,
                            c.reverse))
        << "max " << c.max << " latest " << c.latest << " reverse "
        << c.reverse;
  }
}

TEST_F(LogTest, RecordsComeBackWithEveryFieldAndTypedValue) {
  std::vector<CElement> values = {
      CElement(true),
      CElement(false),
      CElement(int32_t{-5}),
      CElement(uint32_t{4000000000u}),
      CElement(230.4),
      CElement(std::nan("")),
      CElement("007"),
      CElement(""),
      CElement(At(1700000000, 250000)),
      CElement(),
  };
  std::vector<CEvent> written;
  for (size_t i = 0; i < values.size(); ++i) {
    CEvent e = Record(100, static_cast<long>(i), 0, "/Devices/UPS1:Mode");
    e.kind = i == 0 ? toolkit::EVENT_KIND_ALARM : toolkit::EVENT_KIND_SYSTEM;
    e.event_id = 0xFFFFFFFFFFFFFFF0ull;  // kept only by the alarm
    e.value = values[i];
    e.value.set_time(At(99, 123456));
    e.severity = 3;
    e.description = "Breaker : Open\ttab";
    e.quality = 64;
    e.ack_status = 2;
    e.base_priority = -7;
    e.condition_present = true;
    e.note = "checked by O'Neil";
    e.auto_closing = true;
    e.variation_level = 4;
    e.source = "Web-Services:alice@127.0.0.1";
    written.push_back(e);
  }
  ASSERT_EQ(0, pcd_log_append(writer_, written));
  EXPECT_EQ(0xFFFFFFFFFFFFFFF0ull, written[0].event_id);
  std::vector<CEvent> read;
  ASSERT_EQ(0, toolkit::CLog(reader_).retrieve(read, nullptr, nullptr, nullptr,
                                               0, false, false, 0));
  ASSERT_EQ(written.size(), read.size());
  for (size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(written[i].serialize(), read[i].serialize()) << i;
    EXPECT_EQ(values[i].get_type(), read[i].value.get_type()) << i;
  }
}

}  // namespace
