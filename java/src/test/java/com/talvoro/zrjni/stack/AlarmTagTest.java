package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniAlarmTag;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.List;
import java.util.function.Consumer;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("An alarm tag")
class AlarmTagTest {
  private static final String SOURCE = "FIC101.PV";
  private static final String TARGET = "VALVE.SP";
  private static final String TEST = "HIGH > 90";

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private int source;
  private int target;

  @BeforeEach
  void addTheTagsThatItNames() {
    source = Tags.add(SOURCE, ValueType.FLOAT64);
    target = Tags.add(TARGET, ValueType.FLOAT32);
  }

  /** What is stored of a tag that was added with all its properties. */
  private static ZRJniAlarmTag asStored(ZRJniAlarmTag tag, int id) {
    ZRJniAlarmTag stored = AlarmTags.complete(tag.m_tagName, SOURCE, TARGET);
    stored.m_tagID = id;
    stored.m_creationDate = tag.m_changeDate;
    stored.m_span = tag.m_excDev;
    stored.m_minValue = tag.m_compDev;
    return stored;
  }

  private static int addWith(Consumer<ZRJniAlarmTag> change) {
    ZRJniAlarmTag tag = AlarmTags.on("A", SOURCE, TEST);
    change.accept(tag);
    return Jni_Zervane.addAlarmTag(tag, Columns.NONE, Columns.ALL);
  }

  /** Both adding and modifying with what is wrong answer the status, and change nothing. */
  private static void assertRefused(int status, Consumer<ZRJniAlarmTag> wrong) {
    long version = Tags.catalogueVersion();
    assertEquals(status, addWith(wrong));
    assertEquals(-1, Jni_Zervane.queryAlarmTagID("A"));
    assertEquals(version, Tags.catalogueVersion(), "a refusal must leave the catalogue alone");

    int id = AlarmTags.add("SOUND", SOURCE, TEST);
    List<String> before = Records.fieldsOf(AlarmTags.get(id));
    ZRJniAlarmTag changes = AlarmTags.on("SOUND", SOURCE, TEST);
    changes.m_tagID = id;
    wrong.accept(changes);
    assertEquals(status, Jni_Zervane.modifyAlarmTag(changes, Columns.NONE, Columns.ALL));
    assertEquals(before, Records.fieldsOf(AlarmTags.get(id)));
  }

  @Nested
  @DisplayName("being added")
  class Adding {
    @Test
    void keepsEveryPropertyButForTheFieldsThatAreNotRead() {
      ZRJniAlarmTag tag = AlarmTags.complete("A", SOURCE, TARGET);
      int id = AlarmTags.add(tag, Columns.ALL, Columns.ALL);

      assertEquals(Records.fieldsOf(asStored(tag, id)), Records.fieldsOf(AlarmTags.get(id)));
    }

    @Test
    void doesNotTellItsIdentifierToTheCaller() {
      ZRJniAlarmTag tag = AlarmTags.on("A", SOURCE, TEST);
      tag.m_tagID = 4711;

      int id = AlarmTags.add(tag);
      assertEquals(4711, tag.m_tagID);
      assertNotEquals(4711, id);
    }

    @Test
    void takesDefaultsForPropertiesThatAreNotSelected() {
      ZRJniAlarmTag tag = AlarmTags.complete("A", SOURCE, TARGET);

      ZRJniAlarmTag stored = AlarmTags.get(AlarmTags.add(tag, Columns.NONE, Columns.SOURCE_TAG));
      assertAll(
          () -> assertEquals("A", stored.m_tagName),
          () -> assertEquals(SOURCE, stored.m_SourceTagName),
          () -> assertEquals(ValueType.FLOAT64.number(), stored.m_tagType),
          () -> assertTrue(stored.m_archiving),
          () -> assertEquals(100, stored.m_span),
          () -> assertEquals("", stored.m_descriptor),
          () -> assertEquals("", stored.m_Test1),
          () -> assertEquals("", stored.m_Action4),
          () -> assertEquals(0, stored.m_nAlarmGroupID),
          () -> assertEquals(0, stored.m_nAutoAck),
          () -> assertEquals(0, stored.m_TimeDeadBand),
          () -> assertEquals(0, stored.m_fValueDeadBand));
    }

