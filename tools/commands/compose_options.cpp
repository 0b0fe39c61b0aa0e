// Options are made from the table of keys, so that the command line and the JSON form of a message
// cannot drift apart.
#include "commands/compose_options.h"

#include <algorithm>

namespace mmskit_tool {
namespace {

constexpr const char* slide_help =
    "A slide: text=TEXT or text=@FILE, image=FILE, audio=FILE, video=FILE, dur=5s, bg=#rrggbb, "
    "fg=#rrggbb (of the text), and text-begin, text-end, image-begin, image-end, image-name, "
    "image-type and so on";

// Words that are under no known key are wrong usage, as an unknown option is.
template <typename Describe>
void add_items(std::vector<Items>& list, const std::vector<Group>& groups, Describe describe) {
    for (const Group& group : groups) {
        try {
            list.push_back(describe(group, list.size() + 1));
        } catch (const Failure& failure) {
            throw WrongUsage(failure.what());
        }
    }
}

}  // namespace

Command::Names add_message_options(Command& command, MessageOptions& options,
                                   std::initializer_list<std::string_view> left_out) {
    Command::Names names{"--to", "--cc", "--bcc"};
    command.option("--to", options.to, "ADDRESS", "A recipient");
    command.option("--cc", options.cc, "ADDRESS", "A recipient of a copy");
    command.option("--bcc", options.bcc, "ADDRESS", "A recipient whom the others do not see");
    options.fields.resize(field_key_count);
    for (std::size_t i = 0; i < field_key_count; ++i) {
        const FieldKey& key = field_keys[i];
        if (std::find(left_out.begin(), left_out.end(), key.key) != left_out.end()) continue;
        names.push_back(option_name(key.key));
        MessageOptions::Field& field = options.fields[i];
        if (key.flag) {
            command.flag(names.back().c_str(), field.flag, key.help);
        } else {
            command.option(names.back().c_str(), field.word, key.type_name, key.help);
        }
    }
    return names;
}

Command::Names add_part_options(Command& command, MessageOptions& options,
                                const char* slide_option) {
    command.groups(slide_option, options.slides, false, "KEY=VALUE...", slide_help);
    command.groups("--attach", options.attachments, true, "FILE [KEY=VALUE...]",
                   "A file outside the slides, and name=NAME, type=TYPE");
    return {slide_option, "--attach"};
}

Description describe_options(const MessageOptions& options) {
    Description description{Where{"--", true}};
    description.to = options.to;
    description.cc = options.cc;
    description.bcc = options.bcc;
    for (std::size_t i = 0; i < options.fields.size(); ++i) {
        const MessageOptions::Field& field = options.fields[i];
        const std::string key(field_keys[i].key);
        if (field.flag) add_field(description, key, "yes");
        if (field.word) add_field(description, key, *field.word);
    }
    add_items(description.slides, options.slides, slide_items);
    add_items(description.attachments, options.attachments, attachment_items);
    return description;
}

}  // namespace mmskit_tool
