// The steps of mending: headers, the body's parts with their names, and the presentation.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Anatomy/src/exact_message.h"
#include "Anatomy/src/smil.h"
#include "Anatomy/src/tree.h"
#include "Anatomy/src/view.h"

namespace mmskit_anatomy {

// A vector that is assigned {} keeps its memory.
template <typename Item>
void free_all(std::vector<Item>& items) {
    std::vector<Item>().swap(items);
}

// What mending has to say, in the order in which it is found.
struct MendNote {
    uint8_t flaw;
    Place place;
    std::string text;
};
using MendNotes = std::vector<MendNote>;

// ---- Headers ----------------------------------------------------------------------------------

// What the message's headers say, in the terms of the decoder of its type.
ExactValues wanted_headers(const ExactSyntax& syntax, const Tree& tree);
// The headers for that decoder, without the body.
std::string write_headers(const ExactSyntax& syntax, const Tree& tree, MendNotes& notes);

// ---- Parts ------------------------------------------------------------------------------------

inline constexpr int32_t drm_forward_locked = 1, drm_separate = 5;  // of fnPAR_DrmType

// A part as it will stand in the mended message.
struct PlannedPart {
    uint32_t part = 0;  // index in the tree's parts
    // As the exact decoders will read it: of one that stays as it is, what they read now.
    ExactBodyPart exact;
    bool as_it_is = false;  // headers and data are copied
    bool renamed = false;
    int32_t drm = 0;                   // class of protection (fnPAR_DrmType)
    int32_t kind = 0, inner_kind = 0;  // of its type and of what is protected (fnPAR_IsPlayedMedia)
};

// Part look-up as the exact library does it, over planned parts.
class ExactNames : public Parts {
  public:
    explicit ExactNames(const std::vector<PlannedPart>& parts);
    ExactNames(const ExactNames&) = delete;
    ExactNames& operator=(const ExactNames&) = delete;
    ~ExactNames() override;

    uint32_t take(std::string_view reference, MediaKind kind) override;
    [[nodiscard]] bool can_be_shown(uint32_t part) const override;
    [[nodiscard]] bool none() const override;
    [[nodiscard]] const std::vector<uint8_t>& placed() const;
    // Too many forms of names to be compared within linear time: what was taken means nothing.
    [[nodiscard]] bool gave_up() const;

  private:
    struct State;
    State* state_;
};

// What a person would say that a reference names, over all leaf parts of the tree.
class Resolver {
  public:
    explicit Resolver(const Tree& tree);
    Resolver(const Resolver&) = delete;
    Resolver& operator=(const Resolver&) = delete;
    ~Resolver();

    // Index in the tree's parts, or no_part. Parts of one name are given in turn.
    uint32_t resolve(std::string_view reference);

  private:
    struct State;
    State* state_;
};

// Makes names that no reference to another part can find, by their letters alone.
class NewNames {
  public:
    NewNames(const Tree& tree, std::size_t count);
    std::string_view next(std::string_view original, Arena& made);

  private:
    std::string made_;      // the last one, or its stem
    std::size_t stem_ = 0;  // bytes before the letters that differ
    std::size_t width_ = 1;
    std::size_t number_ = 0;
};

// ---- Body -------------------------------------------------------------------------------------

struct MendedBody {
    bool same = false;                   // the body's bytes stay as they are
    std::string bytes;                   // of one that does not
    std::vector<tMMS_MendedPart> parts;  // offsets count in the body; names are kept in `texts`
};

// Mends the body, which begins at tree.body.offset of its layer.
MendedBody mend_body(const Tree& tree, Arena& texts, MendNotes& notes);

}  // namespace mmskit_anatomy
