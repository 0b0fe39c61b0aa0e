// A message described by a JSON document or by words of the command line, taken apart into keys
// and words. The document's schema is docs/compose.md; what it does not know is refused, so that a
// misspelt key never goes unnoticed.
#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <set>

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

using nlohmann::json;

constexpr std::array<std::string_view, 22> slide_keys{
    "duration",   "background", "foreground",  "text",        "text_file",   "text_begin",
    "text_end",   "image",      "image_name",  "image_type",  "image_begin", "image_end",
    "audio",      "audio_name", "audio_type",  "audio_begin", "audio_end",   "video",
    "video_name", "video_type", "video_begin", "video_end"};
constexpr std::array<std::string_view, 3> attachment_keys{"file", "name", "type"};

struct Alias {
    std::string_view word, key;
};
constexpr Alias aliases[] = {{"dur", "duration"}, {"bg", "background"}, {"fg", "foreground"}};

// ---- Words -------------------------------------------------------------------------------------

// "image-end=2s" as the key image_end and the word 2s.
std::pair<std::string, std::string> key_and_word(const std::string& item, const Where& where) {
    const std::size_t equals = item.find('=');
    if (equals == std::string::npos || equals == 0) where.fail(item, "it is not key=value");
    std::string key = item.substr(0, equals);
    std::replace(key.begin(), key.end(), '-', '_');
    for (const Alias& alias : aliases) {
        if (key == alias.word) key = alias.key;
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

class JsonReader {
  public:
    JsonReader(const json& document, const std::string& file)
        : document_(document), description_(Where{input_name(file) + ": ", false}) {
        const std::size_t slash = file.rfind('/');
        if (slash != std::string::npos) description_.folder = file.substr(0, slash + 1);
    }

    Description read() {
        if (!document_.is_object())
            throw Failure(visible(description_.where.prefix) + "the document is not an object");
        for (const auto& [key, value] : document_.items())
            read_member(key, value);
        return std::move(description_);
    }

  private:
    void read_member(const std::string& key, const json& value) {
        if (key == "to") return read_list(key, value, description_.to);
        if (key == "cc") return read_list(key, value, description_.cc);
        if (key == "bcc") return read_list(key, value, description_.bcc);
        if (key == "slides") {
            return read_array(key, value, description_.slides,
                              [&](Items& items, const json& slide) {
                                  for (const auto& [item, word] : slide.items())
                                      items.add(item, text(items, item, word), slide_keys);
                              });
        }
        if (key == "attachments") {
            return read_array(key, value, description_.attachments,
                              [&](Items& items, const json& attachment) {
                                  for (const auto& [item, word] : attachment.items())
                                      items.add(item, text(items, item, word), attachment_keys);
                              });
        }
        add_field(description_, key, word_of(key, value));
    }

    static std::string text(const Items& items, const std::string& key, const json& value) {
        if (!value.is_string()) items.fail(key, "it is not a string");
        return value.get<std::string>();
    }

    std::string word_of(const std::string& key, const json& value) const {
        const auto* field = std::find_if(field_keys, field_keys + field_key_count,
                                         [&](const FieldKey& each) { return each.key == key; });
        const bool known = field != field_keys + field_key_count;
        if (known && field->flag) {
            if (!value.is_boolean()) description_.where.fail(key, "it is not true or false");
            return value.get<bool>() ? "yes" : "no";
        }
        if (known && !value.is_string()) description_.where.fail(key, "it is not a string");
        return known ? value.get<std::string>() : std::string();
    }

    // One string or an array of strings.
    void read_list(const std::string& key, const json& value,
                   std::vector<std::string>& list) const {
        if (value.is_string()) {
            list.push_back(value.get<std::string>());
            return;
        }
        if (!value.is_array()) description_.where.fail(key, "it is not a string or an array");
        for (std::size_t i = 0; i < value.size(); ++i) {
            if (!value[i].is_string())
                description_.where.fail(indexed(key, i), "it is not a string");
            list.push_back(value[i].get<std::string>());
        }
    }

    template <typename Read>
    void read_array(const std::string& key, const json& value, std::vector<Items>& list,
                    Read read) const {
        // What the composer refuses anyway is refused before files are read for it.
        constexpr std::size_t most = 10;
        if (!value.is_array()) description_.where.fail(key, "it is not an array");
        if (value.size() > most) description_.where.fail(key, "a message has at most 10 of them");
        for (std::size_t i = 0; i < value.size(); ++i) {
            const std::string prefix = description_.where.prefix + indexed(key, i) + '.';
            list.emplace_back(Where{prefix, false});
            if (!value[i].is_object())
                description_.where.fail(indexed(key, i), "it is not an object");
            read(list.back(), value[i]);
        }
    }

    static std::string indexed(const std::string& key, std::size_t index) {
        return key + '[' + std::to_string(index) + ']';
    }

    const json& document_;
    Description description_;
};

// The library keeps the last of two equal keys; which one was meant cannot be known.
class TwiceGiven {
  public:
    explicit TwiceGiven(const Where& where) : where_(where) {}

    bool operator()(int, json::parse_event_t event, const json& value) {
        if (event == json::parse_event_t::object_start) keys_.emplace_back();
        if (event == json::parse_event_t::object_end) keys_.pop_back();
        if (event == json::parse_event_t::key) {
            const std::string key = value.get<std::string>();
            if (!keys_.back().insert(key).second) where_.fail(key, "it is given twice");
        }
        return true;
    }

  private:
    const Where& where_;
    std::vector<std::set<std::string>> keys_;
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
    try {
        const Where where{input_name(file) + ": ", false};
        const json document = json::parse(bytes.begin(), bytes.end(), TwiceGiven(where));
        return JsonReader(document, file).read();
    } catch (const json::exception& error) {    // a number may be beyond all limits, too
        const std::string what = error.what();  // begins with the library's own number
        throw Failure(visible(input_name(file) + ": " + what.substr(what.find("] ") + 2)));
    }
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
