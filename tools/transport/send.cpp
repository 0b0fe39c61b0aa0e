// mmskit send: posts a message or an answer, once. The journal beside it is written before the
// first byte leaves, so that whatever happens then, the next run knows that something may have.
#include "transport/send.h"

#include <algorithm>
#include <array>
#include <exception>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "transport/address.h"
#include "transport/journal.h"
#include "transport/pdu.h"
#include "transport/reading.h"

namespace mmskit_transport {
namespace {

using mmskit_tool::Failure;
using mmskit_tool::visible;

// What is posted.
struct Letter {
    Type type = Type::none;
    std::vector<uint8_t> pdu;
    std::string transaction_id;
    std::string key;  // tells in the journal whether an event is about this letter
};

// The answer that a request has; the others have none beyond the status of HTTP.
Type answer_to(Type type) {
    if (type == Type::send_req) return Type::send_conf;
    return type == Type::forward_req ? Type::forward_conf : Type::none;
}

// ---- What is to be sent -------------------------------------------------------------------------

void refuse_what_no_client_sends(const Message& message, const std::string& name) {
    constexpr std::array sendable{Type::send_req, Type::forward_req, Type::notifyresp_ind,
                                  Type::acknowledge_ind, Type::read_rec_ind};
    if (std::find(sendable.begin(), sendable.end(), message.type()) == sendable.end())
        throw Failure(name + ": this is " + type_name(message.type()) +
                      ", and no client sends that");
    if (!message.bare())
        throw Failure(name + ": the message is wrapped into something else and cannot be sent so");
    const bool request = answer_to(message.type()) != Type::none;
    const bool to_somebody = message.find(Code::to) != nullptr ||
                             message.find(Code::cc) != nullptr ||
                             message.find(Code::bcc) != nullptr;
    if (request && !to_somebody) throw Failure(name + ": it has no recipient");
    if (message.type() != Type::read_rec_ind && message.text(Code::transaction_id).empty())
        throw Failure(name + ": it has no transaction id");
}

// What receivers are known to lose. Told before it leaves; the message is the user's all the same.
void warn_of_losses(const Message& message, std::size_t size, uint64_t largest,
                    const std::string& name) {
    constexpr std::size_t longest_subject = 125;  // bytes of UTF-8
    constexpr std::size_t longest_name = 49;
    const auto warn = [&name](const std::string& text) { say("warning: " + name + ": " + text); };
    if (size > largest) {
        warn("it has " + std::to_string(size) + " bytes, and many centres take no more than " +
             std::to_string(largest));
    }
    const std::size_t subject = message.text(Code::subject).size();
    if (subject > longest_subject) {
        warn("the subject has " + std::to_string(subject) + " bytes, and receivers lose one of " +
             "more than " + std::to_string(longest_subject));
    }
    for (const std::string& part : message.part_names()) {
        if (part.size() <= longest_name) continue;
        warn("the name \"" + part + "\" has " + std::to_string(part.size()) +
             " bytes, and receivers lose media whose name has more than " +
             std::to_string(longest_name));
    }
    if (!message.whole()) warn("it is cut: a part is not all there");
}

Letter letter_of(const std::vector<uint8_t>& bytes, uint64_t largest, const std::string& name) {
    const Message message(bytes);
    refuse_what_no_client_sends(message, name);
    warn_of_losses(message, bytes.size(), largest, name);
    return {message.type(), bytes, message.text(Code::transaction_id), "bytes:" + digest(bytes)};
}

// A read report is about a retrieved message, and so is an acknowledgement; the others answer a
// notification.
Letter report_of(const std::vector<uint8_t>& bytes, const std::string& report,
                 const std::string& name) {
    const Message message(bytes);
    const bool read = report == "read" || report == "deleted";
    const Type wanted =
        read || report == "acknowledge" ? Type::retrieve_conf : Type::notification_ind;
    if (message.type() != wanted)
        throw Failure(name + ": --report " + report + " answers " + type_name(wanted) +
                      ", and this is " + type_name(message.type()));
    const std::string id = message.text(read ? Code::message_id : Code::transaction_id);
    const std::string from = message.text(Code::from);
    if (id.empty())
        throw Failure(name + ": it has no " + (read ? "message id" : "transaction id") +
                      " to answer to");
    if (read && from.empty()) throw Failure(name + ": it does not say who sent it");
    Letter letter;
    letter.transaction_id = read ? "" : id;
    letter.key = report + ':' + id;
    if (read) {
        letter.type = Type::read_rec_ind;
        letter.pdu = read_report(id, from, report == "deleted");
    } else if (report == "acknowledge") {
        letter.type = Type::acknowledge_ind;
        letter.pdu = acknowledgement(id, true);
    } else {
        letter.type = Type::notifyresp_ind;
        letter.pdu = notify_response(id, notify_status(report), true);
    }
    return letter;
}

// ---- What came of it ----------------------------------------------------------------------------

struct Outcome {
    const char* state;  // of the journal
    int exit_status;
    std::string line;  // what the person is told on standard error; empty: nothing
    Facts facts;
};

std::string not_known(const std::string& why) {
    return "it is not known whether the message was taken: " + why;
}

// What a 2xx answer that is no confirmation looks like.
std::string described(const Exchange& exchange, const Message& answer) {
    if (answer.type() != Type::none) return type_name(answer.type());
    if (exchange.body.empty()) return "an empty answer";
    const std::string line = first_line(exchange.body);
    if (line.empty()) return std::to_string(exchange.body.size()) + " bytes that are no message";
    const std::string& kind = answer.looks_like();
    return "no message but " + (kind.empty() ? "" : kind + ": ") + '"' + line + '"';
}

Outcome judge_confirmation(const Message& answer) {
    constexpr int64_t ok = 0x80;
    constexpr int64_t partial_success = 0xC4;
    const Field* status = answer.find(Code::response_status);
    const std::string name = status != nullptr ? response_status_name(status->number) : "no status";
    const std::string text = answer.text(Code::response_text);
    const Facts facts{{"status", name}, {"message-id", answer.text(Code::message_id)}};
    if (status == nullptr)
        return {"unknown", exit_unknown, not_known("the answer has no status"), facts};
    if (status->number == ok) return {"sent", exit_done, "", facts};
    const std::string line = name + (text.empty() ? "" : ": " + text);
    if (status->number == partial_success)
        return {"partly-sent", exit_failed, "only some recipients get it: " + line, facts};
    return {"refused", exit_failed, "the centre did not take it: " + line, facts};
}

Outcome judge(const Letter& letter, const Exchange& exchange, const std::string& url) {
    const std::string why = explain(exchange, url);
    const Facts http{{"http", std::to_string(exchange.status)}};
    switch (fate_of(exchange)) {
        case Fate::not_sent:
            return {"not-sent", exit_failed, "nothing was sent: " + why, {}};
        case Fate::refused:
            return {"refused", exit_failed, why, http};
        case Fate::unknown:
            return {"unknown", exit_unknown, not_known(why), http};
        case Fate::answered:
            break;
    }
    if (answer_to(letter.type) == Type::none) return {"sent", exit_done, "", http};
    const Message answer(exchange.body);
    if (answer.type() != answer_to(letter.type) || !answer.bare())
        return {"unknown", exit_unknown,
                not_known(short_url(url) + " answered with " + described(exchange, answer)), http};
    if (answer.text(Code::transaction_id) != letter.transaction_id)
        return {"unknown", exit_unknown,
                not_known("the answer is about another transaction, \"" +
                          answer.text(Code::transaction_id) + '"'),
                http};
    return judge_confirmation(answer);
}

// ---- In the journal, and on the terminal --------------------------------------------------------

void print_answer(const Letter& letter, const Exchange& exchange) {
    const Message answer(exchange.body);
    if (!exchange.answered || answer.type() == Type::none) return;
    std::string out =
        type_name(answer.type()) + "  " + std::to_string(exchange.body.size()) + " bytes\n\n";
    const auto row = [&out](std::string name, const std::string& value) {
        if (value.empty()) return;
        name.resize(23, ' ');
        out += name + visible(value) + '\n';
    };
    const Field* status = answer.find(Code::response_status);
    row("X-Mms-Transaction-Id", answer.text(Code::transaction_id));
    if (answer.type() == answer_to(letter.type) && status != nullptr)
        row("X-Mms-Response-Status", response_status_name(status->number));
    row("X-Mms-Response-Text", answer.text(Code::response_text));
    row("Message-ID", answer.text(Code::message_id));
    mmskit_tool::write_output(out);
}

// That the answer cannot be kept or printed does not change what it was.
void tell(const Letter& letter, const Exchange& exchange, const Outcome& outcome,
          const std::string& output) {
    if (!outcome.line.empty()) say(outcome.line);
    try {
        if (!output.empty() && exchange.status != 0) mmskit_tool::write_file(output, exchange.body);
        print_answer(letter, exchange);
    } catch (const Failure& failure) {
        say(std::string("warning: ") + failure.what());
    }
}

// What an earlier run of the same letter forbids; -1: nothing.
int earlier_status(const Journal& journal, const Letter& letter, const std::string& name) {
    const Event* last = journal.last_with("message", letter.key);
    if (last == nullptr || last->state == "refused" || last->state == "not-sent") return -1;
    const std::string when = " (" + last->when + "; --again sends it once more)";
    if (last->state == "sent") {
        say(name + " was sent already" + when);
        return exit_done;
    }
    if (last->state == "partly-sent") {
        say(name + " was sent to some of its recipients already" + when);
        return exit_failed;
    }
    say(name + " may have been sent already: what came of it is not known" + when);
    return exit_unknown;
}

// The letter has gone: that its journal cannot be written any more does not change that, and the
// line before it stands for an outcome that is not known.
void record_outcome(Journal& journal, const Letter& letter, const Outcome& outcome) {
    Facts facts{{"message", letter.key}};
    facts.insert(facts.end(), outcome.facts.begin(), outcome.facts.end());
    try {
        journal.record(outcome.state, facts);
    } catch (const Failure& failure) {
        say(std::string("warning: the journal does not tell what came of it: ") + failure.what());
    }
}

}  // namespace

int send_message(const SendOptions& options) {
    const Http http(options.way.http());
    const Patience patience = options.way.patience();
    const uint64_t largest = parse_size("--max-size", options.largest);
    const std::string& url = options.way.centre;
    check_url(url, "--mmsc");
    if (options.file == "-")
        throw mmskit_tool::WrongUsage("MESSAGE must be a file: its journal is kept beside it");
    const std::string name = visible(options.file);
    const std::vector<uint8_t> bytes = mmskit_tool::read_input(options.file);
    const Letter letter = options.report.empty() ? letter_of(bytes, largest, name)
                                                 : report_of(bytes, options.report, name);

    Journal journal(options.file + (options.report.empty() ? "" : "." + options.report) +
                    ".journal");
    if (!options.way.again) {
        const int status = earlier_status(journal, letter, name);
        if (status >= 0) return status;
    }
    journal.record("sending", {{"message", letter.key}, {"to", short_url(url)}});
    try {
        const Exchange exchange = post_patiently(http, url, letter.pdu, patience);
        const Outcome outcome = judge(letter, exchange, url);
        record_outcome(journal, letter, outcome);
        tell(letter, exchange, outcome, options.output);
        return outcome.exit_status;
    } catch (const std::exception& error) {  // memory: what the journal says stays true
        say(not_known(error.what()));
        return exit_unknown;
    }
}

}  // namespace mmskit_transport
