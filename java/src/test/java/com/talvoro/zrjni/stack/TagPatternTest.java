package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.ZRJniTagProp;
import java.util.List;
import java.util.Locale;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;

@DisplayName("A search of tags like a pattern")
class TagPatternTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

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
    Tags.addNames(name);

    List<String> found = Searches.find(Column.NAME.is(Relation.LIKE, pattern));
    assertEquals(isMet ? List.of(name) : List.of(), found);
  }

  @EnumSource(Searches.Way.class)
  @ParameterizedTest
  void isRefusedWhenThePatternEndsInALoneBackslash(Searches.Way way) {
    Tags.addNames("A");

    for (String pattern : List.of("\\", "A\\", "*\\", "\\\\\\")) {
      assertEquals(
          Codes.INVALID_ARGUMENT, way.statusOf(Column.NAME.is(Relation.LIKE, pattern)), pattern);
    }
  }

  /** Whoever tries every place anew for every star is still at it when the machine is retired. */
  @Test
  void isAnsweredForAPatternOfManyStars() {
    Tags.addNames("a".repeat(255), "a".repeat(254) + "b");

    assertEquals(
        List.of("a".repeat(254) + "b"),
        Searches.find(Column.NAME.is(Relation.LIKE, "*a".repeat(127) + "b")));
  }

  @ParameterizedTest
  @EnumSource(Column.class)
  void isAnsweredForEveryTextAndRefusedForEveryNumber(Column column) {
    ZRJniTagProp tag = Tags.complete("FIC101.PV");
    int id = Tags.add(tag, Columns.ALL, Columns.ALL);
    Tags.addNames("OTHER");
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
