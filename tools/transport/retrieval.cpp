#include "transport/retrieval.h"

#include <algorithm>
#include <array>
#include <utility>

namespace mmskit_transport {
namespace {

// Worth another attempt: any number of them, one, or none.
enum class Hope { good, once, none };

struct Look {
    Retrieval result;
    Hope hope = Hope::none;
};

bool is_not_found(int status) {
    return status == 404 || status == 410;
}

Hope hope_of_status(int status) {
    constexpr std::array passing{408, 425, 429};
    const bool passes =
        status >= 500 || std::find(passing.begin(), passing.end(), status) != passing.end();
    if (is_not_found(status)) return Hope::once;
    return passes ? Hope::good : Hope::none;
}

std::string quoted_line(const std::vector<uint8_t>& answer) {
    const std::string line = first_line(answer);
    return line.empty() ? "" : ": \"" + line + '"';
}

Look look_at_message(const Message& message, const Exchange& exchange) {
    constexpr int64_t ok = 0x80;
    constexpr int64_t permanent = 0xE0;
    constexpr int64_t not_found = 0xC1;
    Look look;
    const Field* status = message.find(Code::retrieve_status);
    if (status != nullptr && status->number != ok) {
        const std::string text = message.text(Code::retrieve_text);
        look.result.problem = "the centre has no message: " + retrieve_status_name(status->number) +
                              (text.empty() ? "" : ": " + text);
        if (status->number < permanent)
            look.hope = status->number == not_found ? Hope::once : Hope::good;
        return look;
    }
    if (message.text(Code::message_id).empty()) {
        look.result.problem = "the answer is a retrieved message without a Message-ID";
        return look;
    }
    // Where HTTP says how long the answer is, a message that is cut was cut before it came here.
    if (!(message.whole() && message.has_body()) && !exchange.end_told) {
        look.result.problem = "the message broke off";
        look.hope = Hope::good;
        return look;
    }
    look.result.message = true;
    look.result.transaction_id = message.text(Code::transaction_id);
    if (!message.whole()) look.result.problem = "a piece of it is missing, at the centre already";
    return look;
}

Look look_at(const Exchange& exchange, const std::string& url) {
    Look look;
    look.result.problem = explain(exchange, url);
    if (!exchange.answered) {
        look.hope = exchange.transient ? Hope::good : Hope::none;
        return look;
    }
    if (fate_of(exchange) != Fate::answered) {
        look.hope = hope_of_status(exchange.status);
        look.result.problem += quoted_line(exchange.body);
        return look;
    }
    const Message message(exchange.body);
    if (message.type() == Type::retrieve_conf && message.bare())
        return look_at_message(message, exchange);
    look.result.problem =
        message.type() != Type::none   ? "the answer is " + type_name(message.type())
        : exchange.body.empty()        ? "the answer is empty"
        : message.looks_like().empty() ? "the answer is no message"
                                       : "the answer is no message but " + message.looks_like();
    look.result.problem += quoted_line(exchange.body);
    return look;
}

}  // namespace

Retrieval retrieve(const Http& http, const Source& source, const Patience& patience) {
    bool looked_again = false;
    for (int attempt = 0;; ++attempt) {
        Exchange exchange = http.get(source.url);
        Look look = look_at(exchange, source.url);
        look.result.answer = std::move(exchange.body);
        const bool again = look.hope == Hope::good || (look.hope == Hope::once && !looked_again);
        looked_again = looked_again || look.hope == Hope::once;
        if (!again || source.expired() || !patience.wait(attempt, look.result.problem))
            return std::move(look.result);
        if (source.expired()) return std::move(look.result);
    }
}

}  // namespace mmskit_transport
