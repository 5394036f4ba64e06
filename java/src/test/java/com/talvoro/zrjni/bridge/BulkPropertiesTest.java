package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;

@DisplayName("Bulk tag properties")
class BulkPropertiesTest extends BridgeTest {
  private static final long CLASSES = -64;
  private static final long PROPERTIES = 0x8000_0001_0000_0002L;
  private static final ExpectedCall QUERY =
      call("tag3_query_all_tags_prop")
          .with("nTagClassMask", CLASSES)
          .with("*pNum", 0)
          .with("nPropMask", PROPERTIES)
          .with("*ppProps", 0)
          .with("nReserved", 0);

  private static ExpectedCall release(int block) {
    return call("tag3_free_all_tags_prop").with("pProps", block);
  }

  private final IntWrapper count = Holders.ofInt();
  private final LongWrapper handle = Holders.ofLong();

  private int query() {
    return Jni_Zervane.queryAllTagsProps(CLASSES, PROPERTIES, count, handle);
  }

  @Test
  void areConvertedIntoNewObjectsAndReleased() {
    List<Struct> records =
        List.of(Struct.filled(Layouts.COMMON_TAG, 1), Struct.filled(Layouts.COMMON_TAG, 2));
    answer("tag3_query_all_tags_prop", out("pNum", 2), out("ppProps", records));
    assertEquals(0, query());
    assertEquals(2, count.Value);
    assertCalls(QUERY);

    ZRJniCommTagProp[] tags = new ZRJniCommTagProp[3];
    for (int i = 0; i < tags.length; ++i) {
      tags[i] = Fields.filled(ZRJniCommTagProp.class, i + 5);
    }
    ZRJniCommTagProp[] before = tags.clone();
    assertEquals(0, Jni_Zervane.getPropArray(2, handle.Value, tags));
    for (int i = 0; i < 2; ++i) {
      assertNotSame(before[i], tags[i]);
      Fields.assertSameFields(
          TagRows.read(TagRows.ANY, records.get(i), new ZRJniCommTagProp()), tags[i]);
    }
    assertSame(before[2], tags[2]);
    assertCalls(release(1));
  }

  @Test
  void ofNoTagsAreReleasedAllTheSame() {
    answer("tag3_query_all_tags_prop", out("pNum", 0), out("ppProps", new byte[0]));
    assertEquals(0, query());
    assertEquals(0, count.Value);
    assertNotEquals(Holders.BEFORE, handle.Value);
    ZRJniCommTagProp[] tags = {null};
    assertEquals(0, Jni_Zervane.getPropArray(0, handle.Value, tags));
    assertArrayEquals(new ZRJniCommTagProp[1], tags);
    assertCalls(QUERY, release(1));
  }

  @Test
  void areReportedAsReadEvenWhenTheReleaseFails() {
    answer("tag3_free_all_tags_prop", FAILURE);
    assertEquals(0, Jni_Zervane.getPropArray(0, 0, new ZRJniCommTagProp[0]));
    assertCalls(release(0));
  }

  @Test
  void thatCannotBeQueriedLeaveTheHoldersAndReleaseNothing() {
    answer("tag3_query_all_tags_prop", FAILURE, out("pNum", 5));
    assertEquals(FAILURE, query());
    assertHoldersUntouched();
    assertCalls(QUERY, release(0));
  }

  @Test
  void thatFailWithAnArrayReleaseTheArray() {
    answer(
        "tag3_query_all_tags_prop", FAILURE, out("ppProps", Struct.filled(Layouts.COMMON_TAG, 1)));
    assertEquals(FAILURE, query());
    assertHoldersUntouched();
    assertCalls(QUERY, release(1));
  }

  private void assertHoldersUntouched() {
    assertEquals(Holders.BEFORE, count.Value);
    assertEquals(Holders.BEFORE, handle.Value);
  }
}
