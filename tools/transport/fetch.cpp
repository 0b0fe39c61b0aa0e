// mmskit fetch: gets a message, puts it on disk, and only then tells the centre that it is here.
// The order is the promise: a centre that was told drops the message. The journal beside the
// message tells the next run, by the transaction id of the notification, how far this one came.
#include "transport/fetch.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <filesystem>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "transport/address.h"
#include "transport/journal.h"
#include "transport/pdu.h"
#include "transport/retrieval.h"

namespace mmskit_transport {
namespace {

namespace fs = std::filesystem;
using mmskit_tool::Failure;
using mmskit_tool::visible;

// ---- How far earlier runs came ------------------------------------------------------------------

struct Standing {
    bool deferred = false;  // the centre was told so, or may have been
    bool rejected = false;
    bool answered = false;  // the centre knows that the message is here
    std::string file;       // chosen for the message; it exists only when it is whole
};

Standing standing_of(const Journal& journal) {
    Standing out;
    for (const Event& event : journal.events()) {
        const std::string& state = event.state;
        if (state == "deferring" || state == "rejecting") {
            out.deferred = state == "deferring";
            out.rejected = state == "rejecting";
        } else if (state == "not-answered") {
            out.deferred = out.rejected = false;
        } else if (state == "fetching") {
            out.file = fs::path(event.fact("file")).filename();
            out.answered = false;
        } else if (state == "acknowledged") {
            out.answered = true;
        }
    }
    return out;
}

// ---- Answers to the centre ----------------------------------------------------------------------

struct Desk {
    const FetchOptions& options;
    const Http& http;
    const Patience& patience;
    const Source& source;
    Journal& journal;

