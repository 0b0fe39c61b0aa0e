// mmskit extract: the media, texts and attachments of a message as files, or all of its parts.
// Names come from whoever sent the message, so each is made safe first and no file that exists is
// ever touched.
#include <mmskit/presentation.h>

#include <array>
#include <filesystem>
#include <set>
#include <utility>

#include "commands/commands.h"
#include "ground/file_io.h"
#include "ground/json_writer.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

constexpr const char* manifest_name = "manifest.json";

struct ExtractOptions {
    std::string file;
    std::string folder;
    bool json = false, all = false, many = false;
};

// More files than a folder is looked through with; a message of a megabyte can hold 16,384.
constexpr std::size_t most_files = 10'000;

struct Part {
    std::string name;  // safe
    const char* type;
    std::span<const uint8_t> data;
    std::size_t slide;  // from 1; 0 for an attachment
};

std::string name_by_type(const char* type, std::size_t number) {
    std::array<char, 50> name{};  // the size that the library asks for
    if (fnPAR_CreatMediaObjName(name.data(), type, static_cast<int32_t>(number)) == 0)
        return "part";
    return name.data();
}

// The parts of a message in the order of its slides, each once however often slides show it.
class PartList {
  public:
    void add_all(const MessageFacts& facts) {
        for (std::size_t i = 0; i < facts.slides.size(); ++i)
            add_slide(facts.slides[i], i + 1);
        for (const AttachmentFact& attachment : facts.attachments)
            add(attachment, 0);
    }
    [[nodiscard]] const std::vector<Part>& parts() const { return parts_; }

  private:
    void add_slide(const SlideFact& slide, std::size_t number) {
        if (slide.text) add_text(slide.text->text, number);
        for (const TextFact& text : slide.further_texts)
            add_text(text.text, number);
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
        if (name.empty()) name = name_by_type(fact.type, parts_.size() + 1);
        parts_.push_back({std::move(name), fact.type, fact.data, slide});
    }

    std::vector<Part> parts_;
    std::set<std::pair<const uint8_t*, std::size_t>> seen_;
};

// What was written, told even when a later file fails.
class Report {
  public:
    explicit Report(bool as_json) : as_json_(as_json) { json_.object().key("files").array(); }

    void add(const std::string& path, const Part& part) {
        if (as_json_) return add_json(path, part);
        text_ += visible(path);
        if (part.type != nullptr) text_ += "  " + visible(part.type);
        text_ += "  " + size_text(part.data.size()) + '\n';
    }

    void print() { write_output(as_json_ ? json_.end().end().document() : text_); }

  private:
    void add_json(const std::string& path, const Part& part) {
        json_.object().key("file").text(path);
        if (part.type != nullptr) json_.key("type").text(part.type);
        json_.key("bytes").number(part.data.size());
        if (part.slide != 0) json_.key("slide").number(part.slide);
        json_.end();
    }

    bool as_json_;
    std::string text_;
    JsonWriter json_;
};

// Every part under its own name; what the parts are stands in the manifest, which is written last:
// where it is, all of them are.
void extract_all(const MessageFacts& facts, OutputFolder& folder, Report& report) {
    JsonWriter manifest;
    manifest.object().key("parts").array();
    for (std::size_t i = 0; i < facts.parts.size(); ++i) {
        const PartFact& part = facts.parts[i];
        std::string name = safe_file_name(part.name != nullptr ? part.name : "");
        if (name.empty())
            name = part.presentation ? "presentation.smil" : name_by_type(part.type, i + 1);
        if (name == manifest_name) name.insert(0, "part-");
        const std::string path = folder.write_new(name, part.data);
        const std::size_t slide = part.slides.empty() ? 0 : part.slides[0];
        report.add(path, {name, part.type, part.data, slide});
        put_part_keys(manifest.object(), part, i + 1);
        manifest.key("file").text(std::filesystem::path(path).filename().string()).end();
    }
    const std::string document = manifest.end().end().document();
    (void)folder.write_new(manifest_name,
                           {reinterpret_cast<const uint8_t*>(document.data()), document.size()});
}

void refuse_second_run(const std::string& folder) {
    std::error_code error;
    const std::filesystem::path manifest = std::filesystem::path(folder) / manifest_name;
    if (std::filesystem::exists(manifest, error))
        throw Failure(visible(folder) + ": a message was extracted to it already (" +
                      manifest_name + " is there)");
}

int extract(const ExtractOptions& options) {
    const auto message = open_message(options.file);
    const MessageFacts& facts = message->facts();
    PartList list;
    if (!options.all || facts.parts.empty()) list.add_all(facts);
    if (list.parts().empty() && facts.parts.empty())
        throw Failure(visible(input_name(options.file)) + ": the message has no parts");
    const std::size_t files = options.all ? facts.parts.size() : list.parts().size();
    if (files > most_files && !options.many)
        throw Failure(visible(input_name(options.file)) + ": the message has " +
                      std::to_string(files) + " parts; --many writes as many files");
    if (options.all) refuse_second_run(options.folder);
    OutputFolder folder(options.folder);
    Report report(options.json);
    try {
        if (options.all) {
            extract_all(facts, folder, report);
        } else {
            for (const Part& part : list.parts())
                report.add(folder.write_new(part.name, part.data), part);
        }
    } catch (const Failure&) {
        report.print();
        throw;
    }
    report.print();
    return exit_status(facts);
}

void declare(Command& command, ExtractOptions& options) {
    command.word("FILE", &options.file, "A message, bare or wrapped; - is standard input")
        .require();
    command
        .option("-o,--output", options.folder, "DIR", "The folder to write to, made when missing")
        .require();
    command.flag("--all", options.all,
                 "Write every part as it is handed out, the presentation too, and manifest.json");
    command.flag("--many", options.many, "Write more than 10000 files");
    command.flag("--json", options.json, "Print JSON; docs/json.md lists its keys");
}

}  // namespace

Command extract_command() {
    return Command::of("extract", "Write the media, texts and attachments of a message as files",
                       declare, extract);
}

}  // namespace mmskit_tool
