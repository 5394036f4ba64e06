#include "samples.h"

namespace zervane::bridge_test {
namespace {

// "Int m_tagID" of `tag`, for `verb` Get: "GetIntField tag.m_tagID".
Lines Accesses(const char* verb, const std::string& object, const Lines& fields) {
  Lines lines;
  for (const std::string& field : fields) {
    const size_t space = field.find(' ');
    lines.push_back(verb + field.substr(0, space) + "Field " + object + "." +
                    field.substr(space + 1));
  }
  return lines;
}

std::string ValueSet(ZR3_TAG_TYPE type) {
  static const char* const kSets[] = {"Byte nInt8 = -8",          "Short nInt16 = -1600",
                                      "Int nInt32 = -320000",     "Float fFloat32 = 3.25",
                                      "Double fFloat64 = -6.125", "Byte nDigital = 17"};
  return kSets[type];
}

}  // namespace

Lines Gets(const std::string& object, const Lines& fields) {
  return Accesses("Get", object, fields);
}

Lines Sets(const std::string& object, const Lines& fields) {
  return Accesses("Set", object, fields);
}

Ref JavaTime(const std::string& label, jint seconds, jshort milliseconds) {
  return Java().New(kTimeClass, label).Set("nSec", seconds).Set("nMsec", milliseconds);
}

Ref JavaRecord(const std::string& label, jint seconds) {
  return Java()
      .New(kRecordClass, label)
      .Set("nSec", seconds)
      .Set("nMsec", 250)
      .Set("nQuality", 0x100C0)
      .Set("nTagType", 4)
      .Set("nInt8", -8)
      .Set("nInt16", -1600)
      .Set("nInt32", -320000)
      .Set("fFloat32", 3.25)
      .Set("fFloat64", -6.125)
      .Set("nDigital", 17)
      .Set("strValue", Java().String("abc"))
      .Set("byteValue", Java().Bytes("blob", {1, 0, -1}));
}

Lines RecordHeaderGets(const std::string& label) {
  return Gets(label, {"Int nSec", "Short nMsec", "Int nQuality"});
}

ZR3Record ApiRecord(ZR3_TAG_TYPE type, int32 seconds) {
  ZR3Record record = {};
  record.nSec = seconds;
  record.nMsec = 250;
  record.nQuality = 0xC0;
  record.nTagType = type;
  record.value.nInt8 = -8;
  record.value.nInt16 = -1600;
  record.value.nInt32 = -320000;
  record.value.fFloat32 = 3.25F;
  record.value.fFloat64 = -6.125;
  record.value.nDigital = 17;
  return record;
}

std::string BufferOf(const ZR3Record& record) {
  return {record.value.strBlob.pBuf, record.value.strBlob.nLenBuf};
}

const NumericType kNumericTypes[6] = {
    {0, "Byte nInt8", offsetof(ZR3Record, value.nInt8), 1},
    {1, "Short nInt16", offsetof(ZR3Record, value.nInt16), 2},
    {2, "Int nInt32", offsetof(ZR3Record, value.nInt32), 4},
    {3, "Float fFloat32", offsetof(ZR3Record, value.fFloat32), 4},
    {4, "Double fFloat64", offsetof(ZR3Record, value.fFloat64), 8},
    {5, "Byte nDigital", offsetof(ZR3Record, value.nDigital), 1}};

testing::AssertionResult HasHeaderAndSlot(const ZR3Record& record, const NumericType& type) {
  constexpr size_t kHeader = offsetof(ZR3Record, nTagType) + sizeof(int32);
  const ZR3Record filled = ApiRecord(type.type, 1000);
  const auto* const expected = reinterpret_cast<const char*>(&filled);
  const auto* const actual = reinterpret_cast<const char*>(&record);
  if (auto same = SameBytes(expected, actual, kHeader); !same) return same;
  if (auto same = SameBytes(expected + type.offset, actual + type.offset, type.size); !same) {
    return same;
  }
  return HoldsOldBytes(&record, sizeof record);
}

Lines RecordSets(const std::string& label, ZR3_TAG_TYPE type, int32 seconds) {
  return Sets(label,
              {"Int nSec = " + std::to_string(seconds), "Short nMsec = 250", "Int nQuality = 192",
               "Byte nTagType = " + std::to_string(type), ValueSet(type)});
}

Ref FillCommonFields(const Ref& tag) {
  const auto text = [](const char* utf8) { return Java().String(utf8); };
  return tag.Set("m_tagName", text("fic101.pv"))
      .Set("m_tagID", 7001)
      .Set("m_tagType", 6)
      .Set("m_tagClass", 1)
      .Set("m_archiving", true)
      .Set("m_scan", false)
      .Set("m_changeDate", 1111)
      .Set("m_changer", text("alice"))
      .Set("m_creationDate", 2222)
      .Set("m_creator", text("bob"))
      .Set("m_excMaxTime", 33)
      .Set("m_excDev", 0.5)
      .Set("m_compDev", 0.25)
      .Set("m_compMaxTime", 44)
      .Set("m_compType", 1)
      .Set("m_recAccess", -3)
      .Set("m_recOperateGroup", text("rec ops"))
      .Set("m_recOwnerGroup", text("rec owners"))
      .Set("m_tagAccess", 5)
      .Set("m_tagOperateGroup", text("tag ops"))
      .Set("m_tagOwnerGroup", text("tag owners"))
      .Set("m_span", 100.0)
      .Set("m_minValue", -100.0)
      .Set("m_digitalSet", text("onoff"))
      .Set("m_engUnits", text("m3/h"))
      .Set("m_descriptor", text("flow"));
}

Lines CommonGets(const std::string& label) {
  return Gets(label, {"Object m_tagName",         "Int m_tagID",
                      "Byte m_tagType",           "Byte m_tagClass",
                      "Boolean m_archiving",      "Boolean m_scan",
                      "Int m_changeDate",         "Object m_changer",
                      "Int m_changeDate",         "Object m_creator",
                      "Int m_excMaxTime",         "Float m_excDev",
                      "Float m_compDev",          "Int m_compMaxTime",
                      "Byte m_compType",          "Byte m_recAccess",
                      "Object m_recOperateGroup", "Object m_recOwnerGroup",
                      "Byte m_tagAccess",         "Object m_tagOperateGroup",
                      "Object m_tagOwnerGroup",   "Float m_excDev",
                      "Float m_compDev",          "Object m_digitalSet",
                      "Object m_engUnits",        "Object m_descriptor"});
}

Lines CommonSets(const std::string& label, bool with_class) {
  const Lines first = {"Object m_tagName = \"tt7\"", "Int m_tagID = -1", "Byte m_tagType = 6"};
  const Lines tag_class = with_class ? Lines{"Byte m_tagClass = 3"} : Lines{};
  const Lines rest = {"Boolean m_archiving = 0",
                      "Boolean m_scan = 1",
                      "Int m_changeDate = 51",
                      "Object m_changer = \"carol\"",
                      "Int m_creationDate = 52",
                      "Object m_creator = \"dave\"",
                      "Int m_excMaxTime = 53",
                      "Float m_excDev = 1.5",
                      "Float m_compDev = 2.5",
                      "Int m_compMaxTime = 54",
                      "Byte m_compType = 1",
                      "Byte m_recAccess = -1",
                      "Object m_recOperateGroup = \"rn\"",
                      "Object m_recOwnerGroup = \"ro\"",
                      "Byte m_tagAccess = 9",
                      "Object m_tagOperateGroup = \"tn\"",
                      "Object m_tagOwnerGroup = \"to\"",
                      "Float m_span = 3.5",
                      "Float m_minValue = 4.5",
                      "Object m_digitalSet = \"ds\"",
                      "Object m_engUnits = \"eu\"",
                      "Object m_descriptor = \"\""};
  return Sets(label, first + tag_class + rest);
}

Lines ParameterSets(const std::string& label) {
  return Sets(label, {"Byte m_param1 = 1", "Byte m_param2 = 2", "Byte m_param3 = 3",
                      "Byte m_param4 = 4", "Byte m_param5 = -6"});
}

}  // namespace zervane::bridge_test
