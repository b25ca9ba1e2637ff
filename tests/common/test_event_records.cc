// The record builders: which records are dropped, how source paths, state
// names, descriptions and qualities are shown, and what is translated.

#include <gtest/gtest.h>

#include <string>

#include "common/event_records.h"
#include "soapH.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

const char kPoints[] =
    "[/Meter/Status]\nValueType = Multistate\nValue = 0\n"
    "PossibleValues = Normal;Warning;5=Alarm;Fault\n"
    "[/Breaker/Position]\nValueType = Boolean\nValue = true\n"
    "PossibleValues = Open;Closed\n"
    "[/Meter/Count]\nValueType = Integer\nValue = 4\n";

const char kConfiguration[] =
    "/Software/System Settings/Configuration Changed/Value";

toolkit::CEvent Record(int32_t kind, const std::string& path,
                       toolkit::CElement value,
                       const std::string& description = "") {
  toolkit::CEvent record;
  record.kind = kind;
  record.source_path = path;
  record.value = value;
  record.description = description;
  record.time = {1700000000, 250000};
  record.event_id = 41;
  record.sequence_index = 7;
  record.quality = 64;
  return record;
}

const char* const kDropped = nullptr;

std::string Text(const std::string* text) {
  return text == nullptr ? "(absent)" : *text;
}

class EventRecordsTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed(kPoints);
  }
  void TearDown() override {
    soap_destroy(soap_);
    soap_end(soap_);
    soap_free(soap_);
    ServiceTest::TearDown();
  }
  EventRecordBuilder Builder(const std::locale* locale = nullptr) {
    return EventRecordBuilder(soap_, ctx_->cds, locale);
  }
  struct soap* soap_ = soap_new();
};

TEST_F(EventRecordsTest, Events) {
  const struct {
    const char* name;
    toolkit::CEvent record;
    const char* type;  // kDropped: no event
    const char* source = "";
    const char* value = "";
    const char* numeric = "";
    const char* description = "";
    const char* quality = "";
  } cases[] = {
      {"true configuration change",
       Record(2, kConfiguration, toolkit::CElement(true),
              "Configuration changed :  Network settings"),
       "StructureChanged", "/", "(absent)", "(absent)",
       "Configuration changed :  Network settings", "64"},
      {"configuration change without description",
       Record(2, kConfiguration, toolkit::CElement(true)), "StructureChanged",
       "/", "(absent)", "(absent)", "Device Node Structure Changed", "64"},
      {"false configuration change",
       Record(2, kConfiguration, toolkit::CElement(false)), kDropped},
      {"other /Software record",
       Record(256, "/Software/Data Servers/Count/Value", toolkit::CElement(1)),
       kDropped},
      {"condition of unknown severity",
       Record(256, "/Meter/Count/Value", toolkit::CElement(4)), "Event",
       "/Meter/Count", "4", "(absent)", "System Event", "192"},
      {"multistate state", Record(1, "/Meter/Status", toolkit::CElement(5)),
       "Event", "/Meter/Status", "Alarm", "5", "", "64"},
      {"boolean state",
       Record(1, "/Breaker/Position/Value", toolkit::CElement(true)), "Event",
       "/Breaker/Position", "Closed", "1", "", "64"},
      {"attribute leaf",
       Record(4, "/Meter/Status/Units", toolkit::CElement("V"), "Units set"),
       "Event", "/Meter/Status:Units", "V", "(absent)", "Units set", "64"},
      {"the root", Record(32, "/", toolkit::CElement("up")), "Event", "/", "up",
       "(absent)", "", "64"},
  };
  EventRecordBuilder builder = Builder();
  const char* types[] = {"Event", "Alarm", "StructureChanged"};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    nss1__Event* event = builder.buildEvent(c.record);
    if (c.type == kDropped) {
      EXPECT_EQ(nullptr, event);
      continue;
    }
    ASSERT_NE(nullptr, event);
    EXPECT_STREQ(c.type, types[event->EventType]);
    EXPECT_EQ(c.source, Text(event->SourcePath));
    EXPECT_EQ(c.value, Text(event->Value));
    EXPECT_EQ(c.numeric, Text(event->NumericValue));
    EXPECT_EQ(c.description, Text(event->Description));
    EXPECT_EQ(c.quality, Text(event->Quality));
    EXPECT_EQ(41u, event->EventId);
    EXPECT_EQ(7u, event->SequenceIndex);
    EXPECT_EQ(1700000000250000LL, event->Time);
  }
}

