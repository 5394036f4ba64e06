package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniCalcTag;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.List;
import java.util.function.Consumer;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A calculation tag")
class CalculationTagTest {
  private static final byte CLASS = 3;
  private static final byte NOTIFY = 1;
  private static final long EXPRESSION = 1L << 2;
  private static final long END_DATE = 1L << 5;
  private static final long FIRST_UNKNOWN = 1L << 8;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private int x;
  private int y;

  @BeforeEach
  void addTheTagsThatItNames() {
    x = Tags.add("FIC101.PV", ValueType.FLOAT64);
    y = Tags.add("Durchfluß'", ValueType.FLOAT64);
  }

  /** One that is computed when an operand has a new value. */
  private static ZRJniCalcTag of(String name, String expression) {
    ZRJniCalcTag tag = new ZRJniCalcTag();
    tag.m_tagName = name;
    tag.m_calcMode = NOTIFY;
    tag.m_calcExpr = expression;
    tag.m_sourceTagName = "";
    return tag;
  }

  private static int add(ZRJniCalcTag tag, long mask, long extension) {
    assertEquals(Codes.OK, Jni_Zervane.addCalcTag(tag, mask, extension));
    int id = Jni_Zervane.queryTagID(tag.m_tagName);
    assertTrue(id > 0, "identifier " + id);
    return id;
  }

  private static int add(String name, String expression) {
    return add(of(name, expression), Columns.NONE, Columns.ALL);
  }

  private static ZRJniCalcTag get(int id) {
    ZRJniCalcTag tag = new ZRJniCalcTag();
    tag.m_tagClass = CLASS; // reading leaves it alone
    assertEquals(Codes.OK, Jni_Zervane.queryCalcTag(id, tag));
    return tag;
  }

  private static ZRJniCalcTag changes(int id) {
    ZRJniCalcTag changes = new ZRJniCalcTag();
    changes.m_tagID = id;
    return changes;
  }

  /** The current value, once it is that of the second or a later one. */
  private static ZRJniRecord awaitValue(int id, int second) {
    ZRJniRecord record = new ZRJniRecord();
    while (Jni_Zervane.querySnapShot(id, (byte) 0, record) != Codes.OK || record.nSec < second) {
      Thread.onSpinWait();
    }
    return record;
  }

  private static ZRJniCalcTag complete(String name) {
    ZRJniCalcTag tag = of(name, "'FIC101.PV' + max('Durchfluß''', 1)");
    tag.m_tagClass = CLASS;
    tag.m_tagType = ValueType.INT32.number();
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
    tag.m_tagAccess = 8;
    tag.m_tagOperateGroup = "tag operators";
    tag.m_tagOwnerGroup = "tag owners";
    tag.m_span = 9.5f;
    tag.m_minValue = 10.5f;
    tag.m_digitalSet = "digital set";
    tag.m_engUnits = "m³/h";
    tag.m_descriptor = "温度";
    tag.m_calcMode = 0;
    tag.m_calcPeriod = 3600;
    tag.m_calcHistory = true;
    tag.m_calcStartDate = 1_000_000;
    tag.m_calcEndDate = 2_000_000;
    tag.m_haveEndTime = true;
    tag.m_sourceTagName = "FIC101.PV";
    return tag;
  }

  @Nested
  @DisplayName("being added")
  class Adding {
    @Test
    void keepsEveryPropertyButForTheFieldsThatAreNotRead() {
      ZRJniCalcTag tag = complete("C");
      int id = add(tag, Columns.ALL, Columns.ALL);

      ZRJniCalcTag stored = complete("C");
      stored.m_tagID = id;
      stored.m_creationDate = tag.m_changeDate;
      stored.m_span = tag.m_excDev;
      stored.m_minValue = tag.m_compDev;
      assertEquals(Records.fieldsOf(stored), Records.fieldsOf(get(id)));
    }

    @Test
    void doesNotTellItsIdentifierToTheCaller() {
      ZRJniCalcTag tag = of("C", "1");
      tag.m_tagID = 4711;

      int id = add(tag, Columns.NONE, Columns.ALL);
      assertEquals(4711, tag.m_tagID);
      assertNotEquals(4711, id);
    }

