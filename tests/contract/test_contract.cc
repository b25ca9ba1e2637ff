// test_contract.cc - the SOAP contract as the generated dispatcher and
// serializers implement it: envelope versions, faults, dispatch by exact
// element name, and the wire form of the shared enumerations and records.
//
// Everything runs in memory: a request envelope is read from a string and
// the answer written to another, exactly as the request loop hands the
// engine its FastCGI streams.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "contract/operation.h"
#include "soapH.h"

namespace {

const char kSoap12[] = "http://www.w3.org/2003/05/soap-envelope";
const char kSoap11[] = "http://schemas.xmlsoap.org/soap/envelope/";
const char kQV[] = "http://www.wsgated.example/BACnetWSKestrelQV";
const char kC1[] = "http://www.wsgated.example/BACnetWSKestrel";

// A SOAP engine with its memory released at the end of the test.
class Engine {
 public:
  Engine() : soap_(soap_new()) {}
  ~Engine() {
    soap_destroy(soap_);
    soap_end(soap_);
    soap_free(soap_);
  }
  struct soap* get() { return soap_; }

  // Serves one request through the generated dispatcher; returns what the
  // engine wrote (CGI-style status and headers, then the envelope).
  std::string Serve(const std::string& request) {
    std::istringstream in(request);
    std::ostringstream out;
    soap_->is = &in;
    soap_->os = &out;
    soap_serve(soap_);
    soap_->is = nullptr;
    soap_->os = nullptr;
    return out.str();
  }

