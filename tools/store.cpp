// mmskit store: an INI store made visible, and changed. Loading goes through the library, which
// first undoes a save that was interrupted, as it does for every host.
#include <mmskit/storage.h>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "file_io.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

using Json = nlohmann::ordered_json;

struct StoreOptions {
    std::string file;
    std::string action = "list";
    std::vector<std::string> words;
    bool json = false;
};

// How many words an action takes after its name.
struct Action {
    std::string_view name;
    std::size_t words;
};
constexpr Action actions[] = {{"get", 1}, {"set", 2}, {"list", 0}};

std::string_view text_or_empty(const char* text) {
    return text != nullptr ? text : "";
}

class Store {
  public:
    explicit Store(std::string file) : file_(std::move(file)) {
        fnSCFS_INI_List_Init(file_.c_str(), &list_);
    }
    ~Store() { fnSCList_Clear(&list_, fnSCFS_INI_FreeNode); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    // A file that holds something has an entry at least.
    [[nodiscard]] bool readable() const {
        tSCFS_File* file = fnSCFS_File_Open(file_.c_str(), 0);
        fnSCFS_File_Close(file);
        return file != nullptr &&
               (list_.pHead != nullptr || fnSCFS_getFileSize(file_.c_str()) == 0);
    }

    [[nodiscard]] const tSCFS_INI_Entry* find(const std::string& key) {
        const char* holder = key.c_str();
        return entry(fnSCFS_List_Find_Node(&list_, &holder, fnSCFS_INI_Compare));
    }

    [[nodiscard]] bool set(const std::string& key, const std::string& value) {
        return fnSCFS_INI_Write(file_.c_str(), &list_, key.c_str(), value.c_str()) == 1;
    }

    template <typename Visit>
    void each(Visit visit) const {
        for (const tSCListNode* node = list_.pHead; node != nullptr; node = node->pNext)
            visit(*entry(node));
    }

  private:
    static const tSCFS_INI_Entry* entry(const tSCListNode* node) {
        return static_cast<const tSCFS_INI_Entry*>(fnSCList_GetData(node));
    }

    std::string file_;
    tSCList list_{};
};

Json entry_object(const tSCFS_INI_Entry& entry) {
    return {{"key", json_text(text_or_empty(entry.pKey))},
            {"value", json_text(text_or_empty(entry.pValue))}};
}

void print(const Json& document) {
    write_output(json_for_terminal(document.dump(2) + '\n'));
}

void list_entries(const Store& store, bool json) {
    if (json) {
        Json entries = Json::array();
        store.each([&](const tSCFS_INI_Entry& entry) { entries.push_back(entry_object(entry)); });
        return print({{"entries", std::move(entries)}});
    }
    std::string text;
    store.each([&](const tSCFS_INI_Entry& entry) {
        text += visible(text_or_empty(entry.pKey)) + " = " + visible(text_or_empty(entry.pValue)) +
                '\n';
    });
    write_output(text);
}

void get_entry(Store& store, const StoreOptions& options) {
    const tSCFS_INI_Entry* entry = store.find(options.words[0]);
    if (entry == nullptr) {
        throw Failure(visible(options.file) + ": no key " + visible(options.words[0]));
    }
    if (options.json) return print(entry_object(*entry));
    write_output(visible(text_or_empty(entry->pValue)) + '\n');
}

void run_store(const StoreOptions& options) {
    Store store(options.file);
    const bool sets = options.action == "set";
    // A store that cannot be read is not written over; one that is not there is begun.
    if (!store.readable() && !(sets && fnSCFS_isFileExisted(options.file.c_str()) == 0)) {
        throw Failure(visible(options.file) + ": cannot be read");
    }
    if (!sets)
        return options.action == "get" ? get_entry(store, options)
                                       : list_entries(store, options.json);
    if (!store.set(options.words[0], options.words[1])) {
        throw Failure(visible(options.file) + ": cannot be written");
    }
}

void check_words(const StoreOptions& options) {
    for (const Action& action : actions) {
        if (action.name != options.action) continue;
        if (action.words == options.words.size()) return;
        throw CLI::ValidationError(options.action, "takes " + std::to_string(action.words) +
                                                       (action.words == 1 ? " word" : " words"));
    }
    throw CLI::ValidationError("ACTION", "is get KEY, set KEY VALUE or list");
}

}  // namespace

void add_store_command(CLI::App& app, Run& run) {
    const auto options = std::make_shared<StoreOptions>();
    CLI::App* command = app.add_subcommand("store", "Look into a store of settings, or change it");
    command->add_option("FILE", options->file, "The store's file")->required();
    command->add_option("ACTION", options->action,
                        "get KEY, set KEY VALUE or list, which is the default");
    command->add_option("WORDS", options->words,
                        "The key and the value; after -- they may begin with -");
    command->add_flag("--json", options->json,
                      "Print JSON: \"key\" and \"value\", in \"entries\" for list");
    command->callback([options, &run] {
        check_words(*options);
        run = [options] { run_store(*options); };
    });
}

}  // namespace mmskit_tool
