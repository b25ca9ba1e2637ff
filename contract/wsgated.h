// wsgated.h - the service definition of wsgated, read by soapcpp2.
//
// This file is not compiled by the C++ compiler.  soapcpp2 turns it into
// the serializers (soapC.cpp, soapH.h, soapStub.h), the request dispatcher
// (soapServer.cpp) and one WSDL/XSD per namespace; contract/CMakeLists.txt
// runs it at build time and contract/make_wsdl.py merges the WSDLs into the
// one published document.  Nothing generated is committed.
//
// Conventions used throughout
// ---------------------------
// * Names.  soapcpp2 writes "_" in an identifier as "-" on the wire
//   (max_entries -> "max-entries", nsk7__sendCmd_s -> "nsk7:sendCmd-s")
//   and needs "_USCORE" for a real underscore.  "prefix__name" puts a name
//   into a namespace; a leading "_" marks a global element rather than a
//   type (every request and response wrapper is such an element).
// * Enumeration constants carry their type name as a prefix
//   (nss1__EventType__Alarm) so that members of equal name in different
//   enumerations do not clash in C++; soapcpp2 strips that prefix, so the
//   wire carries only the symbol ("Alarm").  A number that is not a symbol
//   is read as decimal digits (see contract/CMakeLists.txt for the range
//   check that the build removes) and written as decimal digits.
// * Occurrence.  An optional field is a pointer (absent when NULL) and is
//   left out of the XML when NULL; a repeated field is a counted array
//   "int __sizeX; T *X;" whose items are written as repeated X elements.
//   Texts a client sends in a request are optional, because the
//   operations tell an absent text from an empty one; numbers, flags and
//   the texts we answer with are always written.
// * Operations are declared in wsdl2h's document/literal style:
//   "int __nsc1__getValue(_nsc1__getValue*, _nsc1__getValueResponse&)".
//   The request element is the first argument, the response element the
//   second; the generated prototype gains a leading struct soap*, through
//   whose user pointer an operation reaches the daemon's ServiceContext.
//   Declaration order is the order in which the dispatcher tests the
//   body's first element, and it is part of the contract.
//
// Element qualification
// ---------------------
// The BACnet/WS namespace nsc1, the administration namespace nst1 and the
// subscriber records of nss1 qualify their local elements
// (<nsc1:getValue><nsc1:options>..., <nss1:Event><nss1:EventId>...).
// The extension namespaces nsqv and nsk7 do not: their request and
// response elements are qualified, the fields inside them are bare
// (<nsqv:getDeviceTree><options>...).  The trend records (stPeriodProperties,
// stSnapshot, ...) and enumSampleType belong to no namespace at all; they
// only ever travel as unqualified fields of nsqv messages.

//gsoap nst1 schema namespace: http://www.wsgated.example/BACnetWSKestrelTest
//gsoap nst1 schema elementForm: qualified
//gsoap nst1 schema attributeForm: unqualified
//gsoap nst1 service name: BACnetWSKestrelTest
//gsoap nst1 service style: document
//gsoap nst1 service encoding: literal
//gsoap nst1 service location: http://localhost/wsgated

//gsoap nss1 schema namespace: http://www.wsgated.example/BACnetWSKestrelSubscriber
//gsoap nss1 schema elementForm: qualified
//gsoap nss1 schema attributeForm: unqualified

//gsoap nsqv schema namespace: http://www.wsgated.example/BACnetWSKestrelQV
//gsoap nsqv schema elementForm: unqualified
//gsoap nsqv schema attributeForm: unqualified
//gsoap nsqv service name: BACnetWSKestrelQV
//gsoap nsqv service style: document
//gsoap nsqv service encoding: literal
//gsoap nsqv service location: http://localhost/wsgated

//gsoap nsk7 schema namespace: http://www.wsgated.example/BACnetWSKestrelK7
//gsoap nsk7 schema elementForm: unqualified
//gsoap nsk7 schema attributeForm: unqualified
//gsoap nsk7 service name: BACnetWSKestrelK7
//gsoap nsk7 service style: document
//gsoap nsk7 service encoding: literal
//gsoap nsk7 service location: http://localhost/wsgated

