package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.StringWriter;
import java.net.ServerSocket;
import java.net.Socket;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Stream;
import javax.tools.JavaCompiler;
import javax.tools.StandardJavaFileManager;
import javax.tools.ToolProvider;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("The examples")
class ExamplesTest {
  private static final Path EXAMPLES = Path.of("..", "examples"); // tests run in the Maven project
  private static final String DEMO = "com.talvoro.zervane.demo.Demo";

  @TempDir static Path classes;

  @TempDir Path folder;

  @BeforeAll
  static void compile() throws IOException {
    JavaCompiler compiler = ToolProvider.getSystemJavaCompiler();
    StringWriter messages = new StringWriter();
    try (StandardJavaFileManager files = compiler.getStandardFileManager(null, null, null);
        Stream<Path> sources = Files.walk(EXAMPLES)) {
      List<Path> paths = sources.filter(path -> path.toString().endsWith(".java")).toList();
      List<String> options = new ArrayList<>(List.of("-encoding", "UTF-8")); // in any locale
      options.addAll(List.of("-Xlint:all", "-Werror"));
      options.addAll(List.of("-cp", ChildJvm.CLASSES + "", "-d", classes + ""));
      boolean compiled =
          compiler
              .getTask(
                  messages, files, null, options, null, files.getJavaFileObjectsFromPaths(paths))
              .call();
      assertTrue(compiled, messages::toString);
    }
  }

  private static ChildJvm.Result run(String main, String... arguments)
      throws IOException, InterruptedException {
    return ChildJvm.withLibrary().run(List.of(ChildJvm.CLASSES, classes), main, arguments);
  }

  @Test
  void theQuickStartPrintsTheValueThatItWrote() throws Exception {
    ChildJvm.Result result = run("QuickStart", "embedded:" + folder);

    assertEquals(0, result.exitCode(), result.errors());
    assertTrue(
        result.output().matches("FIC101\\.PV = 42\\.5 at \\d{4}-\\d\\d-\\d\\dT.*Z\n"),
        result.output());
  }

  @Test
  void theProgramThatFollowsAlarmsTellsOfOneRaisedAndReturned() throws Exception {
    ChildJvm.Result result = run("FollowAlarms");

    assertEquals(0, result.exitCode(), result.errors());
    assertEquals("HIGH > 90 raised by 95.5\nHIGH > 90 returned\n", result.output());
  }

  @Test
  void theDemoIsToldOfAnAlarmAcknowledgesCommentsAndListsIt() throws Exception {
    ChildJvm.Result result = run(DEMO, "2", "memory:");

    assertEquals(0, result.exitCode(), result.errors());
    assertTrue(result.output().matches("(?s).* alarm raised: HI(GH|HI) of HOST.CPU.BUSY, .*"));
    assertTrue(result.output().matches("(?s).* alarm acknowledged: HI(GH|HI) of .*"));
    assertTrue(result.output().matches("(?s).* alarm commented: HI(GH|HI) of .*"));
    String listed = String.join("\n", linesOf(result, "Alarms of this run"));
    assertTrue(listed.matches("(?s).* admin +a burst of the demo.*"), listed);
  }

  @Test
  void theDemoShowsItsHistoryAndInASecondRunTheEarlierOneToo() throws Exception {
    ChildJvm.Result first = run(DEMO, "1", "embedded:" + folder);
    ChildJvm.Result second = run(DEMO, "1", "embedded:" + folder);

    assertAll(
        () -> assertEquals(0, first.exitCode(), first.errors()),
        () -> assertContains(first, "23 tags, of which 23 are new"),
        () -> assertContains(first, "   1 s     115 records"),
        () -> assertContains(first, "This run wrote 115 records; the database holds 115 since"),
        () -> assertContains(first, "The database is the embedded database in " + folder),
        () -> assertEquals(0, second.exitCode(), second.errors()),
        () -> assertContains(second, "23 tags, of which 0 are new"),
        () -> assertContains(second, "This run wrote 115 records; the database holds 230 since"));
  }

  @Test
  void theDemoNamesTheCallThatFailedAndItsStatus() throws Exception {
    String address = "embedded:" + folder;
    assertEquals(Codes.OK, Jni_Zervane.connectEx(address, 0, "", 0));
    try {
      ChildJvm.Result result = run(DEMO, "1", address);

      assertEquals(1, result.exitCode());
      assertEquals("", result.output());
      assertTrue(
          result.errors().endsWith("Demo: connectEx returned " + Codes.DATABASE_IN_USE + "\n"),
          result.errors());
    } finally {
      Jni_Zervane.disconnect();
    }
  }

  @ParameterizedTest(name = "{0}")
  @ValueSource(strings = {"0", "-1", "soon", "9999999999"})
  void theDemoTellsItsUsageWhenTheSecondsAreNone(String seconds) throws Exception {
    ChildJvm.Result result = run(DEMO, seconds, "memory:");

    assertEquals(1, result.exitCode());
    assertEquals("Demo: usage: Demo [--redis HOST:PORT] [SECONDS [ADDRESS]]\n", result.errors());
  }

