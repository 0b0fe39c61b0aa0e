// Which part of the message each element of its slides and each attachment is.
#pragma once

#include <mmskit/anatomy.h>

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "reading/facts.h"

namespace mmskit_tool {

// The texts of each slide as the slide view shows them when every part of the mended message holds
// a text of its own: texts on slides are copies, and these tell of which part. Uses and releases
// the library's slide view.
class TextProbe {
  public:
    TextProbe(const tMMS_Mended& mended, const MessageFacts& facts);

    // The part, as an index of the anatomy, of text `number` of slide `slide`, both from 0; of
    // parts that cannot be told apart the first whose text is `shown`. no_part when none is.
    [[nodiscard]] std::size_t part_of(std::size_t slide, std::size_t number,
                                      const char* shown) const;

  private:
    const MessageFacts& facts_;
    std::unordered_multimap<std::string, std::size_t> marks_;  // and their parts
    std::unordered_map<std::string_view, std::size_t> texts_;  // the first part of each text
    std::vector<std::vector<std::string>> slides_;
};

// Fills in the parts of slides and attachments, the sender's names, and the slides of each part.
void name_shown_parts(const tMMS_Mended& mended, const TextProbe& texts, MessageFacts& facts);

}  // namespace mmskit_tool