    @Test
    void takesDefaultsForPropertiesThatAreNotSelected() {
      ZRJniCalcTag stored = get(add(complete("C"), Columns.NONE, EXPRESSION));
      assertAll(
          () -> assertEquals(ValueType.FLOAT64.number(), stored.m_tagType),
          () -> assertEquals(0, stored.m_calcMode),
          () -> assertEquals(60, stored.m_calcPeriod),
          () -> assertFalse(stored.m_calcHistory),
          () -> assertEquals(0, stored.m_calcStartDate),
          () -> assertEquals(0, stored.m_calcEndDate),
          () -> assertFalse(stored.m_haveEndTime),
          () -> assertEquals("", stored.m_sourceTagName));
    }

    @Test
    void tellsTheEndDateOfOneWithoutAnEnd() {
      ZRJniCalcTag tag = of("C", "1");
      tag.m_calcEndDate = 1234;
      ZRJniCalcTag stored = get(add(tag, Columns.NONE, Columns.ALL));
      assertFalse(stored.m_haveEndTime);
      assertEquals(1234, stored.m_calcEndDate);
    }

    @Test
    void answersWhereThereIsAlreadyOneOfTheName() {
      add("C", "1");
      ZRJniCalcTag tag = of("c", "2");
      assertEquals(
          Codes.TAG_EXISTS, Jni_Zervane.addCalcTag(tag, Columns.NONE, Columns.ALL));
    }
  }

  @Nested
  @DisplayName("being refused")
  class Refusing {
    /** Both adding and modifying with what is wrong answer the status, and change nothing. */
    private void assertRefused(int status, Consumer<ZRJniCalcTag> wrong) {
      ZRJniCalcTag tag = of("C", "'FIC101.PV'");
      wrong.accept(tag);
      assertEquals(status, Jni_Zervane.addCalcTag(tag, Columns.NONE, Columns.ALL));
      assertEquals(-1, Jni_Zervane.queryTagID("C"));

      int id = add("SOUND", "'FIC101.PV'");
      List<String> before = Records.fieldsOf(get(id));
      tag.m_tagID = id;
      assertEquals(status, Jni_Zervane.modifyCalcTag(tag, Columns.NONE, Columns.ALL));
      assertEquals(before, Records.fieldsOf(get(id)));
    }

    @ParameterizedTest
    @ValueSource(bytes = {-1, 2, -128, 127})
    void isItForAModeThatIsNone(byte mode) {
      assertRefused(Codes.INVALID_PROPERTY, tag -> tag.m_calcMode = mode);
    }

    @ParameterizedTest
    @ValueSource(strings = {"", "'FIC101.PV' +", "value", "('FIC101.PV'"})
    void isItForWhatIsNoExpression(String text) {
      assertRefused(Codes.INVALID_EXPRESSION, tag -> tag.m_calcExpr = text);
    }

    @Test
    void isItForAnUnknownOperand() {
      assertRefused(Codes.NAME_NOT_FOUND, tag -> tag.m_calcExpr = "'NOBODY'");
    }

    @Test
    void isItForAnUnknownSource() {
      assertRefused(Codes.NAME_NOT_FOUND, tag -> tag.m_sourceTagName = "NOBODY");
    }

    @Test
    void isItForALoop() {
      int c = add("A", "'FIC101.PV'");
      add("B", "'A' + 1");
      ZRJniCalcTag changes = changes(c);
      changes.m_calcExpr = "'B' + 1";
      assertEquals(
          Codes.CALCULATION_LOOP, Jni_Zervane.modifyCalcTag(changes, Columns.NONE, EXPRESSION));
      assertEquals("'FIC101.PV'", get(c).m_calcExpr);
    }

    @Test
    void isItForAMaskBeyondItsColumns() {
      ZRJniCalcTag tag = of("C", "1");
      assertEquals(
          Codes.INVALID_MASK, Jni_Zervane.addCalcTag(tag, Columns.NONE, FIRST_UNKNOWN));
    }
  }

