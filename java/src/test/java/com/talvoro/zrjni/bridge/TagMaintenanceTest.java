package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.CommonTagProperties;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/**
 * Creating, changing and reading tags of one class; what holds for alarm, calculation and
 * statistics tags alike.
 */
abstract class TagMaintenanceTest<T extends CommonTagProperties> extends BridgeTest {
  /** Where "pTagID" points when it does not point into the record. */
  static final int ELSEWHERE = -1;

  private final Class<T> type;
  private final String prefix;
  private final Layout layout;
  private final List<TagRows.Row> rows;
  private final int identifierPlace;

  /**
   * @param type the Java class
   * @param prefix of the client library's functions
   * @param layout of the client library's record
   * @param rows how the two correspond
   * @param identifierPlace where in the record a new tag's identifier is to go, or {@link
   *     #ELSEWHERE}
   */
  TagMaintenanceTest(
      Class<T> type, String prefix, Layout layout, List<TagRows.Row> rows, int identifierPlace) {
    this.type = type;
    this.prefix = prefix;
    this.layout = layout;
    this.rows = rows;
    this.identifierPlace = identifierPlace;
  }

  abstract int add(T tag, long mask, long extensionMask);

  abstract int modify(T tag, long mask, long extensionMask);

  abstract int query(int identifier, T tag);

  /** A record as it is before a changed tag is read into it. */
  abstract Struct preparedForModifying();

  final ExpectedCall addCall(Struct record, Struct mask) {
    return call(prefix + "_add_tag")
        .with("pProp", record)
        .with("pMask", mask)
        .with("szNode", null)
        .with("pTagID", identifierPlace);
  }

  private ExpectedCall modifyCall(T tag, Struct mask) {
    return call(prefix + "_modify_tag_prop")
        .with("nTagID", tag.m_tagID & 0xffff_ffffL)
        .with("pProp", TagRows.sent(rows, tag, preparedForModifying()))
        .with("pMask", mask);
  }

  private ExpectedCall queryCall(long identifier) {
    return call(prefix + "_query_tag_prop").with("nTagID", identifier);
  }

  private Struct added(T tag) {
    return TagRows.sent(rows, tag, Struct.cleared(layout));
  }

  @ParameterizedTest
  @ValueSource(ints = {1, 2})
  void addingSendsEveryFieldInAClearedRecordAndChangesNoField(int seed) {
    T tag = Fields.filled(type, seed);
    T before = Fields.copy(tag);
    answer(prefix + "_add_tag", out("pTagID", 77));
    assertEquals(0, add(tag, 5, -6));
    assertCalls(addCall(added(before), Layouts.mask(5, -6)));
    Fields.assertSameFields(before, tag);
  }

  @Test
  void addingTakesCreationDateSpanAndMinimumFromOtherFields() throws ReflectiveOperationException {
    T tag = type.getConstructor().newInstance();
    tag.m_changeDate = 1000;
    tag.m_creationDate = 2000;
    tag.m_span = 100;
    tag.m_excDev = 0.5f;
    tag.m_minValue = -40;
    tag.m_compDev = 0.25f;
    tag.m_tagType = -1;
    add(tag, 0, 0);
    assertCalls(
        addCall(
            Struct.cleared(layout)
                .set("nTagType", -1)
                .set("nChangeDate", 1000)
                .set("nCreationDate", 1000)
                .set("fSpan", 0.5)
                .set("fExcDev", 0.5)
                .set("fMinValue", 0.25)
                .set("fCompDev", 0.25),
            Layouts.mask(0, 0)));
  }

  @Test
  void addingSendsTextsThatFillTheirArraysWhole() throws ReflectiveOperationException {
    T tag = type.getConstructor().newInstance();
    for (TagRows.Row row : rows) {
      Layout.Member member = layout.member(row.api());
      if (member.kind() == Layout.Kind.TEXT) {
        Fields.set(tag, row.java(), "x".repeat(member.size() - 1));
      }
    }
    add(tag, Long.MIN_VALUE, Long.MAX_VALUE);
    assertCalls(addCall(added(tag), Layouts.mask(Long.MIN_VALUE, Long.MAX_VALUE)));
  }

  @Test
  void addingReturnsTheStatusUnchanged() {
    T tag = Fields.filled(type, 3);
    answer(prefix + "_add_tag", 117804);
    assertEquals(117804, add(tag, 5, -6));
    assertCalls(addCall(added(tag), Layouts.mask(5, -6)));
  }

  @ParameterizedTest
  @ValueSource(ints = {1, 2})
  void modifyingSendsTheSameFieldsUnderTheIdentifierOfTheTag(int seed) {
    T tag = Fields.filled(type, seed);
    tag.m_tagID = -5;
    T before = Fields.copy(tag);
    answer(prefix + "_modify_tag_prop", 117801);
    assertEquals(117801, modify(tag, 5, -6));
    assertCalls(modifyCall(before, Layouts.mask(5, -6)));
    Fields.assertSameFields(before, tag);
  }

  @ParameterizedTest
  @ValueSource(ints = {1, 2})
  void readingWritesEveryFieldButTheClass(int seed) {
    Struct record = Struct.filled(layout, seed);
    T tag = Fields.filled(type, seed + 1);
    T expected = TagRows.read(rows, record, Fields.copy(tag));
    assertEquals(tag.m_tagClass, expected.m_tagClass);
    answer(prefix + "_query_tag_prop", out("pProp", record));
    assertEquals(0, query(-1, tag));
    Fields.assertSameFields(expected, tag);
    assertCalls(queryCall(0xffff_ffffL));
  }

  @Test
  void readingOfAnUnknownTagChangesNoField() {
    T tag = Fields.filled(type, 3);
    T before = Fields.copy(tag);
    answer(prefix + "_query_tag_prop", 117801, out("pProp", Struct.filled(layout, 1)));
    assertEquals(117801, query(8, tag));
    Fields.assertSameFields(before, tag);
    assertCalls(queryCall(8));
  }
}