 private:
  struct soap* soap_;
};

std::string Envelope(const char* version, const std::string& body) {
  return std::string("<?xml version=\"1.0\"?><e:Envelope xmlns:e=\"") + version +
         "\"><e:Body>" + body + "</e:Body></e:Envelope>";
}

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// --- Envelope versions and faults ---------------------------------------

TEST(Dispatch, Soap12RequestGetsSoap12Fault) {
  Engine engine;
  std::string out = engine.Serve(Envelope(
      kSoap12, std::string("<q:getMinAvgMaxValues xmlns:q=\"") + kQV +
                   "\"><options/></q:getMinAvgMaxValues>"));
  EXPECT_TRUE(Contains(out, kSoap12)) << out;
  EXPECT_FALSE(Contains(out, kSoap11)) << out;
  EXPECT_TRUE(Contains(out, "<SOAP-ENV:Reason><SOAP-ENV:Text xml:lang=\"en\">"
                            "Server fault</SOAP-ENV:Text></SOAP-ENV:Reason>"))
      << out;
}

TEST(Dispatch, Soap11RequestGetsSoap11Fault) {
  Engine engine;
  std::string out = engine.Serve(Envelope(
      kSoap11, std::string("<q:getMinAvgMaxValues xmlns:q=\"") + kQV +
                   "\"/>"));
  EXPECT_TRUE(Contains(out, kSoap11)) << out;
  EXPECT_FALSE(Contains(out, kSoap12)) << out;
  EXPECT_TRUE(Contains(out, "<faultstring>Server fault</faultstring>")) << out;
}

TEST(Dispatch, MinAvgMaxValuesIsAlwaysAServerFault) {
  Engine engine;
  std::string out = engine.Serve(Envelope(
      kSoap12, std::string("<q:getMinAvgMaxValues xmlns:q=\"") + kQV +
                   "\"><options>x</options><paths>/a</paths><paths>/b</paths>"
                   "<startTime>1</startTime><endTime>2</endTime>"
                   "<ratePeriod>RatePeriodAll</ratePeriod>"
                   "</q:getMinAvgMaxValues>"));
  EXPECT_EQ(SOAP_SVR_FAULT, engine.get()->error);
  // The engine's generic fault, complete down to the end of the envelope.
  EXPECT_TRUE(Contains(out, "<SOAP-ENV:Fault><SOAP-ENV:Code>")) << out;
  EXPECT_TRUE(Contains(out, "</SOAP-ENV:Fault></SOAP-ENV:Body>"
                            "</SOAP-ENV:Envelope>"))
      << out;
  EXPECT_FALSE(Contains(out, "getMinAvgMaxValuesResponse")) << out;
}

TEST(Dispatch, UnknownOperationIsNoSuchMethod) {
  Engine engine;
  engine.Serve(Envelope(kSoap12, std::string("<c:getNothing xmlns:c=\"") +
                                     kC1 + "\"/>"));
  EXPECT_EQ(SOAP_NO_METHOD, engine.get()->error);
}

TEST(Dispatch, OperationNameIsMatchedWithItsCase) {
  Engine engine;
  std::string out = engine.Serve(Envelope(
      kSoap12, std::string("<c:getvalue xmlns:c=\"") + kC1 +
                   "\"><c:path>/a</c:path></c:getvalue>"));
  EXPECT_EQ(SOAP_NO_METHOD, engine.get()->error);
  EXPECT_TRUE(Contains(out, "<SOAP-ENV:Fault")) << out;
}

TEST(Dispatch, OperationOfAnotherNamespaceIsNoSuchMethod) {
  Engine engine;
  engine.Serve(Envelope(kSoap12, std::string("<q:getValue xmlns:q=\"") +
                                     kQV + "\"/>"));
  EXPECT_EQ(SOAP_NO_METHOD, engine.get()->error);
}

TEST(Dispatch, MalformedXmlIsAFault) {
  Engine engine;
  std::string out = engine.Serve(
      Envelope(kSoap12, std::string("<c:getValue xmlns:c=\"") + kC1 +
                            "\"><c:path>/a</c:getValue>"));
  EXPECT_NE(SOAP_OK, engine.get()->error);
  EXPECT_TRUE(Contains(out, "<SOAP-ENV:Fault")) << out;
}

TEST(Dispatch, EnumerationTextThatIsNoNumberIsAFault) {
  Engine engine;
  std::string out = engine.Serve(Envelope(
      kSoap12, std::string("<q:getMinAvgMaxValues xmlns:q=\"") + kQV +
                   "\"><ratePeriod>Weekly</ratePeriod></q:getMinAvgMaxValues>"));
  EXPECT_EQ(SOAP_TYPE, engine.get()->error);
  EXPECT_TRUE(Contains(out, "<SOAP-ENV:Fault")) << out;
}

TEST(PendingOperation, FaultNamesTheOperation) {
  Engine engine;
  struct soap* soap = engine.get();
  std::ostringstream out;
  soap->os = &out;
  soap_set_version(soap, 2);
  soap->error = wsgated::operationNotAvailable(soap, "getValue");
  EXPECT_EQ(SOAP_FAULT, soap->error);
  soap_send_fault(soap);
  soap->os = nullptr;
  EXPECT_TRUE(Contains(out.str(), "SOAP-ENV:Receiver")) << out.str();
  EXPECT_TRUE(Contains(out.str(), "getValue: operation not available yet"))
      << out.str();
}

// --- Enumerations and records on the wire ---------------------------------

// Writes a value with the generated serializer and returns the document.
template <typename T, typename Writer>
std::string Write(Engine& engine, const T& value, Writer write) {
  std::ostringstream out;
  engine.get()->os = &out;
  EXPECT_EQ(SOAP_OK, write(engine.get(), &value));
  engine.get()->os = nullptr;
  return out.str();
}

// Reads a value with the generated serializer from a document.
template <typename T, typename Reader>
int Read(Engine& engine, const std::string& xml, T* value, Reader read) {
  std::istringstream in(xml);
  engine.get()->is = &in;
  int status = read(engine.get(), value);
  engine.get()->is = nullptr;
  return status;
}

std::string Between(const std::string& xml, const std::string& tag) {
  size_t open = xml.find("<" + tag + ">");
  size_t close = xml.find("</" + tag + ">");
  if (open == std::string::npos || close == std::string::npos) return "?";
  open += tag.size() + 2;
  return xml.substr(open, close - open);
}

std::string CreateSubscriptionWith(const char* options) {
  return std::string("<nsc1:createSubscription xmlns:nsc1=\"") + kC1 +
         "\"><nsc1:subscribeLogOptions>" + options +
         "</nsc1:subscribeLogOptions></nsc1:createSubscription>";
}

TEST(Enumerations, LogOptionsAreWrittenAsNamesOfSetBits) {
  Engine engine;
  _nsc1__createSubscription request;
  request.subscribeLogOptions = static_cast<nsc1__SubscribeLogOptions>(6);
  std::string xml = Write(engine, request, soap_write__nsc1__createSubscription);
  EXPECT_EQ("NonAlarmEvent Alarm", Between(xml, "nsc1:subscribeLogOptions"));
}

TEST(Enumerations, LogOptionsAreReadFromNamesInAnyOrder) {
  Engine engine;
  _nsc1__createSubscription request;
  ASSERT_EQ(SOAP_OK, Read(engine, CreateSubscriptionWith("Alarm Trend"),
                          &request, soap_read__nsc1__createSubscription));
  EXPECT_EQ(5, static_cast<int>(request.subscribeLogOptions));
}

std::string LogRequestWith(const char* type) {
  return std::string("<nsqv:getEventLog xmlns:nsqv=\"") + kQV +
         "\"><request><rqstType>" + type +
         "</rqstType></request></nsqv:getEventLog>";
}

TEST(Enumerations, SymbolIsReadAsItsNumber) {
  Engine engine;
  _nsqv__getEventLog request;
  ASSERT_EQ(SOAP_OK, Read(engine, LogRequestWith("LgRqTypDeltas"), &request,
                          soap_read__nsqv__getEventLog));
  ASSERT_NE(nullptr, request.request);
  EXPECT_EQ(nsqv__LogRqstType__LgRqTypDeltas, request.request->rqstType);
  EXPECT_EQ(1, static_cast<int>(request.request->rqstType));
}

TEST(Enumerations, NumberOutsideTheTableIsReadUnchecked) {
  Engine engine;
  _nsqv__getEventLog request;
  ASSERT_EQ(SOAP_OK, Read(engine, LogRequestWith("42"), &request,
                          soap_read__nsqv__getEventLog));
  ASSERT_NE(nullptr, request.request);
  EXPECT_EQ(42, static_cast<int>(request.request->rqstType));
}

TEST(Enumerations, EmptyTextIsAnError) {
  Engine engine;
  _nsqv__getEventLog request;
  EXPECT_NE(SOAP_OK, Read(engine, LogRequestWith(""), &request,
                          soap_read__nsqv__getEventLog));
}

TEST(Enumerations, NumberOutsideTheTableIsWrittenAsDigits) {
  Engine engine;
  nsqv__logRetrieveRequest record;
  record.rqstType = static_cast<nsqv__LogRqstType>(0);
  std::string xml = Write(engine, record, soap_write_nsqv__logRetrieveRequest);
  EXPECT_EQ("0", Between(xml, "rqstType"));
}

TEST(Enumerations, SchemaVersionSymbolIsTheDigitOne) {
  Engine engine;
  nsk7__cmdSchemaVersion version = nsk7__cmdSchemaVersion__1;
  EXPECT_STREQ("1", soap_nsk7__cmdSchemaVersion2s(engine.get(), version));
}

TEST(Enumerations, SampleTypeSymbolsAreHyphenated) {
  Engine engine;
  EXPECT_STREQ("SAMPLE-TYPE-LISTEND",
               soap_enumSampleType2s(engine.get(), SAMPLE_TYPE_LISTEND));
}

TEST(Records, PublishedValueLeavesOutAbsentTexts) {
  Engine engine;
  nss1__PublishedValue value;
  value.Quality = 192;
  value.Time = 7;
  std::string xml = Write(engine, value, soap_write_nss1__PublishedValue);
  // Quality comes straight after the opening tag, Trend ends the record.
  EXPECT_TRUE(Contains(xml, "\"><nss1:Quality>192</nss1:Quality><nss1:Time>7"
                            "</nss1:Time><nss1:RealTime>false</nss1:RealTime>"
                            "<nss1:Trend>false</nss1:Trend>"
                            "</nss1:PublishedValue>"))
      << xml;
}

TEST(Records, EventWithoutDetailsOrUrlsWritesNeither) {
  Engine engine;
  nss1__Event event;
  std::string xml = Write(engine, event, soap_write_nss1__Event);
  EXPECT_TRUE(Contains(xml, "<nss1:EventType>Event</nss1:EventType>")) << xml;
  EXPECT_FALSE(Contains(xml, "Details")) << xml;
  EXPECT_FALSE(Contains(xml, "ComtradeWaveformUrls")) << xml;
}

TEST(Records, AlarmInAnEventListCarriesItsType) {
  Engine engine;
  nss1__AlarmUpdate alarm;
  alarm.AckStatus = nss1__AckStatus__Closed;
  nss1__Event* events[] = {&alarm};
  _nsqv__getEventLogResponse response;
  response.__sizeevents = 1;
  response.events = events;
  std::string xml = Write(engine, response, soap_write__nsqv__getEventLogResponse);
  EXPECT_TRUE(Contains(xml, "xsi:type=\"nss1:AlarmUpdate\"")) << xml;
  EXPECT_TRUE(Contains(xml, "<nss1:AckStatus>Closed</nss1:AckStatus>")) << xml;
}

TEST(Records, WaveformDataAnswersWithTheShortName) {
  Engine engine;
  _nsqv__getWaveDataResponse response;
  std::string xml = Write(engine, response, soap_write__nsqv__getWaveDataResponse);
  EXPECT_TRUE(Contains(xml, "<nsqv:getWaveDataResponse")) << xml;
  EXPECT_TRUE(Contains(xml, "<result/><samplingRate>")) << xml;  // bare fields
}

TEST(Records, HyphenatedTrendFieldNames) {
  Engine engine;
  _nsqv__getTrendPeriodsResponse response;
  stPeriodProperties period;
  response.__sizeperiodProperties = 1;
  response.periodProperties = &period;
  std::string xml =
      Write(engine, response, soap_write__nsqv__getTrendPeriodsResponse);
  EXPECT_TRUE(Contains(xml, "<max-entries>0</max-entries>")) << xml;
}

}  // namespace
