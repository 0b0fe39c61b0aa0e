// Options are made from the table of keys, so that the command line and the JSON form of a message
// cannot drift apart.
#include "compose_options.h"

#include <algorithm>

#include "words.h"

namespace mmskit_tool {
namespace {

constexpr const char* slide_help =
    "A slide: text=TEXT or text=@FILE, image=FILE, audio=FILE, video=FILE, dur=5s, bg=#rrggbb, "
    "fg=#rrggbb (of the text), and text-begin, text-end, image-begin, image-end, image-name, "
    "image-type and so on";

}  // namespace

std::vector<CLI::Option*> add_message_options(CLI::App& command, Description& description,
                                              std::initializer_list<std::string_view> left_out) {
    std::vector<CLI::Option*> options;
    const auto add_list = [&](const char* name, std::vector<std::string>& list, const char* help) {
        options.push_back(
            command.add_option(name, list, help)->type_name("ADDRESS")->allow_extra_args(false));
    };
    add_list("--to", description.to, "A recipient; may be given several times");
    add_list("--cc", description.cc, "A recipient of a copy");
    add_list("--bcc", description.bcc, "A recipient whom the others do not see");
    for (const FieldKey* field = field_keys; field != field_keys + field_key_count; ++field) {
        if (std::find(left_out.begin(), left_out.end(), field->key) != left_out.end()) continue;
        const std::string key(field->key);
        const std::string name = option_name(key);
        const auto set = [&description, key](const std::string& word) {
            add_field(description, key, word);
        };
        options.push_back(field->flag
                              ? command.add_flag_callback(
                                    name, [set] { set("yes"); }, field->help)
                              : command.add_option_function<std::string>(name, set, field->help)
                                    ->type_name(field->type_name));
    }
    return options;
}

std::vector<CLI::Option*> add_part_options(CLI::App& command, Description& description,
                                           const std::string& slide_option) {
    using Groups = std::vector<std::string>;
    const auto add_slides = [&description](const Groups& groups) {
        for (const std::string& group : groups)
            description.slides.push_back(
                slide_items(unpack_group(group), description.slides.size() + 1));
    };
    const auto add_attachments = [&description](const Groups& groups) {
        for (const std::string& group : groups)
            description.attachments.push_back(
                attachment_items(unpack_group(group), description.attachments.size() + 1));
    };
    return {command.add_option_function<Groups>(slide_option, add_slides, slide_help)
                ->type_name(slide_option_type)
                ->allow_extra_args(false),
            command
                .add_option_function<Groups>("--attach", add_attachments,
                                             "A file outside the slides, and name=NAME, type=TYPE")
                ->type_name("FILE")
                ->allow_extra_args(false)};
}

}  // namespace mmskit_tool
