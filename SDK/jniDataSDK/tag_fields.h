// The Java classes of tag properties. Every tag property record begins with the members of
// CommonProp, so the 26 rows for them are stated once and shared by all five classes.
#ifndef ZERVANE_BRIDGE_TAG_FIELDS_H
#define ZERVANE_BRIDGE_TAG_FIELDS_H

#include <string_view>

#include "binding.h"
#include "zr3Struct.h"

namespace zervane::bridge {

using CommonProp = ZR3CommTagProp;

inline constexpr std::array<FieldRow, 3> kTagNameRows{{
    TextRow("m_tagName", offsetof(CommonProp, szTagName)),
    Row("m_tagID", "I", Conv::kInt, offsetof(CommonProp, nTagID)),
    Row("m_tagType", "B", Conv::kEnum, offsetof(CommonProp, nTagType)),
}};

inline constexpr std::array<FieldRow, 1> kTagClassRow{{
    Row("m_tagClass", "B", Conv::kEnum, offsetof(CommonProp, nTagClass)),
}};

inline constexpr std::array<FieldRow, 1> kUnwrittenTagClassRow{{
    // kept: looked up and never written; the object keeps the class it held.
    InRow("m_tagClass", "B", Conv::kEnum, offsetof(CommonProp, nTagClass)),
}};

// Rows of a whole table, whose fields other rows read.
inline constexpr int8_t kChangeDateField = 6;
inline constexpr int8_t kExcDevField = 11;
inline constexpr int8_t kCompDevField = 12;

inline constexpr std::array<FieldRow, 22> kTagRows{{
    Row("m_archiving", "Z", Conv::kBool, offsetof(CommonProp, bArchiving)),
    Row("m_scan", "Z", Conv::kBool, offsetof(CommonProp, bScan)),
    Row("m_changeDate", "I", Conv::kInt, offsetof(CommonProp, nChangeDate)),
    TextRow("m_changer", offsetof(CommonProp, szChanger)),
    // kept: reads m_changeDate; a tag is sent with its creation date equal to its change date.
    CrossedRow("m_creationDate", "I", Conv::kInt, kChangeDateField,
               offsetof(CommonProp, nCreationDate)),
    TextRow("m_creator", offsetof(CommonProp, szCreator)),
    Row("m_excMaxTime", "I", Conv::kInt, offsetof(CommonProp, nExcMaxTime)),
    Row("m_excDev", "F", Conv::kFloat, offsetof(CommonProp, fExcDev)),
    Row("m_compDev", "F", Conv::kFloat, offsetof(CommonProp, fCompDev)),
    Row("m_compMaxTime", "I", Conv::kInt, offsetof(CommonProp, nCompMaxTime)),
    Row("m_compType", "B", Conv::kEnum, offsetof(CommonProp, nCompType)),
    Row("m_recAccess", "B", Conv::kByte, offsetof(CommonProp, nRecAccess)),
    TextRow("m_recOperateGroup", offsetof(CommonProp, szRecNormalGroup)),
    TextRow("m_recOwnerGroup", offsetof(CommonProp, szRecOwnerGroup)),
    Row("m_tagAccess", "B", Conv::kByte, offsetof(CommonProp, nTagAccess)),
    TextRow("m_tagOperateGroup", offsetof(CommonProp, szTagNormalGroup)),
    TextRow("m_tagOwnerGroup", offsetof(CommonProp, szTagOwnerGroup)),
    // kept: reads m_excDev; the span is sent as the exception deviation.
    CrossedRow("m_span", "F", Conv::kFloat, kExcDevField, offsetof(CommonProp, fSpan)),
    // kept: reads m_compDev; the minimum is sent as the compression deviation.
    CrossedRow("m_minValue", "F", Conv::kFloat, kCompDevField, offsetof(CommonProp, fMinValue)),
    TextRow("m_digitalSet", offsetof(CommonProp, szDigitalSet)),
    TextRow("m_engUnits", offsetof(CommonProp, szEngUnits)),
    TextRow("m_descriptor", offsetof(CommonProp, szDescriptor)),
}};

// What the classes of point, alarm, calculation and statistics tags begin with.
inline constexpr auto kCommonTagRows = JoinRows(kTagNameRows, kUnwrittenTagClassRow, kTagRows);
static_assert(kCommonTagRows.size() == 26);
static_assert(std::string_view(kCommonTagRows[kChangeDateField].name) == "m_changeDate");
static_assert(std::string_view(kCommonTagRows[kExcDevField].name) == "m_excDev");
static_assert(std::string_view(kCommonTagRows[kCompDevField].name) == "m_compDev");

extern const ClassTable kPointTag;   // ZRJniTagProp, ZR3PtTagProp
extern const ClassTable kCommonTag;  // ZRJniCommTagProp, ZR3CommTagProp

// Changing a tag clears only so much of its record before the object is read into it. What no Java
// field feeds holds no defined value; the API takes what the masks select.
inline constexpr size_t kClearedToModify = 172;

// Looks the class up, clears the first `cleared` bytes of the record, and reads the object into it.
void ReadTag(JNIEnv* env, const ClassTable& table, jobject tag, size_t cleared, void* record);

}  // namespace zervane::bridge

#endif