TEST_F(EventRecordsTest, DeviceConditionsWithoutDescriptionNameTheirSeverity) {
  EventRecordBuilder builder = Builder();
  const char* words[] = {"System Event", "Informational Event",
                         "Cautionary Event", "Critical Event", "System Event"};
  for (int severity = 0; severity <= 4; ++severity) {
    SCOPED_TRACE(severity);
    toolkit::CEvent record =
        Record(256, "/Meter/Count/Value", toolkit::CElement(1));
    record.severity = severity;
    EXPECT_EQ(words[severity], Text(builder.buildEvent(record)->Description));
  }
}

TEST_F(EventRecordsTest, AlarmsCarryTheirStateAndOptionalFieldsOnlyWhenSet) {
  EventRecordBuilder builder = Builder();
  toolkit::CEvent raised =
      Record(8, "/Meter/Status/Value", toolkit::CElement(1), "Meter warning");
  raised.ack_status = 1;
  raised.condition_present = true;
  raised.auto_closing = true;
  raised.note = "Seen";
  raised.base_priority = 3;
  raised.variation_level = 2;
  nss1__AlarmUpdate* alarm = builder.buildAlarmEvent(raised);
  ASSERT_NE(nullptr, alarm);
  EXPECT_EQ(nss1__EventType__Alarm, alarm->EventType);
  EXPECT_EQ("Warning", Text(alarm->Value));
  EXPECT_EQ(nss1__AckStatus__Acked, alarm->AckStatus);
  EXPECT_TRUE(alarm->ConditionPresent);
  EXPECT_TRUE(alarm->AutoClosing);
  EXPECT_EQ("Seen", Text(alarm->Note));
  EXPECT_EQ("3", Text(alarm->BasePriority));
  EXPECT_EQ(2, alarm->VariationLevel);

  raised.note.clear();
  raised.base_priority = 0;
  alarm = builder.buildAlarmEvent(raised);
  EXPECT_EQ(nullptr, alarm->Note);
  EXPECT_EQ(nullptr, alarm->BasePriority);
  EXPECT_EQ(nullptr, builder.buildAlarmEvent(Record(8, "/Software/Alarms/1",
                                                    toolkit::CElement(1))));
}

TEST_F(EventRecordsTest, PublishedValues) {
  EventRecordBuilder builder = Builder();
  nss1__PublishedValue value;
  toolkit::CEvent record =
      Record(1, "/Meter/Status/Value", toolkit::CElement(1));
  ASSERT_TRUE(builder.buildPublishedValue(record, value));
  EXPECT_EQ("/Meter/Status", Text(value.Path));
  EXPECT_EQ("Warning", Text(value.Value));
  EXPECT_EQ("1", Text(value.NumericValue));
  EXPECT_EQ(64, value.Quality);
  EXPECT_EQ(1700000000250000LL, value.Time);
  EXPECT_FALSE(value.RealTime);
  EXPECT_TRUE(value.Trend);

  record = Record(1, "/Meter/Count/Value", toolkit::CElement(9));
  ASSERT_TRUE(builder.buildPublishedValue(record, value));
  EXPECT_EQ("9", Text(value.Value));
  EXPECT_EQ(nullptr, value.NumericValue);  // not a multistate
  record.source_path = kConfiguration;
  record.value = toolkit::CElement(true);
  EXPECT_FALSE(builder.buildPublishedValue(record, value));
}

// State names and configuration-change descriptions are translated; the
// descriptions of ordinary events are not.
TEST_F(EventRecordsTest, TranslatesStateNamesAndConfigurationChangesOnly) {
  EnableLocales();
  const ServiceOptions german = Options("locale=de-DE");
  EventRecordBuilder builder = Builder(&german.stdLocale);
  nss1__Event* event = builder.buildEvent(
      Record(1, "/Breaker/Position/Value", toolkit::CElement(false), "Open"));
  EXPECT_EQ("Offen", Text(event->Value));
  EXPECT_EQ("Open", Text(event->Description));
  event =
      builder.buildEvent(Record(256, "/Meter/Status", toolkit::CElement(6)));
  EXPECT_EQ("Störung", Text(event->Value));
  event =
      builder.buildEvent(Record(2, kConfiguration, toolkit::CElement(true),
                                "Configuration changed :  Network settings"));
  EXPECT_EQ("Konfiguration geändert : Netzwerkeinstellungen",
            Text(event->Description));
}

}  // namespace

}  // namespace wsgated
