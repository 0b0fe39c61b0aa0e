// The options with which compose and forward describe a message.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string_view>
#include <vector>

#include "message_plan.h"

namespace mmskit_tool {

inline constexpr const char* slide_option_type = "KEY=VALUE...";

// --to, --cc, --bcc and an option for every key of a message but those left out. They fill the
// description, which must outlive the command line.
std::vector<CLI::Option*> add_message_options(CLI::App& command, Description& description,
                                              std::initializer_list<std::string_view> left_out);

// --slide or --add-slide, and --attach.
std::vector<CLI::Option*> add_part_options(CLI::App& command, Description& description,
                                           const std::string& slide_option);

}  // namespace mmskit_tool
