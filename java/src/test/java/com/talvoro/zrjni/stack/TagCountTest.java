package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A count of tags")
class TagCountTest {
  private static final int POINTS = 0;
  private static final int ALL_CLASSES = 6;

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @BeforeEach
  void add() {
    for (String name : new String[] {"FIC101.PV", "FIC101.SP", "TIC101.PV", "温度.PV"}) {
      Tags.add(name, ValueType.FLOAT64);
    }
  }

  @ParameterizedTest(name = "of names like \"{0}\" is {1}")
  @CsvSource({"'', 4", "*, 4", "*.pv, 3", "FIC*, 2", "温?.PV, 1", "*.OUT, 0"})
  void isThatOfTheMatches(String pattern, int count) {
    ZRQueryTagCondition condition = Column.NAME.is(Relation.LIKE, pattern);

    assertEquals(count, Searches.count(POINTS, condition));
    assertEquals(count, Searches.count(ALL_CLASSES, condition));
    assertEquals(count, Searches.find(condition).size());
  }

  @Test
  void isThatOfAllTagsWithoutConditions() {
    assertEquals(4, Searches.count(POINTS));
    assertEquals(4, Searches.count(ALL_CLASSES));
  }

  @ParameterizedTest(name = "class {0}")
  @ValueSource(ints = {1, 2, 3, 4, 5})
  void isNoneForAClassWithoutTags(int tagClass) {
    assertEquals(0, Searches.count(tagClass));
  }

  @Test
  void followsEveryChange() {
    ZRQueryTagCondition isValue = Column.NAME.is(Relation.LIKE, "*.PV");
    Tags.add("NEW.PV", ValueType.INT8);
    assertEquals(4, Searches.count(POINTS, isValue));
    Tags.rename(Jni_Zervane.queryTagID("NEW.PV"), "NEW.SP");
    assertEquals(3, Searches.count(POINTS, isValue));
    Tags.delete(Jni_Zervane.queryTagID("FIC101.PV"));
    assertEquals(2, Searches.count(POINTS, isValue));
    database.reopen();
    assertEquals(2, Searches.count(POINTS, isValue));
  }

  @ParameterizedTest(name = "class {0}")
  @ValueSource(ints = {-1, 7, 64, Integer.MIN_VALUE, Integer.MAX_VALUE})
  void isRefusedForAClassThatThereIsNot(int tagClass) {
    IntWrapper number = new IntWrapper();
    number.Value = 7;

    assertEquals(
        Codes.INVALID_TAG_CLASS,
        Jni_Zervane.queryTagNumCond(tagClass, new ZRQueryTagCondition[0], 0, number));
    assertEquals(7, number.Value);
  }
}