  @Nested
  @DisplayName("being modified")
  class Modifying {
    @Test
    void changesWhatIsSelectedAlone() {
      int id = add("C", "'FIC101.PV'");
      ZRJniCalcTag changes = complete("OTHER");
      changes.m_tagID = id;
      assertEquals(Codes.OK, Jni_Zervane.modifyCalcTag(changes, Columns.NONE, END_DATE));
      ZRJniCalcTag stored = get(id);
      assertEquals(2_000_000, stored.m_calcEndDate);
      assertEquals("'FIC101.PV'", stored.m_calcExpr);
      assertEquals("C", stored.m_tagName);
    }

    @Test
    void answersForATagOfAnotherClassAndForNone() {
      ZRJniCalcTag tag = new ZRJniCalcTag();
      tag.m_tagName = "before";
      assertEquals(Codes.INVALID_TAG_CLASS, Jni_Zervane.queryCalcTag(x, tag));
      assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.queryCalcTag(Tags.UNKNOWN, tag));
      assertEquals("before", tag.m_tagName);
      assertEquals(
          Codes.INVALID_TAG_CLASS,
          Jni_Zervane.modifyCalcTag(changes(x), Columns.NONE, Columns.NONE));
      assertEquals(
          Codes.TAG_NOT_FOUND,
          Jni_Zervane.modifyCalcTag(changes(Tags.UNKNOWN), Columns.NONE, Columns.NONE));
    }

    @Test
    void followsTheNamesOfItsOperands() {
      int id = add("C", "'Durchfluß''' + 'fic101.pv' * 2");
      assertEquals("'Durchfluß''' + 'FIC101.PV' * 2", get(id).m_calcExpr);
      Tags.rename(y, "温度 'innen'");
      assertEquals("'温度 ''innen''' + 'FIC101.PV' * 2", get(id).m_calcExpr);
      Tags.delete(y);
      assertEquals("'温度 ''innen''' + 'FIC101.PV' * 2", get(id).m_calcExpr);
    }
  }

  @Nested
  @DisplayName("being computed")
  @Timeout(60)
  class Computing {
    @Test
    void hasAValueForEachThatItsOperandsHave() {
      int id = add("C", "'FIC101.PV' + 'Durchfluß'''");
      assertEquals(Codes.OK, Records.save(x, Records.float64(1000, 2)));
      assertEquals(0, awaitValue(id, 1000).nQuality);
      assertEquals(Codes.OK, Records.save(y, Records.float64(1001, 3)));
      assertEquals(Codes.OK, Records.save(x, Records.float64(1002, 4)));
      awaitValue(id, 1002);
      assertEquals(List.of(1000, 1001, 1002), Records.seconds(Records.history(id)));
      assertEquals(List.of(0.0, 5.0, 7.0), Records.doubles(Records.history(id)));
    }

    @Test
    void settlesBehindAnotherOne() {
      add("C", "'FIC101.PV' * 10");
      int last = add("D", "'C' + 'FIC101.PV'");
      assertEquals(Codes.OK, Records.save(x, Records.float64(1000, 2)));
      assertEquals(22, awaitValue(last, 1000).fFloat64);
      assertEquals(1, Records.history(last).size());
    }

    @Test
    void isPolledWithTheTypeThatItHas() {
      ZRJniCalcTag tag = of("C", "2.5");
      tag.m_calcMode = 0;
      tag.m_calcPeriod = 1;
      tag.m_tagType = ValueType.INT8.number();
      int id = add(tag, Columns.TYPE, Columns.ALL);
      assertEquals(3, awaitValue(id, 1).nInt8);
      assertEquals(0, awaitValue(id, 1).nMsec);
    }

    @Test
    void hasThePastComputedToo() {
      for (int second = 1000; second < 1010; ++second) {
        assertEquals(Codes.OK, Records.save(x, Records.float64(second, second)));
      }
      ZRJniCalcTag tag = of("C", "'FIC101.PV' + 1");
      tag.m_calcHistory = true;
      tag.m_calcStartDate = 1005;
      int id = add(tag, Columns.NONE, Columns.ALL);
      awaitValue(id, 1009);
      assertEquals(
          List.of(1006.0, 1007.0, 1008.0, 1009.0, 1010.0), Records.doubles(Records.history(id)));
    }

    @Test
    void takesNoValuesFromOutside() {
      int id = add("C", "'FIC101.PV'");
      assertEquals(Codes.INVALID_TAG_CLASS, Records.save(id, Records.float64(1000, 1)));
    }
  }
}
