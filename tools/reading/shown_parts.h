// Which part of the message each element of its slides and each attachment is.
#pragma once

#include <mmskit/anatomy.h>

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "reading/facts.h"

namespace mmskit_tool {

// Texts on slides are copies; this tells of which part. Where parts are alike and a presentation
// shows them, it lays the message out with a text of its own in every part, which uses and releases
// the library's slide view.
class TextProbe {
  public:
    TextProbe(const tMMS_Mended& mended, const MessageFacts& facts);

    // The part, as an index of the anatomy, of text `number` of slide `slide`, both from 0; of
    // parts that cannot be told apart the first whose text is `shown`. no_part when none is.
    // Asked once for each text, in the order of the slides.
    [[nodiscard]] std::size_t part_of(std::size_t slide, std::size_t number, const char* shown);

  private:
    [[nodiscard]] std::string_view shown_text(std::size_t part) const;
    void queue_texts(const tMMS_Mended& mended);
    void lay_out_marked(const tMMS_Mended& mended, std::size_t presentation);

    const MessageFacts& facts_;
    std::unordered_multimap<std::string, std::size_t> marks_;  // and their parts
    std::unordered_map<std::string_view, std::size_t> texts_;  // the first part that shows each
    std::vector<std::size_t> next_alike_;  // of a part: the next that shows its text
    std::vector<std::vector<std::string>> slides_;
};

// What slides repeat of a message, names and types, sums to at most its size and 64 KB: beyond that
// a name or a type is told with its part alone, and a note says so.
void bound_repeated_names(MessageFacts& facts);

// Fills in the parts of slides and attachments, the sender's names, and the slides of each part.
void name_shown_parts(const tMMS_Mended& mended, TextProbe& texts, MessageFacts& facts);

}  // namespace mmskit_tool
