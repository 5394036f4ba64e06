#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/catalogue/tag_image.h"

namespace zervane {

// The tags that a tag reads or sets, each in a place that its class knows: 0 is its source. 0
// stands for none, and so does a place behind the last. They are kept by identifier: a tag that is
// renamed is read on, and one that was deleted is never another of its name.
using TagLinks = std::vector<TagId>;

// A tag that is about to be saved, whose properties are within their bounds.
struct TagDraft {
  const Tag* before = nullptr;             // null when it is added
  const TagLinks* links_before = nullptr;  // likewise
  const Tag& after;                        // with its identifier
  PropertyMask given;                      // which properties the caller has set
  const TagImage& tags;                    // as they stand
};

// What tags of a class, which read or set others, ask for beyond the bounds of their properties.
// Called with the turn.
class TagClass {
 public:
  virtual ~TagClass() = default;

  // Whether the tag may be saved, and to what it is linked. A property that names a tag is looked
  // up when the caller has set it; else it stays linked to what it was. The class may keep what it
  // has made of the tag for its stage, which hears of the change next, and then whether it is
  // stored. A tag may name itself, which is not among the others yet when it is added: it is linked
  // to itself then, and the catalogue refuses that as any other loop.
  virtual Result<TagLinks> Plan(const TagDraft& draft) = 0;

  // Has the properties of a tag tell the name of one that it is linked to: it is saved, or that
  // one is about to be renamed, or deleted (no name). ZR3_ERR_INVALID_PROPERTY, with the tag's name
  // in the text, when a property does not fit any more.
  virtual Status Follow(const TagLinks& links, TagId changed, std::optional<std::string_view> name,
                        Tag& tag) = 0;

  // Whether a tag of this class that is linked to the tag in that place reads its values, so that
  // these stay numbers or texts.
  virtual bool Reads(std::size_t place) const = 0;
};

}  // namespace zervane
