package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A page of a search")
class TagPageTest {
  private static final ZRQueryTagCondition[] NO_CONDITIONS = {};

  @RegisterExtension final EmbeddedDatabase database = EmbeddedDatabase.inMemory();

  private static List<Integer> addMany(int count) {
    return IntStream.range(0, count).mapToObj(i -> Tags.add("TAG." + i, ValueType.INT8)).toList();
  }

  private static List<Integer> page(int start, int capacity, ZRQueryTagCondition... conditions) {
    return Searches.ids(Searches.tags(Searches.openPage(start, capacity, conditions)));
  }

  /** All pages of so many matches, each beginning behind the last one of the page before. */
  private static List<Integer> pagesOf(int capacity, ZRQueryTagCondition... conditions) {
    List<Integer> all = new ArrayList<>();
    List<Integer> page = page(0, capacity, conditions);
    while (!page.isEmpty()) {
      all.addAll(page);
      page = page(page.get(page.size() - 1) + 1, capacity, conditions);
    }
    return all;
  }

  @ParameterizedTest(name = "{1} from {0}")
  @CsvSource({
    "0, 3, 1 2 3",
    "1, 3, 1 2 3",
    "2, 3, 2 3 4",
    "9, 3, 9 10",
    "10, 1, 10",
    "11, 3, ''",
    "-1, 3, ''", // identifiers are unsigned: the last one there could be
    "0, 10, 1 2 3 4 5 6 7 8 9 10",
    "0, 2147483647, 1 2 3 4 5 6 7 8 9 10"
  })
  void startsAtTheFirstMatchAtOrBehindItsStart(int start, int capacity, String found) {
    addMany(10);

    List<Integer> expected =
        found.isEmpty()
            ? List.of()
            : List.of(found.split(" ")).stream().map(Integer::valueOf).toList();
    assertEquals(expected, page(start, capacity));
  }

  @Test
  void startsAtTheNextMatchWhenThatOfItsStartIsGoneOrNone() {
    addMany(10);
    Tags.delete(4);
    Tags.rename(5, "OTHER");

    assertEquals(List.of(6, 7), page(4, 2, Column.NAME.is(Relation.LIKE, "TAG.*")));
  }

  @ParameterizedTest(name = "of {0}")
  @ValueSource(ints = {1, 7, 999, 1_000, 1_001, 2_500, 10_000})
  void makesTheWholeWithTheOthers(int capacity) {
    List<Integer> ids = addMany(2_500);
    assertEquals(ids, pagesOf(capacity));

    ZRQueryTagCondition endsInOne = Column.NAME.is(Relation.LIKE, "*1");
    List<Integer> expected = ids.stream().filter(id -> (id - 1) % 10 == 1).toList();
    assertEquals(expected, pagesOf(capacity, endsInOne));
  }

  @Test
  void holdsNoMoreThanItsCapacityThoughTagsAreAdded() {
    addMany(5);
    long handle = Searches.openPage(0, 5);
    Tags.add("LATER", ValueType.INT8);

    assertEquals(List.of(1, 2, 3, 4, 5), Searches.ids(Searches.tags(handle)));
  }

  @Test
  void hasTheCommonPropertiesThatItsMaskSelects() {
    ZRJniTagProp tag = Tags.complete("A");
    tag.m_tagID = Tags.add(tag, Columns.ALL, Columns.ALL);
    LongWrapper handle = Searches.holder();
    assertEquals(
        Codes.OK,
        Jni_Zervane.querySpecifyPageTagsCond(
            1, NO_CONDITIONS, 0, Columns.DESCRIPTOR, 0, 0, 10, handle));

    ZRJniCommTagProp found = Searches.tags(handle.Value).get(0);
    assertEquals("A", found.m_tagName);
    assertEquals(tag.m_tagID, found.m_tagID);
    assertEquals(tag.m_descriptor, found.m_descriptor);
    assertEquals("", found.m_engUnits);
    assertEquals(0, found.m_tagType);
  }

  @ParameterizedTest(name = "extension mask {0}")
  @ValueSource(longs = {0, -1, Columns.FIRST_UNKNOWN_POINT, Long.MIN_VALUE})
  void takesNoNoticeOfItsExtensionMask(long pointMask) {
    Tags.add("A", ValueType.INT8);
    LongWrapper handle = Searches.holder();

    assertEquals(
        Codes.OK,
        Jni_Zervane.querySpecifyPageTagsCond(
            1, NO_CONDITIONS, 0, -1, pointMask, 0, 10, handle));
    assertEquals(List.of("A"), Searches.names(Searches.tags(handle.Value)));
  }

  @ParameterizedTest(name = "capacity {0}")
  @ValueSource(ints = {0, -1, Integer.MIN_VALUE})
  void isRefusedWithoutRoom(int capacity) {
    Tags.add("A", ValueType.INT8);
    LongWrapper handle = Searches.holder();

    assertEquals(
        Codes.INVALID_COUNT,
        Jni_Zervane.querySpecifyPageTagsCond(1, NO_CONDITIONS, 0, -1, 0, 0, capacity, handle));
    assertEquals(Searches.UNWRITTEN, handle.Value);
  }
}
