// A description of a message turned into a plan: words into values, file names into bytes with
// their content type. What belongs together on a slide is checked here, what a message can hold
// by the composer.
#include "writing/message_plan.h"

#include <algorithm>

#include "ground/safe_text.h"
#include "writing/media_type.h"

namespace mmskit_tool {
namespace {

bool parse_flag(std::string_view word) {
    return parse_choice(word, {"no", "yes"}) == 1;
}

uint8_t parse_class(std::string_view word) {
    return static_cast<uint8_t>(
        parse_choice(word, {"personal", "advertisement", "informational", "auto"}));
}

uint8_t parse_priority(std::string_view word) {
    return static_cast<uint8_t>(parse_choice(word, {"low", "normal", "high"}));
}

uint32_t parse_optional_date(std::string_view word) {
    return word == "none" ? 0 : parse_date(word);
}

// A NUL would end a slide's text on its way through the library.
std::string parse_text(std::string_view word) {
    if (word.empty()) throw Failure("the text is empty");
    if (!is_utf8(word)) throw Failure("the text is not UTF-8");
    if (word.find('\0') != std::string_view::npos) throw Failure("the text holds a NUL");
    return std::string(word);
}

std::string text_of_file(const std::string& file) {
    const std::vector<uint8_t> bytes = read_input(file);
    try {
        return parse_text({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    } catch (const Failure& failure) {
        throw Failure(visible(input_name(file)) + ": " + failure.what());
    }
}

// One slide or attachment of a description, its files looked up in a folder.
class PartReader {
  public:
    PartReader(const Items& items, const std::string& folder) : items_(items), folder_(folder) {}

    [[nodiscard]] PlannedSlide slide() const {
        PlannedSlide slide;
        slide.duration = items_.read("duration", [](const std::string& word) {
            const int32_t duration = parse_milliseconds(word);
            if (duration < 1) throw Failure("a slide lasts at least 1 ms");
            return duration;
        });
        slide.background = items_.read("background", parse_colour);
        slide.foreground = items_.read("foreground", parse_colour);
        slide.text = text();
        slide.image = medium("image");
        slide.audio = medium("audio");
        slide.video = medium("video");
        if (slide.foreground && !slide.text) items_.fail("foreground", "the slide has no text");
        return slide;
    }

    [[nodiscard]] PlannedAttachment attachment() const {
        if (items_.find("file") == nullptr) items_.fail("file", "it is missing");
        PlannedAttachment attachment;
        attachment.data = read_file("file");
        const std::string& file = *items_.find("file");
        attachment.name = items_.read("name", parse_part_name).value_or(part_name_of(file));
        const auto type = items_.read("type", parse_type);
        attachment.type = type ? *type : media_type(attachment.data, file);
        warn_of_type(type ? "type" : "file", file, attachment.type, attachment.data);
        return attachment;
    }

  private:
    [[nodiscard]] std::string path(const std::string& file) const {
        return file.starts_with('/') || file == "-" ? file : folder_ + file;
    }

    [[nodiscard]] std::vector<uint8_t> read_file(std::string_view key) const {
        auto bytes =
            items_.read(key, [&](const std::string& file) { return read_input(path(file)); });
        if (bytes->empty()) items_.fail(key, visible(path(*items_.find(key))) + ": it is empty");
        return std::move(*bytes);
    }

    [[nodiscard]] PlannedTiming timing(const std::string& key) const {
        PlannedTiming timing;
        timing.begin = items_.read(key + "_begin", parse_milliseconds).value_or(0);
        timing.end = items_.read(key + "_end", parse_milliseconds);
        if (timing.end && *timing.end <= timing.begin)
            items_.fail(key + "_end", "it is not after the beginning");
        return timing;
    }

    void refuse_without(const std::string& key, std::initializer_list<const char*> details) const {
        for (const char* detail : details) {
            if (items_.find(key + detail) != nullptr)
                items_.fail(key + detail, "the slide has no " + key);
        }
    }

    [[nodiscard]] std::optional<PlannedText> text() const {
        const auto given = items_.read("text", parse_text);
        const auto from_file = items_.read(
            "text_file", [&](const std::string& file) { return text_of_file(path(file)); });
        if (given && from_file) items_.fail("text_file", "there is a text already");
        if (!given && !from_file) {
            refuse_without("text", {"_begin", "_end"});
            return std::nullopt;
        }
        return PlannedText{given ? *given : *from_file, timing("text")};
    }

    [[nodiscard]] std::optional<PlannedMedium> medium(const std::string& key) const {
        const std::string* file = items_.find(key);
        if (file == nullptr) {
            refuse_without(key, {"_name", "_type", "_begin", "_end"});
            return std::nullopt;
        }
        PlannedMedium medium;
        medium.data = read_file(key);
        medium.name = items_.read(key + "_name", parse_part_name).value_or(part_name_of(*file));
        const auto type = items_.read(key + "_type", parse_type);
        medium.type = type ? *type : detected_type(key, medium.data, *file);
        warn_of_type(type ? key + "_type" : key, *file, medium.type, medium.data);
        medium.timing = timing(key);
        return medium;
    }

    // A receiver looks at the type to know how to show it, so a doubtful one is not sent.
    [[nodiscard]] std::string detected_type(const std::string& key,
                                            const std::vector<uint8_t>& data,
                                            const std::string& file) const {
        std::string type = media_type(data, file);
        // These containers hold sound alone just as well.
        if (key == "audio" && type.starts_with("video/")) type.replace(0, 5, key);
        const bool melody =
            key == "audio" && (type == "text/x-imelody" || type == "application/vnd.smaf");
        if (!type.starts_with(key + '/') && !melody) {
            items_.fail(key, visible(path(file)) + ": it is " + type + ", no " + key +
                                 "; a type can be given");
        }
        return type;
    }

    // Given by its key, or by a name that the bytes do not keep.
    void warn_of_type(const std::string& key, const std::string& file, const std::string& type,
                      const std::vector<uint8_t>& data) const {
        if (const auto seen = contradicting_type(data, type))
            items_.warn(key, visible(path(file)) + " is sent as " + type +
                                 ", but its bytes are those of " + *seen);
    }

    const Items& items_;
    const std::string& folder_;
};

std::size_t subject_limit(const std::string& subject) {
    const bool quoted = !subject.empty() && static_cast<uint8_t>(subject[0]) >= 0x80;
    return longest_subject - (quoted ? 1 : 0);
}

void refuse_past(const Description& description, const MessagePlan& plan) {
    if (!plan.expiry || plan.expiry->relative) return;
    const bool dated = plan.date.value_or(0) != 0;
    if (dated && plan.expiry->seconds <= *plan.date)
        description.where.fail("expiry", "it is not after the message's date");
    if (plan.expiry->seconds > now_seconds()) return;
    if (!dated) description.where.fail("expiry", "the time has passed");
    description.where.warn("expiry", "the time has passed");
}

std::string joined_addresses(const Description& description, const char* key,
                             const std::vector<std::string>& words) {
    std::string list;
    for (std::size_t i = 0; i < words.size(); ++i) {
        try {
            list += (i > 0 ? ";" : "") + parse_recipient(words[i]);
        } catch (const Failure& failure) {
            const std::string index = '[' + std::to_string(i) + ']';
            description.where.fail(description.where.command_line ? key : key + index,
                                   failure.what());
        }
    }
    return list;
}

}  // namespace

std::string Where::name(std::string_view key) const {
    std::string shown(key);
    if (command_line) std::replace(shown.begin(), shown.end(), '_', '-');
    return visible(prefix + shown);
}

void Where::fail(std::string_view key, const std::string& why) const {
    throw Failure(name(key) + ": " + why);
}

void Where::warn(std::string_view key, const std::string& what) const {
    mmskit_tool::warn(name(key) + ": " + what);
}

const std::string* Items::find(std::string_view key) const {
    const auto found = std::find_if(words_.begin(), words_.end(),
                                    [&](const auto& word) { return word.first == key; });
    return found != words_.end() ? &found->second : nullptr;
}

void Items::add_known(const std::string& key, std::string word) {
    if (find(key) != nullptr) fail(key, "it is given twice");
    words_.emplace_back(key, std::move(word));
}

MessagePlan make_plan(const Description& description) {
    const Items& fields = description.fields;
    MessagePlan plan;
    plan.to = joined_addresses(description, "to", description.to);
    plan.cc = joined_addresses(description, "cc", description.cc);
    plan.bcc = joined_addresses(description, "bcc", description.bcc);
    plan.from = fields.read("from", parse_address);
    plan.cut_subject = fields.read("cut_subject", parse_flag).value_or(false);
    plan.subject = fields.read("subject", [&](const std::string& word) {
        return fitting_subject(parse_line(word), plan.cut_subject,
                               description.where.command_line ? "--cut-subject" : "cut_subject");
    });
    plan.transaction_id = fields.read("transaction_id", parse_token);
    plan.message_id = fields.read("message_id", parse_token);
    plan.message_class = fields.read("class", parse_class).value_or(plan.message_class);
    plan.priority = fields.read("priority", parse_priority).value_or(plan.priority);
    plan.expiry = fields.read("expiry", parse_when);
    plan.delivery_time = fields.read("delivery_time", parse_when);
    plan.date = fields.read("date", parse_optional_date);
    refuse_past(description, plan);
    plan.hide_sender = fields.read("hide_sender", parse_flag).value_or(false);
    plan.delivery_report = fields.read("delivery_report", parse_flag).value_or(false);
    plan.read_report = fields.read("read_report", parse_flag).value_or(false);
    for (const Items& slide : description.slides)
        plan.slides.push_back(PartReader(slide, description.folder).slide());
    for (const Items& attachment : description.attachments)
        plan.attachments.push_back(PartReader(attachment, description.folder).attachment());
    return plan;
}

bool subject_fits(const std::string& subject) {
    return subject.size() <= subject_limit(subject);
}

std::string fitting_subject(std::string subject, bool cut, const std::string& key) {
    if (subject_fits(subject)) return subject;
    const std::size_t limit = subject_limit(subject);
    const std::string size = "the subject has " + std::to_string(subject.size()) + " bytes";
    if (!cut)
        throw Failure(size + ", and a message carries " + std::to_string(limit) +
                      (key.empty() ? "" : "; " + key + " shortens it"));
    cut_at_character(subject, limit);
    warn(size + " and is cut to \"" + subject + '"');
    return subject;
}

}  // namespace mmskit_tool
