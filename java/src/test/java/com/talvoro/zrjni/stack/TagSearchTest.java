package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A search of tags")
class TagSearchTest {
  private static final ZRQueryTagCondition[] NO_CONDITIONS = {};

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private static int addWithDescriptor(String name, String descriptor) {
    ZRJniTagProp tag = Tags.named(name, ValueType.FLOAT64);
    tag.m_descriptor = descriptor;
    return Tags.add(tag, Columns.TYPE | Columns.DESCRIPTOR);
  }

  @Nested
  @DisplayName("by patterns of name and description")
  class ByPatterns {
    private List<String> find(String name, String description) {
      int handle = Jni_Zervane.queryTagsCond(name, description, Columns.ALL, Columns.ALL);
      assertTrue(handle > 0, "handle " + handle);
      return Searches.names(Searches.points(handle));
    }

    @ParameterizedTest(name = "\"{0}\" and \"{1}\" find {2}")
    @CsvSource({
      "'', '', FIC101.PV FIC102.PV TIC101.PV 泵.1",
      "*, *, FIC101.PV FIC102.PV TIC101.PV 泵.1",
      "fic*, '', FIC101.PV FIC102.PV",
      "'', *water*, FIC101.PV TIC101.PV",
      "FIC*, *water*, FIC101.PV",
      "*, 流?, FIC102.PV",
      "泵.?, '', 泵.1",
      "FIC, '', ''",
      "*.PV, oil, ''"
    })
    void findsTheTagsThatMeetBoth(String name, String description, String found) {
      addWithDescriptor("FIC101.PV", "Water, raw");
      addWithDescriptor("FIC102.PV", "流量");
      addWithDescriptor("TIC101.PV", "of the water");
      addWithDescriptor("泵.1", "");

      List<String> names = found.isEmpty() ? List.of() : List.of(found.split(" "));
      assertEquals(names, find(name, description));
    }

    @Test
    void handsItsHandleOutInAHolderToo() {
      Tags.add("A", ValueType.INT8);
      LongWrapper handle = Searches.holder();

      assertEquals(Codes.OK, Jni_Zervane.queryTagsCondEx("a", "", -1, -1, handle));
      assertEquals(List.of("A"), Searches.names(Searches.points(handle.Value)));
    }

    @Test
    void writesTheHolderOnFailureTooWithWhatIsNoHandle() {
      LongWrapper handle = Searches.holder();

      assertEquals(
          Codes.INVALID_ARGUMENT, Jni_Zervane.queryTagsCondEx("\\", "", -1, -1, handle));
      assertEquals(0, handle.Value);
    }

    @Test
    void answersMinusOneForEveryFailure() {
      assertEquals(-1, Jni_Zervane.queryTagsCond("A\\", "", -1, -1));
      assertEquals(-1, Jni_Zervane.queryTagsCond("A", "", Columns.FIRST_UNKNOWN_COMMON, 0));
      database.close();
      assertEquals(-1, Jni_Zervane.queryTagsCond("A", "", -1, -1));
    }

    @Test
    void refusesAPatternThatDoesNotConvert() {
      LongWrapper handle = Searches.holder();

      assertEquals(
          Codes.INVALID_TEXT, Jni_Zervane.queryTagsCondEx("half: \ud83d", "", -1, -1, handle));
      assertEquals(
          Codes.INVALID_TEXT, Jni_Zervane.queryTagsCondEx("", "half: \ud83d", -1, -1, handle));
      assertEquals(-1, Jni_Zervane.queryTagsCond("half: \ud83d", "", -1, -1));
      assertEquals(Codes.OK, Jni_Zervane.queryTagsCondEx("", "", -1, -1, handle));
    }
  }

  @Nested
  @DisplayName("by several conditions")
  class BySeveralConditions {
    @Test
    void findsWhatMeetsAllOfThem() {
      addWithDescriptor("FIC101.PV", "water");
      addWithDescriptor("FIC102.PV", "oil");
      addWithDescriptor("TIC101.PV", "water");

      ZRQueryTagCondition isFlow = Column.NAME.is(Relation.LIKE, "FIC*");
      ZRQueryTagCondition isWater = Column.DESCRIPTOR.is(Relation.EQUAL, "water");
      assertEquals(List.of("FIC101.PV"), Searches.find(isFlow, isWater));
      assertEquals(List.of("FIC101.PV"), Searches.find(isWater, isFlow));
      assertEquals(
          List.of(), Searches.find(isFlow, isWater, Column.NAME.is(Relation.LIKE, "*102*")));
    }

    @Test
    void findsARangeByTwoConditionsOnOneColumn() {
      Tags.addNames("A", "B", "C", "D");

      assertEquals(
          List.of("B", "C"),
          Searches.find(
              Column.ID.is(Relation.GREATER, "1"), Column.ID.is(Relation.LESS, "4")));
    }

