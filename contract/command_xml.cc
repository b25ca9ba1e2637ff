// Command queue messages through the generated serializers (command_xml.h).

#include "contract/command_xml.h"

#include <sstream>

#include "contract/tracked_blocks.h"

namespace wsgated {

namespace {

// A queued command or result nests a few levels and holds at most a
// set of harmonics: far below these.
constexpr unsigned kMaxCommandDepth = 32;
constexpr size_t kMaxCommandItems = 10000;

template <typename Write>
bool writeElement(struct soap* soap, Write&& write, std::string& xml) {
  xml.clear();
  if (soap == nullptr) return false;
  std::ostringstream out;
  soap_set_omode(soap, SOAP_XML_GRAPH);
  soap->os = &out;
  const int rc = write();
  soap->os = nullptr;
  soap_clr_omode(soap, SOAP_XML_GRAPH);
  if (rc != SOAP_OK) return false;
  xml = out.str();
  return true;
}

// `get` reads the element itself, by its exact name: the generated
// readers would take any element.
template <typename T, typename Get>
T* readElement(struct soap* soap, const std::string& xml, Get&& get) {
  if (soap == nullptr || xml.size() > kMaxCommandXmlBytes) return nullptr;
  std::istringstream in(xml);
  soap_set_imode(soap, SOAP_XML_GRAPH);
  soap->is = &in;
  T* record = nullptr;
  if (soap_begin_recv(soap) == SOAP_OK) {
    record = get();
    if (record != nullptr && soap_end_recv(soap) != SOAP_OK) record = nullptr;
  }
  soap->is = nullptr;
  soap_clr_imode(soap, SOAP_XML_GRAPH);
  return record;
}

nsk7__harmonicResponse* copyHarmonics(struct soap* soap,
                                      const nsk7__harmonicResponse& from) {
  nsk7__harmonicResponse* to = soap_new_nsk7__harmonicResponse(soap);
  if (to == nullptr) return nullptr;
  to->cdsName = from.cdsName;
  to->displayName = from.displayName;
  to->timeSample = from.timeSample;
  to->__sizehData = 0;
  to->hData = nullptr;
  if (from.__sizehData <= 0 || from.hData == nullptr) return to;
  to->hData = soap_new_nsk7__harmonic_s(soap, from.__sizehData);
  if (to->hData == nullptr) return nullptr;
  for (int i = 0; i < from.__sizehData; ++i) to->hData[i] = from.hData[i];
  to->__sizehData = from.__sizehData;
  return to;
}

}  // namespace

CommandXml::CommandXml() : soap_(soap_new()) {
  if (soap_ == nullptr) return;
  soap_->maxlevel = kMaxCommandDepth;
  soap_->maxlength = static_cast<long>(kMaxCommandXmlBytes);
  soap_->maxoccurs = kMaxCommandItems;
  soap_->recv_maxlength = kMaxCommandXmlBytes;
}

CommandXml::~CommandXml() {
  if (soap_ == nullptr) return;
  endAbandonedBlocks(soap_);  // a failed read leaves them
  soap_destroy(soap_);
  soap_end(soap_);
  soap_free(soap_);
}

bool CommandXml::write(const nsk7__sendCmd_s& command, std::string& xml) {
  return writeElement(
      soap_, [&] { return soap_write_nsk7__sendCmd_s(soap_, &command); },
      xml);
}

bool CommandXml::write(const _nsk7__getDeviceCmdResultResponse& result,
                       std::string& xml) {
  return writeElement(
      soap_,
      [&] {
        return soap_write__nsk7__getDeviceCmdResultResponse(soap_, &result);
      },
      xml);
}

nsk7__sendCmd_s* CommandXml::readCommand(const std::string& xml) {
  return readElement<nsk7__sendCmd_s>(soap_, xml, [&] {
    return soap_get_nsk7__sendCmd_s(soap_, nullptr, "nsk7:sendCmd-s",
                                    nullptr);
  });
}

_nsk7__getDeviceCmdResultResponse* CommandXml::readResult(
    const std::string& xml) {
  return readElement<_nsk7__getDeviceCmdResultResponse>(soap_, xml, [&] {
    return soap_get__nsk7__getDeviceCmdResultResponse(
        soap_, nullptr, "nsk7:getDeviceCmdResultResponse", nullptr);
  });
}

bool commandNames(const nsk7__sendCmd_s& command, CommandNames& names) {
  const auto& cmd = command.cmd;
  switch (command.__union_cmd) {
    case SOAP_UNION__nsk7__union_sendCmd_s_cmdLine:
      if (cmd.cmdLine == nullptr) return false;
      names = {"cmdLine", *cmd.cmdLine, false, ""};
      return true;
    case SOAP_UNION__nsk7__union_sendCmd_s_cmdBasic:
      if (cmd.cmdBasic == nullptr) return false;
      names = {"cmdBasic", cmd.cmdBasic->name, true, cmd.cmdBasic->param};
      return true;
    case SOAP_UNION__nsk7__union_sendCmd_s_cmdIval:
      if (cmd.cmdIval == nullptr) return false;
      names = {"cmdIval", cmd.cmdIval->name, true, cmd.cmdIval->param};
      return true;
    default:  // cmdText, or none
      return false;
  }
}

nsk7__cmdResult_s* copyCommandResults(struct soap* soap,
                                      const nsk7__cmdResult_s* results) {
  if (results == nullptr) return nullptr;
  nsk7__cmdResult_s* copy = soap_new_nsk7__cmdResult_s(soap);
  if (copy == nullptr) return nullptr;
  copy->cmdVersion = results->cmdVersion;
  copy->__union_res = 0;
  if (results->__union_res == SOAP_UNION__nsk7__union_cmdResult_s_resText &&
      results->res.resText != nullptr) {
    copy->res.resText = soap_new_std__string(soap);
    if (copy->res.resText == nullptr) return nullptr;
    *copy->res.resText = *results->res.resText;
    copy->__union_res = SOAP_UNION__nsk7__union_cmdResult_s_resText;
  } else if (results->__union_res ==
                 SOAP_UNION__nsk7__union_cmdResult_s_resHarms &&
             results->res.resHarms != nullptr) {
    copy->res.resHarms = copyHarmonics(soap, *results->res.resHarms);
    if (copy->res.resHarms == nullptr) return nullptr;
    copy->__union_res = SOAP_UNION__nsk7__union_cmdResult_s_resHarms;
  }
  return copy;
}

}  // namespace wsgated
