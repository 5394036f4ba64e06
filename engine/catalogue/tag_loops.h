#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/catalogue/tag_class.h"

namespace zervane {

// The tags that a tag reads; places may be empty.
using ReadTags = std::function<TagLinks(TagId)>;

// Looks for a loop of tags that read each other along whatever is read from these tags on. Its tags
// in order, the one that closes it first and last: so a tag that reads itself comes twice. Empty
// when there is none.
//
// Each tag is looked at once, however many ways lead to it, and a long chain takes no stack.
std::vector<TagId> FindLoop(std::span<const TagId> from, const ReadTags& reads);

// 'A' reads 'B' reads 'A'; of a long loop the first and the last tags. REQUIRES a loop.
std::string TextOfLoop(std::span<const TagId> loop,
                       const std::function<std::string_view(TagId)>& name_of);

}  // namespace zervane
