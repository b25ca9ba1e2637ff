// The command queue's operations against a real store: what refuses a
// command, in which order, what a queued one looks like, and what a
// handler's stored answer gives the client. (The handler round trip, the
// queue's capacity and concurrent numbering are the end-to-end tests'.)

#include <string>

#include "commands/command_queue.h"
#include "common/write_path.h"
#include "contract/command_xml.h"
#include "platform/cds.h"
#include "soapH.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

const std::string kArea = "/Software/Commands/Meter1";
const std::string kMeter = "/Devices/Meter1";
const char* const kNoSupport =
    "? 29 Command Not Supported : No command support for this type";
const int kLine = SOAP_UNION__nsk7__union_sendCmd_s_cmdLine;
const int kBasic = SOAP_UNION__nsk7__union_sendCmd_s_cmdBasic;
const int kText = SOAP_UNION__nsk7__union_sendCmd_s_cmdText;

// A handler's answer as it stores it.
std::string Answer(int handle, const std::string& text) {
  return "<nsk7:getDeviceCmdResultResponse xmlns:nsk7=\"http://www.wsgated."
         "example/BACnetWSKestrelK7\"><result/><cmdHandle>" +
         std::to_string(handle) +
         "</cmdHandle><numericStatus>cmdSuccess</numericStatus><cmdStatus>"
         "Done</cmdStatus><cmdResults><cmdVersion>1</cmdVersion><resText>" +
         text + "</resText></cmdResults></nsk7:getDeviceCmdResultResponse>";
}

class CommandQueueTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed("[/Software/Commands/nextCommandID]\nValueType = Integer\n"
         "Value = 41\n"
         "[/Software/Commands/Meter1/WsdlVersion]\nValue:Integer = 1\n"
         "[/Software/Commands/Meter1/cmdList/cmdLine/RESET ENERGY]\n"
         "[/Software/Commands/Meter1/cmdList/cmdBasic/ResetEnergy/All]\n"
         "[/Software/Commands/Meter1/inpQueue]\nHasDynamicChildren = true\n"
         "[/Software/Commands/Meter1/inpQueue/maxCount]\nValue = many\n"
         "[/Software/Commands/Meter1/outQueue/7]\n"
         "[/Software/Commands/NoVersion/WsdlVersion]\n"
         "[/Software/Commands/TextVersion/WsdlVersion]\nValue = 1\n"
         "[/Software/Commands/NoQueue/WsdlVersion]\nValue:Integer = 1\n"
         "[/Software/Commands/NoQueue/cmdList/cmdLine/GO]\n");
    SetCaller("operator", "10.0.0.5");
  }

  // A command of `kind` in the engine's memory; a line's text is `name`.
  nsk7__sendCmd_s* Command(int kind, const std::string& name,
                           const std::string& param = "", int version = 1) {
    struct soap* soap = xml_.engine();
    nsk7__sendCmd_s* command = soap_new_nsk7__sendCmd_s(soap);
    command->cmdVersion = version;
    command->__union_cmd = kind;
    command->cmd.cmdLine = soap_new_std__string(soap);
    *command->cmd.cmdLine = name;
    if (kind == kBasic) {
      command->cmd.cmdBasic = soap_new_nsk7__simpleCmd(soap);
      command->cmd.cmdBasic->name = name;
      command->cmd.cmdBasic->param = param;
    } else if (kind == kText) {
      command->cmd.cmdText = soap_new_nsk7__setTextCmd(soap);
    }
    return command;
  }
  std::string Send(const std::string* devPath, const nsk7__sendCmd_s* command,
                   int expected = 0) {
    _nsk7__sendDeviceCmdResponse response;
    EXPECT_EQ(expected, sendDeviceCmd(ctx_.get(), nullptr, devPath, command,
                                      response));
    handle_ = response.cmdHandle;
    return response.result;
  }
  _nsk7__getDeviceCmdResultResponse Get(const std::string* devPath,
                                        int handle) {
    _nsk7__getDeviceCmdResult request;
    request.devPath = const_cast<std::string*>(devPath);
    request.cmdHandle = handle;
    _nsk7__getDeviceCmdResultResponse response;
    getDeviceCmdResult(ctx_.get(), xml_.engine(), request, response);
    return response;
  }

  CommandXml xml_;  // its engine holds the requests and answers
  int handle_ = -1;
};