//gsoap nsc1 schema namespace: http://www.wsgated.example/BACnetWSKestrel
//gsoap nsc1 schema elementForm: qualified
//gsoap nsc1 schema attributeForm: unqualified
//gsoap nsc1 service name: BACnetWSKestrel
//gsoap nsc1 service style: document
//gsoap nsc1 service encoding: literal
//gsoap nsc1 service location: http://localhost/wsgated

// ===================================================================
// Enumerations
// ===================================================================

enum nsc1__AckStatus {
  nsc1__AckStatus__NotAcked = 0,
  nsc1__AckStatus__Acked = 1,
  nsc1__AckStatus__Closed = 2
};

/// A set of flags: written as the names of the set bits, separated by
/// single spaces, in this order; each name read sets its bit.
enum * nsc1__SubscribeLogOptions {
  nsc1__SubscribeLogOptions__Trend = 1,
  nsc1__SubscribeLogOptions__NonAlarmEvent = 2,
  nsc1__SubscribeLogOptions__Alarm = 4,
  nsc1__SubscribeLogOptions__Configuration = 8,
  nsc1__SubscribeLogOptions__Quality = 16
};

/// The same members as nsc1:AckStatus, but a type of its own.
enum nss1__AckStatus {
  nss1__AckStatus__NotAcked = 0,
  nss1__AckStatus__Acked = 1,
  nss1__AckStatus__Closed = 2
};

enum nss1__EventType {
  nss1__EventType__Event = 0,
  nss1__EventType__Alarm = 1,
  nss1__EventType__StructureChanged = 2,
  nss1__EventType__LostEvent = 3
};

enum nsk7__cmdNumStatus {
  nsk7__cmdNumStatus__cmdUnknown = 0,
  nsk7__cmdNumStatus__cmdSuccess = 1,
  nsk7__cmdNumStatus__cmdPending = 2,
  nsk7__cmdNumStatus__cmdFailInvalid = 3,
  nsk7__cmdNumStatus__cmdFailUnable = 4,
  nsk7__cmdNumStatus__cmdFailBusy = 5,
  nsk7__cmdNumStatus__cmdFailTimeout = 6,
  nsk7__cmdNumStatus__cmdFailHandle = 7,
  nsk7__cmdNumStatus__cmdFailOther = 8,
  nsk7__cmdNumStatus__cmdSuccessOther = 9
};

/// One member whose symbol is the text "1".
enum nsk7__cmdSchemaVersion {
  nsk7__cmdSchemaVersion__1 = 1
};

/// In no namespace, like the trend records that use it.
enum enumSampleType {
  SAMPLE_TYPE_NORMAL = 0,
  SAMPLE_TYPE_PF = 1,
  SAMPLE_TYPE_LISTEND = 2
};

/// There is no 0.
enum nsqv__LogRqstType {
  nsqv__LogRqstType__LgRqTypDeltas = 1,
  nsqv__LogRqstType__LgRqTypAlarmEvents = 2,
  nsqv__LogRqstType__LgRqTypSystemEvents = 3
};

enum nsqv__LeafTypes {
  nsqv__LeafTypes__LeafTypeNormal = 0,
  nsqv__LeafTypes__LeafTypePersist = 1,
  nsqv__LeafTypes__LeafTypeAuto = 2,
  nsqv__LeafTypes__LeafTypeMPL = 3
};

/// There is no 0.
enum nsqv__RatePeriod {
  nsqv__RatePeriod__RatePeriodA = 1,
  nsqv__RatePeriod__RatePeriodB = 2,
  nsqv__RatePeriod__RatePeriodC = 3,
  nsqv__RatePeriod__RatePeriodD = 4,
  nsqv__RatePeriod__RatePeriodAll = 5
};

// ===================================================================
// nss1: records a subscriber receives, shared by the log operations
// ===================================================================

struct nss1__ArrayOfString {
  int __sizestring;
  std::string *string;  ///< items <nss1:string>
};

struct nss1__EventDetail {
  std::string *Key 0;
  std::string *Value 0;
};

struct nss1__ArrayOfEventDetail {
  int __sizeEventDetail;
  struct nss1__EventDetail *EventDetail;
};

/// A logged or current value.  Quality is a number here but a text in
/// Event and AlarmUpdate; the difference is deliberate.
struct nss1__PublishedValue {
  std::string *Path 0;
  std::string *Value 0;
  std::string *NumericValue 0;
  unsigned short Quality 1;
  LONG64 Time 1;  ///< device time
  bool RealTime 1;
  bool Trend 1;
};

