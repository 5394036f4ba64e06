package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Set;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("The properties of all tags at once")
class BulkPropertiesTest {
  @RegisterExtension final EmbeddedDatabase database = EmbeddedDatabase.inMemory();

  /** What was asked for, not fetched yet. */
  private record Request(int count, long handle) {
    static Request of(long classMask, long mask) {
      IntWrapper count = new IntWrapper();
      LongWrapper handle = Searches.holder();
      assertEquals(Codes.OK, Jni_Zervane.queryAllTagsProps(classMask, mask, count, handle));
      assertNotEquals(Searches.UNWRITTEN, handle.Value);
      return new Request(count.Value, handle.Value);
    }

    List<ZRJniCommTagProp> fetch() {
      ZRJniCommTagProp[] tags = new ZRJniCommTagProp[count + 1];
      assertEquals(0, Jni_Zervane.getPropArray(count, handle, tags));
      assertNull(tags[count]);
      return Arrays.asList(tags).subList(0, count);
    }
  }

  private static List<ZRJniCommTagProp> fetch(long classMask, long mask) {
    return Request.of(classMask, mask).fetch();
  }

  @Test
  void areTheCommonOnesInOrderOfIdentifier() {
    for (String name : List.of("B", "温度", "A")) {
      Tags.add(Tags.complete(name), Columns.ALL, Columns.ALL);
    }

    List<ZRJniCommTagProp> tags = fetch(Searches.POINTS, Columns.ALL);
    assertEquals(List.of("B", "温度", "A"), Searches.names(tags));
    for (ZRJniCommTagProp tag : tags) {
      ZRJniTagProp single = Tags.get(tag.m_tagID);
      for (Column column : Column.values()) {
        if (column.isCommon() && column.hasField()) {
          assertEquals(column.read(single), column.read(tag), column + " of " + tag.m_tagName);
        }
      }
      assertEquals(0, tag.m_tagClass);
    }
  }

  @Test
  void areNoneWhenThereAreNoTags() {
    assertEquals(List.of(), fetch(Searches.ALL_CLASSES, Columns.ALL));
  }

  @ParameterizedTest(name = "class mask {0}")
  @ValueSource(longs = {1L << 1, 1L << 5, 1L << 2 | 1L << 3})
  void areNoneForClassesWithoutTags(long classMask) {
    Tags.add("A", ValueType.INT8);

    assertEquals(List.of(), fetch(classMask, Columns.ALL));
  }

  @ParameterizedTest(name = "class mask {0}")
  @ValueSource(longs = {1L << 0, 1L << 0 | 1L << 1, 1L << 6, -1})
  void areThoseOfTheSelectedClasses(long classMask) {
    Tags.add("A", ValueType.INT8);

    assertEquals(List.of("A"), Searches.names(fetch(classMask, Columns.ALL)));
  }

  @ParameterizedTest
  @EnumSource(Column.class)
  void areThoseThatTheMaskSelects(Column column) {
    if (!column.isCommon()) {
      return;
    }
    Tags.add(Tags.complete("A"), Columns.ALL, Columns.ALL);
    ZRJniCommTagProp all = fetch(1, Columns.ALL).get(0);
    ZRJniCommTagProp one = fetch(1, column.bit()).get(0);

    for (Column each : Column.values()) {
      if (each.isCommon() && each.hasField()) {
        boolean isThere = each == column || each == Column.NAME || each == Column.ID;
        Object expected = isThere ? each.read(all) : each.read(nothing());
        assertEquals(expected, each.read(one), each + "");
      }
    }
  }

  /** An object as it comes for a tag of which nothing was asked for. */
  private static ZRJniCommTagProp nothing() {
    ZRJniCommTagProp tag = new ZRJniCommTagProp();
    for (Column column : Column.values()) {
      if (column.isText() && column.hasField() && column.isCommon()) {
        try {
          ZRJniCommTagProp.class.getField(column.field()).set(tag, "");
        } catch (ReflectiveOperationException e) {
          throw new AssertionError(e);
        }
      }
    }
    return tag;
  }

