// mmskit decompose: a message as the JSON file that compose takes, with its media beside it. What a
// composed message cannot have is left out and said.
#include <mmskit/composer.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "commands/commands.h"
#include "ground/file_io.h"
#include "ground/json_writer.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "reading/render.h"
#include "writing/message_plan.h"
#include "writing/plan_values.h"

namespace mmskit_tool {
namespace {

constexpr const char* description_name = "message.json";
constexpr int32_t longest_slide = 120'000;  // milliseconds, of a composed message

struct DecomposeOptions {
    std::string file;
    std::string folder;
};

class Decomposition {
  public:
    Decomposition(const MessageFacts& facts, OutputFolder& folder)
        : facts_(facts), folder_(folder) {}

    std::string description() {
        json_.object();
        put_people();
        put_choices();
        put_slides();
        put_attachments();
        return json_.end().document();
    }

  private:
    // The value when compose takes it; else it is said and left out.
    template <typename Parse>
    void put_text(const char* key, const std::string& value, Parse parse) {
        if (value.empty()) return;
        try {
            (void)parse(value);
            json_.key(key).text(value);
        } catch (const Failure& failure) {
            warn(std::string(key) + " is left out: " + failure.what());
        }
    }

    void put_people() {
        for (const char* key : {"to", "cc", "bcc"})
            put_recipients(key);
        put_text("from", std::string(bare_address(header_string(facts_, "from"))), parse_address);
        std::string subject = header_string(facts_, "subject");
        std::replace_if(
            subject.begin(), subject.end(),
            [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
        put_text("subject", subject, parse_line);
        if (!subject_fits(subject)) json_.key("cut_subject").boolean(true);
    }

    static void tell_refused(const char* key, const std::string& address) {
        try {
            (void)parse_recipient(address);
        } catch (const Failure& failure) {
            warn(std::string(key) + ": \"" + address + "\" is left out: " + failure.what());
        }
    }

    void put_recipients(const char* key) {
        const std::string list = header_string(facts_, key);
        constexpr std::size_t most_told = 100;
        std::vector<std::string> taken;
        std::set<std::string> refused;  // that were told
        std::size_t more_refused = 0;
        for (std::string_view rest = list; !rest.empty();) {
            const std::size_t end = std::min(rest.find(';'), rest.size());
            const std::string address(bare_address(rest.substr(0, end)));
            rest.remove_prefix(std::min(end + 1, rest.size()));
            if (is_recipient(address))
                taken.push_back(address);
            else if (refused.contains(address))
                continue;
            else if (refused.size() == most_told)
                ++more_refused;
            else
                tell_refused(key, *refused.insert(address).first);
        }
        if (more_refused != 0)
            warn(std::string(key) + ": " + std::to_string(more_refused) + " more are left out");
        if (taken.empty()) return;
        json_.key(key).array();
        for (const std::string& address : taken)
            json_.text(address);
        json_.end();
    }

    void put_choices() {
        put_token("class", "message_class", {"personal", "advertisement", "informational", "auto"});
        put_token("priority", "priority", {"low", "normal", "high"});
        put_date();
        for (const char* key : {"delivery_report", "read_report"}) {
            const HeaderFact* header = find_header(facts_, key);
            const bool* flag = header != nullptr ? std::get_if<bool>(&header->value) : nullptr;
            if (flag != nullptr && *flag) json_.key(key).boolean(true);
        }
        if (header_string(facts_, "sender_visibility") == "hide")
            json_.key("hide_sender").boolean(true);
    }

    void put_token(const char* key, const char* header,
                   std::initializer_list<std::string_view> known) {
        const std::string value = header_string(facts_, header);
        if (std::find(known.begin(), known.end(), value) != known.end()) json_.key(key).text(value);
    }

    void put_date() {
        const HeaderFact* header = find_header(facts_, "date");
        const Date* date = header != nullptr ? std::get_if<Date>(&header->value) : nullptr;
        if (date != nullptr && date->seconds > 0 && date->seconds <= int64_t{max_seconds})
            json_.key("date").text(iso_date(*date));
    }

    void put_slides() {
        constexpr auto most = static_cast<std::size_t>(CPS_MAX_SLIDES);
        if (facts_.slides.size() > most)
            warn("the message has " + std::to_string(facts_.slides.size()) +
                 " slides: those from number " + std::to_string(most + 1) + " on are left out");
        json_.key("slides").array();
        for (std::size_t i = 0; i < std::min(facts_.slides.size(), most); ++i)
            put_slide(facts_.slides[i], i + 1);
        json_.end();
    }

    void put_slide(const SlideFact& slide, std::size_t number) {
        json_.object();
        if (slide.duration > 0) put_milliseconds("duration", slide.duration);
        if (slide.duration > longest_slide)
            warn("slide " + std::to_string(number) + " is sent with 120 s, the longest there is");
        if (slide.background) json_.key("background").text(colour_text(*slide.background));
        const bool texted =
            slide.text && slide.text->text != nullptr && slide.text->text[0] != '\0';
        if (texted) {
            if (slide.foreground) json_.key("foreground").text(colour_text(*slide.foreground));
            json_.key("text").text(slide.text->text);
            put_timing("text", slide.text->timing, slide.duration);
        }
        const bool video = has_video(slide);
        std::size_t left_out = slide.further_media.size() + slide.further_texts.size();
        for (const MediaFact& media : slide.media) {
            const bool beside_video = video && media.kind != MediaKind::video;
            if (beside_video || media.data.empty())
                ++left_out;
            else
                put_medium(media, slide.duration);
        }
        if (left_out > 0)
            warn("slide " + std::to_string(number) + ": " + std::to_string(left_out) +
                 " further media are left out");
        json_.end();
    }

    static bool has_video(const SlideFact& slide) {
        return std::any_of(slide.media.begin(), slide.media.end(), [](const MediaFact& media) {
            return media.kind == MediaKind::video && !media.data.empty();
        });
    }

    void put_medium(const MediaFact& media, int32_t duration) {
        const std::string kind = media_kind_name(media.kind);
        put_file(kind, kind + "_name", kind + "_type", media);
        put_timing(kind, media.timing, duration);
    }

    template <typename Fact>
    void put_file(const std::string& key, const std::string& name_key, const std::string& type_key,
                  const Fact& fact) {
        const std::string file = file_of(fact);
        json_.key(key).text(file);
        const std::string name = fact.name != nullptr ? fact.name : "";
        if (!name.empty() && !accepts(parse_part_name, name))
            warn("the name \"" + name + "\" cannot be sent: the part is called as its file");
        else if (!name.empty() && name != part_name_of(file))
            json_.key(name_key).text(name);
        const std::string type = fact.type != nullptr ? fact.type : "";
        if (accepts(parse_type, type)) json_.key(type_key).text(type);
    }

    template <typename Parse>
    static bool accepts(Parse parse, const std::string& value) {
        try {
            return !value.empty() && parse(value) == value;
        } catch (const Failure&) {
            return false;
        }
    }

    void put_timing(const std::string& key, const Timing& timing, int32_t duration) {
        const bool on_time = timing.begin >= 0 && (duration <= 0 || timing.begin < duration);
        if (on_time && timing.begin > 0) put_milliseconds(key + "_begin", timing.begin);
        if (on_time && timing.end > timing.begin && timing.end != duration)
            put_milliseconds(key + "_end", timing.end);
    }

    void put_milliseconds(const std::string& key, int32_t value) {
        json_.key(key).text(std::to_string(value) + "ms");
    }

    void put_attachments() {
        constexpr auto most = static_cast<std::size_t>(CPS_MAX_ATTACHMENTS);
        std::vector<const AttachmentFact*> taken;
        for (const AttachmentFact& attachment : facts_.attachments) {
            if (!attachment.data.empty() && taken.size() < most) taken.push_back(&attachment);
        }
        if (taken.size() < facts_.attachments.size())
            warn(std::to_string(facts_.attachments.size() - taken.size()) +
                 " attachments are left out: a message has at most 10, and none is empty");
        if (taken.empty()) return;
        json_.key("attachments").array();
        for (const AttachmentFact* attachment : taken) {
            json_.object();
            put_file("file", "name", "type", *attachment);
            json_.end();
        }
        json_.end();
    }

    // The same bytes are one file, however often they are shown.
    template <typename Fact>
    std::string file_of(const Fact& fact) {
        const auto [place, first] = files_.try_emplace({fact.data.data(), fact.data.size()});
        if (first) {
            std::string name = safe_file_name(fact.name != nullptr ? fact.name : "");
            if (name.empty()) name = "part" + std::to_string(files_.size());
            if (name == description_name) name.insert(0, "part-");
            place->second =
                std::filesystem::path(folder_.write_new(name, fact.data)).filename().string();
        }
        return place->second;
    }

    const MessageFacts& facts_;
    OutputFolder& folder_;
    JsonWriter json_;
    std::map<std::pair<const uint8_t*, std::size_t>, std::string> files_;
};

int decompose(const DecomposeOptions& options) {
    const auto message = open_message(options.file);
    std::error_code error;
    if (std::filesystem::exists(std::filesystem::path(options.folder) / description_name, error))
        throw Failure(visible(options.folder) + ": a message was decomposed to it already (" +
                      description_name + " is there)");
    OutputFolder folder(options.folder);
    const std::string description = Decomposition(message->facts(), folder).description();
    const std::string path = folder.write_new(
        description_name,
        {reinterpret_cast<const uint8_t*>(description.data()), description.size()});
    write_output(visible(path) + '\n');
    return exit_status(message->facts());
}

void declare(Command& command, DecomposeOptions& options) {
    command.word("FILE", &options.file, "A message with a body; - is standard input").require();
    command
        .option("-o,--output", options.folder, "DIR", "The folder to write to, made when missing")
        .require();
}

}  // namespace

Command decompose_command() {
    return Command::of("decompose",
                       "Write a message as message.json, which compose takes, and its media",
                       declare, decompose);
}

}  // namespace mmskit_tool
