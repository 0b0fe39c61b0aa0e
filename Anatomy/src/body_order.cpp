// Chooses among alternatives (RFC 2046 5.1.4) the richest that the slide view can show, and among
// presentations the one that Start names (RFC 2387 3.2); see body_order.h.
#include "Anatomy/src/body_order.h"

#include "Anatomy/src/part_data.h"

namespace mmskit_anatomy {
namespace {

// How much of it the slide view shows.
enum Rank : int {
    nothing = 0,
    other_text = 1,
    plain_text = 2,
    medium = 3,
    several = 4,
    slides = 5
};

int rank_of(const tMMS_Part& part) {
    const std::string_view type = part.pType;
    if (is_presentation(type)) return slides;
    if (type == "text/plain") return plain_text;
    if (type.starts_with("image/") || type.starts_with("audio/") || type.starts_with("video/"))
        return medium;
    return type.starts_with("text/") ? other_text : nothing;
}

// The multiparts stand before those inside them, so that one pass from the last to the first sees
// each after all that it holds.
class Chooser {
  public:
    explicit Chooser(Tree& tree)
        : tree_(tree),
          ranks_(tree.multiparts.size()),
          chosen_(tree.multiparts.size()),
          dropped_(tree.multiparts.size()) {}

    void choose() {
        for (std::size_t i = 0; i < tree_.part_list.size(); ++i) {
            const int32_t owner = tree_.part_details[i].multipart;
            if (owner >= 0) offer(owner, rank_of(tree_.part_list[i]), static_cast<int64_t>(i));
        }
        for (std::size_t m = tree_.multiparts.size(); m-- > 0;) {
            const int32_t owner = tree_.multiparts[m].parent;
            if (owner >= 0) offer(owner, ranks_[m], -static_cast<int64_t>(m));
        }
        drop();
    }

  private:
    struct Best {
        int64_t child = no_child;  // a part's index, or a multipart's below zero
        int rank = -1;
    };
    static constexpr int64_t no_child = INT64_MAX;

    // Media beside a text make a multipart richer than either.
    void offer(int32_t owner, int rank, int64_t child) {
        const auto index = static_cast<std::size_t>(owner);
        int& sum = ranks_[index];
        const bool alternative = tree_.multiparts[index].kind == Multipart::Kind::alternative;
        const bool both =
            !alternative && std::min(sum, rank) >= plain_text && std::max(sum, rank) < slides;
        sum = both ? several : std::max(sum, rank);
        // Of two that are equally rich the later one is meant to be the better.
        Best& best = chosen_[index];
        const bool later = best.child == no_child || place_of(child) > place_of(best.child);
        if (rank > best.rank || (rank == best.rank && later)) best = {child, rank};
    }

    [[nodiscard]] uint32_t place_of(int64_t child) const {
        if (child >= 0) return tree_.part_details[static_cast<std::size_t>(child)].whole.offset;
        return tree_.multiparts[static_cast<std::size_t>(-child)].whole.offset;
    }

    [[nodiscard]] bool left_out(int32_t owner, int64_t child) const {
        if (owner < 0) return false;
        const auto index = static_cast<std::size_t>(owner);
        if (dropped_[index] != 0) return true;
        return tree_.multiparts[index].kind == Multipart::Kind::alternative &&
               chosen_[index].child != child;
    }

    void drop() {
        for (std::size_t m = 1; m < tree_.multiparts.size(); ++m)
            dropped_[m] = left_out(tree_.multiparts[m].parent, -static_cast<int64_t>(m)) ? 1 : 0;
        for (std::size_t i = 0; i < tree_.part_list.size(); ++i) {
            if (!left_out(tree_.part_details[i].multipart, static_cast<int64_t>(i))) continue;
            tree_.part_list[i].bAlternative = 1;
            tree_.body_exact = false;
        }
    }

    Tree& tree_;
    std::vector<int> ranks_;
    std::vector<Best> chosen_;
    std::vector<uint8_t> dropped_;
};

bool named_by(const PartDetail& part, std::string_view start) {
    if (start.starts_with("cid:")) start.remove_prefix(4);
    return !start.empty() &&
           (start == part.content_id || start == part.location || start == part.name);
}

// The last one, as the exact decoder has it, unless Start names another or the first part of the
// multipart is one, which is then its root.
void choose_presentation(Tree& tree) {
    std::size_t found = 0;
    std::size_t chosen = 0;
    bool by_start = false;
    bool by_place = false;
    for (std::size_t i = 0; i < tree.part_list.size(); ++i) {
        const tMMS_Part& part = tree.part_list[i];
        if (!is_presentation(part.pType) || part.bAlternative != 0) continue;
        ++found;
        const int32_t owner = tree.part_details[i].multipart;
        const Multipart* const multipart =
            owner >= 0 ? &tree.multiparts[static_cast<std::size_t>(owner)] : nullptr;
        const bool named = multipart != nullptr && named_by(tree.part_details[i], multipart->start);
        const bool first =
            i == 0 && multipart != nullptr && multipart->kind == Multipart::Kind::related;
        if (by_start || (by_place && !named)) continue;
        chosen = i;
        by_start = named;
        by_place = first;
    }
    if (found == 0) return;
    tree.part_list[chosen].bPresentation = 1;
    if (found > 1) tree.body_exact = false;
}

}  // namespace

void order_body(Tree& tree) {
    if (!tree.multiparts.empty()) Chooser(tree).choose();
    choose_presentation(tree);
}

}  // namespace mmskit_anatomy
