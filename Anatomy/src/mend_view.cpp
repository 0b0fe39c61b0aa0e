// See mend_view.h.
#include "Anatomy/src/mend_view.h"

#include <cstring>
#include <deque>
#include <unordered_set>

namespace mmskit_anatomy {
namespace {

constexpr int kind_text = 1, kind_image = 2, kind_audio = 3, kind_video = 4, kind_other = 5;
constexpr std::size_t longest_named = 120;  // bytes of a name in a note

// What a part is by its type; by_type for what is none of these. A reference costs the first word,
// however long the type goes on.
MediaKind kind_of(const char* type) {
    if (std::strncmp(type, "text/", 5) == 0) return MediaKind::text;
    if (std::strncmp(type, "image/", 6) == 0) return MediaKind::image;
    if (std::strncmp(type, "audio/", 6) == 0) return MediaKind::audio;
    if (std::strncmp(type, "video/", 6) == 0) return MediaKind::video;
    return MediaKind::by_type;
}

std::string in_note(std::string_view name) {
    return std::string(name.substr(0, longest_named)) + (name.size() > longest_named ? "..." : "");
}

bool stays_free(const PlannedPart& part, MediaKind kind) {
    return part.drm != 0 && part.drm != drm_forward_locked && kind != MediaKind::text;
}
bool is_hidden(const PlannedPart& part, MediaKind kind) {
    return stays_free(part, kind) && part.drm != drm_separate;
}

}  // namespace

MeantView::MeantView(const Tree& tree, uint32_t presentation, MendNotes& notes)
    : referred_(tree.part_list.size()) {
    if (presentation == no_part) return;
    const tMMS_Part& part = tree.part_list[presentation];
    presentation_ = read_presentation({reinterpret_cast<const char*>(part.pData), part.iDataLen});
    resolve(tree, presentation, notes);
}

void MeantView::resolve(const Tree& tree, uint32_t presentation, MendNotes& notes) {
    Resolver resolver(tree);
    tree_parts_.reserve(presentation_.media.size());
    std::unordered_set<std::string_view> told;
    std::string_view last_told;
    for (SmilMedia& media : presentation_.media) {
        uint32_t found = resolver.resolve(media.source);
        for (uint32_t i = 0; i < media.more && found == no_part; ++i)
            found = resolver.resolve(presentation_.more_sources[media.first_more + i]);
        if (found == no_part && media.source != last_told && told.insert(media.source).second)
            notes.push_back({MMS_FLAW_LOST, tree.part_details[presentation].data,
                             in_note(media.source) + ": no part has this name"});
        if (found == no_part) last_told = media.source;
        if (found != no_part) {
            const MediaKind kind = kind_of(tree.part_list[found].pType);
            const bool mistaken = media.kind == MediaKind::text && kind != MediaKind::by_type;
            if (media.kind == MediaKind::by_type || mistaken) media.kind = kind;
            if (media.kind == MediaKind::by_type) found = no_part;
        }
        if (found != no_part) referred_[found] = 1;
        tree_parts_.push_back(found);
    }
}

void MeantView::plan(const std::vector<PlannedPart>& parts) {
    std::vector<uint32_t> planned(referred_.size(), no_part);
    for (uint32_t i = 0; i < parts.size(); ++i)
        planned[parts[i].part] = i;
    view_ = {};
    view_.whole = true;
    view_.width = presentation_.width;
    view_.height = presentation_.height;
    view_.background = presentation_.background;
    view_.placed.assign(parts.size(), 0);
    view_.slides.reserve(presentation_.slides.size());
    view_.shown.reserve(presentation_.media.size());
    planned_parts_.assign(tree_parts_.size(), no_part);
    for (const SmilSlide& slide : presentation_.slides) {
        ShownSlide shown_slide{slide.duration, slide.background, slide.foreground,
                               static_cast<uint32_t>(view_.shown.size()), 0};
        for (uint32_t i = slide.first_media; i < slide.first_media + slide.media; ++i) {
            if (tree_parts_[i] == no_part) continue;
            const uint32_t part = planned[tree_parts_[i]];
            planned_parts_[i] = part;
            if (part == no_part) continue;
            const SmilMedia& media = presentation_.media[i];
            if (!stays_free(parts[part], media.kind)) view_.placed[part] = 1;
            if (is_hidden(parts[part], media.kind)) continue;
            Shown shown{media.kind, part, {}, media.begin, 0};
            if (media.region >= 0 && media.kind != MediaKind::audio) {
                const SmilRegion& r = presentation_.regions[static_cast<std::size_t>(media.region)];
                shown.place = {r.left, r.top, r.width, r.height};
            }
            shown.end = shown_end(media.begin, media.end, slide.duration);
            view_.shown.push_back(shown);
            ++shown_slide.count;
        }
        if (shown_slide.count != 0) view_.slides.push_back(shown_slide);
    }
}

std::string MeantView::written(const std::vector<PlannedPart>& parts) const {
    std::vector<std::string_view> sources(planned_parts_.size());
    for (std::size_t i = 0; i < sources.size(); ++i)
        if (planned_parts_[i] != no_part) sources[i] = parts[planned_parts_[i]].exact.shown_name();
    return write_presentation(presentation_, sources);
}

std::vector<uint32_t> MeantView::shown_parts() const {
    std::vector<uint32_t> out;
    for (const uint32_t part : planned_parts_)
        if (part != no_part) out.push_back(part);
    return out;
}

std::vector<uint32_t> wrongly_laid_out(const std::vector<PlannedPart>& parts, ExactNames& names) {
    std::deque<uint32_t> queues[4];
    for (uint32_t i = 0; i < parts.size(); ++i) {
        if (names.placed()[i] != 0) continue;
        int kind = parts[i].kind;
        if (kind == kind_text && !parts[i].exact.has_charset) continue;
        if (kind == kind_other && parts[i].drm == drm_forward_locked) kind = parts[i].inner_kind;
        if (kind >= kind_text && kind <= kind_video) queues[kind - kind_text].push_back(i);
    }
    std::vector<uint32_t> wrong;
    const auto show_next = [&](int kind) {
        std::deque<uint32_t>& queue = queues[kind - kind_text];
        const uint32_t part = queue.front();
        queue.pop_front();
        const std::string_view name = parts[part].exact.shown_name();
        const MediaKind as = kind == kind_text ? MediaKind::text : MediaKind::image;
        if (!name.empty() && names.take(name, as) != part) wrong.push_back(part);
    };
    const auto waits = [&](int kind) { return !queues[kind - kind_text].empty(); };
    while (waits(kind_text) || waits(kind_image) || waits(kind_audio) || waits(kind_video)) {
        const bool image = waits(kind_image), audio = waits(kind_audio);
        if (waits(kind_text)) show_next(kind_text);
        if (image) show_next(kind_image);
        if (audio) show_next(kind_audio);
        if (waits(kind_video) && !image && !audio) show_next(kind_video);
    }
    return wrong;
}

}  // namespace mmskit_anatomy
