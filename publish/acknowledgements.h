// Alarm acknowledgement without the engine: what acknowledgeAlarm does with
// the entries of one request.
//
// The service changes no alarm itself. Each entry becomes one
// acknowledgement event in the store's event queue, and the card's alarm
// handler (docs/alarms.md) acts on it: the alarm table changes once the
// handler has run.

#ifndef PUBLISH_ACKNOWLEDGEMENTS_H_
#define PUBLISH_ACKNOWLEDGEMENTS_H_

#include <string>
#include <vector>

#include "soapH.h"

namespace wsgated {

struct ServiceContext;

// What acknowledgeAlarms returns besides 0: the caller may not change the
// alarm table (the engine answers HTTP 401), or an exception ended the
// loop (the engine answers a SOAP fault).
constexpr int kAcknowledgementRefused = 401;
constexpr int kAcknowledgementFault = SOAP_OCCURS;  // 44

// Send one acknowledgement event per entry of `requests` (null: none), in
// order, each alone, and set `results` to one text per entry: "" when the
// store took the event, else error 20 "CDS event_send failed". The events
// carry the change source "Web-Services:<user>@<address>" made from the
// process environment's REMOTE_USER and REMOTE_ADDR, which the request loop
// exports; either unset is an exception.
//
// Write rights on "/Alarms" are tested once, after the first event is
// built and before it is sent: refused, nothing is sent and
// kAcknowledgementRefused is returned. An exception (an unset identity, no
// memory) ends the loop, is logged and returns kAcknowledgementFault;
// events sent before it stay sent. `results` is only meaningful on 0.
int acknowledgeAlarms(ServiceContext* context,
                      const nsc1__ArrayOfAckRequest* requests,
                      std::vector<std::string>& results);

}  // namespace wsgated

#endif  // PUBLISH_ACKNOWLEDGEMENTS_H_