    @Test
    void isStampedWithTheTimeAndUserUnlessTheyAreGiven() {
      int before = (int) (System.currentTimeMillis() / 1000);
      ZRJniAlarmTag stored = AlarmTags.get(AlarmTags.add("A", SOURCE, TEST));
      int after = (int) (System.currentTimeMillis() / 1000);

      assertAll(
          () -> assertTrue(before <= stored.m_creationDate && stored.m_creationDate <= after),
          () -> assertEquals(stored.m_creationDate, stored.m_changeDate),
          () -> assertEquals("admin", stored.m_creator),
          () -> assertEquals("admin", stored.m_changer));
    }

    @Test
    void takesCreationDateSpanAndMinimumFromOtherFields() {
      ZRJniAlarmTag tag = AlarmTags.on("A", SOURCE, TEST);
      tag.m_creationDate = 1_000;
      tag.m_changeDate = 2_000;
      tag.m_span = 1;
      tag.m_excDev = 2;
      tag.m_minValue = 3;
      tag.m_compDev = 4;
      long mask = Columns.CREATION_DATE | Columns.SPAN | 1L << Column.MIN_VALUE.number();

      ZRJniAlarmTag stored = AlarmTags.get(AlarmTags.add(tag, mask, Columns.ALL));
      assertAll(
          () -> assertEquals(2_000, stored.m_creationDate),
          () -> assertEquals(2, stored.m_span),
          () -> assertEquals(4, stored.m_minValue));
    }

    @Test
    void needsNoTest() {
      assertEquals("", AlarmTags.get(AlarmTags.add("A", SOURCE, "")).m_Test1);
    }

    @ParameterizedTest(name = "a source of {0}")
    @EnumSource(ValueType.class)
    void watchesEveryTypeForChangesAndNumbersForLimits(ValueType type) {
      boolean isText = type == ValueType.STRING || type == ValueType.BLOB;
      Tags.add("S", type);

      AlarmTags.add("CHANGED", "S", "CHANGE");
      int status = addWith(tag -> tag.m_SourceTagName = "S");
      assertEquals(isText ? Codes.INVALID_TAG_TYPE : Codes.OK, status);
    }

    @ParameterizedTest(name = "{0}")
    @ValueSource(strings = {"A.LAH", "温度 1", "with space", "'", "*?\\"})
    void keepsItsNameAsGiven(String name) {
      assertEquals(name, AlarmTags.get(AlarmTags.add(name, SOURCE, TEST)).m_tagName);
    }

    @Test
    void sharesItsNamesWithThePointTags() {
      ZRJniAlarmTag tag = AlarmTags.on(SOURCE.toLowerCase(), SOURCE, TEST);
      assertEquals(Codes.TAG_EXISTS, Jni_Zervane.addAlarmTag(tag, Columns.NONE, Columns.ALL));

      AlarmTags.add("A", SOURCE, TEST);
      ZRJniTagProp point = Tags.named("a", ValueType.INT8);
      assertEquals(Codes.TAG_EXISTS, Jni_Zervane.addTag(point, Columns.TYPE, Columns.NONE));
    }

    @ParameterizedTest(name = "class {0}")
    @ValueSource(bytes = {-1, 0, 2, 6})
    void isRefusedWithAnotherClass(byte tagClass) {
      ZRJniAlarmTag tag = AlarmTags.on("A", SOURCE, TEST);
      tag.m_tagClass = tagClass;

      assertEquals(
          Codes.INVALID_TAG_CLASS, Jni_Zervane.addAlarmTag(tag, Columns.CLASS, Columns.ALL));
    }

    @Test
    void isRefusedWithMasksThatSelectMoreThanThereIs() {
      ZRJniAlarmTag tag = AlarmTags.on("A", SOURCE, TEST);

      assertEquals(
          Codes.INVALID_MASK,
          Jni_Zervane.addAlarmTag(tag, Columns.FIRST_UNKNOWN_COMMON, Columns.ALL));
      assertEquals(
          Codes.INVALID_MASK,
          Jni_Zervane.addAlarmTag(tag, Columns.NONE, Columns.FIRST_UNKNOWN_ALARM));
    }
  }