  @Test
  void theDemoShowsASearchACountAndAPage() throws Exception {
    ChildJvm.Result result = run(DEMO, "1", "memory:");

    assertEquals(0, result.exitCode(), result.errors());
    assertContains(
        result,
        """
        Search
          6 tags named *.CPU.*
             1  HOST.CPU.BUSY        processor time that was used
             2  HOST.CPU.USER        processor time of programs
             3  HOST.CPU.SYSTEM      processor time of the kernel
             4  HOST.CPU.WAIT        processor time waiting for disks
             5  HOST.CPU.STATE       0 idle, 1 working, 2 busy
             6  HOST.CPU.COUNT       processors
          5 tags in %
          3 tags in a page of 3 of HOST.* from identifier 12 on
            12  HOST.MEM.DIRTY       memory to be written to disks
            13  HOST.MEM.SHARE       share of memory in use
            14  HOST.TASKS.TOTAL     processes and threads
        """);
  }

  @Test
  void theDemoSumsUpItsRunAndShowsTwoTagsOnOneAxis() throws Exception {
    ChildJvm.Result result = run(DEMO, "1", "memory:");

    assertEquals(0, result.exitCode(), result.errors());
    String number = " +-?[\\d,]+\\.\\d\\d";
    List<String> statistics = linesOf(result, "Statistics of this run");
    assertEquals(24, statistics.size(), "a heading and a line for each tag");
    for (String line : statistics.subList(1, 24)) {
      String numbers = line.contains("TOP") || line.contains("UPTIME") ? "" : number.repeat(4);
      assertTrue(line.matches("  HOST\\.[A-Z0-9.]+" + numbers + "( [^ ]+)? +100\\.00 %"), line);
    }
    List<String> axis = linesOf(result, "Two tags on one time axis");
    assertEquals(7, axis.size());
    String time = "  \\d{4}-\\d\\d-\\d\\d [\\d:]{8}\\.\\d{3}";
    for (String line : axis.subList(1, 7)) {
      assertTrue(line.matches(time + number + " %" + number + " MiB"), line);
    }
  }

  @Test
  void theDemoTellsWhatTheDatabaseComputesAndWhatAViewerMayNot() throws Exception {
    ChildJvm.Result result = run(DEMO, "8", "memory:");

    assertEquals(0, result.exitCode(), result.errors());
    String computed = String.join("\n", linesOf(result, "Computed by the database"));
    assertTrue(
        computed.matches(
            "  HOST\\.CPU\\.BUSY\\.PROCESSORS: up to \\d+\\.\\d\\d processors were busy\n"
                + "  HOST\\.CPU\\.BUSY\\.MEAN: [1-9] mean\\(s\\) of five seconds"),
        computed);
    String viewer = String.join("\n", linesOf(result, "A user who may only look"));
    assertTrue(
        viewer.matches(
            "  viewer reads HOST\\.CPU\\.BUSY: \\d+\\.\\d\\d %\n"
                + "  viewer writes it: refused, no right to do this \\(121601\\)"),
        viewer);
  }

  @Test
  void theDemoRelaysToARedis() throws Exception {
    int port = freePort();
    Process redis =
        new ProcessBuilder("redis-server", "--bind", "127.0.0.1", "--port", port + "", "--save", "")
            .directory(folder.toFile())
            .redirectErrorStream(true)
            .start();
    try {
      awaitLine(redis, "Ready to accept connections");
      ChildJvm.Result result = run(DEMO, "--redis", "127.0.0.1:" + port, "2", "memory:");

      assertEquals(0, result.exitCode(), result.errors());
      String length = ask(port, "XLEN zervane.values");
      assertTrue(length.matches(":[1-9]\\d*"), length);
    } finally {
      redis.destroy();
      redis.waitFor();
    }
  }

  private static int freePort() throws IOException {
    try (ServerSocket socket = new ServerSocket(0)) {
      return socket.getLocalPort();
    }
  }

  private static void awaitLine(Process process, String part) throws IOException {
    BufferedReader lines = process.inputReader();
    String line = lines.readLine();
    while (line != null && !line.contains(part)) {
      line = lines.readLine();
    }
    assertTrue(line != null, "redis-server has ended");
  }

  /** The first line of the reply to a command. */
  private static String ask(int port, String command) throws IOException {
    try (Socket socket = new Socket("127.0.0.1", port)) {
      socket.getOutputStream().write((command + "\r\n").getBytes(StandardCharsets.UTF_8));
      InputStreamReader reply =
          new InputStreamReader(socket.getInputStream(), StandardCharsets.UTF_8);
      return new BufferedReader(reply).readLine();
    }
  }

  /** The lines below a heading, up to the next empty one. */
  private static List<String> linesOf(ChildJvm.Result result, String heading) {
    return result
        .output()
        .lines()
        .dropWhile(line -> !line.equals(heading))
        .skip(1)
        .takeWhile(line -> !line.isEmpty())
        .toList();
  }

  private static void assertContains(ChildJvm.Result result, String text) {
    assertTrue(result.output().contains(text), () -> text + " is not in:\n" + result.output());
  }
}
