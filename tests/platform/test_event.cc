// CEvent: the text form and its round trip, and the change-source text
// split back into its parts. (Building it is tested through the writes that
// record it.)

#include "platform/event.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

using toolkit::CElement;
using toolkit::CEvent;

// Every field set to something other than its default, with texts that
// contain the separators and escapes of the text form.
CEvent HostileEvent() {
  CEvent e;
  e.kind = toolkit::EVENT_KIND_ALARM;
  e.source_path = "/Devices/Meter\t1/Volt\\age";
  e.value = CElement(std::string(
      "line1\nline2\ttab\\back\\t=x \xC3\xA9\xE2\x82\xAC"));
  e.value.set_time(timeval{1700000000, 123456});
  e.severity = -7;
  e.description = "a=b\tc\\n (not a newline)\r\n";
  e.event_id = std::numeric_limits<uint64_t>::max();
  e.sequence_index = 4000000000u;
  e.time = timeval{1700000001, 999999};
  e.quality = 64;
  e.ack_status = 2;
  e.base_priority = 5;
  e.condition_present = true;
  e.note = "\\";
  e.auto_closing = true;
  e.variation_level = std::numeric_limits<int32_t>::min();
  e.source = "Web-Services:al\tice@::1";
  e.queue_id = 9007199254740993LL;
  return e;
}

void ExpectSameEvent(const CEvent& a, const CEvent& b) {
  EXPECT_EQ(a.kind, b.kind);
  EXPECT_EQ(a.source_path, b.source_path);
  EXPECT_EQ(a.value.get_type(), b.value.get_type());
  EXPECT_TRUE(a.value == b.value) << a.value.to_string() << " vs "
                                  << b.value.to_string();
  EXPECT_EQ(a.value.get_time().tv_sec, b.value.get_time().tv_sec);
  EXPECT_EQ(a.value.get_time().tv_usec, b.value.get_time().tv_usec);
  EXPECT_EQ(a.severity, b.severity);
  EXPECT_EQ(a.description, b.description);
  EXPECT_EQ(a.event_id, b.event_id);
  EXPECT_EQ(a.sequence_index, b.sequence_index);
  EXPECT_EQ(a.time.tv_sec, b.time.tv_sec);
  EXPECT_EQ(a.time.tv_usec, b.time.tv_usec);
  EXPECT_EQ(a.quality, b.quality);
  EXPECT_EQ(a.ack_status, b.ack_status);
  EXPECT_EQ(a.base_priority, b.base_priority);
  EXPECT_EQ(a.condition_present, b.condition_present);
  EXPECT_EQ(a.note, b.note);
  EXPECT_EQ(a.auto_closing, b.auto_closing);
  EXPECT_EQ(a.variation_level, b.variation_level);
  EXPECT_EQ(a.source, b.source);
  EXPECT_EQ(a.queue_id, b.queue_id);
}

CEvent RoundTrip(const CEvent& e) {
  CEvent back;
  EXPECT_TRUE(back.deserialize(e.serialize())) << e.serialize();
  return back;
}

TEST(EventText, IsOneLineThatRoundTripsHostileTextsAndDefaults) {
  const std::string text = HostileEvent().serialize();
  EXPECT_EQ(std::string::npos, text.find_first_of("\r\n"));
  ExpectSameEvent(HostileEvent(), RoundTrip(HostileEvent()));
  ExpectSameEvent(CEvent(), RoundTrip(CEvent()));
  EXPECT_EQ(192, RoundTrip(CEvent()).quality);  // good quality by default
  // Fields of a later version are skipped.
  CEvent back;
  ASSERT_TRUE(back.deserialize(text + "\tfuture=field"));
  ExpectSameEvent(HostileEvent(), back);
}

TEST(EventText, RoundTripsEveryValueType) {
  CEvent e = HostileEvent();
  const CElement values[] = {
      CElement(true),
      CElement(false),
      CElement(std::numeric_limits<int32_t>::min()),
      CElement(std::numeric_limits<uint32_t>::max()),
      CElement(0.1),
      CElement(-1e-300),
      CElement(std::numeric_limits<double>::infinity()),
      CElement(std::string()),
      CElement(timeval{-5, 250000}),
      CElement(),
  };
  for (const CElement& v : values) {
    e.value = v;
    e.value.set_time(timeval{42, 7});
    SCOPED_TRACE(v.to_string());
    ExpectSameEvent(e, RoundTrip(e));
  }
  e.value = CElement(std::nan(""));
  const CEvent back = RoundTrip(e);
  EXPECT_EQ(PCD_TYPE_REAL, back.value.get_type());
  EXPECT_TRUE(std::isnan(back.value.to_double()));
}

// Replaces the value of `key` in a serialized event.
std::string WithField(const std::string& text, const std::string& key,
                      const std::string& value) {
  std::string needle = "\t" + key + "=";
  size_t at = text.find(needle);
  EXPECT_NE(std::string::npos, at) << key;
  size_t start = at + needle.size();
  size_t end = text.find('\t', start);
  if (end == std::string::npos) end = text.size();
  return text.substr(0, start) + value + text.substr(end);
}

TEST(EventText, MalformedTextIsRefusedAndLeavesEventUnchanged) {
  const std::string good = HostileEvent().serialize();
  const std::string bad[] = {
      "",
      "garbage",
      "ev=2" + good.substr(4),                    // unknown version
      good.substr(0, good.size() / 2),            // cut short
      good + "\tkind=1",                          // a key twice
      good + "\tnoequals",
      good + "\t=x",
      WithField(good, "kind", "12x"),
      WithField(good, "kind", "99999999999"),     // beyond 32 bits
      WithField(good, "quality", "65536"),
      WithField(good, "quality", "-1"),
      WithField(good, "seq", "-1"),
      WithField(good, "id", "-1"),
      WithField(good, "id", "18446744073709551616"),
      WithField(good, "cond", "yes"),
      WithField(good, "time", "12"),
      WithField(good, "time", "12.1234567"),
      WithField(good, "time", "12.-12345"),
      WithField(good, "vtype", "5"),
      WithField(good, "vtype", "3"),              // the text is not an integer
      WithField(good, "desc", "bad\\escape"),
      WithField(good, "desc", "trailing\\"),
      WithField(good, "note", "raw\nnewline"),
  };
  for (const std::string& text : bad) {
    CEvent e;
    e.description = "untouched";
    EXPECT_FALSE(e.deserialize(text)) << text;
    EXPECT_EQ("untouched", e.description);
    EXPECT_EQ(192, e.quality);
  }
}

// Whose a change was: the user between the origin's ":" and the address's
// "@", whatever the user holds; texts of another form give nothing.
TEST(SourceString, SplitsBackIntoOriginUserAndAddress) {
  const struct {
    const char* source;
    bool parsed;
    const char* origin;
    const char* user;
    const char* address;
  } cases[] = {
      {"Web-Services:alice@127.0.0.1", true, "Web-Services", "alice",
       "127.0.0.1"},
      {"Web-Services:a:b@c@10.0.0.1", true, "Web-Services", "a:b@c",
       "10.0.0.1"},
      {"", false, "", "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source);
    std::string origin = "stale", user = "stale", address = "stale";
    EXPECT_EQ(c.parsed,
              CEvent::parse_source_string(c.source, origin, user, address));
    EXPECT_EQ(c.origin, origin);
    EXPECT_EQ(c.user, user);
    EXPECT_EQ(c.address, address);
  }
}

}  // namespace