  @Nested
  @DisplayName("is refused")
  class Refusals {
    @ParameterizedTest(name = "\"{0}\"")
    @ValueSource(strings = {"", "NOBODY", "FIC101"})
    void withASourceThatThereIsNot(String name) {
      assertRefused(Codes.NAME_NOT_FOUND, tag -> tag.m_SourceTagName = name);
    }

    @Test
    void withAnAlarmTagForItsSource() {
      AlarmTags.add("OTHER", SOURCE, TEST);

      assertRefused(Codes.INVALID_TAG_CLASS, tag -> tag.m_SourceTagName = "OTHER");
    }

    @ParameterizedTest(name = "\"{0}\"")
    @ValueSource(
        strings = {
          "HIGH", "HIGH 5", "HIGH > ", "HIGH > five", "HIGH >> 5", "HIGH > 5 PRIORITY",
          "HIGH > 5 PRIORITY 0", "HIGH > 5 PRIORITY 5", "HIGH > NaN", "HIGH > 1e999",
          "HIGHEST > 5", "CHANGE -1", "CHANGE > 5", "HIGH > 5; LOW < 1", "温度"
        })
    void withATestThatDoesNotParse(String test) {
      assertRefused(Codes.INVALID_ALARM_TEST, tag -> tag.m_Test4 = test);
    }

    @ParameterizedTest(name = "\"{0}\"")
    @ValueSource(strings = {"SET", "SET VALVE.SP 1", "SET 'VALVE.SP'", "SET 'VALVE.SP 1", "CLOSE"})
    void withAnActionThatDoesNotParse(String action) {
      assertRefused(Codes.INVALID_ALARM_TEST, tag -> tag.m_Action2 = action);
    }

    @Test
    void withATargetThatCannotBeSet() {
      Tags.add("TEXT", ValueType.STRING);
      Tags.add("SMALL", ValueType.INT8);

      assertRefused(Codes.NAME_NOT_FOUND, tag -> tag.m_Action1 = "SET 'NOBODY' 1");
      assertEquals(Codes.INVALID_TAG_TYPE, addWith(tag -> tag.m_Action1 = "SET 'TEXT' 1"));
      assertEquals(Codes.INVALID_TAG_CLASS, addWith(tag -> tag.m_Action1 = "SET 'SOUND' 1"));
      assertEquals(Codes.TYPE_MISMATCH, addWith(tag -> tag.m_Action1 = "SET 'SMALL' 128"));
      assertEquals(Codes.OK, addWith(tag -> tag.m_Action1 = "SET 'SMALL' 127"));
    }

    @ParameterizedTest(name = "group {0}")
    @ValueSource(ints = {1, 4711, -1})
    void withAGroupThatThereIsNot(int group) {
      assertRefused(Codes.GROUP_NOT_FOUND, tag -> tag.m_nAlarmGroupID = group);
    }

    @ParameterizedTest(name = "acknowledgement {0}")
    @ValueSource(bytes = {-128, -1, 2, 127})
    void withAnAcknowledgementThatReachesTheDatabaseAsItIs(byte acknowledgement) {
      assertRefused(Codes.INVALID_PROPERTY, tag -> tag.m_nAutoAck = acknowledgement);
    }

    @ParameterizedTest(name = "{0} seconds, {1} units")
    @CsvSource({"-1, 0", "0, -0.5", "0, NaN", "0, Infinity"})
    void withADeadBandThatIsNone(int seconds, float units) {
      assertRefused(
          Codes.INVALID_PROPERTY,
          tag -> {
            tag.m_TimeDeadBand = seconds;
            tag.m_fValueDeadBand = units;
          });
    }

    @Test
    void withATextLongerThanItsArray() {
      assertRefused(Codes.INVALID_TEXT, tag -> tag.m_Test4 = "x".repeat(256));
    }
  }

