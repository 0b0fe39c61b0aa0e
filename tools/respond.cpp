// mmskit respond: what a phone answers to the message centre and to a sender, as PDUs.
#include <algorithm>
#include <array>
#include <memory>

#include "commands.h"
#include "composition.h"
#include "file_io.h"
#include "plan_values.h"

namespace mmskit_tool {
namespace {

struct RespondOptions {
    std::string output;
    std::string transaction_id, message_id, to, subject, status, date = "none";
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

std::string transaction_id(const RespondOptions& options) {
    return value_of("--transaction-id", options.transaction_id, parse_token);
}

void respond_notify(const RespondOptions& options) {
    const std::string id = transaction_id(options);
    const auto* status = std::find(statuses.begin(), statuses.end(), options.status);
    const auto code = static_cast<int32_t>(0x80 + (status - statuses.begin()));
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeNotifyRespPdu(id.c_str(), options.no_report ? 0 : 1, code, &size);
    write_pdu(options, pdu, size);
}

void respond_ack(const RespondOptions& options) {
    const std::string id = transaction_id(options);
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeAcknowledgePdu(id.c_str(), options.no_report ? 0 : 1, &size);
    write_pdu(options, pdu, size);
}

void respond_read(const RespondOptions& options) {
    std::string id = value_of("--message-id", options.message_id, parse_token);
    std::string to = value_of("--to", options.to, parse_address);
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
    const std::string id = transaction_id(options);
    const std::string to = value_of("--to", options.to, parse_address);
    const std::string subject = value_of("--subject", options.subject, parse_line);
    uint32_t size = 0;
    uint8_t* pdu = fnMMS_MakeReadReportPdu(id.c_str(), to.c_str(), subject.c_str(), &size);
    write_pdu(options, pdu, size);
}

using Options = std::shared_ptr<RespondOptions>;

CLI::App* add_response(CLI::App& respond, Run& run, const Options& options, const char* name,
                       const char* help, void (*work)(const RespondOptions&)) {
    CLI::App* command = respond.add_subcommand(name, help);
    command->add_option("-o,--output", options->output, "The file to write; - is standard output")
        ->required()
        ->type_name("FILE");
    command->callback([options, work, &run] { run = [options, work] { work(*options); }; });
    return command;
}

void need(CLI::App& command, const char* name, std::string& value, const char* type,
          const char* help) {
    command.add_option(name, value, help)->required()->type_name(type);
}

void need_transaction_id(CLI::App& command, const Options& options) {
    need(command, "--transaction-id", options->transaction_id, "ID",
         "The transaction id of the message that is answered");
}

}  // namespace

void add_respond_command(CLI::App& app, Run& run) {
    const auto options = std::make_shared<RespondOptions>();
    CLI::App* respond = app.add_subcommand("respond", "Write an answer: a response or a report");
    respond->require_subcommand(1);
    constexpr const char* no_report = "Do not let the sender have a delivery report";

    CLI::App* notify = add_response(*respond, run, options, "notify",
                                    "Answer a notification (m-notifyresp-ind)", respond_notify);
    need_transaction_id(*notify, options);
    notify->add_option("--status", options->status, "What becomes of the message that was notified")
        ->required()
        ->check(CLI::IsMember(std::vector<std::string>(statuses.begin(), statuses.end())))
        ->type_name("STATUS");
    notify->add_flag("--no-report", options->no_report, no_report);

    CLI::App* ack =
        add_response(*respond, run, options, "ack",
                     "Acknowledge a retrieved message (m-acknowledge-ind)", respond_ack);
    need_transaction_id(*ack, options);
    ack->add_flag("--no-report", options->no_report, no_report);

    CLI::App* read = add_response(*respond, run, options, "read",
                                  "Report that a message was read (m-read-rec-ind)", respond_read);
    need(*read, "--message-id", options->message_id, "ID", "The message id of the message");
    need(*read, "--to", options->to, "ADDRESS", "The sender of the message");
    read->add_flag("--deleted", options->deleted, "It was deleted without being read");
    read->add_option("--date", options->date,
                     "When: 2026-12-01T00:00:00Z, now, or none, which is the default")
        ->type_name("DATE");

    CLI::App* message =
        add_response(*respond, run, options, "read-message",
                     "Report it as a message to the sender (m-send-req)", respond_read_message);
    need(*message, "--transaction-id", options->transaction_id, "ID",
         "The transaction id of the report itself");
    need(*message, "--to", options->to, "ADDRESS", "The sender of the message");
    need(*message, "--subject", options->subject, "TEXT", "The subject of the report");
}

}  // namespace mmskit_tool
