// mmskit respond: what a phone answers to the message centre and to a sender, as PDUs.
#include <algorithm>
#include <array>

#include "commands/commands.h"
#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "reading/render.h"
#include "writing/composition.h"
#include "writing/message_plan.h"
#include "writing/plan_values.h"

namespace mmskit_tool {
namespace {

// What is not given comes from the message that is answered.
struct RespondOptions {
    std::string file, output;
    std::optional<std::string> transaction_id, message_id, to;
    std::string subject, status = "retrieved", date = "now";
    bool no_report = false;
    bool deleted = false;
};

// X-Mms-Status (OMA-MMS-ENC 7.3.54); values count from 0x80 in this order.
constexpr std::array statuses{"expired",      "retrieved",     "rejected", "deferred",
                              "unrecognised", "indeterminate", "forwarded"};

// A value that an option gave, and in a Failure the option's name.
template <typename Parse>
auto value_of(const char* option, const std::string& word, Parse parse) {
    try {
        return parse(word);
    } catch (const Failure& failure) {
        throw Failure(std::string(option) + ": " + failure.what());
    }
}

void write_pdu(const RespondOptions& options, uint8_t* pdu, uint32_t size) {
    const LibraryBytes owner{std::unique_ptr<uint8_t[], LibraryBytes::Free>(pdu), size};
    if (pdu == nullptr) throw Failure("out of memory");
    write_file(options.output, owner.bytes());
}

// The message that is answered, where there is one.
class Answered {
  public:
    explicit Answered(const std::string& file) : file_(file) {
        if (!file.empty()) message_ = open_message(file, Reading::outline);
    }

    // What the option gave, else what the header says.
    template <typename Parse>
    std::string value(const std::optional<std::string>& given, const char* option, const char* key,
                      Parse parse) const {
        if (given) return value_of(option, *given, parse);
        if (message_ == nullptr)
            throw WrongUsage("FILE, or " + std::string(option) + ", is missing");
        const HeaderFact* header = find_header(message_->facts(), key);
        const std::string name = visible(input_name(file_)) + ": ";
        if (header == nullptr)
            throw Failure(name + "the message has no " + words(key) + "; " + option + " gives one");
        try {
            return parse(value_line(*header));
        } catch (const Failure& failure) {
            throw Failure(name + words(key) + ": " + failure.what());
        }
    }

    // The kind must be one that is answered so.
    void require_kind(std::string_view kind) const {
        if (message_ == nullptr || kind == message_->facts().kind) return;
        throw Failure(visible(input_name(file_)) + ": it is " + message_->facts().kind + ", not " +
                      std::string(kind));
    }

  private:
    static std::string words(std::string text) {
        std::replace(text.begin(), text.end(), '_', ' ');
        return text;
    }

    std::string file_;
    std::unique_ptr<OpenMessage> message_;
};

constexpr std::string_view kind_notification = "m-notification-ind";
constexpr std::string_view kind_retrieved = "m-retrieve-conf";

std::string transaction_id(const RespondOptions& options, std::string_view kind) {
    const Answered answered(options.file);
    answered.require_kind(kind);
    return answered.value(options.transaction_id, "--transaction-id", "transaction_id",
                          parse_token);
}

// A sender with a name is answered at the address behind it.
std::string parse_sender(std::string_view from) {
    return parse_recipient(bare_address(from));
}

void respond_notify(const RespondOptions& options) {
    const std::string id = transaction_id(options, kind_notification);
    const auto* status = std::find(statuses.begin(), statuses.end(), options.status);
    const auto code = static_cast<int32_t>(0x80 + (status - statuses.begin()));
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeNotifyRespPdu(id.c_str(), options.no_report ? 0 : 1, code, &size);
    write_pdu(options, pdu, size);
}

void respond_ack(const RespondOptions& options) {
    const std::string id = transaction_id(options, kind_retrieved);
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeAcknowledgePdu(id.c_str(), options.no_report ? 0 : 1, &size);
    write_pdu(options, pdu, size);
}

void respond_read(const RespondOptions& options) {
    const Answered answered(options.file);
    answered.require_kind(kind_retrieved);
    std::string id = answered.value(options.message_id, "--message-id", "message_id", parse_token);
    std::string to = answered.value(options.to, "--to", "from", parse_sender);
    tMMS_ReadRecInd report{};  // borrows both texts
    report.pMessageId = id.data();
    report.pTo = to.data();
    report.bReadStatus = options.deleted ? 1 : 0;
    if (options.date != "none") report.iDate = value_of("--date", options.date, parse_date);
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeReadRecIndPdu(&report, &size);
    write_pdu(options, pdu, size);
}

void respond_read_message(const RespondOptions& options) {
    const std::string id = value_of("--transaction-id", *options.transaction_id, parse_token);
    const std::string to = value_of("--to", *options.to, parse_recipient);
    const std::string subject = value_of("--subject", options.subject, [](const auto& word) {
        return fitting_subject(parse_line(word), false, "");
    });
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeReadReportPdu(id.c_str(), to.c_str(), subject.c_str(), &size);
    write_pdu(options, pdu, size);
}

void declare_output(Command& command, RespondOptions& options) {
    command.option("-o,--output", options.output, "FILE", "The file to write; - is standard output")
        .require();
}

void declare_answered(Command& command, RespondOptions& options) {
    command.word("FILE", &options.file,
                 "The message that is answered; options say what it does not, or override it");
    declare_output(command, options);
}

void declare_transaction(Command& command, RespondOptions& options) {
    declare_answered(command, options);
    command.option("--transaction-id", options.transaction_id, "ID",
                   "The transaction id of the message that is answered");
    command.flag("--no-report", options.no_report, "Do not let the sender have a delivery report");
}

void declare_notify(Command& command, RespondOptions& options) {
    declare_transaction(command, options);
    command
        .option("--status", options.status, "STATUS",
                "What becomes of the message; retrieved when not given")
        .among({statuses.begin(), statuses.end()});
}

void declare_read(Command& command, RespondOptions& options) {
    declare_answered(command, options);
    command.option("--message-id", options.message_id, "ID", "The message id of the message");
    command.option("--to", options.to, "ADDRESS", "The sender of the message");
    command.flag("--deleted", options.deleted, "It was deleted without being read");
    command.option("--date", options.date, "DATE",
                   "When: 2026-12-01T00:00:00Z, none, or now, which is the default");
}

void declare_read_message(Command& command, RespondOptions& options) {
    declare_output(command, options);
    command
        .option("--transaction-id", options.transaction_id, "ID",
                "The transaction id of the report itself")
        .require();
    command.option("--to", options.to, "ADDRESS", "The sender of the message").require();
    command.option("--subject", options.subject, "TEXT", "The subject of the report").require();
}

}  // namespace

Command respond_command() {
    Command respond("respond", "Write an answer: a response or a report");
    respond.add(Command::of("notify", "Answer a notification (m-notifyresp-ind)", declare_notify,
                            respond_notify));
    respond.add(Command::of("ack", "Acknowledge a retrieved message (m-acknowledge-ind)",
                            declare_transaction, respond_ack));
    respond.add(Command::of("read", "Report that a message was read (m-read-rec-ind)", declare_read,
                            respond_read));
    respond.add(Command::of("read-message", "Report it as a message to the sender (m-send-req)",
                            declare_read_message, respond_read_message));
    return respond;
}

}  // namespace mmskit_tool
