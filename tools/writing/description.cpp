// A message described by a JSON document or by words of the command line, taken apart into keys
// and words. The document's schema is docs/compose.md; what it does not know is refused, so that a
// misspelt key never goes unnoticed.
#include <jansson.h>

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <span>

#include "ground/safe_text.h"
#include "writing/message_plan.h"

namespace mmskit_tool {

const FieldKey field_keys[] = {
    {"from", false, "The sender; the relay inserts it when it is not given", "ADDRESS"},
    {"subject", false, "The subject", "TEXT"},
    {"cut_subject", true, "Shorten a subject of more than 125 bytes instead of refusing it", ""},
    {"class", false, "personal, advertisement, informational or auto", "CLASS"},
    {"priority", false, "low, normal or high", "PRIORITY"},
    {"expiry", false, "When the message expires: 3d or 2026-12-01T00:00:00Z", "TIME"},
    {"delivery_time", false, "When it is delivered; sent as a time from now", "TIME"},
    {"date", false, "2026-12-01T00:00:00Z, now, or none; by default none, with --retrieved now",
     "DATE"},
    {"transaction_id", false, "The transaction id; by default a new one for every message", "ID"},
    {"message_id", false, "The message id of a retrieved message", "ID"},
    {"hide_sender", true, "Hide the sender from the recipients", ""},
    {"delivery_report", true, "Ask for delivery reports", ""},
    {"read_report", true, "Ask for read reports", ""},
};
const std::size_t field_key_count = std::size(field_keys);

namespace {

constexpr std::array<std::string_view, 22> slide_keys{
    "duration",   "background", "foreground",  "text",        "text_file",   "text_begin",
    "text_end",   "image",      "image_name",  "image_type",  "image_begin", "image_end",
    "audio",      "audio_name", "audio_type",  "audio_begin", "audio_end",   "video",
    "video_name", "video_type", "video_begin", "video_end"};
constexpr std::array<std::string_view, 3> attachment_keys{"file", "name", "type"};

struct ShortKey {
    std::string_view word, key;
};
constexpr ShortKey short_keys[] = {{"dur", "duration"}, {"bg", "background"}, {"fg", "foreground"}};

// ---- Words -------------------------------------------------------------------------------------

// "image-end=2s" as the key image_end and the word 2s.
std::pair<std::string, std::string> key_and_word(const std::string& item, const Where& where) {
    const std::size_t equals = item.find('=');
    if (equals == std::string::npos || equals == 0) where.fail(item, "it is not key=value");
    std::string key = item.substr(0, equals);
    std::replace(key.begin(), key.end(), '-', '_');
    for (const ShortKey& known : short_keys) {
        if (key == known.word) key = known.key;
    }
    return {key, item.substr(equals + 1)};
}

// A text is read from a file after one "@", and begins with one after two.
void add_slide_word(Items& items, std::string key, std::string word) {
    if (key == "text" && word.starts_with('@')) {
        word.erase(0, 1);
        if (!word.starts_with('@')) key = "text_file";
    }
    items.add(key, std::move(word), slide_keys);
}

// ---- JSON --------------------------------------------------------------------------------------

struct JsonRelease {
    void operator()(json_t* document) const { json_decref(document); }
};
using Json = std::unique_ptr<json_t, JsonRelease>;

// Values that a document may have: each is some 250 bytes of the parser's tree and as little as two
// of the file, so they are counted before the tree is built. Recipients alone can be many.
constexpr std::size_t most_values = 32'768;

// An empty object or array counts as two.
std::size_t count_values(std::string_view text) {
    std::size_t count = 1;
    bool in_string = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\\') {
            ++i;
        } else if (c == '"') {
            in_string = !in_string;
        } else if (!in_string && (c == ',' || c == '[' || c == '{')) {
            ++count;
        }
    }
    return count;
}

// Of two equal keys nobody knows which was meant, so they are refused like what is no JSON.
Json parsed(std::string_view text, const std::string& name) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
    if (text.data() == nullptr) text = "";  // the parser wants a pointer for no bytes, too
    if (count_values(text) > most_values)
        throw Failure(visible(name) + ": more than " + std::to_string(most_values) + " values");
    constexpr std::size_t flags = JSON_REJECT_DUPLICATES | JSON_DECODE_ANY | JSON_ALLOW_NUL;
    json_error_t error = {};
    Json document(json_loadb(text.data(), text.size(), flags, &error));
    if (document != nullptr) return document;
    if (error.text[0] == '\0') throw std::bad_alloc();  // there is no other reason without a text
    throw Failure(visible(name + ": parse error at line " + std::to_string(error.line) +
                          ", column " + std::to_string(error.column) + ": " + error.text));
}

