package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;

/** No encoding has half a surrogate pair, so that text converts nowhere. */
@DisplayName("A text that does not convert is refused")
class UnconvertedTextTest {
  private static final String UNCONVERTIBLE = "half a pair: \ud83d";

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @Test
  void asATagsName() {
    long version = Tags.catalogueVersion();
    ZRJniTagProp tag = Tags.named(UNCONVERTIBLE, ValueType.INT32);

    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.addTag(tag, Columns.TYPE, Columns.NONE));
    assertEquals(version, Tags.catalogueVersion());
  }

  @Test
  void asANodesName() {
    ZRJniTagProp tag = Tags.named("A", ValueType.INT32);

    assertEquals(
        Codes.INVALID_TEXT,
        Jni_Zervane.addTagWithNodeName(tag, Columns.TYPE, Columns.NONE, UNCONVERTIBLE));
    assertEquals(Codes.NAME_NOT_FOUND, Jni_Zervane.queryTagIDByName("A", new IntWrapper()));
  }

  @Test
  void asAPropertyThatStaysAsItWas() {
    ZRJniTagProp tag = Tags.named("A", ValueType.INT32);
    tag.m_descriptor = "as it was";
    tag.m_tagID = Tags.add(tag, Columns.TYPE | Columns.DESCRIPTOR);
    tag.m_descriptor = UNCONVERTIBLE;

    assertEquals(
        Codes.INVALID_TEXT, Jni_Zervane.modifyTag(tag, Columns.DESCRIPTOR, Columns.NONE));
    assertEquals("as it was", Tags.get(tag.m_tagID).m_descriptor);
    tag.m_descriptor = "changed";
    assertEquals(Codes.OK, Jni_Zervane.modifyTag(tag, Columns.DESCRIPTOR, Columns.NONE));
    assertEquals("changed", Tags.get(tag.m_tagID).m_descriptor);
  }

  @Test
  void asANameToLookUp() {
    Tags.add("A", ValueType.INT32);
    IntWrapper id = new IntWrapper();
    int[] ids = new int[2];
    int[] codes = {7, 7};

    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.queryTagIDByName(UNCONVERTIBLE, id));
    assertEquals(-1, Jni_Zervane.queryTagID(UNCONVERTIBLE));
    assertEquals(
        Codes.INVALID_TEXT,
        Jni_Zervane.queryTagIDsByNames(new String[] {"A", UNCONVERTIBLE}, 2, ids, codes));
    assertArrayEquals(new int[] {7, 7}, codes);
    assertEquals(Codes.OK, Jni_Zervane.queryTagIDByName("A", id));
  }

  /** The bridge asks for the tag's type between converting the value and writing it. */
  @Test
  void asAValue() {
    int id = Tags.add("A", ValueType.STRING);

    assertEquals(Codes.INVALID_TEXT, Records.save(id, text(1, UNCONVERTIBLE)));
    assertEquals(Codes.NO_RECORD, Jni_Zervane.querySnapShot(id, (byte) 0, new ZRJniRecord()));
    assertEquals(Codes.OK, Records.save(id, text(2, "good")));
    assertEquals("good", Records.current(id).strValue);
  }

  @Test
  void asOneOfManyValues() {
    int id = Tags.add("A", ValueType.STRING);
    int[] ids = {id, id, id};
    ZRJniRecord[] records = {text(1, "a"), text(2, UNCONVERTIBLE), text(3, "c")};

    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.saveSnapshots(ids, 3, records, new int[3]));
    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.saveSnapshotsNowait(ids, 3, records, new int[3]));
    assertEquals(Codes.INVALID_TEXT, Jni_Zervane.saveDisorderSnapshots(3, id, records));
    assertEquals(
        Codes.INVALID_TEXT, Jni_Zervane.saveTagsDisorderSnapshots(3, ids, records, new int[3]));
    assertEquals(Codes.NO_RECORD, Jni_Zervane.querySnapShot(id, (byte) 0, new ZRJniRecord()));

    records[1] = text(2, "b");
    assertEquals(Codes.OK, Jni_Zervane.saveSnapshots(ids, 3, records, new int[3]));
    assertEquals(
        List.of("a", "b", "c"), Records.history(id).stream().map(r -> r.strValue).toList());
  }

  @Test
  void onItsThreadAlone() throws InterruptedException {
    int id = Tags.add("A", ValueType.STRING);
    IntWrapper status = new IntWrapper();
    Thread other = new Thread(() -> status.Value = Records.save(id, text(1, UNCONVERTIBLE)));
    other.start();
    other.join();

    assertEquals(Codes.INVALID_TEXT, status.Value);
    assertEquals(Codes.OK, Records.save(id, text(1, "good")));
  }

  private static ZRJniRecord text(int seconds, String value) {
    return Records.of(ValueType.STRING, seconds, value);
  }
}