  @Nested
  @DisplayName("being modified")
  class Modifying {
    @Test
    void changesTheSelectedPropertiesOfTheTagThatTheObjectNames() {
      int other = AlarmTags.add("OTHER", SOURCE, TEST);
      int id = AlarmTags.add(AlarmTags.complete("A", SOURCE, TARGET), Columns.ALL, Columns.ALL);
      ZRJniAlarmTag changes = AlarmTags.changes(id);
      changes.m_descriptor = "new";
      changes.m_engUnits = "not selected";
      changes.m_Test2 = "LOLO < 1";
      changes.m_TimeDeadBand = 5;

      assertEquals(
          Codes.OK, Jni_Zervane.modifyAlarmTag(changes, Columns.DESCRIPTOR, Columns.TEST2));

      ZRJniAlarmTag stored = AlarmTags.get(id);
      assertAll(
          () -> assertEquals("new", stored.m_descriptor),
          () -> assertEquals("LOLO < 1", stored.m_Test2),
          () -> assertEquals("m³/h", stored.m_engUnits),
          () -> assertEquals(60, stored.m_TimeDeadBand),
          () -> assertEquals(SOURCE, stored.m_SourceTagName),
          () -> assertEquals(TEST, AlarmTags.get(other).m_Test1));
    }

    @Test
    void takesSpanAndMinimumFromOtherFields() {
      int id = AlarmTags.add("A", SOURCE, TEST);
      ZRJniAlarmTag changes = AlarmTags.changes(id);
      changes.m_span = 1;
      changes.m_excDev = 2;
      changes.m_minValue = 3;
      changes.m_compDev = 4;
      long mask = Columns.SPAN | 1L << Column.MIN_VALUE.number();

      assertEquals(Codes.OK, Jni_Zervane.modifyAlarmTag(changes, mask, Columns.NONE));
      assertEquals(2, AlarmTags.get(id).m_span);
      assertEquals(4, AlarmTags.get(id).m_minValue);
    }

    @Test
    void canWatchAnother() {
      int id = AlarmTags.add("A", SOURCE, TEST);
      ZRJniAlarmTag changes = AlarmTags.changes(id);
      changes.m_SourceTagName = TARGET;

      assertEquals(Codes.OK, Jni_Zervane.modifyAlarmTag(changes, Columns.NONE, Columns.SOURCE_TAG));
      assertEquals(TARGET, AlarmTags.get(id).m_SourceTagName);
    }

    @Test
    void givesItANewNameAndFreesTheOldOne() {
      int id = AlarmTags.add("OLD", SOURCE, TEST);
      ZRJniAlarmTag changes = AlarmTags.changes(id);
      changes.m_tagName = "NEW";

      assertEquals(Codes.OK, Jni_Zervane.modifyAlarmTag(changes, Columns.NAME, Columns.NONE));
      assertEquals(id, Jni_Zervane.queryAlarmTagID("NEW"));
      assertEquals(-1, Jni_Zervane.queryAlarmTagID("OLD"));
    }

    @Test
    void isRefusedForAnUnknownIdentifierAndForAPointTag() {
      assertEquals(
          Codes.TAG_NOT_FOUND,
          Jni_Zervane.modifyAlarmTag(AlarmTags.changes(Tags.UNKNOWN), Columns.DESCRIPTOR, 0));
      assertEquals(
          Codes.INVALID_TAG_CLASS,
          Jni_Zervane.modifyAlarmTag(AlarmTags.changes(source), Columns.DESCRIPTOR, 0));
    }
  }

  @Nested
  @DisplayName("being read")
  class Reading {
    @Test
    void leavesTheClassInTheObjectAsItWas() {
      int id = AlarmTags.add("A", SOURCE, TEST);
      ZRJniAlarmTag tag = new ZRJniAlarmTag();
      tag.m_tagClass = 5;

      assertEquals(Codes.OK, Jni_Zervane.queryAlarmTag(id, tag));
      assertEquals(5, tag.m_tagClass);
      assertEquals(TEST, tag.m_Test1);
    }

    @ParameterizedTest(name = "identifier {0}")
    @ValueSource(ints = {0, Tags.UNKNOWN, -1})
    void leavesTheWholeObjectAloneWhenTheIdentifierIsUnknown(int id) {
      assertLeftAlone(Codes.TAG_NOT_FOUND, id);
    }

