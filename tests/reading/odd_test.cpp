// Every odd message against its facts. A failure names the file and the fact.
#include <algorithm>
#include <map>
#include <set>

#include "reading/render.h"
#include "tests/reading/odd_messages.h"
#include "tests/support/sha256.h"

namespace {

using mmskit_tool::Flaw;
using mmskit_tool::OpenMessage;
using nlohmann::json;
using namespace testing_support;

// One message as the command's JSON, its exit status, and the bytes of its parts.
struct Shown {
    json document;
    int exit = mmskit_tool::exit_failed;
    std::string reason;  // of a file that is no message
    std::vector<std::string> parts;
};

Shown show(const std::string& data) {
    Shown shown;
    try {
        const OpenMessage message(byte_list(data));
        shown.document = json::parse(mmskit_tool::render_json(message.facts()));
        shown.exit = mmskit_tool::exit_status(message.facts());
        for (const auto& part : message.facts().parts)
            shown.parts.emplace_back(mmskit_tool::text_of(part.data));
    } catch (const Flaw& flaw) {
        shown.reason = flaw.reason;
    }
    return shown;
}

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Of an object the members given, of everything else all.
bool holds(const json& value, const json& fact) {
    if (!fact.is_object()) return value == fact;
    return std::all_of(fact.items().begin(), fact.items().end(), [&](const auto& member) {
        return value.is_object() && value.contains(member.key()) &&
               value[member.key()] == member.value();
    });
}

// Character sets have several spellings.
std::string charset(std::string name) {
    name = lower(std::move(name));
    static const std::map<std::string, std::string> same{
        {"iso-10646-ucs-2", "ucs-2"}, {"ascii", "us-ascii"}, {"cp1252", "windows-1252"}};
    const auto found = same.find(name);
    return found != same.end() ? found->second : name;
}

class Check {
  public:
    explicit Check(const Shown& shown) : shown_(shown), document_(shown.document) {}

    void all(const json& facts) {
        static const std::map<std::string, void (Check::*)(const json&)> checks{
            {"kind", &Check::kind},     {"headers", &Check::headers},
            {"other", &Check::other},   {"header_keys", &Check::header_keys},
            {"slides", &Check::slides}, {"attachments", &Check::attachments},
            {"texts", &Check::texts},   {"parts", &Check::parts},
            {"notes", &Check::notes},   {"exit", &Check::exit},
            {"says", &Check::says},     {"whole_at", nullptr}};
        for (const auto& [key, fact] : facts.items()) {
            SCOPED_TRACE(key);
            const auto check = checks.find(key);
            ASSERT_NE(check, checks.end()) << "a fact that is not known";
            if (check->second != nullptr) (this->*check->second)(fact);
        }
        // The command's own rule: 3 exactly when a note is lost.
        bool lost = false;
        for (const json& note : list("notes"))
            lost = lost || note["kind"] == "lost";
        EXPECT_EQ(shown_.exit == mmskit_tool::exit_lost, lost);
    }

  private:
    [[nodiscard]] json list(const char* key) const {
        return document_.is_object() ? document_.value(key, json::array()) : json::array();
    }
    [[nodiscard]] json value(const json& object, const std::string& key) const {
        return object.is_object() ? object.value(key, json()) : json();
    }

    void kind(const json& fact) { EXPECT_EQ(value(document_, "kind"), fact); }

    void headers(const json& facts) {
        const json headers = value(document_, "headers");
        for (const auto& [key, fact] : facts.items())
            EXPECT_TRUE(holds(value(headers, key), fact))
                << key << " is " << value(headers, key) << ", not " << fact;
    }

    void header_keys(const json& facts) {
        for (const json& key : facts)
            EXPECT_TRUE(value(document_, "headers").contains(key)) << key;
    }

    void other(const json& facts) {
        const json others = value(value(document_, "headers"), "other");
        for (json fact : facts) {
            if (fact.contains("code")) fact["code"] = print("0x%02X", fact["code"].get<unsigned>());
            EXPECT_TRUE(std::any_of(others.begin(), others.end(),
                                    [&](const json& each) { return holds(each, fact); }))
                << fact << " is not in " << others;
        }
    }

    void slides(const json& facts) {
        const json slides = list("slides");
        ASSERT_EQ(slides.size(), facts.size()) << slides;
        for (std::size_t i = 0; i < facts.size(); ++i) {
            SCOPED_TRACE("slide " + std::to_string(i + 1));
            slide(slides[i], facts[i]);
        }
    }

