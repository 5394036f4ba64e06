package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniTagProp;

/** Creates tags, and reads what the catalogue holds of them. */
final class Tags {
  static final int UNKNOWN = 987654;

  private Tags() {}

  static ZRJniTagProp named(String name, ValueType type) {
    ZRJniTagProp tag = new ZRJniTagProp();
    tag.m_tagName = name;
    tag.m_tagType = type.number();
    return tag;
  }

  /** Creates a tag of that type; everything else takes its default. */
  static int add(String name, ValueType type) {
    return add(named(name, type), Columns.TYPE);
  }

  static int add(ZRJniTagProp tag, long mask) {
    return add(tag, mask, Columns.NONE);
  }

  static int add(ZRJniTagProp tag, long mask, long pointMask) {
    assertEquals(Codes.OK, Jni_Zervane.addTag(tag, mask, pointMask));
    int id = Jni_Zervane.queryTagID(tag.m_tagName);
    assertTrue(id > 0, "identifier " + id);
    return id;
  }

  static void addNames(String... names) {
    for (String name : names) {
      add(name, ValueType.FLOAT64);
    }
  }

  static ZRJniTagProp get(int id) {
    ZRJniTagProp tag = new ZRJniTagProp();
    assertEquals(Codes.OK, Jni_Zervane.getTag(id, tag));
    return tag;
  }

  /** A tag whose every property differs from its default. */
  static ZRJniTagProp complete(String name) {
    ZRJniTagProp tag = new ZRJniTagProp();
    tag.m_tagName = name;
    tag.m_tagType = ValueType.STRING.number();
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
    tag.m_tagAccess = -8;
    tag.m_tagOperateGroup = "tag operators";
    tag.m_tagOwnerGroup = "tag owners";
    tag.m_span = 9;
    tag.m_minValue = 10;
    tag.m_digitalSet = "states";
    tag.m_engUnits = "m³/h";
    tag.m_descriptor = "Durchfluss, 流量";
    tag.m_instrumentPoint = "PLC1:DB10.4";
    tag.m_instrumentPointType = 11;
    tag.m_CollectorName = "collector";
    tag.m_CollectorID = -12;
    tag.m_DeviceName = "device";
    tag.m_DeviceID = 13;
    tag.m_ScanGroupName = "scan group";
    tag.m_ScanGroupID = 14;
    tag.m_param1 = 15;
    tag.m_param2 = 16;
    tag.m_param3 = 17;
    tag.m_param4 = 18;
    tag.m_param5 = -19;
    return tag;
  }

  /**
   * What the database holds of such a tag: three properties come from another field, one from none.
   */
  static ZRJniTagProp asStored(ZRJniTagProp tag, int id) {
    ZRJniTagProp stored = complete(tag.m_tagName);
    stored.m_tagID = id;
    stored.m_creationDate = tag.m_changeDate;
    stored.m_span = tag.m_excDev;
    stored.m_minValue = tag.m_compDev;
    stored.m_DeviceID = 0;
    return stored;
  }

  /** Changes the selected common properties of a tag. */
  static void modify(int id, ZRJniTagProp changes, long mask) {
    changes.m_tagID = id;
    assertEquals(Codes.OK, Jni_Zervane.modifyTag(changes, mask, Columns.NONE));
  }

  static void rename(int id, String name) {
    ZRJniTagProp changes = new ZRJniTagProp();
    changes.m_tagName = name;
    modify(id, changes, Columns.NAME);
  }

  static void delete(int id) {
    assertEquals(Codes.OK, Jni_Zervane.deleteTag(id));
  }

  static long catalogueVersion() {
    LongWrapper version = new LongWrapper();
    assertEquals(Codes.OK, Jni_Zervane.getNewlyTagVersion(version));
    return version.Value;
  }
}
