// namespaces.cc - the namespace table of the SOAP engine.
//
// soapcpp2 writes a table of its own (*.nsmap) for every service, but each
// lists the service's prefixes in its own order and leaves out the
// alternative URIs we accept, so the daemon links this one instead.  The
// engine reads the table in order: the prefixes it writes into every
// answer, the URIs it matches incoming elements against, and (in the
// third column) the patterns it also accepts, where "*" matches any text.
//
// SOAP 1.2 is the primary version; a SOAP 1.1 envelope matches the
// alternative URI of SOAP-ENV and the engine then answers in SOAP 1.1.

#include "soapH.h"

SOAP_NMAC struct Namespace namespaces[] = {
    {"SOAP-ENV", "http://www.w3.org/2003/05/soap-envelope",
     "http://schemas.xmlsoap.org/soap/envelope/", nullptr},
    {"SOAP-ENC", "http://www.w3.org/2003/05/soap-encoding",
     "http://schemas.xmlsoap.org/soap/encoding/", nullptr},
    {"xsi", "http://www.w3.org/2001/XMLSchema-instance",
     "http://www.w3.org/*/XMLSchema-instance", nullptr},
    {"xsd", "http://www.w3.org/2001/XMLSchema", "http://www.w3.org/*/XMLSchema",
     nullptr},
    {"nst1", "http://www.wsgated.example/BACnetWSKestrelTest", nullptr,
     nullptr},
    {"nss1", "http://www.wsgated.example/BACnetWSKestrelSubscriber", nullptr,
     nullptr},
    {"nsqv", "http://www.wsgated.example/BACnetWSKestrelQV", nullptr, nullptr},
    {"nsk7", "http://www.wsgated.example/BACnetWSKestrelK7", nullptr, nullptr},
    {"nsc1", "http://www.wsgated.example/BACnetWSKestrel", nullptr, nullptr},
    {nullptr, nullptr, nullptr, nullptr}};
