"""Who may call what, end to end: every served operation x every kind of
caller, through nginx on the sample store.

The rules the table follows:
  - without credentials nginx answers 401 before the daemon sees the call;
  - reads need the store's read role for the path: Viewer by default,
    Operator below /Devices/UPS1/Service (the sample's UPSService rule);
    a refused read is the result text "? 2 Not Authorized : ..." or, where
    an operation drops error texts, an answer without the protected data;
  - writes need Operator (Administrator below /Devices/UPS1/Service) and a
    refused write is HTTP 401;
  - administration (nst1) needs an Administrator, refused with HTTP 401;
  - locales, identity, the clock and the device tree ask the store for no
    rights: every known caller gets them.
"guest" is known to nginx and has no role in the store.
"""

import unittest

import harness
from core_calls import Answer, StringArray, request_body

CALLERS = (None, "guest", "viewer", "operator", "admin")

SERVICE = "/Devices/UPS1/Service"
HOURS = SERVICE + "/OperatingHours"      # 15342, Operator-read
CHILDREN = SERVICE + ":Children"
THRESHOLD = "/Devices/UPS1/LowBatteryThreshold"  # Writable, Operator-write
CODE = SERVICE + "/ServiceCode"          # Writable, Administrator-write
NOT_AUTHORIZED = "? 2 Not Authorized"
FAILED_REBOOT = "? System Reboot Failed: No such file or directory"

# The namespace of each operation that is not nsc1's.
PREFIX = dict.fromkeys(["getDeviceTree", "getLeafDescriptors", "whoAmI",
                        "getLocalAndUtcTime", "findAttributeMatches"], "nsqv")
PREFIX.update(dict.fromkeys(["SetLeaf", "SetLeaves", "CreateNode",
                             "RemoveNode", "Reset"], "nst1"))
PREFIX.update(dict.fromkeys(["sendDeviceCmd", "getDeviceCmdResult"], "nsk7"))

# Label (the operation, and what sets the row apart) -> (fields, witness).
# The witness is a text the answer holds when the caller got what was
# asked for (None: a clean answer is enough; "{user}": the caller's name).
CALLS = {
    "getValue": (dict(path=HOURS), "15342"),
    "getValue (open point)": (dict(path="/Devices/UPS1/Load"), "41.2"),
    "getValues": (dict(paths=StringArray([HOURS])), "15342"),
    "getRelativeValues": (dict(basePath=SERVICE + "/",
                               paths=["OperatingHours"]), "15342"),
    "getArray": (dict(path=CHILDREN), "OperatingHours"),
    "getArrayRange": (dict(path=CHILDREN, index="0", count="3"),
                      "OperatingHours"),
    "getArraySize": (dict(path=CHILDREN), "3"),
    "setValue": (dict(path=THRESHOLD, value="30"), "30"),
    "setValue (service data)": (dict(path=CODE, value="SVC-9"), "SVC-9"),
    "setValues": (dict(paths=[THRESHOLD], values=["31"]), "31"),
    "getDefaultLocale": ({}, "en-US"),
    "getSupportedLocales": ({}, "en-US"),
    "getDeviceTree": (dict(startingPath="/Devices", bRecursive="true"),
                      "/Devices/UPS1"),
    "getLeafDescriptors": (dict(basePath=SERVICE + "/",
                                leafPaths=["OperatingHours"]), "15342"),
    "whoAmI": ({}, "{user}"),
    "getLocalAndUtcTime": ({}, None),
    "findAttributeMatches": (dict(startingPath=SERVICE, bRecursive="true",
                                  attribMatch="DisplayName",
                                  regexMatchPattern=""), HOURS),
    "SetLeaf": (dict(path=THRESHOLD + "/Units", value="percent"), "percent"),
    "SetLeaves": (dict(paths=StringArray([THRESHOLD + ":Note"]),
                       values=StringArray(["checked"])), "checked"),
    "CreateNode": (dict(basePath="/Devices/UPS1/Matrix/",
                        paths=StringArray(["Value"]),
                        values=StringArray(["1"])), "1"),
    "RemoveNode": (dict(basePath=THRESHOLD + ":.RangeHigh"), None),
    # The stack's reboot program does not exist: an Administrator's Reset
    # is logged and attempted, and answers why it failed.
    "Reset": ({}, FAILED_REBOOT),
    # Without a command nothing is queued: the answer shows that the
    # caller got past the rights test.
    "sendDeviceCmd": (dict(devPath="/Devices/Meter1"),
                      "? 29 Command Not Supported : "
                      "No command support for this type"),
    "getDeviceCmdResult": (dict(devPath="/Devices/Meter1", cmdHandle="999"),
                           "? 32 Handle Invalid or Expired : "
                           "/Devices/Meter1 for cmd #999"),
}

