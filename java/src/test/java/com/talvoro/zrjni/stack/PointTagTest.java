package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A point tag")
class PointTagTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @Nested
  @DisplayName("being added")
  class Adding {
    @Test
    void keepsEveryPropertyButForTheFieldsThatAreNotRead() {
      ZRJniTagProp tag = Tags.complete("FIC101.PV");
      assertEquals(Codes.OK, Jni_Zervane.addTag(tag, Columns.ALL, Columns.ALL));
      int id = Jni_Zervane.queryTagID("FIC101.PV");

      assertEquals(Records.fieldsOf(Tags.asStored(tag, id)), Records.fieldsOf(Tags.get(id)));
    }

    @Test
    void doesNotTellItsIdentifierToTheCaller() {
      ZRJniTagProp tag = Tags.named("A", ValueType.INT8);
      tag.m_tagID = 4711;

      assertEquals(Codes.OK, Jni_Zervane.addTag(tag, Columns.TYPE, Columns.NONE));
      assertEquals(4711, tag.m_tagID);
      assertNotEquals(4711, Jni_Zervane.queryTagID("A"));
    }

    @Test
    void takesDefaultsForPropertiesThatAreNotSelected() {
      int id = Tags.add(Tags.complete("A"), Columns.TYPE);

      ZRJniTagProp stored = Tags.get(id);
      assertAll(
          () -> assertEquals("A", stored.m_tagName),
          () -> assertEquals(ValueType.STRING.number(), stored.m_tagType),
          () -> assertTrue(stored.m_archiving),
          () -> assertTrue(stored.m_scan),
          () -> assertEquals(0, stored.m_excDev),
          () -> assertEquals(100, stored.m_span),
          () -> assertEquals(0, stored.m_compType),
          () -> assertEquals("", stored.m_descriptor),
          () -> assertEquals("", stored.m_CollectorName),
          () -> assertEquals(0, stored.m_ScanGroupID),
          () -> assertEquals(0, stored.m_param5));
    }

    @Test
    void isStampedWithTheTimeAndUserUnlessTheyAreGiven() {
      int before = (int) (System.currentTimeMillis() / 1000);
      int id = Tags.add(Tags.complete("A"), Columns.TYPE);
      int after = (int) (System.currentTimeMillis() / 1000);

      ZRJniTagProp stored = Tags.get(id);
      assertAll(
          () -> assertTrue(before <= stored.m_creationDate && stored.m_creationDate <= after),
          () -> assertEquals(stored.m_creationDate, stored.m_changeDate),
          () -> assertEquals("admin", stored.m_creator),
          () -> assertEquals("admin", stored.m_changer));
    }

    @Test
    void takesTheSpanFromTheExceptionDeviationEvenWhenOnlyTheSpanIsSelected() {
      ZRJniTagProp tag = Tags.named("A", ValueType.FLOAT64);
      tag.m_span = 100;
      tag.m_excDev = 0.5f;

      ZRJniTagProp stored = Tags.get(Tags.add(tag, Columns.TYPE | Columns.SPAN));
      assertEquals(0.5f, stored.m_span);
      assertEquals(0, stored.m_excDev);
    }

    @Test
    void takesTheCreationDateFromTheChangeDate() {
      ZRJniTagProp tag = Tags.named("A", ValueType.FLOAT64);
      tag.m_creationDate = 1_000;
      tag.m_changeDate = 2_000;

      assertEquals(
          2_000, Tags.get(Tags.add(tag, Columns.TYPE | Columns.CREATION_DATE)).m_creationDate);
    }

    @Test
    void acceptsAnyNodeName() {
      ZRJniTagProp tag = Tags.complete("A");

      assertEquals(Codes.OK, Jni_Zervane.addTagWithNodeName(tag, Columns.ALL, Columns.ALL, "節點 1"));
      int id = Jni_Zervane.queryTagID("A");
      assertEquals(Records.fieldsOf(Tags.asStored(tag, id)), Records.fieldsOf(Tags.get(id)));
    }

    @ParameterizedTest
    @EnumSource(ValueType.class)
    void canHaveEveryType(ValueType type) {
      assertEquals(type.number(), Tags.get(Tags.add("A", type)).m_tagType);
    }

    @ParameterizedTest(name = "{0}")
    @ValueSource(strings = {"x", "FIC101.PV", "温度 1", "with space", "'", "*?\\", "😀"})
    void keepsItsNameAsGiven(String name) {
      assertEquals(name, Tags.get(Tags.add(name, ValueType.INT8)).m_tagName);
    }

    @Test
    void canHaveANameOf255Bytes() {
      String name = "ä".repeat(127) + "x";

      assertEquals(name, Tags.get(Tags.add(name, ValueType.INT8)).m_tagName);
    }

    @ParameterizedTest(name = "length {0}, status {1}")
    @CsvSource({"0, " + Codes.INVALID_TAG_NAME, "256, " + Codes.INVALID_TEXT})
    void isRefusedWithANameTooShortOrTooLong(int length, int status) {
      assertRefused(status, Tags.named("n".repeat(length), ValueType.INT8), Columns.TYPE, 0);
    }

    @ParameterizedTest(name = "character {0}")
    @ValueSource(ints = {1, 9, 10, 31, 127})
    void isRefusedWithAControlCharacterInItsName(int character) {
      ZRJniTagProp tag = Tags.named("A" + (char) character + "B", ValueType.INT8);

      assertRefused(Codes.INVALID_TAG_NAME, tag, Columns.TYPE, 0);
    }

    @ParameterizedTest(name = "{0}")
    @ValueSource(strings = {"FIC101.PV", "fic101.pv", "Fic101.Pv"})
    void isRefusedWithANameThatExistsInAnyCase(String name) {
      int id = Tags.add("FIC101.PV", ValueType.FLOAT64);

      assertRefused(Codes.TAG_EXISTS, Tags.named(name, ValueType.INT8), Columns.TYPE, 0);
      assertEquals(id, Jni_Zervane.queryTagID(name));
    }

    @ParameterizedTest(name = "type {0}")
    @ValueSource(bytes = {-128, -1, 8, 127})
    void isRefusedWithATypeThatThereIsNot(byte type) {
      ZRJniTagProp tag = new ZRJniTagProp();
      tag.m_tagName = "A";
      tag.m_tagType = type;

      assertRefused(Codes.INVALID_TAG_TYPE, tag, Columns.TYPE, 0);
    }

    @ParameterizedTest(name = "class {0}")
    @ValueSource(bytes = {-1, 1, 6})
    void isRefusedWithAnotherClass(byte tagClass) {
      ZRJniTagProp tag = Tags.named("A", ValueType.INT8);
      tag.m_tagClass = tagClass;

      assertRefused(Codes.INVALID_TAG_CLASS, tag, Columns.TYPE | Columns.CLASS, 0);
    }

    @ParameterizedTest(name = "deviation {0}")
    @ValueSource(floats = {-1, Float.NaN, Float.POSITIVE_INFINITY})
    void isRefusedWithADeviationThatIsNone(float deviation) {
      ZRJniTagProp tag = Tags.named("A", ValueType.FLOAT64);
      tag.m_excDev = deviation;

      assertRefused(Codes.INVALID_PROPERTY, tag, Columns.TYPE | Columns.EXC_DEV, 0);
    }

    @Test
    void isRefusedWithMasksThatSelectMoreThanThereIs() {
      ZRJniTagProp tag = Tags.named("A", ValueType.INT8);

      assertRefused(Codes.INVALID_MASK, tag, Columns.TYPE | Columns.FIRST_UNKNOWN_COMMON, 0);
      assertRefused(Codes.INVALID_MASK, tag, Columns.TYPE, Columns.FIRST_UNKNOWN_POINT);
    }

    private void assertRefused(int status, ZRJniTagProp tag, long mask, long pointMask) {
      long version = Tags.catalogueVersion();

      assertEquals(status, Jni_Zervane.addTag(tag, mask, pointMask));
      assertEquals(version, Tags.catalogueVersion(), "a refusal must leave the catalogue alone");
    }
  }

  @Nested
  @DisplayName("being modified")
  class Modifying {
    private ZRJniTagProp changes(int id) {
      ZRJniTagProp changes = new ZRJniTagProp();
      changes.m_tagID = id;
      return changes;
    }

    private int modify(ZRJniTagProp changes, long mask) {
      return Jni_Zervane.modifyTag(changes, mask, Columns.NONE);
    }

    @Test
    void changesTheSelectedPropertiesOfTheTagThatTheObjectNames() {
      int other = Tags.add("OTHER", ValueType.STRING);
      int id = Tags.add(Tags.complete("A"), Columns.ALL);
      ZRJniTagProp changes = changes(id);
      changes.m_descriptor = "new";
      changes.m_engUnits = "not selected";
      changes.m_DeviceName = "new device";

      assertEquals(
          Codes.OK, Jni_Zervane.modifyTag(changes, Columns.DESCRIPTOR, Columns.DEVICE_NAME));

      ZRJniTagProp stored = Tags.get(id);
      assertAll(
          () -> assertEquals("new", stored.m_descriptor),
          () -> assertEquals("new device", stored.m_DeviceName),
          () -> assertEquals("m³/h", stored.m_engUnits),
          () -> assertEquals("A", stored.m_tagName),
          () -> assertEquals("", Tags.get(other).m_descriptor));
    }

    @Test
    void takesTheSpanFromTheExceptionDeviation() {
      int id = Tags.add("A", ValueType.FLOAT64);
      ZRJniTagProp changes = changes(id);
      changes.m_span = 7;
      changes.m_excDev = 8;

      assertEquals(Codes.OK, modify(changes, Columns.SPAN));
      assertEquals(8, Tags.get(id).m_span);
      assertEquals(0, Tags.get(id).m_excDev);
    }

    @Test
    void givesItANewNameAndFreesTheOldOne() {
      int id = Tags.add("OLD", ValueType.INT8);
      ZRJniTagProp changes = changes(id);
      changes.m_tagName = "NEW";

      assertEquals(Codes.OK, modify(changes, Columns.NAME));
      assertEquals(id, Jni_Zervane.queryTagID("NEW"));
      assertEquals(-1, Jni_Zervane.queryTagID("OLD"));
      assertNotEquals(id, Tags.add("OLD", ValueType.INT8));
    }

    @Test
    void mayChangeTheCaseOfItsName() {
      int id = Tags.add("abc", ValueType.INT8);
      ZRJniTagProp changes = changes(id);
      changes.m_tagName = "ABC";

      assertEquals(Codes.OK, modify(changes, Columns.NAME));
      assertEquals("ABC", Tags.get(id).m_tagName);
    }

    @Test
    void mayNotTakeTheNameOfAnother() {
      Tags.add("TAKEN", ValueType.INT8);
      int id = Tags.add("A", ValueType.INT8);
      ZRJniTagProp changes = changes(id);
      changes.m_tagName = "taken";

      assertEquals(Codes.TAG_EXISTS, modify(changes, Columns.NAME));
      assertEquals("A", Tags.get(id).m_tagName);
    }

    @Test
    void mayChangeItsTypeOnlyWhileItHoldsNoRecords() {
      int id = Tags.add("A", ValueType.INT8);
      ZRJniTagProp changes = changes(id);
      changes.m_tagType = ValueType.FLOAT64.number();
      assertEquals(Codes.OK, modify(changes, Columns.TYPE));

      assertEquals(Codes.OK, Records.save(id, Records.float64(1, 2.5)));
      changes.m_tagType = ValueType.STRING.number();
      assertEquals(Codes.TAG_HAS_RECORDS, modify(changes, Columns.TYPE));
      assertEquals(ValueType.FLOAT64.number(), Tags.get(id).m_tagType);
    }

    @Test
    void isRefusedForAnUnknownIdentifier() {
      assertEquals(Codes.TAG_NOT_FOUND, modify(changes(Tags.UNKNOWN), Columns.DESCRIPTOR));
    }
  }

  @Nested
  @DisplayName("being read")
  class Reading {
    @Test
    void leavesTheClassInTheObjectAsItWas() {
      ZRJniTagProp tag = new ZRJniTagProp();
      tag.m_tagClass = 5;

      assertEquals(Codes.OK, Jni_Zervane.getTag(Tags.add("A", ValueType.STRING), tag));
      assertEquals(5, tag.m_tagClass);
      assertEquals(ValueType.STRING.number(), tag.m_tagType);
    }

    @ParameterizedTest(name = "identifier {0}")
    @ValueSource(ints = {0, Tags.UNKNOWN, -1})
    void leavesTheWholeObjectAloneWhenTheIdentifierIsUnknown(int id) {
      ZRJniTagProp tag = Tags.complete("before");
      List<String> before = Records.fieldsOf(tag);

      assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.getTag(id, tag));
      assertEquals(before, Records.fieldsOf(tag));
    }
  }

  @Nested
  @DisplayName("being deleted")
  class Deleting {
    @Test
    void isGoneWithItsValues() {
      int id = Tags.add("A", ValueType.FLOAT64);
      assertEquals(Codes.OK, Records.save(id, Records.float64(1, 2.5)));

      assertEquals(Codes.OK, Jni_Zervane.deleteTag(id));

      assertEquals(-1, Jni_Zervane.queryTagID("A"));
      assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.querySnapShot(id, (byte) 4, new ZRJniRecord()));
      assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.deleteTag(id));
      assertEquals(List.of(), Records.history(Tags.add("A", ValueType.FLOAT64)));
    }

    @Test
    void neverGivesItsIdentifierToAnother() {
      int first = Tags.add("A", ValueType.INT8);
      int second = Tags.add("B", ValueType.INT8);
      assertEquals(Codes.OK, Jni_Zervane.deleteTag(second));
      database.reopen();

      assertTrue(first < second);
      assertTrue(second < Tags.add("B", ValueType.INT8));
    }
  }

  @Test
  void raisesTheVersionOfTheCatalogueByOneWithEveryChange() {
    long version = Tags.catalogueVersion();
    int id = Tags.add("A", ValueType.INT8);
    assertEquals(version + 1, Tags.catalogueVersion());

    ZRJniTagProp changes = new ZRJniTagProp();
    changes.m_tagID = id;
    assertEquals(Codes.OK, Jni_Zervane.modifyTag(changes, Columns.DESCRIPTOR, Columns.NONE));
    assertEquals(version + 2, Tags.catalogueVersion());

    assertEquals(Codes.OK, Jni_Zervane.deleteTag(id));
    assertEquals(version + 3, Tags.catalogueVersion());

    database.reopen();
    assertEquals(version + 3, Tags.catalogueVersion());
  }

  @Test
  void isThereWithAllItsPropertiesAfterReopening() {
    ZRJniTagProp tag = Tags.complete("FIC101.PV");
    assertEquals(Codes.OK, Jni_Zervane.addTag(tag, Columns.ALL, Columns.ALL));
    int id = Jni_Zervane.queryTagID("FIC101.PV");

    database.reopen();

    assertEquals(id, Jni_Zervane.queryTagID("FIC101.PV"));
    assertEquals(Records.fieldsOf(Tags.asStored(tag, id)), Records.fieldsOf(Tags.get(id)));
  }
}