struct nss1__ArrayOfPublishedValue {
  int __sizePublishedValue;
  struct nss1__PublishedValue *PublishedValue;
};

/// One log event.  A class, not a struct, so that an AlarmUpdate can stand
/// in an Event list and travel with xsi:type="nss1:AlarmUpdate".
class nss1__Event {
 public:
  ULONG64 EventId 1;
  unsigned int SequenceIndex 1;
  enum nss1__EventType EventType 1;
  std::string *SourcePath 0;
  LONG64 Time 1;  ///< device time
  std::string *Description 0;
  std::string *Value 0;
  std::string *NumericValue 0;
  std::string *Quality 0;
  struct nss1__ArrayOfString *ComtradeWaveformUrls 0;
  struct nss1__ArrayOfEventDetail *Details 0;
};

/// An alarm with its state: the fields of Event, then these.
class nss1__AlarmUpdate : public nss1__Event {
 public:
  std::string *BasePriority 0;
  enum nss1__AckStatus AckStatus 1;
  bool AutoClosing 1;
  bool ConditionPresent 1;
  std::string *Note 0;
  int VariationLevel 1;
};

struct nss1__ArrayOfEvent {
  int __sizeEvent;
  nss1__Event **Event;  ///< pointers, so that items may be AlarmUpdates
};

// ===================================================================
// nsc1: BACnet/WS records
// ===================================================================

struct nsc1__ArrayOfString {
  int __sizestring;
  std::string *string;  ///< items <nsc1:string>
};

struct nsc1__NodeSubscription {
  std::string *Path 0;
  int RequestedFreshness 1;  ///< milliseconds
  double DeadbandPercent 1;
};

struct nsc1__ArrayOfNodeSubscription {
  int __sizeNodeSubscription;
  struct nsc1__NodeSubscription *NodeSubscription;
};

struct nsc1__RealTimeNodeSubscriptionResult {
  std::string *Value 0;  ///< the value, or an error result text
  std::string *NumericValue 0;
  unsigned short Quality 1;
  LONG64 Time 1;  ///< device time
};

struct nsc1__ArrayOfRealTimeNodeSubscriptionResult {
  int __sizeRealTimeNodeSubscriptionResult;
  struct nsc1__RealTimeNodeSubscriptionResult *RealTimeNodeSubscriptionResult;
};

struct nsc1__AckRequest {
  ULONG64 EventId 1;
  std::string *Note 0;
  int VariationLevel 1;
  enum nsc1__AckStatus Status 1;
};

struct nsc1__ArrayOfAckRequest {
  int __sizeAckRequest;
  struct nsc1__AckRequest *AckRequest;
};

// ===================================================================
// nst1: administration records
// ===================================================================

struct nst1__ArrayOfString {
  int __sizestring;
  std::string *string;  ///< items <nst1:string>
};

// ===================================================================
// nsqv: extension records (fields unqualified)
// ===================================================================

struct nsqv__logRetrieveRequest {
  std::string *options 0;
  enum nsqv__LogRqstType rqstType 1;  ///< getEventLog only
  LONG64 startTime 1;  ///< 0 or less: no lower bound
  LONG64 endTime 1;    ///< 0 or less: no upper bound
  int nMaxToReturn 1;  ///< 0 or less: the log's maximum
  bool bLatestEvents 1;
  bool bReverseOrder 1;
  bool bTrimIncomplete 1;
  std::string *path 0;
};

struct nsqv__deviceDescriptor {
  std::string devPath 1;
  std::string devType 1;
  std::string devDisplayName 1;
  int devQuality 1;
  int devChangeCount 1;
  LONG64 devChangeTime 1;
};

struct nsqv__leafDescriptor {
  std::string result 1;
  LONG64 leafChangeTime 1;
  enum nsqv__LeafTypes leafType 1;
};

struct nsqv__MinAvgMaxValue {
  std::string result 1;
  std::string path 1;
  int numValues 1;
  double avgValue 1;
  double minValue 1;
  LONG64 minTime 1;
  double maxValue 1;
  LONG64 maxTime 1;
  enum nsqv__RatePeriod ratePeriod 1;
};

struct nsqv__getTrendDataRequest {
  std::string *options 0;
  std::string *devicePath 0;
  int __sizepointPaths;
  std::string *pointPaths;
  int __sizeperiods;
  ULONG64 *periods;
  LONG64 startTime 1;
  LONG64 endTime 1;
  int nMaxToReturn 1;
  bool ascendingOrder 1;
};