    @Test
    void leavesTheWholeObjectAloneWhenItIsOfAnotherClass() {
      assertLeftAlone(Codes.INVALID_TAG_CLASS, source);
      assertEquals(
          Codes.INVALID_TAG_CLASS,
          Jni_Zervane.getTag(AlarmTags.add("A", SOURCE, TEST), new ZRJniTagProp()));
    }

    private void assertLeftAlone(int status, int id) {
      ZRJniAlarmTag tag = AlarmTags.complete("before", SOURCE, TARGET);
      List<String> before = Records.fieldsOf(tag);

      assertEquals(status, Jni_Zervane.queryAlarmTag(id, tag));
      assertEquals(before, Records.fieldsOf(tag));
    }
  }

  @Nested
  @DisplayName("being looked up")
  class LookUp {
    @ParameterizedTest(name = "{0}")
    @ValueSource(strings = {"FIC101.LAH", "fic101.lah"})
    void isFoundWithoutRegardToCase(String name) {
      assertEquals(
          AlarmTags.add("FIC101.LAH", SOURCE, TEST), Jni_Zervane.queryAlarmTagID(name));
    }

    @Test
    void isNotFoundByAnUnknownName() {
      assertEquals(-1, Jni_Zervane.queryAlarmTagID("NOBODY"));
      assertEquals(-1, Jni_Zervane.queryAlarmTagID(""));
    }
  }

  @Nested
  @DisplayName("being searched for")
  class Search {
    /** The value of a property of a complete tag, by the number of its column. */
    @ParameterizedTest(name = "column {0} is {1}")
    @CsvSource({
      "200, hihi >= 95.5 priority 2",
      "201, high > 90",
      "202, LOW < 10 PRIORITY 4",
      "203, CHANGE 50",
      "204, SET 'VALVE.SP' 1",
      "205, SET 'VALVE.SP' 2.5",
      "206, SET 'VALVE.SP' -3",
      "207, SET 'VALVE.SP' 4",
      "208, fic101.pv",
      "210, 1",
      "211, 60.0",
      "212, 5e-1"
    })
    void isFoundByEveryOneOfItsColumns(int column, String value) {
      Tags.add("OTHER", ValueType.INT32);
      AlarmTags.add("B", "OTHER", "LOW < -1");
      int id = AlarmTags.add(AlarmTags.complete("A", SOURCE, TARGET), Columns.ALL, Columns.ALL);

      assertEquals(List.of(id), find(column, Relation.EQUAL, value.replace("\"", "'")));
    }

    @Test
    void isFoundByItsGroup() {
      int first = AlarmTags.add("A", SOURCE, TEST);
      int second = AlarmTags.add("B", SOURCE, TEST);

      assertEquals(List.of(first, second), find(209, Relation.EQUAL, "0"));
      assertEquals(List.of(), find(209, Relation.GREATER, "0"));
    }

    @Test
    void isFoundByPatternsAndBounds() {
      int first = AlarmTags.add("A", SOURCE, "HIGH > 90");
      int second = AlarmTags.add("B", SOURCE, "HIHI > 95");

      assertEquals(List.of(first, second), find(200, Relation.LIKE, "hi*9?"));
      assertEquals(List.of(second), find(200, Relation.LIKE, "*95"));
      assertEquals(List.of(first, second), find(211, Relation.AT_MOST, "0.5"));
    }

    @Test
    void isOneOfItsClassAndOfAll() {
      int id = AlarmTags.add("A", SOURCE, TEST);

      assertEquals(1, Searches.count(AlarmTags.CLASS));
      assertEquals(2, Searches.count(0));
      List<ZRJniCommTagProp> tags =
          Searches.tags(Searches.openOfClasses(Searches.ALARMS, Columns.ALL));
      assertEquals(List.of(id), Searches.ids(tags));
      assertEquals(AlarmTags.CLASS, tags.get(0).m_tagClass);
      assertEquals(
          List.of(source, target, id),
          Searches.ids(Searches.tags(Searches.openOfClasses(Searches.ALL_CLASSES, Columns.ALL))));
      assertEquals(List.of(SOURCE, TARGET), Searches.find());
    }