  @Test
  void areThoseOfTheInstantOfTheRequest() {
    for (int i = 0; i < 2_500; i++) {
      Tags.add("TAG." + i, ValueType.INT8);
    }
    Request request = Request.of(Searches.POINTS, Columns.ALL);
    Tags.rename(2_000, "LATER");
    Tags.delete(2_400);
    Tags.add("NEW", ValueType.INT8);

    List<String> names = Searches.names(request.fetch());
    assertEquals(IntStream.range(0, 2_500).mapToObj(i -> "TAG." + i).toList(), names);
  }

  /** A tag is added before another is deleted, so at any instant there are 1,500 or 1,501. */
  @Test
  void areThoseOfOneInstantWhateverAnotherThreadDoes() throws Exception {
    int[] ids = IntStream.range(0, 1_500).map(i -> Tags.add("T." + i, ValueType.INT8)).toArray();
    AtomicBoolean isOver = new AtomicBoolean();
    List<Throwable> failures = Collections.synchronizedList(new ArrayList<>());
    Thread other =
        new Thread(
            () -> {
              try {
                for (int i = 0; !isOver.get(); i = (i + 1) % ids.length) {
                  int old = ids[i];
                  ids[i] = Tags.add("NEW." + old, ValueType.INT8);
                  Tags.delete(old);
                }
              } catch (Throwable e) {
                failures.add(e);
              }
            });
    other.start();
    for (int round = 0; round < 20; round++) {
      List<Integer> found = Searches.ids(fetch(Searches.POINTS, Columns.NAME));
      assertEquals(found.stream().sorted().distinct().toList(), found);
      assertTrue(Set.of(1_500, 1_501).contains(found.size()), found.size() + " tags");
    }
    isOver.set(true);
    other.join();
    assertEquals(List.of(), failures);
  }

  @ParameterizedTest(name = "class mask {0}")
  @ValueSource(longs = {0, 1L << 7, 1L << 6 | 1L << 7, Long.MIN_VALUE})
  void areRefusedForClassesThatThereAreNot(long classMask) {
    assertRefused(Codes.INVALID_MASK, classMask, Columns.ALL);
  }

  @ParameterizedTest(name = "mask {0}")
  @ValueSource(longs = {Columns.FIRST_UNKNOWN_COMMON, Long.MIN_VALUE})
  void areRefusedForPropertiesThatThereAreNot(long mask) {
    assertRefused(Codes.INVALID_MASK, Searches.ALL_CLASSES, mask);
  }

  @Test
  void needAConnection() {
    database.close();

    assertRefused(Codes.NOT_CONNECTED, Searches.ALL_CLASSES, Columns.ALL);
  }

  /** The array that was handed out is the caller's until it is fetched. */
  @Test
  void outliveTheSession() {
    Tags.add("A", ValueType.INT8);
    Request request = Request.of(Searches.POINTS, Columns.ALL);
    database.close();

    assertEquals(List.of("A"), Searches.names(request.fetch()));
  }

  @Test
  void areReleasedUnreadForACountOfNone() {
    Tags.add("A", ValueType.INT8);
    Request request = Request.of(Searches.POINTS, Columns.ALL);
    ZRJniCommTagProp[] tags = new ZRJniCommTagProp[1];

    assertEquals(0, Jni_Zervane.getPropArray(0, request.handle, tags));
    assertArrayEquals(new ZRJniCommTagProp[1], tags);
  }

  private static void assertRefused(int status, long classMask, long mask) {
    IntWrapper count = new IntWrapper();
    count.Value = 7;
    LongWrapper handle = Searches.holder();

    assertEquals(status, Jni_Zervane.queryAllTagsProps(classMask, mask, count, handle));
    assertEquals(7, count.Value);
    assertEquals(Searches.UNWRITTEN, handle.Value);
  }
}
