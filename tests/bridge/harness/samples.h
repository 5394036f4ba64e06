// Java objects and API records with a value of its own in every member, so that a value that took
// another's place shows.
#ifndef ZERVANE_TESTS_BRIDGE_SAMPLES_H
#define ZERVANE_TESTS_BRIDGE_SAMPLES_H

#include <cstring>

#include "scene.h"

namespace zervane::bridge_test {

// "Int m_tagID" becomes "GetIntField tag.m_tagID", and "Int m_tagID = 7" "SetIntField tag.m_tagID =
// 7".
Lines Gets(const std::string& object, const Lines& fields);
Lines Sets(const std::string& object, const Lines& fields);

// ---- times and value records ----

Ref JavaTime(const std::string& label, jint seconds, jshort milliseconds);

// A Java record with a value for every type; its own nTagType says FLOAT64.
Ref JavaRecord(const std::string& label, jint seconds);

// The steps of reading a record's header, and of writing it from ApiRecord.
Lines RecordHeaderGets(const std::string& label);

// An API record with a value in every numeric slot.
ZR3Record ApiRecord(ZR3_TAG_TYPE type, int32 seconds);

// The bytes of a STRING or BLOB record, to be copied while the call lasts.
std::string BufferOf(const ZR3Record& record);

// A numeric type: how its field is read, and where its value stands in a record.
struct NumericType {
  ZR3_TAG_TYPE type;
  const char* get;
  size_t offset;
  size_t size;
};
extern const NumericType kNumericTypes[6];

// Whether a record that was not cleared holds the header and the one value of ApiRecord(type,
// 1000).
testing::AssertionResult HasHeaderAndSlot(const ZR3Record& record, const NumericType& type);

// The steps of writing ApiRecord(type, seconds) of a numeric type into an object.
Lines RecordSets(const std::string& label, ZR3_TAG_TYPE type, int32 seconds);

// ---- tag properties ----

// Fills the common fields of a Java tag.
Ref FillCommonFields(const Ref& tag);

// The steps of reading and of writing the common fields, in order. Writing m_tagClass is up to the
// class.
Lines CommonGets(const std::string& label);
Lines CommonSets(const std::string& label, bool with_class);

// What the common part of a record holds after FillCommonFields was read into it.
template <typename Prop>
void FillAsRead(Prop* prop) {
  strcpy(prop->szTagName, "FIC101.PV");
  prop->nTagID = 7001;
  prop->nTagType = 6;
  prop->nTagClass = 1;
  prop->bArchiving = 1;
  prop->bScan = 0;
  prop->nChangeDate = 1111;
  strcpy(prop->szChanger, "ALICE");
  prop->nCreationDate = 1111;  // m_changeDate
  strcpy(prop->szCreator, "BOB");
  prop->nExcMaxTime = 33;
  prop->fExcDev = 0.5F;
  prop->fCompDev = 0.25F;
  prop->nCompMaxTime = 44;
  prop->nCompType = 1;
  prop->nRecAccess = 253;
  strcpy(prop->szRecNormalGroup, "REC OPS");
  strcpy(prop->szRecOwnerGroup, "REC OWNERS");
  prop->nTagAccess = 5;
  strcpy(prop->szTagNormalGroup, "TAG OPS");
  strcpy(prop->szTagOwnerGroup, "TAG OWNERS");
  prop->fSpan = 0.5F;       // m_excDev
  prop->fMinValue = 0.25F;  // m_compDev
  strcpy(prop->szDigitalSet, "ONOFF");
  strcpy(prop->szEngUnits, "M3/H");
  strcpy(prop->szDescriptor, "FLOW");
}

// A record as the API fills it; CommonSets has its values.
template <typename Prop>
void FillAsQueried(Prop* prop) {
  strcpy(prop->szTagName, "TT7");
  prop->nTagID = 4294967295U;
  prop->nTagType = 0x106;
  prop->nTagClass = 0x203;
  prop->bArchiving = 0;
  prop->bScan = 1;
  prop->nChangeDate = 51;
  strcpy(prop->szChanger, "CAROL");
  prop->nCreationDate = 52;
  strcpy(prop->szCreator, "DAVE");
  prop->nExcMaxTime = 53;
  prop->fExcDev = 1.5F;
  prop->fCompDev = 2.5F;
  prop->nCompMaxTime = 54;
  prop->nCompType = 0x301;
  prop->nRecAccess = 255;
  strcpy(prop->szRecNormalGroup, "RN");
  strcpy(prop->szRecOwnerGroup, "RO");
  prop->nTagAccess = 9;
  strcpy(prop->szTagNormalGroup, "TN");
  strcpy(prop->szTagOwnerGroup, "TO");
  prop->fSpan = 3.5F;
  prop->fMinValue = 4.5F;
  strcpy(prop->szDigitalSet, "DS");
  strcpy(prop->szEngUnits, "EU");
  strcpy(prop->szDescriptor, "");
  prop->nParam1 = 1;
  prop->nParam2 = 2;
  prop->nParam3 = 3;
  prop->nParam4 = 4;
  prop->nParam5 = 250;
}

// The steps of writing m_param1 to m_param5 of such a record.
Lines ParameterSets(const std::string& label);

}  // namespace zervane::bridge_test

#endif
