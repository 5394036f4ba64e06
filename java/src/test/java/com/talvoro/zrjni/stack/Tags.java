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
    assertEquals(Codes.OK, Jni_Zervane.addTag(tag, mask, Columns.NONE));
    int id = Jni_Zervane.queryTagID(tag.m_tagName);
    assertTrue(id > 0, "identifier " + id);
    return id;
  }

  static ZRJniTagProp get(int id) {
    ZRJniTagProp tag = new ZRJniTagProp();
    assertEquals(Codes.OK, Jni_Zervane.getTag(id, tag));
    return tag;
  }

  static long catalogueVersion() {
    LongWrapper version = new LongWrapper();
    assertEquals(Codes.OK, Jni_Zervane.getNewlyTagVersion(version));
    return version.Value;
  }
}
