package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A search of tags with masks")
class TagMaskTest {
  private static final ZRQueryTagCondition[] NO_CONDITIONS = {};

  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

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
    Tags.addNames("A");

    assertEquals(
        List.of("A"),
        Searches.names(Searches.tags(Searches.openOfClasses(classMask, Columns.ALL))));
  }

  @ParameterizedTest(name = "class mask {0}")
  @ValueSource(longs = {1L << 1, 1L << 2, 1L << 3, 1L << 4, 1L << 5, 1L << 1 | 1L << 5})
  void findsNoPointsInOtherClasses(long classMask) {
    Tags.addNames("A");

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