    @Test
    void isRefusedByAColumnBehindTheLast() {
      for (Searches.Way way : Searches.Way.values()) {
        assertEquals(
            Codes.INVALID_ARGUMENT,
            way.statusOf(Column.condition(213, Relation.EQUAL.number(), "1")));
      }
    }

    private List<Integer> find(int column, Relation relation, String value) {
      return Searches.ids(
          Searches.tags(
              Searches.openOfClasses(
                  Searches.ALL_CLASSES,
                  Columns.ALL,
                  Column.condition(column, relation.number(), value))));
    }
  }

  @Nested
  @DisplayName("and the tags that it names")
  class Names {
    private int add() {
      ZRJniAlarmTag tag = AlarmTags.on("A", SOURCE.toLowerCase(), TEST);
      tag.m_Action1 = "SET '" + TARGET.toLowerCase() + "' 1";
      return AlarmTags.add(tag);
    }

    @Test
    void tellsThemByTheirPresentNames() {
      int id = add();
      assertEquals(SOURCE, AlarmTags.get(id).m_SourceTagName);
      assertEquals("SET '" + TARGET + "' 1", AlarmTags.get(id).m_Action1);
      Tags.rename(source, "NEW.SOURCE");
      Tags.rename(target, "IT'S NEW");

      assertEquals("NEW.SOURCE", AlarmTags.get(id).m_SourceTagName);
      assertEquals("SET 'IT''S NEW' 1", AlarmTags.get(id).m_Action1);
    }

    @Test
    void followsThemAfterReopening() {
      int id = add();
      database.reopen();
      Tags.rename(source, "NEW.SOURCE");
      database.reopen();

      assertEquals("NEW.SOURCE", AlarmTags.get(id).m_SourceTagName);
    }

    @Test
    void keepsItsOwnStampsWhenTheyAreRenamed() {
      ZRJniAlarmTag tag = AlarmTags.complete("A", SOURCE, TARGET);
      int id = AlarmTags.add(tag, Columns.ALL, Columns.ALL);
      Tags.rename(source, "NEW.SOURCE");

      ZRJniAlarmTag expected = asStored(tag, id);
      expected.m_SourceTagName = "NEW.SOURCE";
      assertEquals(Records.fieldsOf(expected), Records.fieldsOf(AlarmTags.get(id)));
    }

    @Test
    void hasNoSourceWhenThatIsDeletedAndNeverTakesAnotherForIt() {
      int id = add();
      assertEquals(Codes.OK, Jni_Zervane.deleteTag(source));
      assertEquals("", AlarmTags.get(id).m_SourceTagName);

      int other = Tags.add(SOURCE, ValueType.FLOAT64);
      Tags.rename(other, "OTHER");
      database.reopen();
      assertEquals("", AlarmTags.get(id).m_SourceTagName);
    }

    @Test
    void canStillBeModifiedWithoutItsSource() {
      int id = add();
      assertEquals(Codes.OK, Jni_Zervane.deleteTag(source));
      ZRJniAlarmTag changes = AlarmTags.changes(id);
      changes.m_Test1 = "LOW < 1";

      assertEquals(Codes.OK, Jni_Zervane.modifyAlarmTag(changes, Columns.NONE, Columns.TEST1));
      assertEquals("LOW < 1", AlarmTags.get(id).m_Test1);
      assertEquals("", AlarmTags.get(id).m_SourceTagName);
    }

    @Test
    void tellsTheTargetOfAnActionByItsLastName() {
      int id = add();
      Tags.rename(target, "LAST");
      assertEquals(Codes.OK, Jni_Zervane.deleteTag(target));

      assertEquals("SET 'LAST' 1", AlarmTags.get(id).m_Action1);
    }

    @Test
    void keepsTheSourceANumber() {
      add();
      ZRJniTagProp changes = new ZRJniTagProp();
      changes.m_tagID = source;
      changes.m_tagType = ValueType.STRING.number();
      assertEquals(
          Codes.INVALID_TAG_TYPE, Jni_Zervane.modifyTag(changes, Columns.TYPE, Columns.NONE));
      changes.m_tagType = ValueType.INT16.number();
      assertEquals(Codes.OK, Jni_Zervane.modifyTag(changes, Columns.TYPE, Columns.NONE));
    }

