package com.talvoro.zrjni;

import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.io.InputStream;
import java.nio.charset.StandardCharsets;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

@DisplayName("The terms of what is linked into the native libraries")
class LicensesTest {
  @ParameterizedTest
  @CsvSource({
    "fmt, Permission is hereby granted",
    "gcc, GCC Runtime Library Exception",
    "GPL-3, GNU GENERAL PUBLIC LICENSE",
    "libdeflate, Permission is hereby granted",
    "pegtl, Permission is hereby granted",
    "protozero, Redistribution and use in source and binary forms",
    "spdlog, Permission is hereby granted",
    "sqlite3, put on the public domain",
    "zstd, Redistribution and use in source and binary forms"
  })
  void areInTheJar(String name, String words) throws IOException {
    try (InputStream file = Jni_Zervane.class.getResourceAsStream(resource(name))) {
      assertNotNull(file, resource(name));
      String text = new String(file.readAllBytes(), StandardCharsets.UTF_8);
      assertTrue(text.replaceAll("\\s+", " ").contains(words), text);
    }
  }

  private static String resource(String name) {
    return "/META-INF/licenses/" + name + ".txt";
  }
}
