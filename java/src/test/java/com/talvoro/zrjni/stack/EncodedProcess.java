package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrjni.ZRJniTime;
import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

/**
 * A process whose texts are in an encoding of its own. It opens a database, takes some steps, and
 * prints a line for each: a text, or the status of a call. Texts travel to and from it as escapes in
 * ASCII, whatever the console's encoding is.
 */
final class EncodedProcess {
  private EncodedProcess() {}

  /** Runs the steps and answers what they printed, or the status of opening alone if it failed. */
  static List<String> run(String encoding, String address, String... steps)
      throws IOException, InterruptedException {
    List<String> arguments = new ArrayList<>(List.of(address));
    for (String step : steps) {
      arguments.add(escape(step));
    }
    ChildJvm.Result result =
        ChildJvm.withLibrary()
            .with("ZERVANE_ENCODING", encoding)
            .without("ZERVANE_LOG")
            .run(Main.class, arguments.toArray(String[]::new));
    assertEquals(0, result.exitCode(), result.errors());
    return result.output().lines().map(EncodedProcess::unescape).toList();
  }

  private static String escape(String text) {
    StringBuilder escaped = new StringBuilder();
    for (char c : text.toCharArray()) {
      escaped.append(c < 0x7f && c != '%' ? String.valueOf(c) : String.format("%%%04x", (int) c));
    }
    return escaped.toString();
  }

  private static String unescape(String text) {
    StringBuilder plain = new StringBuilder();
    for (int i = 0; i < text.length(); i++) {
      if (text.charAt(i) == '%') {
        plain.append((char) Integer.parseInt(text.substring(i + 1, i + 5), 16));
        i += 4;
      } else {
        plain.append(text.charAt(i));
      }
    }
    return plain.toString();
  }

  /** It has no JUnit. */
  static final class Main {
    public static void main(String[] arguments) {
      int status = Jni_Zervane.connectEx(arguments[0], 0, "", 0);
      if (status != Codes.OK) {
        System.out.println(status);
        return;
      }
      for (int i = 1; i < arguments.length; i++) {
        String[] words = unescape(arguments[i]).split(" ", 2);
        System.out.println(escape(carryOut(words[0], words[1].split("\\|", 2))));
      }
      System.exit(Jni_Zervane.disconnect());
    }

    private static String carryOut(String step, String[] texts) {
      return switch (step) {
        case "add" -> String.valueOf(add(texts[0], texts[1]));
        case "id" -> id(texts[0]);
        case "write" -> String.valueOf(write(Jni_Zervane.queryTagID(texts[0]), texts[1]));
        case "read" -> read(Jni_Zervane.queryTagID(texts[0]));
        case "readId" -> read(Integer.parseInt(texts[0]));
        case "history" -> oldest(Integer.parseInt(texts[0]));
        case "describe" -> descriptor(Integer.parseInt(texts[0]));
        case "find" -> find(texts[0]);
        default -> throw new IllegalArgumentException(step);
      };
    }

    private static int add(String name, String descriptor) {
      ZRJniTagProp tag = Tags.named(name, ValueType.STRING);
      tag.m_descriptor = descriptor;
      return Jni_Zervane.addTag(tag, Columns.TYPE | Columns.DESCRIPTOR, Columns.NONE);
    }

    private static String id(String name) {
      IntWrapper id = new IntWrapper();
      int status = Jni_Zervane.queryTagIDByName(name, id);
      return String.valueOf(status == Codes.OK ? id.Value : status);
    }

    private static String descriptor(int id) {
      ZRJniTagProp tag = new ZRJniTagProp();
      int status = Jni_Zervane.getTag(id, tag);
      return status == Codes.OK ? tag.m_descriptor : "status " + status;
    }

    private static int write(int id, String value) {
      ZRJniRecord record = new ZRJniRecord();
      record.nSec = 1;
      record.strValue = value;
      return Jni_Zervane.saveSnapShot(id, (byte) 0, record);
    }

    private static String read(int id) {
      ZRJniRecord record = new ZRJniRecord();
      int status = Jni_Zervane.querySnapShot(id, (byte) 0, record);
      return status == Codes.OK ? record.strValue : "status " + status;
    }

    private static String oldest(int id) {
      ZRJniRecord[] records = new ZRJniRecord[1];
      ZRJniTime start = new ZRJniTime();
      int status = Jni_Zervane.querySpecifyNumRawRecords(id, (byte) 0, start, 0, 1, records);
      return status == Codes.OK ? records[0].strValue : "status " + status;
    }

    private static String find(String pattern) {
      int handle = Jni_Zervane.queryTagsCond(pattern, "", Columns.NAME, Columns.NONE);
      List<String> names = new ArrayList<>();
      ZRJniTagProp tag = new ZRJniTagProp();
      while (Jni_Zervane.getItemStep(handle, tag) == Codes.OK) {
        names.add(tag.m_tagName);
      }
      return handle == -1 ? "-1" : String.join(" ", names);
    }
  }
}
