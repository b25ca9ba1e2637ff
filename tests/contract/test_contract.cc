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
// (The end-to-end tests see the same faults through nginx; here the
// engine's own error codes and texts.)

TEST(Dispatch, FaultsInTheRequestsVersionWithTheEnginesCode) {
  const std::string qv = std::string(" xmlns:q=\"") + kQV + "\"";
  const std::string c1 = std::string(" xmlns:c=\"") + kC1 + "\"";
  const struct {
    const char* version;
    std::string body;
    int error;
    const char* text;  // in the answer
  } cases[] = {
      {kSoap12,
       "<q:getMinAvgMaxValues" + qv + "><options>x</options><paths>/a</paths>"
       "<paths>/b</paths><startTime>1</startTime><endTime>2</endTime>"
       "<ratePeriod>RatePeriodAll</ratePeriod></q:getMinAvgMaxValues>",
       SOAP_SVR_FAULT,
       "<SOAP-ENV:Reason><SOAP-ENV:Text xml:lang=\"en\">Server fault"
       "</SOAP-ENV:Text></SOAP-ENV:Reason>"},
      {kSoap11, "<q:getMinAvgMaxValues" + qv + "/>", SOAP_SVR_FAULT,
       "<faultstring>Server fault</faultstring>"},
      {kSoap12, "<c:getNothing" + c1 + "/>", SOAP_NO_METHOD, "Fault"},
      // Operations are matched with their case and namespace.
      {kSoap12, "<c:getvalue" + c1 + "><c:path>/a</c:path></c:getvalue>",
       SOAP_NO_METHOD, "Fault"},
      {kSoap12, "<q:getValue" + qv + "/>", SOAP_NO_METHOD, "Fault"},
      {kSoap12, "<q:getMinAvgMaxValues" + qv + "><ratePeriod>Weekly"
       "</ratePeriod></q:getMinAvgMaxValues>", SOAP_TYPE, "Fault"},
      {kSoap12, "<c:getValue" + c1 + "><c:path>/a</c:getValue>", -1,
       "Fault"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.body);
    Engine engine;
    const std::string out = engine.Serve(Envelope(c.version, c.body));
    if (c.error >= 0) {
      EXPECT_EQ(c.error, engine.get()->error);
    } else {
      EXPECT_NE(SOAP_OK, engine.get()->error);
    }
    const char* other = c.version == kSoap12 ? kSoap11 : kSoap12;
    EXPECT_TRUE(Contains(out, c.version)) << out;
    EXPECT_FALSE(Contains(out, other)) << out;
    EXPECT_TRUE(Contains(out, c.text)) << out;
    // Complete down to the end of the envelope, and no response.
    EXPECT_TRUE(Contains(out, "</SOAP-ENV:Body></SOAP-ENV:Envelope>")) << out;
    EXPECT_FALSE(Contains(out, "Response")) << out;
  }
}

// --- Enumerations on the wire -----------------------------------------
// A client may send a number outside an enumeration's table (a status
// this build does not know yet); the generated range check is dropped
// (relax_enum_input.cmake), and such numbers are written back as digits.

TEST(Enumerations, NumbersOutsideTheTableAreReadAndWrittenUnchecked) {
  Engine engine;
  nsqv__LogRqstType type = nsqv__LogRqstType__LgRqTypDeltas;
  EXPECT_EQ(SOAP_OK, soap_s2nsqv__LogRqstType(engine.get(), "42", &type));
  EXPECT_EQ(42, static_cast<int>(type));
  EXPECT_NE(SOAP_OK, soap_s2nsqv__LogRqstType(engine.get(), "", &type));
  EXPECT_STREQ("0", soap_nsqv__LogRqstType2s(
                        engine.get(), static_cast<nsqv__LogRqstType>(0)));
}

// A set of flags reads each symbol or number of its list; an unknown name
// or an empty list fails the message instead of being skipped.
TEST(Enumerations, FlagListsAreReadStrictly) {
  Engine engine;
  const struct {
    const char* text;
    int bits;  // -1: refused
  } cases[] = {{" Quality\tAlarm ", 20}, {"Alarm 32", 36}, {"alarm", -1},
               {"  ", -1}, {"4x", -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    nsc1__SubscribeLogOptions flags = nsc1__SubscribeLogOptions__Trend;
    const int rc =
        soap_s2nsc1__SubscribeLogOptions(engine.get(), c.text, &flags);
    EXPECT_EQ(c.bits < 0 ? SOAP_TYPE : SOAP_OK, rc);
    // A refused list leaves the field as it was.
    EXPECT_EQ(c.bits < 0 ? 1 : c.bits, static_cast<int>(flags));
  }
  EXPECT_STREQ("NonAlarmEvent Alarm",
               soap_nsc1__SubscribeLogOptions2s(
                   engine.get(), static_cast<nsc1__SubscribeLogOptions>(6)));
}

}  // namespace
