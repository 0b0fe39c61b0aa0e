// mmskit extract: the media, texts and attachments of a message as files. Names come from whoever
// sent the message, so each is made safe first and no file that exists is ever touched.
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "commands.h"
#include "facts.h"
#include "file_io.h"
#include "render.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

struct ExtractOptions {
    std::string file;
    std::string folder;
    bool json = false;
};

struct Part {
    std::string name;  // safe
    const char* type;
    std::span<const uint8_t> data;
    std::size_t slide;  // from 1; 0 for an attachment
};

// The parts of a message in the order of its slides, each once however often slides show it.
class PartList {
  public:
    explicit PartList(const MessageFacts& facts) {
        for (std::size_t i = 0; i < facts.slides.size(); ++i)
            add_slide(facts.slides[i], i + 1);
        for (const AttachmentFact& attachment : facts.attachments)
            add(attachment, 0);
    }
    [[nodiscard]] const std::vector<Part>& parts() const { return parts_; }

  private:
    void add_slide(const SlideFact& slide, std::size_t number) {
        if (slide.text) add_text(slide.text->text, number);
        for (const char* text : slide.further_texts)
            add_text(text, number);
        for (const MediaFact& media : slide.media)
            add(media, number);
        for (const MediaFact& media : slide.further_media)
            add(media, number);
    }

    // The view gives a slide's text no name.
    void add_text(const char* text, std::size_t slide) {
        if (text == nullptr) return;
        const std::string_view view(text);
        parts_.push_back({"slide" + std::to_string(slide) + ".txt",
                          "text/plain",
                          {reinterpret_cast<const uint8_t*>(view.data()), view.size()},
                          slide});
    }

    template <typename Fact>
    void add(const Fact& fact, std::size_t slide) {
        if (!seen_.insert({fact.data.data(), fact.data.size()}).second) return;
        std::string name = safe_file_name(fact.name != nullptr ? fact.name : "");
        if (name.empty()) name = name_by_type(fact.type);
        parts_.push_back({std::move(name), fact.type, fact.data, slide});
    }

    [[nodiscard]] std::string name_by_type(const char* type) const {
        std::array<char, 50> name{};  // the size that the library asks for
        const auto number = static_cast<int32_t>(parts_.size() + 1);
        if (fnPAR_CreatMediaObjName(name.data(), type, number) == 0) return "part";
        return name.data();
    }

    std::vector<Part> parts_;
    std::set<std::pair<const uint8_t*, std::size_t>> seen_;
};

// What was written, told even when a later file fails.
class Report {
  public:
    explicit Report(bool json) : json_(json) {}

    void add(const std::string& path, const Part& part) {
        if (json_) {
            add_json(path, part);
            return;
        }
        text_ += visible(path);
        if (part.type != nullptr) text_ += "  " + visible(part.type);
        text_ += "  " + size_text(part.data.size()) + '\n';
    }

    void print() const {
        if (!json_) return write_output(text_);
        write_output(json_for_terminal(nlohmann::ordered_json{{"files", files_}}.dump(2) + '\n'));
    }

  private:
    void add_json(const std::string& path, const Part& part) {
        nlohmann::ordered_json file{{"file", json_text(path)}};
        if (part.type != nullptr) file["type"] = json_text(part.type);
        file["bytes"] = part.data.size();
        if (part.slide != 0) file["slide"] = part.slide;
        files_.push_back(std::move(file));
    }

    bool json_;
    std::string text_;
    nlohmann::ordered_json files_ = nlohmann::ordered_json::array();
};

void extract(const ExtractOptions& options) {
    const auto message = open_message(options.file);
    const MessageFacts& facts = message->facts();
    if (facts.body_flaw) {
        throw Failure(visible(input_name(options.file)) + ": " + describe(*facts.body_flaw));
    }
    const PartList list(facts);
    OutputFolder folder(options.folder);
    Report report(options.json);
    try {
        for (const Part& part : list.parts()) {
            report.add(folder.write_new(part.name, part.data), part);
        }
    } catch (const Failure&) {
        report.print();
        throw;
    }
    report.print();
}

}  // namespace

void add_extract_command(CLI::App& app, Run& run) {
    const auto options = std::make_shared<ExtractOptions>();
    CLI::App* command = app.add_subcommand(
        "extract", "Write the media, texts and attachments of a message as files");
    command
        ->add_option("FILE", options->file,
                     "A retrieved message or a message body; - is standard input")
        ->required();
    command->add_option("-o,--output", options->folder, "The folder to write to, made when missing")
        ->required()
        ->type_name("DIR");
    command->add_flag("--json", options->json, "Print JSON; docs/json.md lists its keys");
    command->callback([options, &run] { run = [options] { extract(*options); }; });
}

}  // namespace mmskit_tool