struct nsqv__getWaveDataRequest {
  std::string *options 0;
  std::string *url 0;
  std::string *channel 0;
};

// Trend records, in no namespace.

struct stPeriodProperties {
  ULONG64 period 1;
  ULONG64 max_entries 1;  ///< <max-entries>
};

struct stParamProperties {
  std::string path 1;
  enum enumSampleType type 1;
  bool hasMin 1;
  bool hasMax 1;
  bool hasAvg 1;
  bool hasActual 1;
};

struct stDeviceParams {
  std::string devicePath 1;
  int __sizeparamPaths;
  std::string *paramPaths;
};

struct stSample {
  double min 1;
  double max 1;
  double avg 1;
  double actual 1;
  bool minValid 1;
  bool maxValid 1;
  bool avgValid 1;
  bool actualValid 1;
};

struct stSnapshot {
  ULONG64 period 1;
  LONG64 timestamp 1;
  double percent_valid 1;  ///< <percent-valid>
  int __sizedata;
  struct stSample *data;
};

struct stDeviceData {
  struct stDeviceParams params 1;
  int __sizesamples;
  struct stSnapshot *samples;
};

// ===================================================================
// nsk7: device command records (fields unqualified)
// ===================================================================

struct nsk7__simpleCmd {
  std::string name 1;
  std::string param 1;
  int num 1;
  int psswd 1;  ///< carried in the queued command, never examined
};

struct nsk7__setValueCmd {
  std::string name 1;
  std::string param 1;
  int num 1;
  int psswd 1;
  int iValue 1;
};

struct nsk7__setTextCmd {
  std::string name 1;
  std::string param 1;
  int num 1;
  int psswd 1;
  std::string text 1;
};

/// The command, one of four forms; __union_cmd says which member is set
/// (SOAP_UNION__nsk7__union_sendCmd_s_cmdLine and so on).
union _nsk7__union_sendCmd_s {
  std::string *cmdLine;
  struct nsk7__simpleCmd *cmdBasic;
  struct nsk7__setValueCmd *cmdIval;
  struct nsk7__setTextCmd *cmdText;
};

/// <nsk7:sendCmd-s>
struct nsk7__sendCmd_s {
  int cmdVersion 1;
  int __union_cmd;
  union _nsk7__union_sendCmd_s cmd;
};

/// <nsk7:harmonic-s>
struct nsk7__harmonic_s {
  int frequency 1;
  float magnitude 1;
  float phase 1;
};

struct nsk7__harmonicResponse {
  std::string cdsName 1;
  std::string displayName 1;
  LONG64 timeSample 1;
  int __sizehData;
  struct nsk7__harmonic_s *hData;
};

/// The result, one of two forms; __union_res says which member is set.
union _nsk7__union_cmdResult_s {
  std::string *resText;
  struct nsk7__harmonicResponse *resHarms;
};

/// <nsk7:cmdResult-s>
struct nsk7__cmdResult_s {
  int cmdVersion 1;
  int __union_res;
  union _nsk7__union_cmdResult_s res;
};

// ===================================================================
// Request and response elements, in dispatch order
// ===================================================================

// --- nst1: node administration and the subscribed-node query --------

struct _nst1__CreateNode {
  std::string *options 0;
  std::string *basePath 0;
  struct nst1__ArrayOfString *paths 0;
  struct nst1__ArrayOfString *values 0;
};
struct _nst1__CreateNodeResponse {
  std::string CreateNodeResult 1;
};

struct _nst1__SetLeaf {
  std::string *options 0;
  std::string *path 0;
  std::string *value 0;
};
struct _nst1__SetLeafResponse {
  std::string SetLeafResult 1;
};

struct _nst1__SetLeaves {
  std::string *options 0;
  struct nst1__ArrayOfString *paths 0;
  struct nst1__ArrayOfString *values 0;
};
struct _nst1__SetLeavesResponse {
  struct nst1__ArrayOfString SetLeavesResult 1;
};

struct _nst1__Reset {
  std::string *options 0;
};
struct _nst1__ResetResponse {
  std::string ResetResult 1;
};

