// The sample device's command handler against a real store, stepped at
// chosen times: commands taken in number order and answered under the
// same number, a reading pending until it is done, answers aged out.

#include <gtest/gtest.h>

#include <string>

#include "card/commands/command_handler.h"
#include "contract/command_xml.h"
#include "platform/seed.h"
#include "tests/platform/temp_store.h"

namespace wsgated {

namespace {

const std::string kQueue = "/Software/Commands/Meter1/inpQueue";
const std::string kAnswers = "/Software/Commands/Meter1/outQueue";
// `seconds` after `time`.
timeval After(const timeval& time, int seconds) {
  return {time.tv_sec + seconds, time.tv_usec};
}

class CommandHandlerTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    gettimeofday(&start_, nullptr);
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(
                     *cds_,
                     "[/Software/Commands/Meter1/inpQueue]\n"
                     "HasDynamicChildren = true\n"
                     "[/Software/Commands/Meter1/inpQueue/maxCount]\n"
                     "Value = 8\n"
                     "[/Software/Commands/Meter1/outQueue]\n"
                     "HasDynamicChildren = true\n"
                     "[/Devices/Meter1/ActiveEnergy]\nValueType = Unsigned\n"
                     "Value = 900\n"
                     "[/Devices/Meter1/DemandInterval]\n"
                     "ValueType = Integer\nValue = 15\n"
                     "[/Devices/Meter1/Harmonics/H1/Frequency]\nValue:Integer = 50\n"
                     "[/Devices/Meter1/Harmonics/H1/Magnitude]\nValue:Real = 100\n"
                     "[/Devices/Meter1/Harmonics/H1/Phase]\nValue:Real = 0\n"
                     "[/Devices/Meter1/Harmonics/H3/Frequency]\nValue:Integer = 150\n",
                     error))
        << error;
    std::string refused;
    ASSERT_TRUE(handler_.configure({"--result-seconds", "60",
                                    "--harmonics-seconds", "5"},
                                   &refused))
        << refused;
  }

  void Queue(int number, const std::string& text) {
    api_status_t status;
    cds_->set_leaf(kQueue + "/" + std::to_string(number) + "/Value",
                   toolkit::CElement(text), status, PCD_TRIBOOL_FALSE, "test",
                   PCD_WRITE_CREATE_DYNAMIC_NODE);
    ASSERT_EQ(API_STATUS_OK, status);
  }
  // A command as the daemon queues it: `body` after the version.
  void QueueCommand(int number, const std::string& body) {
    Queue(number, "<nsk7:sendCmd-s xmlns:nsk7=\"http://www.wsgated.example/"
                  "BACnetWSKestrelK7\"><cmdVersion>1</cmdVersion>" + body +
                      "</nsk7:sendCmd-s>");
  }
  // "<status> <cmdStatus>[: <text>]" of the stored answer, or "none";
  // `harmonics` gets the number of a harmonic record's items.
  std::string Answer(int number, int* harmonics = nullptr) {
    CommandXml xml;
    const _nsk7__getDeviceCmdResultResponse* answer = xml.readResult(
        Get(kAnswers + "/" + std::to_string(number) + "/Value").to_string());
    if (answer == nullptr || answer->cmdHandle != number) return "none";
    const nsk7__cmdResult_s* results = answer->cmdResults;
    const int kind = results != nullptr ? results->__union_res : 0;
    if (kind == SOAP_UNION__nsk7__union_cmdResult_s_resHarms && harmonics) {
      *harmonics = results->res.resHarms->__sizehData;
    }
    return std::to_string(answer->numericStatus) + " " + answer->cmdStatus +
           (kind == SOAP_UNION__nsk7__union_cmdResult_s_resText
                ? ": " + *results->res.resText
                : "");
  }

  // The handler's steps happen "seconds after the test began".
  void StepAt(int seconds) { handler_.stepAt(*cds_, After(start_, seconds)); }

  CommandHandler handler_;
  timeval start_;
};

// Taken in number order, removed from the queue, carried out on the
// device's points and answered under their own numbers; what the handler
// does not know or cannot read is answered cmdFailInvalid (3), what the
// store refuses cmdFailUnable (4).
TEST_F(CommandHandlerTest, CommandsAreTakenInOrderAndAnswered) {
  QueueCommand(12, "<cmdLine>SELF TEST</cmdLine>");
  QueueCommand(3, "<cmdLine>RESET ENERGY</cmdLine>");
  QueueCommand(7, "<cmdIval><name>SetDemandInterval</name><param>Minutes"
                  "</param><num>0</num><psswd>0</psswd><iValue>30</iValue>"
                  "</cmdIval>");
  Queue(5, "<not-a-command/>");
  StepAt(0);
  EXPECT_EQ("maxCount", Get(kQueue + ":Children").to_string());
  EXPECT_EQ("3;5;7;12", Get(kAnswers + ":Children").to_string());
  // The store has no ReactiveEnergy: the reset is answered cmdFailUnable.
  EXPECT_EQ("4 Failed: The device refused the command", Answer(3));
  EXPECT_EQ("3 The command could not be read", Answer(5));
  EXPECT_EQ("1 Done: Demand interval set", Answer(7));
  EXPECT_EQ("3 Command not supported by /Devices/Meter1", Answer(12));
  EXPECT_EQ(PCD_TYPE_UINT, Get("/Devices/Meter1/ActiveEnergy").get_type());
  EXPECT_EQ(0u, Get("/Devices/Meter1/ActiveEnergy").to_uint());
  EXPECT_EQ(30, Get("/Devices/Meter1/DemandInterval").to_int());
}

// A harmonics reading answers cmdPending (2) until it is done; answers
// older than the result age are removed at the next step.
TEST_F(CommandHandlerTest, ReadingsArePendingFirstAndAnswersAgeOut) {
  QueueCommand(1, "<cmdLine>READ HARMONICS</cmdLine>");
  StepAt(0);
  EXPECT_EQ("2 Reading harmonics: Reading harmonics", Answer(1));
  StepAt(4);
  EXPECT_EQ("2 Reading harmonics: Reading harmonics", Answer(1));
  StepAt(5);
  int harmonics = 0;
  EXPECT_EQ("1 Done", Answer(1, &harmonics));
  EXPECT_EQ(1, harmonics);  // H3 has no magnitude
  const timeval answered = Get(kAnswers + "/1/Value").get_time();
  handler_.stepAt(*cds_, After(answered, 59));
  EXPECT_EQ("1", Get(kAnswers + ":Children").to_string());
  handler_.stepAt(*cds_, After(answered, 61));
  EXPECT_EQ("", Get(kAnswers + ":Children").to_string());
}

}  // namespace

}  // namespace wsgated
