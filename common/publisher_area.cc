#include "common/publisher_area.h"

namespace wsgated {

const char* const kPublisherNode = "/Software/Data Servers/WS-Publisher";
const char* const kSubscriptionsNode =
    "/Software/Data Servers/WS-Publisher/Subscriptions";
const char* const kSubUpdateCountPath =
    "/Software/Data Servers/WS-Publisher/SubUpdateCount";

}  // namespace wsgated