    void slide(const json& slide, const json& facts) {
        EXPECT_EQ(value(value(slide, "text"), "text"), value(facts, "text"));
        for (const char* kind : {"image", "audio", "video"})
            EXPECT_EQ(value(value(slide, kind), "name"), value(facts, kind)) << kind;
        for (const auto& [key, fact] : facts.items()) {
            if (key == "duration_ms") {
                EXPECT_EQ(slide["duration_ms"], fact);
            }
            if (key == "image_bytes") {
                EXPECT_EQ(value(value(slide, "image"), "bytes"), fact);
            }
            if (key != "begin_ms" && key != "end_ms" && key != "region") continue;
            for (const auto& [kind, time] : fact.items())
                EXPECT_EQ(
                    key == "region" ? region(value(slide, kind)) : value(value(slide, kind), key),
                    time)
                    << key << " of " << kind;
        }
    }

    [[nodiscard]] json region(const json& element) const {
        const json place = value(element, "region");
        json numbers = json::array();
        for (const char* key : {"left", "top", "width", "height"})
            numbers.push_back(value(place, key));
        return numbers;
    }

    void attachments(const json& facts) {
        std::multiset<json> names, expected(facts.begin(), facts.end());
        for (const json& attachment : list("attachments"))
            names.insert(value(attachment, "name"));
        EXPECT_EQ(names, expected);
    }

    void texts(const json& facts) {
        std::set<json> texts;
        for (const json& slide : list("slides"))
            texts.insert(value(value(slide, "text"), "text"));
        for (const json& attachment : list("attachments"))
            texts.insert(value(attachment, "text"));
        for (const json& text : facts)
            EXPECT_TRUE(texts.count(text) == 1) << text << " is not shown";
    }

    void parts(const json& facts) {
        const json parts = list("parts");
        ASSERT_EQ(parts.size(), facts.size()) << parts;
        for (std::size_t i = 0; i < facts.size(); ++i) {
            SCOPED_TRACE("part " + std::to_string(i + 1));
            EXPECT_EQ(parts[i]["number"], i + 1);
            part(parts[i], shown_.parts[i], facts[i]);
        }
    }

    void part(const json& part, const std::string& data, const json& facts) {
        EXPECT_EQ(part["bytes"], data.size());
        for (const auto& [key, fact] : facts.items()) {
            if (key == "sha256") {
                EXPECT_EQ(sha256(data), fact) << hex(data);
            } else if (key == "charset") {
                const json declared = value(part, key);
                EXPECT_EQ(declared.is_string() ? charset(declared) : "", fact) << part;
            } else {
                EXPECT_EQ(value(part, key), fact) << key;
            }
        }
    }

    void notes(const json& facts) {
        for (const json& fact : facts) {
            const json notes = list("notes");
            EXPECT_TRUE(std::any_of(notes.begin(), notes.end(),
                                    [&](const json& each) { return is_note(each, fact); }))
                << "no note of " << notes.dump(1) << "\nis " << fact;
        }
    }

    static bool is_note(const json& note, const json& fact) {
        if (note["kind"] != fact["kind"]) return false;
        if (fact.contains("byte") && (note.contains("layer") || note["byte"] < fact["byte"][0] ||
                                      note["byte"] > fact["byte"][1]))
            return false;
        const json words = fact.value("says", json::array());
        return std::all_of(words.begin(), words.end(), [&](const json& word) {
            return note["text"].get<std::string>().find(word) != std::string::npos;
        });
    }

    void exit(const json& fact) {
        const bool allowed = fact.is_array()
                                 ? std::find(fact.begin(), fact.end(), shown_.exit) != fact.end()
                                 : fact == shown_.exit;
        EXPECT_TRUE(allowed) << shown_.exit << " is not " << fact << ' ' << list("notes").dump(1);
    }

    void says(const json& fact) {
        EXPECT_NE(lower(shown_.reason).find(lower(fact)), std::string::npos) << shown_.reason;
    }

    const Shown& shown_;
    const json& document_;
};

TEST_F(OddMessages, each_is_shown_with_its_facts) {
    for (const auto& [file, facts] : all.items()) {
        SCOPED_TRACE(file);
        const Shown shown = show(file_bytes(folder + file));
        Check(shown).all(facts);
    }
}

}  // namespace
