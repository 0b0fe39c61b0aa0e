// The facts of a message as JSON, for programs. The keys are documented in docs/json.md; a fact
// that the message does not give has no key.
#include <nlohmann/json.hpp>

#include "render.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

using Json = nlohmann::ordered_json;

void put_text(Json& object, const char* key, const char* text) {
    if (text != nullptr) object[key] = json_text(text);
}

void put_timing(Json& object, const Timing& timing) {
    object["begin_ms"] = timing.begin;
    object["end_ms"] = timing.end;
}

void put_place(Json& object, const Place& place) {
    if (!place.given()) return;
    object["region"] = Json{
        {"left", place.left}, {"top", place.top}, {"width", place.width}, {"height", place.height}};
}

void put_colour(Json& object, const char* key, const std::optional<uint32_t>& colour) {
    if (colour) object[key] = colour_text(*colour);
}

// Media on slides and attachments alike.
template <typename Part>
Json part_object(const Part& part) {
    Json object = Json::object();
    put_text(object, "name", part.name);
    put_text(object, "type", part.type);
    object["bytes"] = part.data.size();
    if (part.drm_class != 0) object["drm_class"] = part.drm_class;
    return object;
}

Json text_object(const TextFact& text) {
    Json object = Json::object();
    put_text(object, "text", text.text);
    put_timing(object, text.timing);
    put_place(object, text.place);
    return object;
}

Json slide_object(const SlideFact& slide) {
    Json object = Json::object();
    object["duration_ms"] = slide.duration;
    put_colour(object, "background", slide.background);
    put_colour(object, "foreground", slide.foreground);
    if (slide.text) object["text"] = text_object(*slide.text);
    for (const MediaFact& media : slide.media) {
        Json part = part_object(media);
        put_timing(part, media.timing);
        put_place(part, media.place);
        object[media_kind_name(media.kind)] = std::move(part);
    }
    Json more = Json::object();
    if (!slide.further_texts.empty()) more["text"] = slide.further_texts.size();
    for (const MediaKind kind : {MediaKind::image, MediaKind::audio, MediaKind::video}) {
        const std::size_t count = count_further(slide, kind);
        if (count > 0) more[media_kind_name(kind)] = count;
    }
    if (!more.empty()) object["more"] = std::move(more);
    return object;
}

Json header_value(const HeaderFact& header) {
    if (const Date* date = std::get_if<Date>(&header.value)) {
        return Json{{"seconds", date->seconds}, {"iso", iso_date(*date)}};
    }
    if (const bool* flag = std::get_if<bool>(&header.value)) return *flag;
    if (const Period* period = std::get_if<Period>(&header.value)) {
        return Json{{"relative_seconds", period->seconds}};
    }
    if (const ByteCount* count = std::get_if<ByteCount>(&header.value)) return count->bytes;
    return json_text(std::get<std::string>(header.value));
}

}  // namespace

std::string render_json(const MessageFacts& facts) {
    Json document = Json::object();
    document["kind"] = facts.kind;
    document["bytes"] = facts.size;
    Json headers = Json::object();
    for (const HeaderFact& header : facts.headers)
        headers[header.json_key] = header_value(header);
    document["headers"] = std::move(headers);
    Json screen = Json::object();
    if (facts.screen_width != 0 || facts.screen_height != 0) {
        screen["width"] = facts.screen_width;
        screen["height"] = facts.screen_height;
    }
    put_colour(screen, "background", facts.screen_background);
    if (!screen.empty()) document["screen"] = std::move(screen);
    Json slides = Json::array();
    for (const SlideFact& slide : facts.slides)
        slides.push_back(slide_object(slide));
    document["slides"] = std::move(slides);
    Json attachments = Json::array();
    for (const AttachmentFact& attachment : facts.attachments) {
        attachments.push_back(part_object(attachment));
    }
    document["attachments"] = std::move(attachments);
    if (facts.body_flaw) {
        document["error"] =
            Json{{"reason", facts.body_flaw->reason}, {"byte", facts.body_flaw->offset}};
    }
    return json_for_terminal(document.dump(2) + '\n');
}

}  // namespace mmskit_tool
