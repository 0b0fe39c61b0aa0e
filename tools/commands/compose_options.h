// The options with which compose and forward describe a message.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ground/command_line.h"
#include "writing/message_plan.h"

namespace mmskit_tool {

struct MessageOptions {
    std::vector<std::string> to, cc, bcc;
    // What was given for a key of a message: a word, or its flag.
    struct Field {
        std::optional<std::string> word;
        bool flag = false;
    };
    std::vector<Field> fields;  // in the order of field_keys
    std::vector<Group> slides, attachments;
};

// --to, --cc, --bcc and an option for every key of a message but those left out. Returns the names
// of the options.
Command::Names add_message_options(Command& command, MessageOptions& options,
                                   std::initializer_list<std::string_view> left_out);

// --slide or --add-slide, and --attach.
Command::Names add_part_options(Command& command, MessageOptions& options,
                                const char* slide_option);

Description describe_options(const MessageOptions& options);

}  // namespace mmskit_tool