    @Test
    void findsEveryTagWhenThereAreNone() {
      Tags.addNames("A", "B");

      assertEquals(List.of("A", "B"), Searches.find(NO_CONDITIONS));
    }

    @Test
    void readsOnlyAsManyAsTheCountSays() {
      Tags.addNames("A", "B");
      ZRQueryTagCondition[] conditions = {
        Column.NAME.is(Relation.EQUAL, "A"), Column.NAME.is(Relation.EQUAL, "B")
      };

      LongWrapper handle = Searches.holder();
      assertEquals(
          Codes.OK, Jni_Zervane.queryBasicTagsByConds(conditions, 1, Columns.ALL, 0, handle));
      assertEquals(List.of("A"), Searches.names(Searches.points(handle.Value)));
    }

    @ParameterizedTest
    @EnumSource(Searches.Way.class)
    void maySeeTenThousand(Searches.Way way) {
      Tags.addNames("A", "B");
      ZRQueryTagCondition[] conditions = new ZRQueryTagCondition[10_000];
      Arrays.fill(conditions, Column.NAME.is(Relation.LIKE, "*a*"));
      conditions[9_999] = Column.NAME.is(Relation.EQUAL, "a");

      assertEquals(Codes.OK, way.statusOf(conditions));
      assertEquals(List.of("A"), Searches.find(conditions));
      assertEquals(1, Searches.count(0, conditions));
    }

    @Test
    void mayHaveATextOf255Bytes() {
      String name = "ä".repeat(127) + "x";
      Tags.addNames(name, "ä".repeat(127) + "y");

      assertEquals(List.of(name), Searches.find(Column.NAME.is(Relation.EQUAL, name)));
      assertEquals(List.of(name), Searches.find(Column.NAME.is(Relation.LIKE, name)));
    }
  }

  @ParameterizedTest(name = "column {0}")
  @ValueSource(ints = {36, 37, 99, 109, 199, 213, 255})
  void refusesAColumnThatNoClassHas(int column) {
    for (Searches.Way way : Searches.Way.values()) {
      assertEquals(
          Codes.INVALID_ARGUMENT,
          way.statusOf(Column.condition(column, Relation.EQUAL.number(), "1")));
    }
  }

  @ParameterizedTest(name = "relation {0}")
  @ValueSource(ints = {7, 8, 127, 128, 255})
  void refusesARelationThatThereIsNot(int relation) {
    for (Searches.Way way : Searches.Way.values()) {
      assertEquals(Codes.INVALID_ARGUMENT, way.statusOf(Column.condition(0, relation, "1")));
    }
  }

  @Test
  void refusesAConditionAmongGoodOnesToo() {
    ZRQueryTagCondition[] conditions = {
      Column.NAME.is(Relation.LIKE, "*"), Column.condition(36, 0, "1")
    };

    for (Searches.Way way : Searches.Way.values()) {
      assertEquals(Codes.INVALID_ARGUMENT, way.statusOf(conditions));
      assertEquals(Codes.OK, way.statusOf(conditions, 1));
    }
  }

  /** The columns of alarm tags start at 200. */
  @Test
  void findsNoPointByTheColumnOfAnotherClass() {
    Tags.addNames("A");

    for (int relation : List.of(0, 1, 6)) {
      ZRQueryTagCondition condition = Column.condition(200, relation, "");
      assertEquals(List.of(), Searches.find(condition));
      assertEquals(
          List.of(),
          Searches.tags(Searches.openOfClasses(Searches.ALL_CLASSES, Columns.ALL, condition)));
    }
  }

  @ParameterizedTest
  @EnumSource(Searches.Way.class)
  void refusesATextThatDoesNotConvert(Searches.Way way) {
    assertEquals(
        Codes.INVALID_TEXT, way.statusOf(Column.NAME.is(Relation.EQUAL, "half: \ud83d")));
    assertEquals(Codes.OK, way.statusOf(Column.NAME.is(Relation.EQUAL, "whole: 😀")));
  }

  /** The bridge finds no memory for so many before the client API is asked. */
  @ParameterizedTest
  @EnumSource(Searches.Way.class)
  void failsForANegativeNumberOfConditions(Searches.Way way) {
    assertEquals(-1, way.statusOf(NO_CONDITIONS, -1));
  }

  @ParameterizedTest
  @EnumSource(Searches.Way.class)
  void needsAConnection(Searches.Way way) {
    database.close();

    assertEquals(Codes.NOT_CONNECTED, way.statusOf(NO_CONDITIONS));
  }

  @Test
  void findsTheTagsOfAnEarlierRun() {
    Tags.addNames("温度.1", "温度.2");
    database.reopen();

    assertEquals(List.of("温度.2"), Searches.find(Column.NAME.is(Relation.LIKE, "温?.2")));
  }
}
