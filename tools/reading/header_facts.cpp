#include "reading/header_facts.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <span>
#include <utility>

namespace mmskit_tool {
namespace {

constexpr uint32_t from_code = 0x89;

// A person's headers, first to last; the rest follows in the order of the message. From, To, Cc,
// Bcc, Subject, Date, Message-ID.
constexpr uint32_t leading[] = {from_code, 0x97, 0x82, 0x81, 0x96, 0x85, 0x8B};
constexpr uint32_t recipients[] = {0x97, 0x82, 0x81};
// OMA-TS-MMS_ENC 6: those that may come several times.
constexpr std::string_view repeating[] = {"mm_flags", "previously_sent_by", "previously_sent_date",
                                          "attributes"};
constexpr std::string_view byte_counts[] = {"message_size", "reply_charging_size"};

template <typename Item, std::size_t count, typename Wanted>
bool is_one_of(const Item (&list)[count], const Wanted& wanted) {
    return std::find(std::begin(list), std::end(list), wanted) != std::end(list);
}

std::size_t rank(const tMMS_HeaderField& field) {
    const auto* const found = std::find(std::begin(leading), std::end(leading), field.iCode);
    return static_cast<std::size_t>(std::distance(std::begin(leading), found));
}

}  // namespace

std::string json_key_of(std::string_view name) {
    std::string key;
    for (const char c : name)
        key += c == '-' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (std::string_view prefix = "x_mms_"; key.starts_with(prefix)) key.erase(0, prefix.size());
    return key;
}

HeaderFact header_fact(const tMMS_HeaderField& field) {
    HeaderFact fact;
    fact.name = field.pName;
    fact.code = field.iCode;
    switch (field.iForm) {
        case MMS_VALUE_FLAG:
            fact.value = field.iNumber != 0;
            break;
        case MMS_VALUE_DATE:
            fact.value = Date{field.iNumber};
            break;
        case MMS_VALUE_PERIOD:
            fact.value = Period{field.iNumber};
            break;
        case MMS_VALUE_NUMBER:
            fact.value = field.iNumber;
            break;
        default:
            fact.value = std::string(field.pValue);
    }
    if (fact.name.empty() || field.iCode == 0) return fact;  // not one of the standard's
    fact.json_key = json_key_of(fact.name);
    fact.repeats = is_one_of(repeating, fact.json_key);
    if (field.iForm == MMS_VALUE_NUMBER && is_one_of(byte_counts, fact.json_key))
        fact.value = ByteCount{field.iNumber};
    return fact;
}

std::vector<HeaderFact> header_facts(const tMMS_Anatomy& anatomy) {
    std::vector<HeaderFact> facts;
    facts.reserve(anatomy.iHeaders);
    for (std::size_t place = 0; place <= std::size(leading); ++place) {
        for (const tMMS_HeaderField& field : std::span(anatomy.pHeaders, anatomy.iHeaders)) {
            if (rank(field) != place) continue;
            // The relay is to insert the sender: there is none yet.
            if (field.iForm == MMS_VALUE_TOKEN && field.iCode == from_code) continue;
            HeaderFact fact = header_fact(field);
            // Recipients of one kind are one list; they follow each other here.
            const bool more = is_one_of(recipients, field.iCode) && !facts.empty() &&
                              facts.back().code == field.iCode;
            auto* const list = more ? std::get_if<std::string>(&facts.back().value) : nullptr;
            if (const auto* address = std::get_if<std::string>(&fact.value); list && address)
                (*list += ';') += *address;
            else
                facts.push_back(std::move(fact));
        }
    }
    return facts;
}

}  // namespace mmskit_tool
