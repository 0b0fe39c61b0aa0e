// mmskit store: an INI store made visible, and changed. Loading goes through the library, which
// first undoes a save that was interrupted, as it does for every host.
#include <mmskit/storage.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "commands/commands.h"
#include "commands/store_file.h"
#include "ground/file_io.h"
#include "ground/json_writer.h"
#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

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
constexpr Action store_actions[] = {{"get", 1}, {"set", 2}, {"unset", 1}, {"list", 0}};

std::string_view text_or_empty(const char* text) {
    return text != nullptr ? text : "";
}

struct TextFree {
    void operator()(char* text) const { fnSC_Free(&text); }
};
using LibraryText = std::unique_ptr<char, TextFree>;

class Store {
  public:
    explicit Store(const std::string& file) : file_(file) {
        fnSCFS_INI_List_Init(file_.c_str(), &list_);
    }
    ~Store() { fnSCList_Clear(&list_, fnSCFS_INI_FreeNode); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    [[nodiscard]] bool empty() const { return list_.pHead == nullptr; }

    [[nodiscard]] const tSCFS_INI_Entry* find(const std::string& key) {
        const char* holder = key.c_str();
        return entry(fnSCFS_List_Find_Node(&list_, &holder, fnSCFS_INI_Compare));
    }

    void set(const std::string& key, const std::string& value) {
        errno = 0;
        require_saved(fnSCFS_INI_Write(file_.c_str(), &list_, key.c_str(), value.c_str()));
    }

    // All entries of the key, of which the first hides the others. False without one.
    [[nodiscard]] bool unset(const std::string& key) {
        const int32_t before = list_.iCount;
        // The others go round once: finding each of the key would cost the square of their number.
        for (int32_t left = before; left > 0; --left) {
            void* first = fnSCList_RemoveFront(&list_);
            const bool other = key != text_or_empty(static_cast<tSCFS_INI_Entry*>(first)->pKey);
            if (other && fnSCList_AddTail(&list_, first) != nullptr) continue;
            fnSCFS_INI_FreeNode(&first);
            if (other) throw std::bad_alloc();
        }
        if (list_.iCount == before) return false;
        errno = 0;
        require_saved(fnSCFS_Write_INI_To_File(file_.c_str(), &list_));
        return true;
    }

    template <typename Visit>
    void each(Visit visit) const {
        for (const tSCListNode* node = list_.pHead; node != nullptr; node = node->pNext)
            visit(*entry(node));
    }

  private:
    void require_saved(int32_t result) const {
        if (result == 1) return;
        const std::string reason = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
        throw Failure(visible(file_) + ": cannot be written" + reason);
    }
    static const tSCFS_INI_Entry* entry(const tSCListNode* node) {
        return static_cast<const tSCFS_INI_Entry*>(fnSCList_GetData(node));
    }

    std::string file_;
    tSCList list_{};
};

void write_entry(JsonWriter& json, const tSCFS_INI_Entry& entry) {
    json.object().key("key").text(text_or_empty(entry.pKey));
    json.key("value").text(text_or_empty(entry.pValue)).end();
}

void list_entries(const Store& store, bool as_json) {
    if (as_json) {
        JsonWriter json(JsonTarget::output);
        json.object().key("entries").array();
        store.each([&](const tSCFS_INI_Entry& entry) { write_entry(json, entry); });
        return write_output(json.end().end().document());
    }
    std::string text;
    store.each([&](const tSCFS_INI_Entry& entry) {
        text += visible(text_or_empty(entry.pKey)) + " = " + visible(text_or_empty(entry.pValue)) +
                '\n';
        write_grown_output(text);
    });
    write_output(text);
}

void get_entry(Store& store, const StoreOptions& options) {
    const tSCFS_INI_Entry* entry = store.find(options.words[0]);
    if (entry == nullptr) {
        throw Failure(visible(options.file) + ": no key " + visible(options.words[0]));
    }
    if (options.json) {
        JsonWriter json;
        write_entry(json, *entry);
        return write_output(json.document());
    }
    write_output(visible(text_or_empty(entry->pValue)) + '\n');
}

void check_words(const StoreOptions& options) {
    for (const Action& action : store_actions) {
        if (action.name != options.action) continue;
        if (action.words == options.words.size()) return;
        throw WrongUsage(options.action + " takes " + std::to_string(action.words) +
                         (action.words == 1 ? " word, not " : " words, not ") +
                         std::to_string(options.words.size()));
    }
    throw WrongUsage('"' + options.action + "\" is not get KEY, set KEY VALUE, unset KEY or list");
}

bool is_there(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

// Loading moves a backup into the file's place, for it is what a save that was interrupted leaves
// behind. Another program's backup is no such thing.
bool check_backup(const std::string& path) {
    const LibraryText backup(fnSCFS_getBak_FileName(path.c_str()));
    if (backup == nullptr || !is_there(backup.get())) return false;
    if (const auto flaw = why_no_store(read_input(backup.get())))
        throw Failure(visible(backup.get()) + ": " + flaw->what + ", and would take the place of " +
                      visible(path));
    return true;
}

// Before the library looks at the file: nothing is ever written over what is no store, and one that
// is not there is begun.
void check_file(const StoreOptions& options, const std::string& path) {
    const bool restored = check_backup(path);
    const bool begins = options.action == "set" || restored;
    if (begins && !is_there(path)) return;
    const auto flaw = why_no_store(read_input(path));
    if (!flaw || (flaw->damaged && restored)) return;
    const std::string told = visible(options.file) + ": " + flaw->what;
    if (options.action == "set" || options.action == "unset" || !flaw->damaged) throw Failure(told);
    warn(told);
}

void run_store(const StoreOptions& options) {
    check_words(options);
    // Standard input is no file that can be kept.
    const std::string path = options.file == "-" ? "./-" : options.file;
    check_file(options, path);
    Store store(path);
    if (store.empty() && is_there(path) && !read_input(path).empty())
        throw Failure(visible(options.file) + ": out of memory");
    if (options.action == "list") return list_entries(store, options.json);
    if (options.action == "get") return get_entry(store, options);
    const std::string& key = options.words[0];
    if (options.action == "unset") {
        if (!store.unset(key)) throw Failure(visible(options.file) + ": no key " + visible(key));
        return;
    }
    if (options.words[1].starts_with('\n'))
        throw Failure(visible(options.file) +
                      ": a value that begins with a line feed cannot be kept");
    store.set(key, options.words[1]);
}

void declare(Command& command, StoreOptions& options) {
    command.word("FILE", &options.file, "The store's file").require();
    command.word("ACTION", &options.action,
                 "get KEY, set KEY VALUE, unset KEY, or list, which is the default");
    command.word("WORDS", &options.words,
                 "The key and the value; after -- they may begin with -: set KEY -- -5");
    command.flag("--json", options.json,
                 "Print JSON: \"key\" and \"value\", in \"entries\" for list");
}

}  // namespace

Command store_command() {
    return Command::of("store", "Look into a store of settings, or change it", declare, run_store);
}

}  // namespace mmskit_tool
