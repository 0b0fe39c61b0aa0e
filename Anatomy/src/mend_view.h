// The view that the sender meant, the references that it takes, and whether the exact library
// would show the same of given bytes and names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Anatomy/src/mend.h"

namespace mmskit_anatomy {

// The presentation with its references resolved to parts of the tree.
class MeantView {
  public:
    // `presentation` is the part that counts, or no_part.
    MeantView(const Tree& tree, uint32_t presentation, MendNotes& notes);

    // True when some element shows that part of the tree.
    [[nodiscard]] bool refers_to(uint32_t tree_part) const { return referred_[tree_part] != 0; }
    // The view over planned parts, to be made again when they change.
    void plan(const std::vector<PlannedPart>& parts);
    [[nodiscard]] const View& view() const { return view_; }
    // The presentation with each reference being the name that its part has now.
    [[nodiscard]] std::string written(const std::vector<PlannedPart>& parts) const;
    [[nodiscard]] std::size_t references() const { return presentation_.media.size(); }
    // Planned parts that the presentation shows.
    [[nodiscard]] std::vector<uint32_t> shown_parts() const;

  private:
    void resolve(const Tree& tree, uint32_t presentation, MendNotes& notes);

    Presentation presentation_;
    std::vector<uint32_t> tree_parts_;     // by media; no_part for none
    std::vector<uint32_t> planned_parts_;  // the same, of the plan
    std::vector<uint8_t> referred_;
    View view_;
};

// Which of the parts that no presentation places would be shown as another one (of a message
// without a presentation: of all). `names` has been asked for what the presentation refers to.
std::vector<uint32_t> wrongly_laid_out(const std::vector<PlannedPart>& parts, ExactNames& names);

}  // namespace mmskit_anatomy