# ok      the answer holds the witness (or is clean when there is none)
# denied  a result text "? 2 Not Authorized ..."
# hidden  a clean answer without the protected data
# 401     HTTP 401, no answer
#                           no creds  guest     viewer    operator  admin
EXPECTED = {
    "getValue":               "401      denied    denied    ok        ok",
    "getValue (open point)":  "401      denied    ok        ok        ok",
    "getValues":              "401      denied    denied    ok        ok",
    "getRelativeValues":      "401      denied    denied    ok        ok",
    "getArray":               "401      denied    denied    ok        ok",
    "getArrayRange":          "401      hidden    hidden    ok        ok",
    "getArraySize":           "401      denied    denied    ok        ok",
    "setValue":               "401      401       401       ok        ok",
    "setValue (service data)": "401     401       401       401       ok",
    "setValues":              "401      401       401       ok        ok",
    "getDefaultLocale":       "401      ok        ok        ok        ok",
    "getSupportedLocales":    "401      ok        ok        ok        ok",
    "getDeviceTree":          "401      ok        ok        ok        ok",
    "getLeafDescriptors":     "401      denied    denied    ok        ok",
    "whoAmI":                 "401      ok        ok        ok        ok",
    "getLocalAndUtcTime":     "401      ok        ok        ok        ok",
    "findAttributeMatches":   "401      hidden    hidden    ok        ok",
    "SetLeaf":                "401      401       401       401       ok",
    "SetLeaves":              "401      401       401       401       ok",
    "CreateNode":             "401      401       401       401       ok",
    "RemoveNode":             "401      401       401       401       ok",
    "Reset":                  "401      401       401       401       ok",
    "sendDeviceCmd":          "401      401       401       ok        ok",
    "getDeviceCmdResult":     "401      denied    ok        ok        ok",
}


def outcome(reply, operation, witness):
    """The cell a reply falls in; anything unexpected is spelled out."""
    if reply.status == 401:
        return "401"
    texts = Answer(operation, reply).results
    if reply.status != 200 or texts is None:
        return "HTTP %d: %s" % (reply.status, reply.text[-200:])
    if witness is not None and witness in texts:
        return "ok"
    if any(text.startswith(NOT_AUTHORIZED) for text in texts):
        return "denied"
    errors = [text for text in texts if text.startswith("?")]
    if errors:
        return "error: " + errors[0]
    return "ok" if witness is None else "hidden"


class AuthorizationMatrixTest(unittest.TestCase):
    def test_every_operation_for_every_caller(self):
        self.assertEqual(set(CALLS), set(EXPECTED))
        wrong = []
        with harness.Stack() as stack:
            # Row by row, callers in order: the one change a row makes is
            # an Administrator's, made last.
            for label, cells in EXPECTED.items():
                fields, witness = CALLS[label]
                operation = label.split(" (")[0]
                request = request_body(operation, fields,
                                       PREFIX.get(operation, "nsc1"))
                for user, expected in zip(CALLERS, cells.split()):
                    seen = outcome(stack.soap(request, user=user), operation,
                                   witness and witness.format(user=user))
                    if seen != expected:
                        wrong.append("%-24s %-9s expected %-7s got %s"
                                     % (label, user, expected, seen))
        self.assertEqual([], wrong, "\n" + "\n".join(wrong))


if __name__ == "__main__":
    unittest.main()
