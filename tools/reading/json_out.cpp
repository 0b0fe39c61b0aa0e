// The facts of a message as JSON, for programs. The keys are documented in docs/json.md; a fact
// that the message does not give has no key.
#include <cstdio>
#include <unordered_map>

#include "ground/json_writer.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

void put_text(JsonWriter& json, const char* key, const char* text) {
    if (text != nullptr) json.key(key).text(text);
}

void put_timing(JsonWriter& json, const Timing& timing) {
    json.key("begin_ms").number(timing.begin);
    json.key("end_ms").number(timing.end);
}

void put_place(JsonWriter& json, const Place& place) {
    if (!place.given()) return;
    json.key("region").object();
    json.key("left").number(place.left).key("top").number(place.top);
    json.key("width").number(place.width).key("height").number(place.height).end();
}

void put_colour(JsonWriter& json, const char* key, const std::optional<uint32_t>& colour) {
    if (colour) json.key(key).text(colour_text(*colour));
}

// Media on slides and attachments alike.
template <typename Part>
void put_part(JsonWriter& json, const Part& part) {
    put_text(json, "name", part.name);
    put_text(json, "type", part.type);
    json.key("bytes").number(part.data.size());
    if (part.drm_class != 0) json.key("drm_class").number(part.drm_class);
}

void put_slide_text(JsonWriter& json, const TextFact& text) {
    json.key("text").object();
    put_text(json, "text", text.text);
    put_timing(json, text.timing);
    put_place(json, text.place);
    json.end();
}

// How many further elements of each kind the slide has, when it has any.
void put_more(JsonWriter& json, const SlideFact& slide) {
    if (slide.further_texts.empty() && slide.further_media.empty()) return;
    json.key("more").object();
    if (!slide.further_texts.empty()) json.key("text").number(slide.further_texts.size());
    for (const MediaKind kind : {MediaKind::image, MediaKind::audio, MediaKind::video}) {
        const std::size_t count = count_further(slide, kind);
        if (count > 0) json.key(media_kind_name(kind)).number(count);
    }
    json.end();
}

void put_slide(JsonWriter& json, const SlideFact& slide) {
    json.object().key("duration_ms").number(slide.duration);
    put_colour(json, "background", slide.background);
    put_colour(json, "foreground", slide.foreground);
    if (slide.text) put_slide_text(json, *slide.text);
    for (const MediaFact& media : slide.media) {
        json.key(media_kind_name(media.kind)).object();
        put_part(json, media);
        put_timing(json, media.timing);
        put_place(json, media.place);
        json.end();
    }
    put_more(json, slide);
    if (!slide.further_texts.empty()) {
        json.key("further_texts").array();
        for (const TextFact& text : slide.further_texts)
            json.text(text.text != nullptr ? text.text : "");
        json.end();
    }
    json.end();
}

void put_value(JsonWriter& json, const HeaderFact& header) {
    if (const Date* date = std::get_if<Date>(&header.value)) {
        json.object().key("seconds").number(date->seconds);
        json.key("iso").text(iso_date(*date)).end();
    } else if (const bool* flag = std::get_if<bool>(&header.value)) {
        json.boolean(*flag);
    } else if (const Period* period = std::get_if<Period>(&header.value)) {
        json.object().key("relative_seconds").number(period->seconds).end();
    } else if (const ByteCount* count = std::get_if<ByteCount>(&header.value)) {
        json.number(count->bytes);
    } else if (const int64_t* number = std::get_if<int64_t>(&header.value)) {
        json.number(*number);
    } else {
        json.text(std::get<std::string>(header.value));
    }
}

// Headers without a standard name, in the order of the message.
void put_other_headers(JsonWriter& json, const std::vector<const HeaderFact*>& others) {
    if (others.empty()) return;
    json.key("other").array();
    for (const HeaderFact* header : others) {
        json.object();
        if (header->name.empty())
            json.key("code").text(hex_code(header->code));
        else
            json.key("name").text(header->name);
        json.key("value");
        put_value(json, *header);
        json.end();
    }
    json.end();
}

