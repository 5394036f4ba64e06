#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/words/nothing.h"
#include "api/words/page.h"
#include "api/words/tag.h"
#include "api/words/tag_query.h"

// Operations on tags.
namespace zervane {

// Adds a tag of the selected properties, the others taking their defaults (the name always counts;
// an identifier is ignored). Creation and change (date, user) are stamped unless the mask selects
// them with a value other than 0 or empty. Answers the identifier. ZR3_ERR_INVALID_MASK,
// ZR3_ERR_INVALID_TAG_NAME, ZR3_ERR_INVALID_TAG_TYPE, ZR3_ERR_INVALID_TAG_CLASS,
// ZR3_ERR_INVALID_PROPERTY, ZR3_ERR_INVALID_TEXT, ZR3_ERR_TAG_EXISTS, ZR3_ERR_TAG_IDS_EXHAUSTED.
struct AddTag {
  static constexpr OperationNumber kNumber = OperationNumber::kAddTag;
  using Reply = TagId;

  Tag tag;
  PropertyMask mask;

  static auto Fields(auto& self) {
    return FieldList(Field{"tag", self.tag}, Field{"mask", self.mask});
  }
};

// Changes the selected properties of a tag of the class; the identifier and the class never change.
// Stamps the change as above. The same statuses, ZR3_ERR_TAG_NOT_FOUND, and ZR3_ERR_TAG_HAS_RECORDS
// for another type of a tag that has some.
struct ModifyTag {
  static constexpr OperationNumber kNumber = OperationNumber::kModifyTag;
  using Reply = Nothing;

  TagId id = 0;
  std::int32_t tag_class = ZR3_TAG_CLASS_BASIC;
  Tag tag;
  PropertyMask mask;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"tag_class", self.tag_class},
                     Field{"tag", self.tag}, Field{"mask", self.mask});
  }
};

// Deletes a tag of any class with its current value and its archive. ZR3_ERR_TAG_NOT_FOUND.
struct DeleteTag {
  static constexpr OperationNumber kNumber = OperationNumber::kDeleteTag;
  using Reply = Nothing;

  TagId id = 0;

  static auto Fields(auto& self) { return FieldList(Field{"id", self.id}); }
};

// ZR3_ERR_TAG_NOT_FOUND.
struct GetTag {
  static constexpr OperationNumber kNumber = OperationNumber::kGetTag;
  using Reply = Tag;

  TagId id = 0;

  static auto Fields(auto& self) { return FieldList(Field{"id", self.id}); }
};

// ZR3_ERR_TAG_NOT_FOUND.
struct GetTagType {
  static constexpr OperationNumber kNumber = OperationNumber::kGetTagType;
  using Reply = TagType;

  TagId id = 0;

  static auto Fields(auto& self) { return FieldList(Field{"id", self.id}); }
};

// The identifier of a name, without regard to ASCII case. ZR3_ERR_NAME_NOT_FOUND.
struct FindTagId {
  static constexpr OperationNumber kNumber = OperationNumber::kFindTagId;
  using Reply = TagId;

  std::string name;

  static auto Fields(auto& self) { return FieldList(Field{"name", self.name}); }
};

// Goes up by one with every change of the catalogue.
struct GetCatalogueVersion {
  static constexpr OperationNumber kNumber = OperationNumber::kGetCatalogueVersion;
  using Reply = std::int64_t;

  static auto Fields(auto&) { return FieldList(); }
};

// The matches with identifiers from `from` on, in order of identifier, at most `limit` of them (and
// at most kMaxPageItems). Their properties outside the mask are 0 or empty, but for identifier and
// name; the class too, which their own properties always tell. ZR3_ERR_INVALID_COUNT for a limit
// below 1, ZR3_ERR_INVALID_MASK, and ZR3_ERR_INVALID_ARGUMENT for a condition that means nothing.
struct FindTags {
  static constexpr OperationNumber kNumber = OperationNumber::kFindTags;
  using Reply = Page<Tag>;

  TagQuery query;
  PropertyMask mask;
  TagId from = 0;
  std::int32_t limit = kMaxPageItems;

  static auto Fields(auto& self) {
    return FieldList(Field{"query", self.query}, Field{"mask", self.mask}, Field{"from", self.from},
                     Field{"limit", self.limit});
  }
};

// How many tags match. The statuses of FindTags.
struct CountTags {
  static constexpr OperationNumber kNumber = OperationNumber::kCountTags;
  using Reply = std::int64_t;

  TagQuery query;

  static auto Fields(auto& self) { return FieldList(Field{"query", self.query}); }
};

// The common properties of all tags of some classes, as they were at one instant, page by page in
// order of identifier: the first page (`snapshot` 0) answers the number of tags and the snapshot
// that the next ones are to be asked of. ZR3_ERR_OUT_OF_MEMORY when there are more than
// kMaxListedTags, or 1,024 other snapshots; ZR3_ERR_INVALID_HANDLE for a snapshot that is gone, as
// it is with its last page, with a page that fails, and 60 s after a page was last asked of it.
struct ListTags {
  static constexpr OperationNumber kNumber = OperationNumber::kListTags;
  struct Reply {
    std::uint64_t snapshot = 0;
    std::int64_t total = 0;  // tags in all pages
    Page<Tag> page;

    static auto Fields(auto& self) {
      return FieldList(Field{"snapshot", self.snapshot}, Field{"total", self.total},
                       Field{"page", self.page});
    }
    friend bool operator==(const Reply&, const Reply&) = default;
  };

  std::int64_t class_mask = -1;
  std::int64_t mask = -1;  // of the common properties
  std::uint64_t snapshot = 0;
  TagId from = 0;

  static auto Fields(auto& self) {
    return FieldList(Field{"class_mask", self.class_mask}, Field{"mask", self.mask},
                     Field{"snapshot", self.snapshot}, Field{"from", self.from});
  }
};
constexpr std::int64_t kMaxListedTags = 500'000;

}  // namespace zervane