    @Test
    void tellsASourceOfTheLongestName() {
      int id = add();
      Tags.rename(source, "n".repeat(255));

      assertEquals("n".repeat(255), AlarmTags.get(id).m_SourceTagName);
    }

    @Test
    void keepsATargetFromANameThatIsTooLongForTheAction() {
      int id = add();
      int room = 255 - "SET '' 1".length();
      ZRJniTagProp changes = new ZRJniTagProp();
      changes.m_tagID = target;
      changes.m_tagName = "n".repeat(room + 1);
      assertEquals(
          Codes.INVALID_PROPERTY, Jni_Zervane.modifyTag(changes, Columns.NAME, Columns.NONE));
      assertEquals("SET '" + TARGET + "' 1", AlarmTags.get(id).m_Action1);
      assertEquals(TARGET, Tags.get(target).m_tagName);

      Tags.rename(target, "n".repeat(room));
      assertEquals("SET '" + "n".repeat(room) + "' 1", AlarmTags.get(id).m_Action1);
    }
  }

  @Nested
  @DisplayName("holds no values")
  class Values {
    @Test
    void andTakesNone() {
      int id = AlarmTags.add("A", SOURCE, TEST);
      ZRJniRecord record = Records.float64(10, 5);

      assertAll(
          () -> assertEquals(Codes.INVALID_TAG_CLASS, Records.save(id, record)),
          () ->
              assertEquals(
                  Codes.INVALID_TAG_CLASS,
                  Jni_Zervane.modifyRecord(id, ValueType.FLOAT64.number(), record)),
          () ->
              assertEquals(
                  Codes.NO_RECORD, Jni_Zervane.querySnapShot(id, (byte) 0, new ZRJniRecord())),
          () -> assertEquals(List.of(), Records.history(id)));
    }

    @Test
    void toComputeFrom() {
      int id = AlarmTags.add("A", SOURCE, TEST);
      int[] codes = new int[1];
      ZRJniRecord[] records = {Records.at(10, 0)};

      Jni_Zervane.queryInterpRecordsByMode(
          id, ValueType.FLOAT64.number(), 1, records, codes, 0);
      assertEquals(Codes.NO_RECORD, codes[0]);
      assertEquals(
          Codes.NO_RECORD,
          Jni_Zervane.getTagMax(
              id, Records.time(0, 0), Records.time(100, 0), 0, new DoubleWrapper()));
    }
  }

  @Nested
  @DisplayName("being deleted")
  class Deleting {
    @Test
    void isGone() {
      int id = AlarmTags.add("A", SOURCE, TEST);

      assertEquals(Codes.OK, Jni_Zervane.deleteAlarmTag(id));

      assertEquals(-1, Jni_Zervane.queryAlarmTagID("A"));
      assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.queryAlarmTag(id, new ZRJniAlarmTag()));
      assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.deleteAlarmTag(id));
      assertEquals(0, Searches.count(AlarmTags.CLASS));
      database.reopen();
      assertEquals(-1, Jni_Zervane.queryAlarmTagID("A"));
      assertTrue(id < AlarmTags.add("A", SOURCE, TEST));
    }

    @Test
    void setsItsSourceFree() {
      assertEquals(Codes.OK, Jni_Zervane.deleteAlarmTag(AlarmTags.add("A", SOURCE, TEST)));
      ZRJniTagProp changes = new ZRJniTagProp();
      changes.m_tagID = source;
      changes.m_tagType = ValueType.STRING.number();

      assertEquals(Codes.OK, Jni_Zervane.modifyTag(changes, Columns.TYPE, Columns.NONE));
    }
  }

  @Test
  void isThereWithAllItsPropertiesAfterReopening() {
    ZRJniAlarmTag tag = AlarmTags.complete("A", SOURCE, TARGET);
    int id = AlarmTags.add(tag, Columns.ALL, Columns.ALL);

    database.reopen();

    assertEquals(id, Jni_Zervane.queryAlarmTagID("A"));
    assertEquals(Records.fieldsOf(asStored(tag, id)), Records.fieldsOf(AlarmTags.get(id)));
  }
}