// Calls each(key, value), in the order of the document.
template <typename Each>
void members(json_t* object, Each each) {
    for (void* at = json_object_iter(object); at != nullptr; at = json_object_iter_next(object, at))
        each(std::string(json_object_iter_key(at)), json_object_iter_value(at));
}

class DocumentReader {
  public:
    explicit DocumentReader(const std::string& file)
        : description_(Where{input_name(file) + ": ", false}) {
        const std::size_t slash = file.rfind('/');
        if (slash != std::string::npos) description_.folder = file.substr(0, slash + 1);
    }

    Description read(json_t* document) {
        if (!json_is_object(document))
            throw Failure(visible(description_.where.prefix) + "the document is not an object");
        members(document, [&](const std::string& key, json_t* value) { read_member(key, value); });
        return std::move(description_);
    }

  private:
    using Keys = std::span<const std::string_view>;

    void read_member(const std::string& key, json_t* value) {
        if (key == "to") return read_list(key, value, description_.to);
        if (key == "cc") return read_list(key, value, description_.cc);
        if (key == "bcc") return read_list(key, value, description_.bcc);
        if (key == "slides") return read_array(key, value, description_.slides, slide_keys);
        if (key == "attachments")
            return read_array(key, value, description_.attachments, attachment_keys);
        add_field(description_, key, word_of(key, value));
    }

    static std::string text(const std::string& key, json_t* value, const Where& where) {
        if (!json_is_string(value)) where.fail(key, "it is not a string");
        return {json_string_value(value), json_string_length(value)};
    }

    [[nodiscard]] std::string word_of(const std::string& key, json_t* value) const {
        const auto* field = std::find_if(field_keys, field_keys + field_key_count,
                                         [&](const FieldKey& each) { return each.key == key; });
        if (field == field_keys + field_key_count) return {};
        if (!field->flag) return text(key, value, description_.where);
        if (!json_is_boolean(value)) description_.where.fail(key, "it is not true or false");
        return json_is_true(value) ? "yes" : "no";
    }

    // One string or an array of strings.
    void read_list(const std::string& key, json_t* value, std::vector<std::string>& list) const {
        const Where& where = description_.where;
        if (json_is_string(value)) return list.push_back(text(key, value, where));
        if (!json_is_array(value)) where.fail(key, "it is not a string or an array");
        for (std::size_t i = 0; i < json_array_size(value); ++i)
            list.push_back(text(indexed(key, i), json_array_get(value, i), where));
    }

    void read_array(const std::string& key, json_t* value, std::vector<Items>& list,
                    Keys keys) const {
        // What the composer refuses anyway is refused before files are read for it.
        constexpr std::size_t most = 10;
        if (!json_is_array(value)) description_.where.fail(key, "it is not an array");
        if (json_array_size(value) > most)
            description_.where.fail(key, "a message has at most 10 of them");
        for (std::size_t i = 0; i < json_array_size(value); ++i) {
            json_t* element = json_array_get(value, i);
            if (!json_is_object(element))
                description_.where.fail(indexed(key, i), "it is not an object");
            const Where where{description_.where.prefix + indexed(key, i) + '.', false};
            Items& items = list.emplace_back(where);
            members(element, [&](const std::string& item, json_t* word) {
                items.add(item, text(item, word, where), keys);
            });
        }
    }

    static std::string indexed(const std::string& key, std::size_t index) {
        return key + '[' + std::to_string(index) + ']';
    }

    Description description_;
};

}  // namespace

void add_field(Description& description, const std::string& key, std::string word) {
    std::array<std::string_view, std::size(field_keys)> keys;
    std::transform(std::begin(field_keys), std::end(field_keys), keys.begin(),
                   [](const FieldKey& field) { return field.key; });
    description.fields.add(key, std::move(word), keys);
}

std::string option_name(std::string_view key) {
    std::string name = "--" + std::string(key);
    std::replace(name.begin() + 2, name.end(), '_', '-');
    return name;
}

Description describe_json(const std::string& file) {
    const std::vector<uint8_t> bytes = read_input(file);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return DocumentReader(file).read(parsed(text, input_name(file)).get());
}

Items slide_items(const std::vector<std::string>& words, std::size_t number) {
    const Where where{"slide " + std::to_string(number) + ": ", true};
    Items items(where);
    for (const std::string& item : words) {
        auto [key, word] = key_and_word(item, where);
        add_slide_word(items, std::move(key), std::move(word));
    }
    return items;
}

Items attachment_items(const std::vector<std::string>& words, std::size_t number) {
    const Where where{"attachment " + std::to_string(number) + ": ", true};
    Items items(where);
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i == 0) {
            items.add("file", words[i], attachment_keys);
        } else {
            const auto [key, word] = key_and_word(words[i], where);
            items.add(key, word, attachment_keys);
        }
    }
    return items;
}

}  // namespace mmskit_tool
