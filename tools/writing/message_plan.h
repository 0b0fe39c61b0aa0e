// What is to be composed, whether the command line or a JSON file tells it. Both are first taken
// apart into a Description, plain words under their keys, which one function turns into a plan:
// so both say the same with the same words, and every complaint names the key that it is about.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ground/file_io.h"
#include "writing/plan_values.h"

namespace mmskit_tool {

// ---- The plan ----------------------------------------------------------------------------------

// Milliseconds from the start of the slide; without an end, to the end of the slide.
struct PlannedTiming {
    int32_t begin = 0;
    std::optional<int32_t> end;
};

struct PlannedMedium {
    std::string name, type;
    std::vector<uint8_t> data;
    PlannedTiming timing;
};

struct PlannedText {
    std::string text;
    PlannedTiming timing;
};

struct PlannedSlide {
    std::optional<int32_t> duration;  // milliseconds
    std::optional<uint32_t> background, foreground;
    std::optional<PlannedText> text;
    std::optional<PlannedMedium> image, audio, video;
};

struct PlannedAttachment {
    std::string name, type;
    std::vector<uint8_t> data;
};

// The longest subject in bytes of UTF-8 that reaches its reader whole; one less when its first
// character is not ASCII. The library writes a text's length in one octet, of which strict decoders
// read seven bits, and it counts the character set, a quote before such a character, and the NUL.
inline constexpr std::size_t longest_subject = 125;

struct MessagePlan {
    std::string to, cc, bcc;  // addresses joined with ";"; empty for none
    std::optional<std::string> from, subject, transaction_id, message_id;
    bool cut_subject = false;   // rather than refuse it
    uint8_t message_class = 0;  // 0 personal, 1 advertisement, 2 informational, 3 auto
    uint8_t priority = 1;       // 0 low, 1 normal, 2 high
    std::optional<When> expiry, delivery_time;
    bool hide_sender = false, delivery_report = false, read_report = false;
    std::optional<uint32_t> date;  // 0: none; nothing: what is usual for the kind of message
    std::vector<PlannedSlide> slides;
    std::vector<PlannedAttachment> attachments;
};

// ---- Its description ---------------------------------------------------------------------------

// How complaints name a key: "message.json: slides[1].image" or "--subject".
struct Where {
    std::string prefix;
    bool command_line = false;  // keys are written with "-" there

    [[noreturn]] void fail(std::string_view key, const std::string& why) const;
    void warn(std::string_view key, const std::string& what) const;

  private:
    [[nodiscard]] std::string name(std::string_view key) const;
};

// Words under their keys. Reading one that is wrong throws a Failure that names it.
class Items {
  public:
    explicit Items(Where where) : where_(std::move(where)) {}

    // The key must be one of the known ones and come once.
    template <typename Keys>
    void add(const std::string& key, std::string word, const Keys& known) {
        bool is_known = false;
        for (const std::string_view each : known)
            is_known = is_known || each == key;
        if (!is_known) fail(key, "there is no such key");
        add_known(key, std::move(word));
    }
    [[nodiscard]] const std::string* find(std::string_view key) const;
    [[noreturn]] void fail(std::string_view key, const std::string& why) const {
        where_.fail(key, why);
    }

    void warn(std::string_view key, const std::string& what) const { where_.warn(key, what); }

    // What `parse` makes of the word; nothing when it is not given.
    template <typename Parse>
    auto read(std::string_view key, Parse parse) const -> std::optional<decltype(parse("sv"))> {
        const std::string* word = find(key);
        if (word == nullptr) return std::nullopt;
        try {
            return parse(*word);
        } catch (const Failure& failure) {
            fail(key, failure.what());
        }
    }

  private:
    void add_known(const std::string& key, std::string word);

    Where where_;
    std::vector<std::pair<std::string, std::string>> words_;
};

struct Description {
    explicit Description(const Where& place) : where(place), fields(place) {}

    Where where;
    std::string folder;  // in which named files are; empty or with a slash at its end
    Items fields;
    std::vector<std::string> to, cc, bcc;
    std::vector<Items> slides, attachments;
};

// Reads the files that it names. A Failure names the key.
MessagePlan make_plan(const Description& description);

// A subject that fits as it is. One that is too long is cut at a character, which is said, or
// refused in a Failure that tells its length, the limit and the `key` to have it cut, if any.
std::string fitting_subject(std::string subject, bool cut, const std::string& key);
bool subject_fits(const std::string& subject);

// From a JSON file as docs/compose.md describes it; "-" is standard input.
Description describe_json(const std::string& file);

// The words after --slide and --attach; `number` counts from 1.
Items slide_items(const std::vector<std::string>& words, std::size_t number);
Items attachment_items(const std::vector<std::string>& words, std::size_t number);

// The keys of a message itself, with the help of their options. Flags are "yes" or "no".
struct FieldKey {
    std::string_view key;
    bool flag;
    const char* help;
    const char* type_name;
};
extern const FieldKey field_keys[];
extern const std::size_t field_key_count;
void add_field(Description& description, const std::string& key, std::string word);

// "hide_sender" as "--hide-sender"
std::string option_name(std::string_view key);

}  // namespace mmskit_tool