struct _nst1__RemoveNode {
  std::string *options 0;
  std::string *basePath 0;
};
struct _nst1__RemoveNodeResponse {
  std::string RemoveNodeResult 1;
};

struct _nst1__getSubscribedNodes {
  std::string *subscriptionId 0;
};
struct _nst1__getSubscribedNodesResponse {
  struct nst1__ArrayOfString getSubscribedNodesResult 1;
};

int __nst1__CreateNode(struct _nst1__CreateNode *nst1__CreateNode,
                       struct _nst1__CreateNodeResponse &nst1__CreateNodeResponse);
int __nst1__SetLeaf(struct _nst1__SetLeaf *nst1__SetLeaf,
                    struct _nst1__SetLeafResponse &nst1__SetLeafResponse);
int __nst1__SetLeaves(struct _nst1__SetLeaves *nst1__SetLeaves,
                      struct _nst1__SetLeavesResponse &nst1__SetLeavesResponse);
int __nst1__Reset(struct _nst1__Reset *nst1__Reset,
                  struct _nst1__ResetResponse &nst1__ResetResponse);
int __nst1__RemoveNode(struct _nst1__RemoveNode *nst1__RemoveNode,
                       struct _nst1__RemoveNodeResponse &nst1__RemoveNodeResponse);
int __nst1__getSubscribedNodes(
    struct _nst1__getSubscribedNodes *nst1__getSubscribedNodes,
    struct _nst1__getSubscribedNodesResponse &nst1__getSubscribedNodesResponse);

// --- nsqv: extensions -----------------------------------------------

struct _nsqv__getMinAvgMaxValues {
  std::string *options 0;
  int __sizepaths;
  std::string *paths;
  LONG64 startTime 1;
  LONG64 endTime 1;
  enum nsqv__RatePeriod ratePeriod 1;
};
struct _nsqv__getMinAvgMaxValuesResponse {
  std::string result 1;
  LONG64 startTime 1;
  LONG64 endTime 1;
  int __sizeminAvgMaxValues;
  struct nsqv__MinAvgMaxValue *minAvgMaxValues;
};

struct _nsqv__getDeviceTree {
  std::string *options 0;
  std::string *startingPath 0;
  bool bRecursive 1;
};
struct _nsqv__getDeviceTreeResponse {
  std::string result 1;
  int __sizedevices;
  struct nsqv__deviceDescriptor *devices;
};

struct _nsqv__findAttributeMatches {
  std::string *options 0;
  std::string *startingPath 0;
  bool bRecursive 1;
  std::string *attribMatch 0;
  std::string *regexMatchPattern 0;
};
struct _nsqv__findAttributeMatchesResponse {
  std::string result 1;
  int __sizenodes;
  std::string *nodes;
  int __sizedata;
  std::string *data;  ///< data[i] is the matched text of nodes[i]
};

struct _nsqv__getLeafDescriptors {
  std::string *options 0;
  std::string *basePath 0;
  int __sizeleafPaths;
  std::string *leafPaths;
};
struct _nsqv__getLeafDescriptorsResponse {
  std::string result 1;
  int __sizedescriptors;
  struct nsqv__leafDescriptor *descriptors;
};

struct _nsqv__getLocalAndUtcTime {
  std::string *options 0;
};
struct _nsqv__getLocalAndUtcTimeResponse {
  std::string result 1;
  LONG64 utcTime 1;
  LONG64 localTime 1;
  std::string timezone 1;
};

struct _nsqv__whoAmI {
  std::string *options 0;
};
struct _nsqv__whoAmIResponse {
  std::string result 1;
};

struct _nsqv__getDeltaLog {
  struct nsqv__logRetrieveRequest *request 0;
};
struct _nsqv__getDeltaLogResponse {
  std::string result 1;
  int numTrimmedPoints 1;
  int __sizeloggedValues;
  struct nss1__PublishedValue *loggedValues;
};

struct _nsqv__getEventLog {
  struct nsqv__logRetrieveRequest *request 0;
};
struct _nsqv__getEventLogResponse {
  std::string result 1;
  int numTrimmedEvents 1;
  int __sizeevents;
  nss1__Event **events;  ///< alarm records are nss1__AlarmUpdate objects
};

struct _nsqv__getActiveAlarms {
  struct nsqv__logRetrieveRequest *request 0;
};
struct _nsqv__getActiveAlarmsResponse {
  std::string result 1;
  int numTrimmedEvents 1;
  int __sizealarms;
  nss1__AlarmUpdate *alarms;
};

