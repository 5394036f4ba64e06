package com.talvoro.zervane.bench;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.util.stream.Collectors;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("The set of tags")
class TagSetTest {
  @Test
  void givesEveryTagANameOfItsOwn() {
    int count = 100_000;
    assertEquals(
        count,
        IntStream.range(0, count).mapToObj(TagSet::name).collect(Collectors.toSet()).size());
    assertEquals("A03.FIC0007512.PV", TagSet.name(30_048));
    assertEquals("flow of pump 0007512 in area 03", TagSet.descriptor(30_048));
  }

  @ParameterizedTest(name = "{0} tags")
  @ValueSource(ints = {1, 3, 4, 5, 1_000})
  void knowsHowManyTagsAreMeasured(int count) {
    long measured =
        IntStream.range(0, count).mapToObj(TagSet::name).filter(n -> n.endsWith(".PV")).count();
    assertEquals(measured, TagSet.measured(count));
  }
}