    [[nodiscard]] const std::string& address() const {
        return options.way.centre.empty() ? source.url : options.way.centre;
    }
};

struct Words {
    const char* before;  // states of the journal
    const char* done;
    const char* failed;
    const char* what;  // the centre is told, for the person
};

// What is known has happened; the journal's last line, "...ing", covers it when this fails.
void record_if_possible(Journal& journal, const char* state, const Facts& facts) {
    try {
        journal.record(state, facts);
    } catch (const Failure& failure) {
        say(std::string("warning: the journal does not tell what came of it: ") + failure.what());
    }
}

int tell_centre(const Desk& desk, const std::vector<uint8_t>& pdu, const Words& words) {
    desk.journal.record(words.before, {{"to", short_url(desk.address())}});
    const Exchange exchange = post_patiently(desk.http, desk.address(), pdu, desk.patience);
    const Facts http{{"http", std::to_string(exchange.status)}};
    const std::string why = explain(exchange, desk.address());
    switch (fate_of(exchange)) {
        case Fate::answered:
            record_if_possible(desk.journal, words.done, http);
            return exit_done;
        case Fate::unknown:
            record_if_possible(desk.journal, "unknown", http);
            say(std::string("it is not known whether the centre was told that ") + words.what +
                ": " + why);
            return exit_unknown;
        default:
            record_if_possible(desk.journal, words.failed, http);
            say(std::string("the centre was not told that ") + words.what + ": " + why);
            return exit_failed;
    }
}

// "No" to a message, or "later": an answer to a notification that is not followed by a GET.
int put_off(const Desk& desk) {
    const bool reject = desk.options.reject;
    const Words words =
        reject ? Words{"rejecting", "rejected", "not-answered", "the message is not wanted"}
               : Words{"deferring", "deferred", "not-answered", "the message is fetched later"};
    const uint8_t status = notify_status(reject ? "rejected" : "deferred");
    const int result = tell_centre(
        desk, notify_response(desk.source.transaction_id, status, !desk.options.no_report), words);
    if (result == exit_done) say(std::string("the centre was told that ") + words.what);
    return result;
}

// OMA-MMS-ENC 6.2 and 6.3: a message that is fetched at once is answered with an M-NotifyResp.ind
// to the notification; one that was deferred, with an M-Acknowledge.ind to the message, if the
// message has a transaction id.
int acknowledge(const Desk& desk, const Standing& standing, const std::string& message_id) {
    const bool at_once = desk.source.notified() && !standing.deferred;
    const bool allowed = !desk.options.no_report;
    if (!at_once && message_id.empty()) {
        record_if_possible(desk.journal, "acknowledged", {{"asked", "no"}});
        return exit_done;
    }
    const Words words{"acknowledging", "acknowledged", "not-acknowledged", "the message is here"};
    return tell_centre(
        desk,
        at_once ? notify_response(desk.source.transaction_id, notify_status("retrieved"), allowed)
                : acknowledgement(message_id, allowed),
        words);
}

// ---- The message --------------------------------------------------------------------------------

bool is_there(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

// Never one that is there: it may be anybody's.
std::string free_name(const fs::path& folder, const std::string& name) {
    for (uint32_t number = 1;; ++number) {
        std::string file = number == 1 ? name : name + '-' + std::to_string(number);
        file += ".mms";
        if (!is_there(folder / file)) return file;
    }
}

void show(const std::string& file) {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    std::string tool = (self.parent_path() / "mmskit").string();
    std::array<std::string, 3> words{tool, "show", file};
    std::array<char*, 4> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
    pid_t child = 0;
    if (error ||
        ::posix_spawn(&child, tool.c_str(), nullptr, nullptr, arguments.data(), environ) != 0) {
        say("the mmskit command is not beside this program: the message is not shown");
        return;
    }
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// The answer of a GET that gave no message, for the person to look at.
void keep_answer(const fs::path& file, const std::vector<uint8_t>& answer) {
    if (answer.empty()) return;
    store_durably(file.string(), answer.data(), answer.size());
    say("what came is kept in " + file.string());
}

// Gives the message's own transaction id; `file` is on disk then. Throws a Failure when nothing
// came of it.
std::string fetch_into(const Desk& desk, const fs::path& folder, const std::string& file) {
    desk.journal.record("fetching", {{"file", file}, {"from", short_url(desk.source.url)}});
    const Retrieval retrieval = retrieve(desk.http, desk.source, desk.patience);
    if (!retrieval.message) {
        record_if_possible(desk.journal, "not-fetched", {{"why", retrieval.problem}});
        keep_answer(folder / (desk.source.name + ".answer"), retrieval.answer);
        throw Failure(visible(retrieval.problem));
    }
    if (!retrieval.problem.empty()) say("warning: " + retrieval.problem);
    store_durably((folder / file).string(), retrieval.answer.data(), retrieval.answer.size());
    desk.journal.record("stored", {{"file", file},
                                   {"bytes", std::to_string(retrieval.answer.size())},
                                   {"digest", digest(retrieval.answer)}});
    return retrieval.transaction_id;
}

int finish(const Desk& desk, const Standing& standing, const fs::path& path,
           const std::string& message_id) {
    int status = exit_unknown;
    try {
        status = acknowledge(desk, standing, message_id);
    } catch (const std::exception& error) {
        say(std::string("the centre was not told, or may not have been: ") + error.what());
    }
    say("the message is in " + path.string());
    if (!desk.options.no_show) show(path.string());
    return status;
}

int fetch(const Desk& desk, const fs::path& folder, const Standing& standing) {
    const bool again = desk.options.way.again;
    const fs::path earlier = folder / standing.file;
    if (!again && !standing.file.empty() && is_there(earlier)) {
        say("the message was fetched already; --again fetches it once more");
        if (!standing.answered) {
            const Message message(mmskit_tool::read_input(earlier.string()));
            return finish(desk, standing, earlier, message.text(Code::transaction_id));
        }
        say("the message is in " + earlier.string());
        if (!desk.options.no_show) show(earlier.string());
        return exit_done;
    }
    if (!again && standing.rejected)
        throw Failure("this message was rejected; --again fetches it all the same");
    const std::string file = free_name(folder, desk.source.name);
    const std::string message_id = fetch_into(desk, folder, file);
    return finish(desk, standing, folder / file, message_id);
}

}  // namespace

int fetch_message(const FetchOptions& options) {
    const Http http(options.way.http());
    const Patience patience = options.way.patience();
    if (!options.way.centre.empty()) check_url(options.way.centre, "--mmsc");
    const Source source = source_of(options.source);
    if ((options.defer || options.reject) && !source.notified())
        throw mmskit_tool::WrongUsage("--defer and --reject answer a notification, not a URL");
    make_folder_durably(options.folder);
    const fs::path folder(options.folder);
    Journal journal((folder / (source.name + ".journal")).string());
    const Standing standing = standing_of(journal);
    const Desk desk{options, http, patience, source, journal};
    if (options.defer || options.reject) {
        if (standing.file.empty() || !is_there(folder / standing.file)) return put_off(desk);
        throw Failure("the message was fetched already, into " +
                      visible((folder / standing.file).string()));
    }
    return fetch(desk, folder, standing);
}

}  // namespace mmskit_transport