// Each refusal answers its own error and queues nothing: the counter and
// the queue are untouched, and no number is given.
TEST_F(CommandQueueTest, RefusedCommandsQueueNothing) {
  const struct {
    const char* label;
    std::string devPath;
    nsk7__sendCmd_s* command;
    std::string result;
  } cases[] = {
      {"no area", "/Devices/Nope", Command(kLine, "RESET ENERGY"),
       "? 29 Command Not Supported : /Devices/Nope"},
      {"empty device", "", Command(kLine, "X"), "? 29 Command Not Supported"},
      {"no version value", "/Devices/NoVersion", Command(kLine, "X"),
       "? 9 Node Not Found : /Software/Commands/NoVersion/WsdlVersion/Value"},
      {"version as text", "/X/TextVersion", Command(kLine, "X"),
       "? 30 Wrong Version : Wrong WSDL Version requested"},
      {"unlisted", kMeter, Command(kLine, "SELF TEST"), kNoSupport},
      {"no command", kMeter, nullptr, kNoSupport},
      {"text command", kMeter, Command(kText, "ResetEnergy"), kNoSupport},
      {"name with /", kMeter, Command(kBasic, "ResetEnergy/All"), kNoSupport},
      {"name with :", kMeter, Command(kBasic, "ResetEnergy", "All:Units"),
       kNoSupport},
      {"attribute name", kMeter, Command(kLine, "Value"), kNoSupport},
      {"no queue", "/Devices/NoQueue", Command(kLine, "GO"),
       "? 9 Node Not Found : /Software/Commands/NoQueue/inpQueue"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(c.result, Send(&c.devPath, c.command));
    EXPECT_EQ(0, handle_);
  }
  EXPECT_EQ("? 29 Command Not Supported", Send(nullptr, Command(kLine, "X")));
  SetCaller("guest", "10.0.0.6");  // no role: may not write the meter
  Send(&kMeter, Command(kLine, "RESET ENERGY"), kWriteNotAuthorized);
  EXPECT_EQ(41, Stored("/Software/Commands/nextCommandID").to_int());
  EXPECT_EQ("maxCount", Stored(kArea + "/inpQueue:Children").to_string());
}

// The counter's value numbers the command and goes back Unsigned and
// persistent; the entry holds the command's XML, written as the caller.
// With an entry queued, a capacity that is no number stops the queue.
TEST_F(CommandQueueTest, QueuedCommandIsNumberedAndReadsBack) {
  EXPECT_EQ("", Send(&kMeter, Command(kBasic, "ResetEnergy", "All")));
  EXPECT_EQ(41, handle_);
  element_property_t property;
  const toolkit::CElement counter =
      Stored("/Software/Commands/nextCommandID", &property);
  EXPECT_EQ(PCD_TYPE_UINT, counter.get_type());
  EXPECT_EQ(42u, counter.to_uint());
  EXPECT_EQ(PCD_PROP_PERSISTENT, property);
  const std::string entry = kArea + "/inpQueue/41/Value";
  const nsk7__sendCmd_s* queued = xml_.readCommand(Stored(entry).to_string());
  ASSERT_NE(nullptr, queued);
  ASSERT_EQ(kBasic, queued->__union_cmd);
  EXPECT_EQ("All", queued->cmd.cmdBasic->param);
  api_status_t status;
  std::string writer;
  ctx_->cds.get_leaf_writer(entry, status, writer);
  EXPECT_EQ("Web-Services:operator@10.0.0.5", writer);
  EXPECT_EQ("? 9 Node Not Found : " + kArea + "/inpQueue/maxCount/Value",
            Send(&kMeter, Command(kLine, "RESET ENERGY")));
  // An entry that cannot be written keeps the number it took.
  ctx_->cds.clear_leaf(kArea + "/inpQueue:HasDynamicChildren", status, "t");
  ctx_->cds.remove_node(kArea + "/inpQueue/41", status, "t");
  EXPECT_EQ("? 16 Write Failed : " + kArea + "/inpQueue/42/Value",
            Send(&kMeter, Command(kLine, "RESET ENERGY")));
  EXPECT_EQ(42, handle_);
}

TEST_F(CommandQueueTest, StoredAnswersAreCheckedBeforeTheyArePassedOn) {
  const std::string seven = kArea + "/outQueue/7";
  const std::string noData = "? 22 No Data Available : " + seven;
  const struct {
    const char* label;
    std::string stored;  // "": the entry has no Value
    std::string result;
    nsk7__cmdNumStatus status;
  } cases[] = {
      {"no value", "", "", nsk7__cmdNumStatus__cmdFailOther},
      {"not XML", "not <xml", noData, nsk7__cmdNumStatus__cmdFailOther},
      {"other handle", Answer(8, "x"), noData,
       nsk7__cmdNumStatus__cmdFailOther},
      {"10 MB", Answer(7, std::string(10 << 20, 'x')), noData,
       nsk7__cmdNumStatus__cmdFailOther},
      {"good", Answer(7, "cleared"), "", nsk7__cmdNumStatus__cmdSuccess},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    api_status_t status;
    if (!c.stored.empty()) {
      ctx_->cds.set_leaf(seven + "/Value", toolkit::CElement(c.stored),
                         status, PCD_TRIBOOL_FALSE, "test");
    }
    const _nsk7__getDeviceCmdResultResponse answer = Get(&kMeter, 7);
    EXPECT_EQ(c.result, answer.result);
    EXPECT_EQ(c.status, answer.numericStatus);
    EXPECT_EQ(7, answer.cmdHandle);
  }
  const _nsk7__getDeviceCmdResultResponse good = Get(&kMeter, 7);
  ASSERT_NE(nullptr, good.cmdResults);
  EXPECT_EQ("cleared", *good.cmdResults->res.resText);
  EXPECT_TRUE(LogHas("Response cmdStatus = Done,  Result = \n"));
  const _nsk7__getDeviceCmdResultResponse none = Get(&kMeter, 5);
  EXPECT_EQ("? 32 Handle Invalid or Expired : /Devices/Meter1 for cmd #5",
            none.result);
  EXPECT_EQ(nsk7__cmdNumStatus__cmdFailHandle, none.numericStatus);
  EXPECT_EQ("? 8 Bad Path Syntax : No device path given",
            Get(nullptr, 7).result);
  SetCaller("guest", "10.0.0.6");
  EXPECT_EQ("? 2 Not Authorized : Unauthorized read", Get(&kMeter, 7).result);
}

}  // namespace

}  // namespace wsgated