struct _nsqv__getTrendPeriods {
  std::string *options 0;
};
struct _nsqv__getTrendPeriodsResponse {
  std::string result 1;
  int __sizeperiodProperties;
  struct stPeriodProperties *periodProperties;
};

struct _nsqv__getDeviceTrendParams {
  std::string *options 0;
  std::string *devicePath 0;
};
struct _nsqv__getDeviceTrendParamsResponse {
  std::string result 1;
  int __sizedeviceParams;
  struct stParamProperties *deviceParams;
};

struct _nsqv__getTrendData {
  struct nsqv__getTrendDataRequest *request 0;
};
struct _nsqv__getTrendDataResponse {
  std::string result 1;
  struct stDeviceData data 1;
};

struct _nsqv__getWaveformConfig {
  std::string *options 0;
  std::string *url 0;
};
/// The response of getWaveformConfig; the short name is part of the
/// contract.
struct _nsqv__getWaveConfigResponse {
  std::string result 1;
  std::string stationID 1;
  std::string deviceID 1;
  std::string eventDescr 1;
  std::string triggerChannel 1;
  double samplingRate 1;
  int numberSamples 1;
  LONG64 startTime 1;
  LONG64 triggerTime 1;
  int triggerIndex 1;
  struct nss1__ArrayOfString analogChannelNames 1;
  struct nss1__ArrayOfString digitalChannelNames 1;
};

struct _nsqv__getWaveformData {
  struct nsqv__getWaveDataRequest *request 0;
};
/// The response of getWaveformData; the short name is part of the
/// contract.
struct _nsqv__getWaveDataResponse {
  std::string result 1;
  double samplingRate 1;
  LONG64 startTime 1;
  LONG64 triggerTime 1;
  int triggerIndex 1;
  int __sizedata;
  double *data;
};

int __nsqv__getMinAvgMaxValues(
    struct _nsqv__getMinAvgMaxValues *nsqv__getMinAvgMaxValues,
    struct _nsqv__getMinAvgMaxValuesResponse &nsqv__getMinAvgMaxValuesResponse);
int __nsqv__getDeviceTree(struct _nsqv__getDeviceTree *nsqv__getDeviceTree,
                          struct _nsqv__getDeviceTreeResponse &nsqv__getDeviceTreeResponse);
int __nsqv__findAttributeMatches(
    struct _nsqv__findAttributeMatches *nsqv__findAttributeMatches,
    struct _nsqv__findAttributeMatchesResponse &nsqv__findAttributeMatchesResponse);
int __nsqv__getLeafDescriptors(
    struct _nsqv__getLeafDescriptors *nsqv__getLeafDescriptors,
    struct _nsqv__getLeafDescriptorsResponse &nsqv__getLeafDescriptorsResponse);
int __nsqv__getLocalAndUtcTime(
    struct _nsqv__getLocalAndUtcTime *nsqv__getLocalAndUtcTime,
    struct _nsqv__getLocalAndUtcTimeResponse &nsqv__getLocalAndUtcTimeResponse);
int __nsqv__whoAmI(struct _nsqv__whoAmI *nsqv__whoAmI,
                   struct _nsqv__whoAmIResponse &nsqv__whoAmIResponse);
int __nsqv__getDeltaLog(struct _nsqv__getDeltaLog *nsqv__getDeltaLog,
                        struct _nsqv__getDeltaLogResponse &nsqv__getDeltaLogResponse);
int __nsqv__getEventLog(struct _nsqv__getEventLog *nsqv__getEventLog,
                        struct _nsqv__getEventLogResponse &nsqv__getEventLogResponse);
int __nsqv__getActiveAlarms(
    struct _nsqv__getActiveAlarms *nsqv__getActiveAlarms,
    struct _nsqv__getActiveAlarmsResponse &nsqv__getActiveAlarmsResponse);
int __nsqv__getTrendPeriods(
    struct _nsqv__getTrendPeriods *nsqv__getTrendPeriods,
    struct _nsqv__getTrendPeriodsResponse &nsqv__getTrendPeriodsResponse);
int __nsqv__getDeviceTrendParams(
    struct _nsqv__getDeviceTrendParams *nsqv__getDeviceTrendParams,
    struct _nsqv__getDeviceTrendParamsResponse &nsqv__getDeviceTrendParamsResponse);
