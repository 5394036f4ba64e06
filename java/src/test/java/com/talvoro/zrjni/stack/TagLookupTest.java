package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertLinesMatch;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import java.util.List;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("A lookup of tags")
class TagLookupTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @ParameterizedTest
  @EnumSource(ValueType.class)
  void tellsTheTypeByIdentifierAndByName(ValueType type) {
    int id = Tags.add("A", type);
    IntWrapper found = new IntWrapper();

    assertEquals(Codes.OK, Jni_Zervane.getTagType(id, found));
    assertEquals(type.number(), found.Value);
    assertEquals(type.number(), Jni_Zervane.queryTagType("A"));
  }

  @Test
  void leavesTheHolderAloneWhenTheIdentifierIsUnknown() {
    IntWrapper type = new IntWrapper();
    type.Value = 7;

    assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.getTagType(Tags.UNKNOWN, type));
    assertEquals(7, type.Value);
  }

  @ParameterizedTest(name = "{0}")
  @ValueSource(strings = {"Pump.1", "PUMP.1", "pump.1"})
  void takesNoNoticeOfTheCaseOfANames(String name) {
    int id = Tags.add("Pump.1", ValueType.STRING);
    IntWrapper found = new IntWrapper();

    assertEquals(id, Jni_Zervane.queryTagID(name));
    assertEquals(ValueType.STRING.number(), Jni_Zervane.queryTagType(name));
    assertEquals(Codes.OK, Jni_Zervane.queryTagIDByName(name, found));
    assertEquals(id, found.Value);
  }

  @ParameterizedTest(name = "\"{0}\"")
  @ValueSource(strings = {"", "PUMP", "PUMP.1 ", "PUMP.*"})
  void answersMinusOneOrAStatusForAnUnknownName(String name) {
    Tags.add("PUMP.1", ValueType.STRING);
    IntWrapper found = new IntWrapper();
    found.Value = 7;

    assertEquals(-1, Jni_Zervane.queryTagID(name));
    assertEquals(-1, Jni_Zervane.queryTagType(name));
    assertEquals(Codes.NAME_NOT_FOUND, Jni_Zervane.queryTagIDByName(name, found));
    assertEquals(7, found.Value);
  }

  @Test
  void findsManyNamesAtOnce() {
    String[] names = IntStream.range(0, 500).mapToObj(i -> "TAG." + i).toArray(String[]::new);
    int[] expected = new int[names.length];
    for (int i = 0; i < names.length; i++) {
      expected[i] = Tags.add(names[i], ValueType.INT16);
    }
    int[] ids = new int[names.length];
    int[] errors = new int[names.length];

    assertEquals(Codes.OK, Jni_Zervane.queryTagIDsByNames(names, names.length, ids, errors));
    assertArrayEquals(expected, ids);
    assertArrayEquals(new int[names.length], errors);
  }

  @Test
  void tellsWhichOfManyNamesAreUnknown() {
    int a = Tags.add("A", ValueType.INT8);
    int b = Tags.add("温度", ValueType.INT8);
    String[] names = {"a", "NO.SUCH", "温度", ""};
    int[] ids = {1001, 1002, 1003, 1004};
    int[] errors = new int[4];

    assertEquals(Codes.SOME_NAMES_FAILED, Jni_Zervane.queryTagIDsByNames(names, 4, ids, errors));
    assertArrayEquals(new int[] {a, 1002, b, 1004}, ids);
    assertArrayEquals(new int[] {0, Codes.NAME_NOT_FOUND, 0, Codes.NAME_NOT_FOUND}, errors);
  }

  @Test
  void takesOnlyAsManyNamesAsTheCountSays() {
    int a = Tags.add("A", ValueType.INT8);
    int[] ids = {7, 7};
    int[] errors = {7, 7};

    assertEquals(Codes.OK, Jni_Zervane.queryTagIDsByNames(new String[] {"A", "B"}, 1, ids, errors));
    assertArrayEquals(new int[] {a, 7}, ids);
    assertArrayEquals(new int[] {0, 7}, errors);
  }

  @Test
  void ofNoNamesAtAllSucceeds() {
    assertEquals(
        Codes.OK, Jni_Zervane.queryTagIDsByNames(new String[0], 0, new int[0], new int[0]));
  }

  @Test
  void leavesBothArraysAloneForAnyOtherStatus() {
    database.close();
    int[] ids = {7};
    int[] errors = {8};

    assertEquals(
        Codes.NOT_CONNECTED, Jni_Zervane.queryTagIDsByNames(new String[] {"A"}, 1, ids, errors));
    assertArrayEquals(new int[] {7}, ids);
    assertArrayEquals(new int[] {8}, errors);
  }

  @Test
  void ofTheCatalogueVersionLeavesTheHolderAloneWithoutAConnection() {
    database.close();
    LongWrapper version = new LongWrapper();
    version.Value = 7;

    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.getNewlyTagVersion(version));
    assertEquals(7, version.Value);
  }

  @Test
  void ofTheCatalogueVersionPrintsTheReplyOrTheFailure() throws Exception {
    ChildJvm.Result result = ChildJvm.withLibrary().run(VersionMain.class);

    // "tag_version=", the digits and ";" are 14 characters.
    assertLinesMatch(
        List.of("err Java_com_talvoro_zrjni_Jni_1Zervane_getNewlyTagVersion!!!", "#14, \\d"),
        result.output().lines().toList());
  }

  /** Asks for the version without a connection, and then with one tag in the catalogue. */
  static final class VersionMain {
    public static void main(String[] arguments) {
      Jni_Zervane.getNewlyTagVersion(new LongWrapper());
      Jni_Zervane.connectEx("memory:", 0, "", 0);
      Jni_Zervane.addTag(Tags.named("A", ValueType.INT8), Columns.TYPE, Columns.NONE);
      Jni_Zervane.getNewlyTagVersion(new LongWrapper());
    }
  }
}
