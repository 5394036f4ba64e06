package com.talvoro.zervane.bench.peers;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;

import com.talvoro.zervane.bench.Checksum;
import com.talvoro.zervane.bench.TagCalls;
import com.talvoro.zervane.bench.TagPattern;
import java.nio.file.Path;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

@DisplayName("The table of tags that is searched beside ours")
class SqliteTagsTest {
  @TempDir Path folder;

  @Test
  void findsCountsAndTurnsPages() throws Exception {
    SqlitePeer peer = new SqlitePeer();
    peer.open(folder, 0);
    TagCalls tags = peer.tags();
    tags.add(0, 99);
    tags.addOne(99);
    peer.close();

    peer = new SqlitePeer();
    peer.open(folder, 0);
    tags = peer.tags();
    assertEquals(25, tags.count(new TagPattern(true, "*.pv")));
    assertEquals(1, tags.first(new TagPattern(true, "*.PV")));
    assertEquals(97, tags.first(new TagPattern(false, "*pump 0000024*")));
    assertEquals(0, tags.first(new TagPattern(true, "*.NONE")));
    Checksum page = new Checksum();
    assertEquals(10, tags.page(50, 10, new TagPattern(true, "*.PV"), page));
    assertEquals(2, tags.page(90, 10, new TagPattern(true, "*.PV"), page));
    assertNotEquals(0, page.sum());
    peer.close();
  }
}