int __nsqv__getTrendData(struct _nsqv__getTrendData *nsqv__getTrendData,
                         struct _nsqv__getTrendDataResponse &nsqv__getTrendDataResponse);
int __nsqv__getWaveformConfig(
    struct _nsqv__getWaveformConfig *nsqv__getWaveformConfig,
    struct _nsqv__getWaveConfigResponse &nsqv__getWaveConfigResponse);
int __nsqv__getWaveformData(struct _nsqv__getWaveformData *nsqv__getWaveformData,
                            struct _nsqv__getWaveDataResponse &nsqv__getWaveDataResponse);

// --- nsk7: device commands ------------------------------------------

struct _nsk7__sendDeviceCmd {
  std::string *options 0;
  std::string *devPath 0;
  struct nsk7__sendCmd_s *command 0;
};
struct _nsk7__sendDeviceCmdResponse {
  std::string result 1;
  int cmdHandle 1;
};

struct _nsk7__getDeviceCmdResult {
  std::string *options 0;
  std::string *devPath 0;
  int cmdHandle 1;
};
/// Also the text a device handler stores in its output queue.
struct _nsk7__getDeviceCmdResultResponse {
  std::string result 1;
  int cmdHandle 1;
  enum nsk7__cmdNumStatus numericStatus 1;
  std::string cmdStatus 1;
  struct nsk7__cmdResult_s *cmdResults 0;
};

int __nsk7__sendDeviceCmd(struct _nsk7__sendDeviceCmd *nsk7__sendDeviceCmd,
                          struct _nsk7__sendDeviceCmdResponse &nsk7__sendDeviceCmdResponse);
int __nsk7__getDeviceCmdResult(
    struct _nsk7__getDeviceCmdResult *nsk7__getDeviceCmdResult,
    struct _nsk7__getDeviceCmdResultResponse &nsk7__getDeviceCmdResultResponse);

// --- nsc1: BACnet/WS data access ------------------------------------

struct _nsc1__getValue {
  std::string *options 0;
  std::string *path 0;
};
struct _nsc1__getValueResponse {
  std::string getValueResult 1;
};

struct _nsc1__getValues {
  std::string *options 0;
  struct nsc1__ArrayOfString *paths 0;
};
struct _nsc1__getValuesResponse {
  int __sizegetValuesResult;
  std::string *getValuesResult;  ///< one per path
};

struct _nsc1__getRelativeValues {
  std::string *options 0;
  std::string *basePath 0;
  int __sizepaths;
  std::string *paths;
};
struct _nsc1__getRelativeValuesResponse {
  int __sizegetRelativeValuesResult;
  std::string *getRelativeValuesResult;  ///< one per path
};

struct _nsc1__getArray {
  std::string *options 0;
  std::string *path 0;
};
struct _nsc1__getArrayResponse {
  int __sizegetArrayResult;
  std::string *getArrayResult;
};

struct _nsc1__getArrayRange {
  std::string *options 0;
  std::string *path 0;
  ULONG64 index 1;
  ULONG64 count 1;
};
struct _nsc1__getArrayRangeResponse {
  int __sizegetArrayRangeResult;
  std::string *getArrayRangeResult;
};

struct _nsc1__getArraySize {
  std::string *options 0;
  std::string *path 0;
};
struct _nsc1__getArraySizeResponse {
  std::string getArraySizeResult 1;
};

struct _nsc1__setValue {
  std::string *options 0;
  std::string *path 0;
  std::string *value 0;
};
struct _nsc1__setValueResponse {
  std::string setValueResult 1;
};

struct _nsc1__setValues {
  std::string *options 0;
  int __sizepaths;
  std::string *paths;
  int __sizevalues;
  std::string *values;  ///< values[i] is written to paths[i]
};
struct _nsc1__setValuesResponse {
  int __sizesetValuesResult;
  std::string *setValuesResult;
};

struct _nsc1__getDefaultLocale {
  std::string *options 0;
};
struct _nsc1__getDefaultLocaleResponse {
  std::string getDefaultLocaleResult 1;
};

struct _nsc1__getSupportedLocales {
  std::string *options 0;
};
struct _nsc1__getSupportedLocalesResponse {
  struct nsc1__ArrayOfString getSupportedLocalesResult 1;
};

