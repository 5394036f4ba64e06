package com.talvoro.zrjni.stack;

import com.talvoro.zrjni.CommonTagProperties;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.math.BigDecimal;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;

/** The columns of point tags, which masks and conditions name by number. */
enum Column {
  NAME(0, "m_tagName", Kind.TEXT),
  ARCHIVING(1, "m_archiving", Kind.NUMBER),
  CHANGE_DATE(2, "m_changeDate", Kind.UNSIGNED),
  CHANGER(3, "m_changer", Kind.TEXT),
  COMP_DEV(4, "m_compDev", Kind.NUMBER),
  COMP_MAX_TIME(5, "m_compMaxTime", Kind.NUMBER),
  COMP_TYPE(6, "m_compType", Kind.NUMBER),
  CREATION_DATE(7, "m_creationDate", Kind.UNSIGNED),
  CREATOR(8, "m_creator", Kind.TEXT),
  REC_ACCESS(9, "m_recAccess", Kind.UNSIGNED),
  REC_NORMAL_GROUP(10, "m_recOperateGroup", Kind.TEXT),
  REC_OWNER_GROUP(11, "m_recOwnerGroup", Kind.TEXT),
  DESCRIPTOR(12, "m_descriptor", Kind.TEXT),
  DIGITAL_SET(13, "m_digitalSet", Kind.TEXT),
  ENG_UNITS(14, "m_engUnits", Kind.TEXT),
  EXC_MAX_TIME(15, "m_excMaxTime", Kind.NUMBER),
  EXC_DEV(16, "m_excDev", Kind.NUMBER),
  ID(17, "m_tagID", Kind.UNSIGNED),
  TYPE(18, "m_tagType", Kind.NUMBER),
  TAG_ACCESS(19, "m_tagAccess", Kind.UNSIGNED),
  TAG_NORMAL_GROUP(20, "m_tagOperateGroup", Kind.TEXT),
  TAG_OWNER_GROUP(21, "m_tagOwnerGroup", Kind.TEXT),
  SCAN(22, "m_scan", Kind.NUMBER),
  SPAN(23, "m_span", Kind.NUMBER),
  MIN_VALUE(24, "m_minValue", Kind.NUMBER),
  CLASS(25, "0", Kind.NUMBER),
  AVAILABLE(26, "0", Kind.NUMBER),
  PARAM1(27, "m_param1", Kind.UNSIGNED),
  PARAM2(28, "m_param2", Kind.UNSIGNED),
  PARAM3(29, "m_param3", Kind.UNSIGNED),
  PARAM4(30, "m_param4", Kind.UNSIGNED),
  PARAM5(31, "m_param5", Kind.UNSIGNED),
  OPC_STATE(32, "0", Kind.NUMBER),
  IMV_STRING(33, "", Kind.TEXT),
  EXT_STRING1(34, "", Kind.TEXT),
  EXT_STRING2(35, "", Kind.TEXT),
  INSTRUMENT_ADDRESS(100, "m_instrumentPoint", Kind.TEXT),
  INSTRUMENT_ADDRESS_TYPE(101, "m_instrumentPointType", Kind.UNSIGNED),
  COLLECTOR_NAME(102, "m_CollectorName", Kind.TEXT),
  COLLECTOR_ID(103, "m_CollectorID", Kind.NUMBER),
  DEVICE_NAME(104, "m_DeviceName", Kind.TEXT),
  DEVICE_ID(105, "m_DeviceID", Kind.UNSIGNED),
  SCAN_GROUP_NAME(106, "m_ScanGroupName", Kind.TEXT),
  SCAN_GROUP_ID(107, "m_ScanGroupID", Kind.UNSIGNED),
  DATA_ORDER(108, "0", Kind.NUMBER);

  /** A test of three: texts, numbers as Java has them, and numbers whose top bit is no sign. */
  enum Kind {
    TEXT,
    NUMBER,
    UNSIGNED
  }

  static final int FIRST_OF_POINTS = 100;

  private final int number;
  private final String field;
  private final Kind kind;

  /**
   * @param field the field of a Java object that holds it, or, where there is none, the value that
   *     it is sent with
   */
  Column(int number, String field, Kind kind) {
    this.number = number;
    this.field = field;
    this.kind = kind;
  }

  int number() {
    return number;
  }

  boolean isText() {
    return kind == Kind.TEXT;
  }

  boolean isCommon() {
    return number < FIRST_OF_POINTS;
  }

  boolean hasField() {
    return field.startsWith("m_");
  }

  String field() {
    return field;
  }

  /** Its bit in the mask of common properties, or in that of point properties. */
  long bit() {
    return 1L << (isCommon() ? number : number - FIRST_OF_POINTS);
  }

  /** The property as a condition spells it. */
  String valueOf(ZRJniTagProp tag) {
    if (!hasField()) {
      return field;
    }
    Object value = read(tag);
    if (value instanceof Boolean flag) {
      return flag ? "1" : "0";
    }
    if (kind == Kind.UNSIGNED) {
      return value instanceof Byte number
          ? Integer.toString(Byte.toUnsignedInt(number))
          : Integer.toUnsignedString((Integer) value);
    }
    return value.toString();
  }

  Object read(CommonTagProperties tag) {
    try {
      return tag.getClass().getField(field).get(tag);
    } catch (ReflectiveOperationException e) {
      throw new AssertionError(e);
    }
  }

  /** Below, at or above 0: how a search is to order two values of the column. */
  int compare(String a, String b) {
    return isText()
        ? Arrays.compareUnsigned(folded(a), folded(b))
        : new BigDecimal(a).compareTo(new BigDecimal(b));
  }

  /** The condition that the column stands in a relation to a value. */
  ZRQueryTagCondition is(Relation relation, String value) {
    return condition(number, relation.number(), value);
  }

  /** A condition of any numbers, such that there are not, too. */
  static ZRQueryTagCondition condition(int column, int relation, String value) {
    ZRQueryTagCondition condition = new ZRQueryTagCondition();
    condition.tagPropID = (byte) column;
    condition.queryRelation = (byte) relation;
    condition.queryValue = value;
    return condition;
  }

  private static byte[] folded(String text) {
    byte[] bytes = text.getBytes(StandardCharsets.UTF_8);
    for (int i = 0; i < bytes.length; i++) {
      if (bytes[i] >= 'A' && bytes[i] <= 'Z') {
        bytes[i] += 'a' - 'A';
      }
    }
    return bytes;
  }
}