// What comes several times is an array, whether the standard lets it or not: nothing is left out.
void put_headers(JsonWriter& json, const MessageFacts& facts) {
    std::vector<std::vector<const HeaderFact*>> keys;
    std::unordered_map<std::string_view, std::size_t> places;
    std::vector<const HeaderFact*> others;
    for (const HeaderFact& header : facts.headers) {
        if (header.json_key.empty()) {
            others.push_back(&header);
            continue;
        }
        const auto [place, first] = places.try_emplace(header.json_key, keys.size());
        if (first) keys.emplace_back();
        keys[place->second].push_back(&header);
    }
    json.key("headers").object();
    for (const std::vector<const HeaderFact*>& values : keys) {
        json.key(values[0]->json_key);
        const bool several = values[0]->repeats || values.size() > 1;
        if (several) json.array();
        for (const HeaderFact* value : values)
            put_value(json, *value);
        if (several) json.end();
    }
    put_other_headers(json, others);
    json.end();
}

void put_screen(JsonWriter& json, const MessageFacts& facts) {
    const bool sized = facts.screen_width != 0 || facts.screen_height != 0;
    if (!sized && !facts.screen_background) return;
    json.key("screen").object();
    if (sized) {
        json.key("width").number(facts.screen_width);
        json.key("height").number(facts.screen_height);
    }
    put_colour(json, "background", facts.screen_background);
    json.end();
}

void put_attachment(JsonWriter& json, const AttachmentFact& attachment) {
    json.object();
    put_part(json, attachment);
    if (attachment.text) json.key("text").text(text_of(attachment.data));
    json.end();
}

void put_notes(JsonWriter& json, const MessageFacts& facts) {
    json.key("notes").array();
    for (const NoteFact& note : facts.notes) {
        json.object().key("byte").number(note.byte).key("bytes").number(note.bytes);
        if (note.layer != 0) json.key("layer").number(note.layer);
        json.key("kind").text(note_kind_name(note.kind)).key("text").text(note.text).end();
    }
    json.end();
}

// What the layers of notes are; a file that is not wrapped has one only.
void put_layers(JsonWriter& json, const MessageFacts& facts) {
    if (facts.layers.size() < 2) return;
    json.key("layers").array();
    for (const LayerFact& layer : facts.layers) {
        json.object().key("name").text(layer.name).key("bytes").number(layer.size);
        json.key("inside").number(layer.parent).end();
    }
    json.end();
}

}  // namespace

std::string_view text_of(std::span<const uint8_t> data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::string hex_code(uint32_t code) {
    char text[sizeof "0xFF"];
    (void)std::snprintf(text, sizeof text, "0x%02X", code & 0xFFU);
    return text;
}

void put_part_keys(JsonWriter& json, const PartFact& part, std::size_t number) {
    json.key("number").number(number);
    put_text(json, "type", part.type);
    put_text(json, "name", part.name);
    put_text(json, "charset", part.charset);
    json.key("bytes").number(part.data.size());
    if (part.missing != 0) json.key("missing_bytes").number(part.missing);
    json.key("slides").array();
    for (const std::size_t slide : part.slides)
        json.number(slide);
    json.end();
    if (part.presentation) json.key("presentation").boolean(true);
}

void put_error(JsonWriter& json, const Flaw& flaw) {
    json.key("error").object().key("reason").text(flaw.reason);
    if (flaw.offset) json.key("byte").number(*flaw.offset);
    json.end();
}

void put_message(JsonWriter& json, const MessageFacts& facts) {
    json.key("kind").text(facts.kind).key("bytes").number(facts.size);
    put_headers(json, facts);
    put_screen(json, facts);
    json.key("slides").array();
    for (const SlideFact& slide : facts.slides)
        put_slide(json, slide);
    json.end().key("attachments").array();
    for (const AttachmentFact& attachment : facts.attachments)
        put_attachment(json, attachment);
    json.end();
    if (facts.has_body) {
        json.key("parts").array();
        for (std::size_t i = 0; i < facts.parts.size(); ++i) {
            put_part_keys(json.object(), facts.parts[i], i + 1);
            json.end();
        }
        json.end();
    }
    put_notes(json, facts);
    put_layers(json, facts);
    if (facts.body_flaw) put_error(json, *facts.body_flaw);
}

std::string render_json(const MessageFacts& facts, JsonTarget target) {
    JsonWriter json(target);
    put_message(json.object(), facts);
    return json.end().document();
}

}  // namespace mmskit_tool
