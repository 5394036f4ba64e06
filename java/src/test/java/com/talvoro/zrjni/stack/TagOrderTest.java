package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.ZRJniTagProp;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A search of tags by the order of a column")
class TagOrderTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

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
    Tags.addNames("Pump", "[", "泵", "Ä", "ä");

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
