package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import java.io.IOException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.Set;
import java.util.TreeSet;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Order;
import org.junit.jupiter.api.Test;

/**
 * Comes last and looks back on the run. The virtual machine links a native method when it is first
 * called, and notes that in the file {@code zervane.native.linked}.
 */
@Order(Integer.MAX_VALUE)
@DisplayName("All tests together")
class ExercisedMethodsTest {
  private static final Pattern LINKED =
      Pattern.compile(
          "Dynamic-linking native method com\\.talvoro\\.zrjni\\.Jni_Zervane\\.(\\w+) ");

  /** Functions of the client library that only methods with a mismatched accessor call. */
  private static final Set<String> OF_MISMATCHED_METHODS =
      Set.of("pt3_add_tag", "pt3_modify_tag_prop", "sn3_unregister_callback_rest");

  @Test
  void callEveryMethod() throws IOException {
    Set<String> expected = declared();
    if (Checker.isRunning()) {
      expected.removeAll(MismatchedAccessor.METHODS);
    }
    assertEquals(expected, called());
  }

  @Test
  void reachEveryFunctionOfTheClientLibrary() {
    Set<String> seen = Recorder.functionsSeen();
    if (Checker.isRunning()) {
      seen.addAll(OF_MISMATCHED_METHODS);
    }
    assertEquals(87, seen.size(), seen::toString);
  }

  private static Set<String> declared() {
    return Arrays.stream(Jni_Zervane.class.getDeclaredMethods())
        .filter(method -> Modifier.isNative(method.getModifiers()))
        .map(Method::getName)
        .collect(Collectors.toCollection(TreeSet::new));
  }

  private static Set<String> called() throws IOException {
    String log = Files.readString(Path.of(System.getProperty("zervane.native.linked")));
    return LINKED
        .matcher(log)
        .results()
        .map(match -> match.group(1))
        .collect(Collectors.toCollection(TreeSet::new));
  }
}
