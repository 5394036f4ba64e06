package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniAlarmTag;

/** Creates alarm tags, and reads what the catalogue holds of them. */
final class AlarmTags {
  /** The class of alarm tags. */
  static final byte CLASS = 1;

  private AlarmTags() {}

  /** An alarm tag on a source with one test; every text that it has not is empty. */
  static ZRJniAlarmTag on(String name, String source, String test) {
    ZRJniAlarmTag tag = new ZRJniAlarmTag();
    tag.m_tagName = name;
    tag.m_tagClass = CLASS;
    tag.m_Test1 = test;
    tag.m_SourceTagName = source;
    return tag;
  }

  /** Creates one, with its own properties alone selected. */
  static int add(String name, String source, String test) {
    return add(on(name, source, test));
  }

  static int add(ZRJniAlarmTag tag) {
    return add(tag, Columns.NONE, Columns.ALL);
  }

  static int add(ZRJniAlarmTag tag, long mask, long alarmMask) {
    assertEquals(Codes.OK, Jni_Zervane.addAlarmTag(tag, mask, alarmMask));
    int id = Jni_Zervane.queryAlarmTagID(tag.m_tagName);
    assertTrue(id > 0, "identifier " + id);
    return id;
  }

  static ZRJniAlarmTag get(int id) {
    ZRJniAlarmTag tag = new ZRJniAlarmTag();
    tag.m_tagClass = CLASS; // reading leaves it alone
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmTag(id, tag));
    return tag;
  }

  /** The object that changes the tag of that identifier. */
  static ZRJniAlarmTag changes(int id) {
    ZRJniAlarmTag changes = new ZRJniAlarmTag();
    changes.m_tagID = id;
    return changes;
  }

  /** An alarm tag whose every property differs from its default. */
  static ZRJniAlarmTag complete(String name, String source, String target) {
    ZRJniAlarmTag tag = on(name, source, "HIHI >= 95.5 PRIORITY 2");
    tag.m_tagType = ValueType.INT32.number();
    tag.m_archiving = false;
    tag.m_scan = false;
    tag.m_changeDate = 1_000_000_001;
    tag.m_changer = "changer";
    tag.m_creationDate = 1_000_000_002;
    tag.m_creator = "creator";
    tag.m_excMaxTime = 3;
    tag.m_excDev = 4.5f;
    tag.m_compDev = 5.5f;
    tag.m_compMaxTime = 6;
    tag.m_compType = 1;
    tag.m_recAccess = 7;
    tag.m_recOperateGroup = "record operators";
    tag.m_recOwnerGroup = "record owners";
    tag.m_tagAccess = 8;
    tag.m_tagOperateGroup = "tag operators";
    tag.m_tagOwnerGroup = "tag owners";
    tag.m_span = 9.5f;
    tag.m_minValue = 10.5f;
    tag.m_digitalSet = "digital set";
    tag.m_engUnits = "m³/h";
    tag.m_descriptor = "温度 too high";
    tag.m_Test2 = "high > 90";
    tag.m_Test3 = "LOW < 10 PRIORITY 4";
    tag.m_Test4 = "CHANGE 50";
    tag.m_Action1 = "SET '" + target + "' 1";
    tag.m_Action2 = "SET '" + target + "' 2.5";
    tag.m_Action3 = "SET '" + target + "' -3";
    tag.m_Action4 = "SET '" + target + "' 4";
    tag.m_nAutoAck = 1;
    tag.m_TimeDeadBand = 60;
    tag.m_fValueDeadBand = 0.5f;
    return tag;
  }
}
