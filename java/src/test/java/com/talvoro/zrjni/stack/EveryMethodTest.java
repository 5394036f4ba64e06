package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;

import com.talvoro.zrjni.Jni_Zervane;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

@DisplayName("Every native method, through all layers down to the file,")
class EveryMethodTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  static Stream<Deed> deeds() {
    return Stream.of(
            DeedsOfTags.all(),
            DeedsOfSearches.all(),
            DeedsOfValues.all(),
            DeedsOfHistory.all(),
            DeedsOfAlarms.all(),
            DeedsOfAlarmGroups.all(),
            DeedsOfDerivedTags.all(),
            DeedsOfSecurity.all())
        .flatMap(List::stream);
  }

  static Stream<Deed> deedsThatCanFail() {
    return deeds().filter(deed -> deed.fails() != null);
  }

  @Test
  void hasItsDeed() {
    List<String> methods =
        Arrays.stream(Jni_Zervane.class.getDeclaredMethods())
            .filter(method -> Modifier.isNative(method.getModifiers()))
            .map(Method::getName)
            .sorted()
            .toList();

    assertEquals(125, methods.size());
    assertEquals(methods, deeds().map(Deed::method).sorted().toList());
  }

  @Test
  void canFailOrTheTableSaysWhyNot() {
    deeds()
        .filter(deed -> deed.fails() == null)
        .forEach(deed -> assertFalse(deed.whyNever().isBlank(), deed.method()));
  }

  @ParameterizedTest(name = "{0}")
  @MethodSource("deeds")
  void succeeds(Deed deed) throws Exception {
    deed.succeeds().in(new WholeStack(database));
  }

  @ParameterizedTest(name = "{0}")
  @MethodSource("deedsThatCanFail")
  void tellsAFailureAndThenStillSucceeds(Deed deed) throws Exception {
    WholeStack stack = new WholeStack(database);
    deed.fails().in(stack);
    deed.succeeds().in(stack);
  }
}
