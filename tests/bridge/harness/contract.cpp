#include "contract.h"

namespace zervane::bridge_test {
namespace {

const std::string kText = "Ljava/lang/String;";

using Fields = std::vector<JavaField>;

Fields operator+(Fields first, const Fields& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

const Fields kCommonFields = {{"m_tagName", kText},         {"m_tagID", "I"},
                              {"m_tagType", "B"},           {"m_tagClass", "B"},
                              {"m_archiving", "Z"},         {"m_scan", "Z"},
                              {"m_changeDate", "I"},        {"m_changer", kText},
                              {"m_creationDate", "I"},      {"m_creator", kText},
                              {"m_excMaxTime", "I"},        {"m_excDev", "F"},
                              {"m_compDev", "F"},           {"m_compMaxTime", "I"},
                              {"m_compType", "B"},          {"m_recAccess", "B"},
                              {"m_recOperateGroup", kText}, {"m_recOwnerGroup", kText},
                              {"m_tagAccess", "B"},         {"m_tagOperateGroup", kText},
                              {"m_tagOwnerGroup", kText},   {"m_span", "F"},
                              {"m_minValue", "F"},          {"m_digitalSet", kText},
                              {"m_engUnits", kText},        {"m_descriptor", kText}};

const Fields kPointFields = {{"m_instrumentPoint", kText}, {"m_instrumentPointType", "B"},
                             {"m_CollectorName", kText},   {"m_CollectorID", "I"},
                             {"m_DeviceName", kText},      {"m_DeviceID", "I"},
                             {"m_ScanGroupName", kText},   {"m_ScanGroupID", "I"}};

const Fields kParameters = {
    {"m_param1", "B"}, {"m_param2", "B"}, {"m_param3", "B"}, {"m_param4", "B"}, {"m_param5", "B"}};

const Fields kAlarmExtension = {
    {"m_Test1", kText},       {"m_Test2", kText},   {"m_Test3", kText},
    {"m_Test4", kText},       {"m_Action1", kText}, {"m_Action2", kText},
    {"m_Action3", kText},     {"m_Action4", kText}, {"m_SourceTagName", kText},
    {"m_nAlarmGroupID", "I"}, {"m_nAutoAck", "B"},  {"m_TimeDeadBand", "I"},
    {"m_fValueDeadBand", "F"}};

const Fields kAlarmTimes = {
    {"nAlarmTagID", "I"}, {"startTimeSec", "I"},   {"startTimeMSec", "S"},
    {"endTimeSec", "I"},  {"endTimeMSec", "S"},    {"ackTimeSec", "I"},
    {"ackTimeMSec", "S"}, {"commentTimeSec", "I"}, {"commentTimeMSec", "S"}};

const Fields kAlarmState = {{"nAcked", "B"},        {"nRestored", "B"},     {"nCommented", "B"},
                            {"nPriority", "B"},     {"nAckType", "B"},      {"nAlarmType", "B"},
                            {"strSrcValue", kText}, {"strTest", kText},     {"strComment", kText},
                            {"strAcker", kText},    {"strCommentor", kText}};

const Fields kCalcExtension = {{"m_calcMode", "B"},      {"m_calcPeriod", "I"},
                               {"m_calcExpr", kText},    {"m_calcHistory", "Z"},
                               {"m_calcStartDate", "I"}, {"m_calcEndDate", "I"},
                               {"m_haveEndTime", "Z"},   {"m_sourceTagName", kText}};

const Fields kStatsExtension = {
    {"m_sourceTagName", kText}, {"m_statsType", "B"},           {"m_sampleStartDate", "I"},
    {"m_sampleMode", "B"},      {"m_sampleInterval", "I"},      {"m_sampleBeginOffset", "I"},
    {"m_sampleEndOffset", "I"}, {"m_sampleMonthBeginDay", "B"}, {"m_sampleMonthEndDay", "B"},
    {"m_beginTimeStamp", "Z"},  {"m_timeStampOffset", "I"},     {"m_scanPeriod", "I"},
    {"m_pctGood", "F"},         {"m_filterExpr", kText},        {"m_dropBadMode", "B"},
    {"m_countParam1", "D"},     {"m_countParam2", "D"},         {"m_sampleType", "B"},
    {"m_interpOffset", "I"},    {"m_interpPeriod", "I"},        {"m_conversionType", "B"},
    {"m_conversion", "D"},      {"m_filterFailMode", "B"},      {"m_calcPeriod", "I"},
    {"m_reset", "Z"},           {"m_useBadValue", "Z"}};

}  // namespace

const JavaClass kIntWrapperClass = {"com/talvoro/zrjni/IntWrapper", {{"Value", "I"}}};
const JavaClass kLongWrapperClass = {"com/talvoro/zrjni/LongWrapper", {{"Value", "J"}}};
const JavaClass kDoubleWrapperClass = {"com/talvoro/zrjni/DoubleWrapper", {{"Value", "D"}}};
const JavaClass kTimeClass = {"com/talvoro/zrjni/ZRJniTime", {{"nSec", "I"}, {"nMsec", "S"}}};
const JavaClass kRecordClass = {"com/talvoro/zrjni/ZRJniRecord",
                                {{"nSec", "I"},
                                 {"nMsec", "S"},
                                 {"nQuality", "I"},
                                 {"nTagType", "B"},
                                 {"nInt8", "B"},
                                 {"nInt16", "S"},
                                 {"nInt32", "I"},
                                 {"fFloat32", "F"},
                                 {"fFloat64", "D"},
                                 {"nDigital", "B"},
                                 {"strValue", kText},
                                 {"byteValue", "[B"}}};
const JavaClass kTagPropClass = {"com/talvoro/zrjni/ZRJniTagProp",
                                 kCommonFields + kPointFields + kParameters};
const JavaClass kCommTagPropClass = {"com/talvoro/zrjni/ZRJniCommTagProp",
                                     kCommonFields + kParameters};
const JavaClass kConditionClass = {
    "com/talvoro/zrsdk/common/ZRQueryTagCondition",
    {{"tagPropID", "B"}, {"queryRelation", "B"}, {"queryValue", kText}}};
const JavaClass kAlarmTagClass = {"com/talvoro/zrjni/ZRJniAlarmTag",
                                  kCommonFields + kAlarmExtension};
const JavaClass kAlarmRecordClass = {"com/talvoro/zrjni/ZRJniAlarmRecord",
                                     kAlarmTimes + kAlarmState};
const JavaClass kPolledAlarmRecordClass = {
    "com/talvoro/zrjni/ZRJniAlarmRecord",
    kAlarmTimes + Fields{{"nextItemHandle", "I"}} + kAlarmState};
const JavaClass kAlarmQueryClass = {"com/talvoro/zrjni/ZrAlarmQuery",
                                    {{"nStartSec", "I"},
                                     {"nStartMsec", "S"},
                                     {"nEndSec", "I"},
                                     {"nEndMsec", "S"},
                                     {"nAckMask", "B"},
                                     {"nTypeMask", "B"},
                                     {"nPriorMask", "B"},
                                     {"nRestoreMask", "B"},
                                     {"nCommentMask", "B"}}};
const JavaClass kAlarmGroupClass = {
    "com/talvoro/zrjni/AlarmGroup",
    {{"m_GroupName", kText}, {"m_GroupDesc", kText}, {"m_GroupID", "I"}, {"m_ParentID", "I"}}};
const JavaClass kTagInfoClass = {"com/talvoro/zrjni/TagInfoWithField",
                                 {{"m_nTagID", "I"}, {"m_nFieldID", "I"}}};
const JavaClass kCalcTagClass = {"com/talvoro/zrjni/ZRJniCalcTag", kCommonFields + kCalcExtension};
const JavaClass kStatsTagClass = {"com/talvoro/zrjni/ZRJniStatsTag",
                                  kCommonFields + kStatsExtension};
const JavaClass kUserClass = {"com/talvoro/zrsdk/base/ZRUser",
                              {{"userName", kText}, {"userPwd", kText}, {"userDesc", kText}}};
const JavaClass kGroupClass = {"com/talvoro/zrsdk/base/ZRGroup",
                               {{"groupName", kText}, {"groupDesc", kText}}};
const JavaClass kAuthItemClass = {"com/talvoro/zrsdk/base/ZRAuthItem",
                                  {{"authItemName", kText}, {"authItemDesc", kText}}};
const JavaClass kRedisInfoClass = {"com/talvoro/zrjni/RedisInfo",
                                   {{"m_name", kText},
                                    {"m_hostip", kText},
                                    {"m_port", kText},
                                    {"m_password", kText},
                                    {"m_maxTotal", kText},
                                    {"m_maxWait", kText},
                                    {"m_mastername", kText},
                                    {"m_routingrtalms", kText},
                                    {"m_routingclearalm", kText},
                                    {"m_routingrtrec", kText},
                                    {"m_routingcrs", kText}}};

const JavaClass* FindJavaClass(const std::string& path) {
  static const JavaClass* const kAll[] = {
      &kIntWrapperClass, &kLongWrapperClass,       &kDoubleWrapperClass, &kTimeClass,
      &kRecordClass,     &kTagPropClass,           &kCommTagPropClass,   &kConditionClass,
      &kAlarmTagClass,   &kPolledAlarmRecordClass, &kAlarmQueryClass,    &kAlarmGroupClass,
      &kTagInfoClass,    &kCalcTagClass,           &kStatsTagClass,      &kUserClass,
      &kGroupClass,      &kAuthItemClass,          &kRedisInfoClass};
  for (const JavaClass* java_class : kAll) {
    if (java_class->path == path) return java_class;
  }
  return nullptr;
}

Lines LookUp(const JavaClass& java_class) {
  return LookUpClass(java_class) + LookUpFields(java_class);
}

Lines LookUpClass(const JavaClass& java_class) { return {"FindClass " + java_class.path}; }

Lines LookUpFields(const JavaClass& java_class) {
  Lines lines;
  for (const JavaField& field : java_class.fields) {
    lines.push_back("GetFieldID " + java_class.name() + "." + field.name + " " + field.signature);
  }
  return lines;
}

}  // namespace zervane::bridge_test