struct _nsc1__createSubscription {
  std::string *options 0;
  std::string *subscriptionId 0;
  std::string *replyUri 0;
  int leaseDuration 1;
  struct nsc1__ArrayOfNodeSubscription *realTimeNodes 0;
  LONG64 logSinceTime 1;  ///< device time
  enum nsc1__SubscribeLogOptions subscribeLogOptions 1;
};
struct _nsc1__createSubscriptionResponse {
  struct nsc1__ArrayOfRealTimeNodeSubscriptionResult *createSubscriptionResult 0;
};

struct _nsc1__updateSubscriptionRealTimeNodes {
  std::string *subscriptionId 0;
  struct nsc1__ArrayOfNodeSubscription *realTimeNodesToAdd 0;
  struct nsc1__ArrayOfString *realTimeNodesToRemove 0;
};
struct _nsc1__updateSubscriptionRealTimeNodesResponse {
  struct nsc1__ArrayOfRealTimeNodeSubscriptionResult
      *updateSubscriptionRealTimeNodesResult 0;
};

struct _nsc1__cancelSubscription {
  std::string *subscriptionId 0;
};
struct _nsc1__cancelSubscriptionResponse {
};

struct _nsc1__acknowledgeAlarm {
  struct nsc1__ArrayOfAckRequest *requests 0;
};
struct _nsc1__acknowledgeAlarmResponse {
  /// One text per request entry: empty when accepted, else an error result.
  struct nsc1__ArrayOfString acknowledgeAlarmResult 1;
};

int __nsc1__getValue(struct _nsc1__getValue *nsc1__getValue,
                     struct _nsc1__getValueResponse &nsc1__getValueResponse);
int __nsc1__getValues(struct _nsc1__getValues *nsc1__getValues,
                      struct _nsc1__getValuesResponse &nsc1__getValuesResponse);
int __nsc1__getRelativeValues(
    struct _nsc1__getRelativeValues *nsc1__getRelativeValues,
    struct _nsc1__getRelativeValuesResponse &nsc1__getRelativeValuesResponse);
int __nsc1__getArray(struct _nsc1__getArray *nsc1__getArray,
                     struct _nsc1__getArrayResponse &nsc1__getArrayResponse);
int __nsc1__getArrayRange(struct _nsc1__getArrayRange *nsc1__getArrayRange,
                          struct _nsc1__getArrayRangeResponse &nsc1__getArrayRangeResponse);
int __nsc1__getArraySize(struct _nsc1__getArraySize *nsc1__getArraySize,
                         struct _nsc1__getArraySizeResponse &nsc1__getArraySizeResponse);
int __nsc1__setValue(struct _nsc1__setValue *nsc1__setValue,
                     struct _nsc1__setValueResponse &nsc1__setValueResponse);
int __nsc1__setValues(struct _nsc1__setValues *nsc1__setValues,
                      struct _nsc1__setValuesResponse &nsc1__setValuesResponse);
int __nsc1__getDefaultLocale(
    struct _nsc1__getDefaultLocale *nsc1__getDefaultLocale,
    struct _nsc1__getDefaultLocaleResponse &nsc1__getDefaultLocaleResponse);
int __nsc1__getSupportedLocales(
    struct _nsc1__getSupportedLocales *nsc1__getSupportedLocales,
    struct _nsc1__getSupportedLocalesResponse &nsc1__getSupportedLocalesResponse);
int __nsc1__createSubscription(
    struct _nsc1__createSubscription *nsc1__createSubscription,
    struct _nsc1__createSubscriptionResponse &nsc1__createSubscriptionResponse);
int __nsc1__updateSubscriptionRealTimeNodes(
    struct _nsc1__updateSubscriptionRealTimeNodes *nsc1__updateSubscriptionRealTimeNodes,
    struct _nsc1__updateSubscriptionRealTimeNodesResponse
        &nsc1__updateSubscriptionRealTimeNodesResponse);
int __nsc1__cancelSubscription(
    struct _nsc1__cancelSubscription *nsc1__cancelSubscription,
    struct _nsc1__cancelSubscriptionResponse &nsc1__cancelSubscriptionResponse);
int __nsc1__acknowledgeAlarm(
    struct _nsc1__acknowledgeAlarm *nsc1__acknowledgeAlarm,
    struct _nsc1__acknowledgeAlarmResponse &nsc1__acknowledgeAlarmResponse);
