// How the files of this folder were made: by this program, with the release that wrote layout 2 and
// kept texts in the encoding of its callers. It is not built any more, since that release's store
// is gone; stored_files_test.cpp knows what the files hold.
//
//   make_layout_2 ENCODING FILE
#include <iconv.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "tests/engine/storage/support.h"

namespace zervane::storage {
namespace {

std::string Encoded(const std::string& utf8, const std::string& encoding) {
  const iconv_t converter = iconv_open(encoding.c_str(), "UTF-8");
  std::string bytes(4 * utf8.size() + 4, '\0');
  char* from = const_cast<char*>(utf8.data());
  char* to = bytes.data();
  std::size_t from_left = utf8.size();
  std::size_t to_left = bytes.size();
  if (iconv(converter, &from, &from_left, &to, &to_left) != 0) std::abort();
  iconv_close(converter);
  bytes.resize(bytes.size() - to_left);
  return bytes;
}

AcceptedSample Text(TagId tag, std::int64_t time_ms, TagType type, std::string bytes) {
  AcceptedSample record = Record(tag, time_ms, 0);
  record.sample.type = type;
  record.sample.value = std::move(bytes);
  return record;
}

AcceptedSample Held(TagId tag, std::int64_t time_ms) {
  AcceptedSample record = Record(tag, time_ms, static_cast<double>(time_ms));
  record.archive = false;
  record.held = true;
  return record;
}

void PutTags(Store& store, const std::string& word, const std::string& encoding) {
  for (TagId id = 1; id <= 6; ++id) {
    Tag tag = TagNamed(id, Encoded(word + ".", encoding) + std::to_string(id));
    tag.type = id == 2 ? ZR3_TAG_TYPE_STRING : id == 3 ? ZR3_TAG_TYPE_BLOB : ZR3_TAG_TYPE_FLOAT64;
    tag.descriptor = Encoded(word + " " + word, encoding);
    tag.instrument_address = "40001";
    tag.span = static_cast<float>(id) + 0.5F;
    if (!store.PutTag(tag, id).ok()) std::abort();
  }
  if (!store.RemoveTag(6, 7).ok()) std::abort();
}

// Of tag 1 numbers, of tag 2 texts, of tag 3 bytes that are no text, at 1,000 to 60,000 ms; tag 4
// has a record that is held back and brought into its table, tag 1 one in the journal; tag 5 has
// chunks of which one is damaged later.
void AppendRecords(Store& store, const std::string& word, const std::string& encoding) {
  const auto append = [&](const std::vector<AcceptedSample>& batch) {
    if (!store.Append(batch).ok()) std::abort();
  };
  append({Held(4, 500)});
  for (int i = 1; i <= 60; ++i) {
    const std::string number = std::to_string(i);
    append({Record(1, 1000 * i, 0.5 * i),
            Text(2, 1000 * i, TagType::kString, Encoded(word, encoding) + number),
            Text(3, 1000 * i, TagType::kBlob, std::string("\xFF\0\xD6", 3) + number),
            Record(5, 1000 * i, i)});
  }
  // Neither is a text of any encoding but ISO-8859-1.
  append({Text(2, 61'000, TagType::kString, "a\xFF\xFF z"), Held(1, 61'000)});
}

}  // namespace
}  // namespace zervane::storage

int main(int, char** arguments) {
  using namespace zervane::storage;
  const std::string encoding = arguments[1];
  const std::string word = encoding == "GB18030" ? "\u6e29\u5ea6" : "F\u00fcllstand";
  const TempFolder open;
  const TempFolder copy;
  {
    const auto store = MustOpen(
        open.path(), {.pending_bytes = 100 * zervane::kPendingRecordBytes, .chunk_records = 8});
    PutTags(*store, word, encoding);
    AppendRecords(*store, word, encoding);
    CopyWhileOpen(open.path(), copy.path());  // as if it were killed now: with its journal
  }
  // A chunk of tag 5 and the journal's first batch but one are damaged.
  EditFile(
      copy.path(),
      "UPDATE chunk SET payload = zeroblob(40) WHERE id = "
      "(SELECT id FROM chunk WHERE tag = 5 ORDER BY first_time LIMIT 1);"
      "UPDATE journal SET payload = zeroblob(60) WHERE seq = (SELECT min(seq) + 1 FROM journal);"
      "INSERT INTO damaged (tag, payload) VALUES (5, 'set aside earlier')");
  EditFile(copy.path(), "PRAGMA journal_mode = DELETE");
  std::filesystem::copy_file(copy.path() / "zervane.db", arguments[2]);
  for (const char* what : {"chunk", "journal", "held", "current", "damaged", "tag"}) {
    std::cout << what << " "
              << NumberInFile(copy.path(), std::string("SELECT count(*) FROM ") + what) << "\n";
  }
  std::cout << "damaged chunk from "
            << NumberInFile(copy.path(), "SELECT min(first_time) FROM chunk WHERE tag = 5")
            << " to " << NumberInFile(copy.path(), "SELECT min(last_time) FROM chunk WHERE tag = 5")
            << "\n"
            << "journal from " << NumberInFile(copy.path(), "SELECT min(seq) FROM journal")
            << " to " << NumberInFile(copy.path(), "SELECT max(seq) FROM journal") << "\n";
}
