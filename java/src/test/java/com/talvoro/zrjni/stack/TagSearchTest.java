package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
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

  private static void addNames(String... names) {
    for (String name : names) {
      Tags.add(name, ValueType.FLOAT64);
    }
  }

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
  @DisplayName("like a pattern")
  class Like {
    @ParameterizedTest(name = "\"{0}\" is met by \"{1}\": {2}")
    @CsvSource({
      "'', abc, true", // an empty pattern matches everything
      "*, abc, true",
      "abc, ABC, true", // ASCII case is ignored
      "ABC, abc, true",
      "ab, abc, false", // anchored at both ends
      "bc, abc, false",
      "a*, abc, true",
      "*c, abc, true",
      "*b*, abc, true",
      "a*c, ac, true", // a run may be empty
      "a**c, abc, true",
      "a?c, abc, true",
      "a?c, ac, false", // one character is one
      "???, abc, true",
      "??, abc, false",
      "?*, abc, true",
      "*?, abc, true",
      "????*, abc, false",
      "*a*b*c*, aXbXc, true",
      "*ab, aab, true", // not the first a that fits
      "*aab, aaab, true",
      "*.PV, A.PV.SP, false",
      "*.PV, A.PV.PV, true",
      "温?, 温度, true", // one character of three bytes
      "?度, 温度, true",
      "??, 温度, true",
      "?, 温, true",
      "??????, 温度, false",
      "*度*, 反应釜温度.1, true",
      "?, 😀, true", // and of four
      "Ä, ä, false", // case is that of ASCII alone
      "a\\*c, a*c, true", // a backslash takes the next as it is
      "a\\*c, abc, false",
      "a\\?c, a?c, true",
      "a\\?c, abc, false",
      "a\\\\c, a\\c, true",
      "a\\bc, abc, true", // any next, one that needs no backslash too
      "\\温*, 温度, true",
      "*\\\\, ab\\, true",
      "[ab]c, ac, false", // and nothing else means anything
      "%, abc, false",
      "_bc, abc, false",
      ".*, abc, false"
    })
    void isAnswered(String pattern, String name, boolean isMet) {
      addNames(name);

      List<String> found = Searches.find(Column.NAME.is(Relation.LIKE, pattern));
      assertEquals(isMet ? List.of(name) : List.of(), found);
    }

    @EnumSource(Searches.Way.class)
    @ParameterizedTest
    void isRefusedWhenThePatternEndsInALoneBackslash(Searches.Way way) {
      addNames("A");

      for (String pattern : List.of("\\", "A\\", "*\\", "\\\\\\")) {
        assertEquals(
            Codes.INVALID_ARGUMENT, way.statusOf(Column.NAME.is(Relation.LIKE, pattern)), pattern);
      }
    }

    /** Whoever tries every place anew for every star is still at it when the machine is retired. */
    @Test
    void isAnsweredForAPatternOfManyStars() {
      addNames("a".repeat(255), "a".repeat(254) + "b");

      assertEquals(
          List.of("a".repeat(254) + "b"),
          Searches.find(Column.NAME.is(Relation.LIKE, "*a".repeat(127) + "b")));
    }

    @ParameterizedTest
    @EnumSource(Column.class)
    void isAnsweredForEveryTextAndRefusedForEveryNumber(Column column) {
      ZRJniTagProp tag = Tags.complete("FIC101.PV");
      int id = Tags.add(tag, Columns.ALL, Columns.ALL);
      addNames("OTHER");
      if (!column.isText()) {
        assertEquals(
            Codes.INVALID_ARGUMENT,
            Searches.Way.POINTS_BY_CONDITIONS.statusOf(column.is(Relation.LIKE, "*")));
        return;
      }

      String text = column.valueOf(Tags.get(id));
      String pattern = text.isEmpty() ? "" : "?" + text.substring(1).toUpperCase(Locale.ROOT);
      List<String> found = Searches.find(column.is(Relation.LIKE, pattern));
      assertEquals(text.isEmpty() ? List.of("FIC101.PV", "OTHER") : List.of("FIC101.PV"), found);
      assertEquals(List.of(), Searches.find(column.is(Relation.LIKE, text + "?")));
    }
  }

  @Nested
  @DisplayName("by the order of a column")
  class ByOrder {
    /** Three tags, of which each property either grows from one to the next or cannot be given. */
    private List<ZRJniTagProp> addThree() {
      List<ZRJniTagProp> tags = new ArrayList<>();
      for (int step = 0; step < 3; step++) {
        tags.add(Tags.get(Tags.add(grown(step), Columns.ALL, Columns.ALL)));
      }
      return tags;
    }

    /** The middle one's texts differ from the others in case as well, which counts for nothing. */
    private ZRJniTagProp grown(int step) {
      String text = List.of("alpha", "ALPHB", "alphc").get(step);
      ZRJniTagProp tag = new ZRJniTagProp();
      tag.m_tagName = text;
      tag.m_tagType = (byte) (2 + step);
      tag.m_archiving = step > 0;
      tag.m_scan = step > 0;
      tag.m_changeDate = 1_400_000_000 * (step + 1); // unsigned: the last ones are past 2038
      tag.m_changer = text;
      tag.m_creator = text;
      tag.m_excMaxTime = 5 + step;
      tag.m_excDev = 0.5f + step;
      tag.m_compDev = 1.25f + step;
      tag.m_compMaxTime = 7 + step;
      tag.m_compType = (byte) (step > 0 ? 1 : 0);
      tag.m_recAccess = (byte) (100 * step); // 0 to 255, whatever Java takes them for
      tag.m_recOperateGroup = text;
      tag.m_recOwnerGroup = text;
      tag.m_tagAccess = (byte) (100 * step);
      tag.m_tagOperateGroup = text;
      tag.m_tagOwnerGroup = text;
      tag.m_digitalSet = text;
      tag.m_engUnits = text;
      tag.m_descriptor = text;
      tag.m_instrumentPoint = text;
      tag.m_instrumentPointType = (byte) (100 * step);
      tag.m_CollectorName = text;
      tag.m_CollectorID = step - 1;
      tag.m_DeviceName = text;
      tag.m_ScanGroupName = text;
      tag.m_ScanGroupID = 1_400_000_000 * (step + 1);
      tag.m_param1 = (byte) (100 * step);
      tag.m_param2 = (byte) (100 * step);
      tag.m_param3 = (byte) (100 * step);
      tag.m_param4 = (byte) (100 * step);
      tag.m_param5 = (byte) (100 * step);
      return tag;
    }

    @ParameterizedTest
    @EnumSource(Column.class)
    void findsWhatStandsInTheRelationToItsValue(Column column) {
      List<ZRJniTagProp> tags = addThree();
      for (ZRJniTagProp than : tags) {
        String value = column.valueOf(than);
        for (Relation relation : Relation.OF_ORDER) {
          List<String> expected =
              tags.stream()
                  .filter(tag -> relation.isMet(column.compare(column.valueOf(tag), value)))
                  .map(tag -> tag.m_tagName)
                  .toList();
          assertEquals(expected, Searches.find(column.is(relation, value)), relation + value);
        }
      }
    }

    @ParameterizedTest(name = "{0} {1}")
    @CsvSource({
      // Between two numbers, and beyond all that the column can hold.
      "GREATER, 5.5, 6 7", "LESS, 5.5, 5", "EQUAL, 5.5, ''", "NOT_EQUAL, 5.5, 5 6 7",
      "AT_LEAST, 6.0000000000000000000001, 7", "AT_MOST, 5.9999999999999999999999, 5",
      "LESS, 99999999999999999999, 5 6 7", "GREATER, -99999999999999999999, 5 6 7",
      "GREATER, 4294967301, ''", "EQUAL, 4294967301, ''", // which is 5 in 32 bits
      "LESS, 1e999999999, 5 6 7", "GREATER, -1e999999999, 5 6 7", "GREATER, 1e-999999999, 5 6 7",
      // The spellings of 6.
      "EQUAL, +6, 6", "EQUAL, 6., 6", "EQUAL, 06, 6", "EQUAL, 6.000, 6", "EQUAL, 6e0, 6",
      "EQUAL, 60E-1, 6", "EQUAL, .6e1, 6", "EQUAL, .006e+3, 6", "EQUAL, -6, ''"
    })
    void comparesWholeNumbersExactly(Relation relation, String value, String found) {
      for (int seconds = 5; seconds <= 7; seconds++) {
        ZRJniTagProp tag = Tags.named(String.valueOf(seconds), ValueType.FLOAT64);
        tag.m_excMaxTime = seconds;
        Tags.add(tag, Columns.TYPE | Columns.EXC_MAX_TIME);
      }

      List<String> expected = found.isEmpty() ? List.of() : List.of(found.split(" "));
      assertEquals(expected, Searches.find(Column.EXC_MAX_TIME.is(relation, value)));
    }

    @ParameterizedTest(name = "{0} {1}")
    @CsvSource({
      "EQUAL, 0.1, a", "EQUAL, 1e-1, a", "EQUAL, 0.10000000149011612, a", // the float's own value
      "NOT_EQUAL, 0.1, b", "GREATER, 0.1, b", "AT_LEAST, 0.1, a b", "LESS, 0.1, ''",
      "LESS, 0.2, a", "GREATER, 0.09, a b", "LESS, 1e39, a b", "GREATER, 1e39, ''",
      "GREATER, -1e39, a b", "LESS, 1e-60, ''", "GREATER, 1e-60, a b"
    })
    void comparesFloatingPointNumbersAsTheColumnHoldsThem(
        Relation relation, String value, String found) {
      for (String name : List.of("a", "b")) {
        ZRJniTagProp tag = Tags.named(name, ValueType.FLOAT64);
        tag.m_excDev = name.equals("a") ? 0.1f : 2.5f;
        Tags.add(tag, Columns.TYPE | Columns.EXC_DEV);
      }

      List<String> expected = found.isEmpty() ? List.of() : List.of(found.split(" "));
      assertEquals(expected, Searches.find(Column.EXC_DEV.is(relation, value)));
    }

    @ParameterizedTest(name = "{0} \"{1}\"")
    @CsvSource({
      "EQUAL, PUMP, Pump", "EQUAL, pump, Pump", "NOT_EQUAL, pUMP, [ 泵 Ä ä",
      "GREATER, p, Pump 泵 Ä ä", // the text of which another is the beginning comes first
      "LESS, pumpe, Pump [", "AT_MOST, PUMP, Pump [",
      "LESS, a, [", // as bytes a '[' is between 'Z' and 'a'; case folds to the lower one
      "GREATER, z, 泵 Ä ä", "LESS, 泵, Pump [ Ä ä", "GREATER, Ä, 泵 ä", "EQUAL, ä, ä",
      "EQUAL, '', ''", "NOT_EQUAL, '', Pump [ 泵 Ä ä", "GREATER, '', Pump [ 泵 Ä ä"
    })
    void comparesTextsByteByByteButForTheCaseOfAscii(
        Relation relation, String value, String found) {
      addNames("Pump", "[", "泵", "Ä", "ä");

      List<String> expected = found.isEmpty() ? List.of() : List.of(found.split(" "));
      assertEquals(expected, Searches.find(Column.NAME.is(relation, value)));
    }

    @ParameterizedTest(name = "\"{0}\"")
    @ValueSource(
        strings = {
          "", " ", " 5", "5 ", "+", "-", ".", "e5", "5e", "5e+", "5e1.5", "--5", "+-5", "5,0",
          "1_000", "0x5", "5f", "inf", "nan", "INFINITY", "true", "５", "5\t", "1.2.3"
        })
    void refusesWhatIsNoNumber(String value) {
      for (Column column : List.of(Column.ID, Column.EXC_DEV, Column.ARCHIVING, Column.TYPE)) {
        for (Searches.Way way : Searches.Way.values()) {
          assertEquals(
              Codes.INVALID_ARGUMENT, way.statusOf(column.is(Relation.EQUAL, value)), column + "");
        }
      }
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
      addNames("A", "B", "C", "D");

      assertEquals(
          List.of("B", "C"),
          Searches.find(
              Column.ID.is(Relation.GREATER, "1"), Column.ID.is(Relation.LESS, "4")));
    }

    @Test
    void findsEveryTagWhenThereAreNone() {
      addNames("A", "B");

      assertEquals(List.of("A", "B"), Searches.find(NO_CONDITIONS));
    }

    @Test
    void readsOnlyAsManyAsTheCountSays() {
      addNames("A", "B");
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
      addNames("A", "B");
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
      addNames(name, "ä".repeat(127) + "y");

      assertEquals(List.of(name), Searches.find(Column.NAME.is(Relation.EQUAL, name)));
      assertEquals(List.of(name), Searches.find(Column.NAME.is(Relation.LIKE, name)));
    }
  }

  @Nested
  @DisplayName("with masks")
  class WithMasks {
    /** Of a tag whose every property differs from nothing, the fields that hold something. */
    private List<String> fieldsThatAreFilled(Object tag) {
      return Records.fieldsOf(tag).stream()
          .filter(field -> !field.matches("\\w+=(0|0\\.0|false|)"))
          .map(field -> field.substring(0, field.indexOf('=')))
          .toList();
    }

    private int addFilled() {
      ZRJniTagProp tag = Tags.complete("A");
      tag.m_archiving = true;
      tag.m_scan = true;
      tag.m_DeviceID = 0; // nothing is sent of it
      return Tags.add(tag, Columns.ALL, Columns.ALL);
    }

    @ParameterizedTest
    @EnumSource(Column.class)
    void carriesTheSelectedPropertyBesideIdentifierAndName(Column column) {
      int id = addFilled();
      long mask = column.isCommon() ? column.bit() : 0;
      long pointMask = column.isCommon() ? 0 : column.bit();

      ZRJniTagProp found = Searches.points(Searches.open(mask, pointMask)).get(0);
      List<String> expected = new ArrayList<>(List.of("m_tagID", "m_tagName"));
      if (column.hasField() && !expected.contains(column.field()) && column != Column.DEVICE_ID) {
        expected.add(column.field());
        assertEquals(column.valueOf(Tags.get(id)), column.valueOf(found));
      }
      List<String> filled = fieldsThatAreFilled(found);
      assertEquals(expected.stream().sorted().toList(), filled.stream().sorted().toList());
    }

    @Test
    void carriesAllPropertiesWhenAllAreSelected() {
      int id = addFilled();

      ZRJniTagProp found = Searches.points(Searches.open()).get(0);
      assertEquals(Records.fieldsOf(Tags.get(id)), Records.fieldsOf(found));
    }

    @Test
    void carriesIdentifierAndNameAloneWhenNothingIsSelected() {
      int id = addFilled();

      ZRJniTagProp point = Searches.points(Searches.open(0, 0)).get(0);
      ZRJniCommTagProp tag = Searches.tags(Searches.openOfClasses(Searches.POINTS, 0)).get(0);
      assertAll(
          () -> assertEquals(List.of("m_tagName", "m_tagID"), fieldsThatAreFilled(point)),
          () -> assertEquals(List.of("m_tagName", "m_tagID"), fieldsThatAreFilled(tag)),
          () -> assertEquals(id, tag.m_tagID),
          () -> assertEquals("A", tag.m_tagName));
    }

    @Test
    void writesTheClassOfATagIntoACommonObjectAlone() {
      addFilled();
      long points = Searches.open();
      long tags = Searches.openOfClasses(Searches.POINTS, Columns.ALL);
      ZRJniTagProp point = new ZRJniTagProp();
      point.m_tagClass = 5;
      ZRJniCommTagProp tag = new ZRJniCommTagProp();
      tag.m_tagClass = 5;

      assertEquals(Codes.OK, Jni_Zervane.getItemStep(points, point));
      assertEquals(Codes.OK, Jni_Zervane.getCommItemStep(tags, tag));
      assertEquals(5, point.m_tagClass);
      assertEquals(0, tag.m_tagClass);
    }

    @ParameterizedTest(name = "class mask {0}")
    @ValueSource(longs = {1L << 0, 1L << 0 | 1L << 3, 1L << 6, 0x7f, -1})
    void findsPointsWhereTheirClassIsSelected(long classMask) {
      addNames("A");

      assertEquals(
          List.of("A"),
          Searches.names(Searches.tags(Searches.openOfClasses(classMask, Columns.ALL))));
    }

    @ParameterizedTest(name = "class mask {0}")
    @ValueSource(longs = {1L << 1, 1L << 2, 1L << 3, 1L << 4, 1L << 5, 1L << 1 | 1L << 5})
    void findsNoPointsInOtherClasses(long classMask) {
      addNames("A");

      assertEquals(List.of(), Searches.tags(Searches.openOfClasses(classMask, Columns.ALL)));
    }

    @ParameterizedTest(name = "class mask {0}")
    @ValueSource(longs = {0, 1L << 7, 1L << 7 | 1, 1L << 62, Long.MIN_VALUE, -2})
    void refusesClassesThatThereAreNot(long classMask) {
      LongWrapper handle = Searches.holder();

      assertEquals(
          Codes.INVALID_MASK,
          Jni_Zervane.queryTagsByConds(NO_CONDITIONS, 0, classMask, -1, handle));
      assertEquals(
          Codes.INVALID_MASK,
          Jni_Zervane.querySpecifyPageTagsCond(
              classMask, NO_CONDITIONS, 0, -1, 0, 0, 10, handle));
      assertEquals(Searches.UNWRITTEN, handle.Value);
    }

    @ParameterizedTest(name = "mask {0}")
    @ValueSource(longs = {Columns.FIRST_UNKNOWN_COMMON, Long.MIN_VALUE, 1L << 62 | 1})
    void refusesPropertiesThatThereAreNot(long mask) {
      LongWrapper handle = Searches.holder();

      assertAll(
          () ->
              assertEquals(
                  Codes.INVALID_MASK,
                  Jni_Zervane.queryBasicTagsByConds(NO_CONDITIONS, 0, mask, 0, handle)),
          () ->
              assertEquals(
                  Codes.INVALID_MASK,
                  Jni_Zervane.queryTagsByConds(NO_CONDITIONS, 0, 1, mask, handle)),
          () ->
              assertEquals(
                  Codes.INVALID_MASK,
                  Jni_Zervane.querySpecifyPageTagsCond(
                      1, NO_CONDITIONS, 0, mask, 0, 0, 10, handle)),
          () -> assertEquals(Searches.UNWRITTEN, handle.Value));
    }

    @ParameterizedTest(name = "point mask {0}")
    @ValueSource(longs = {Columns.FIRST_UNKNOWN_POINT, Long.MIN_VALUE, 1L << 36})
    void refusesPointPropertiesThatThereAreNot(long pointMask) {
      LongWrapper handle = Searches.holder();

      assertEquals(
          Codes.INVALID_MASK,
          Jni_Zervane.queryBasicTagsByConds(NO_CONDITIONS, 0, 0, pointMask, handle));
      assertEquals(Codes.INVALID_MASK, Jni_Zervane.queryTagsCondEx("", "", 0, pointMask, handle));
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
    addNames("A");

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
    addNames("温度.1", "温度.2");
    database.reopen();

    assertEquals(List.of("温度.2"), Searches.find(Column.NAME.is(Relation.LIKE, "温?.2")));
  }
}
