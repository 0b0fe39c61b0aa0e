#include "reading/header_facts.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

namespace mmskit_tool {
namespace {

constexpr uint32_t from_code = 0x89;

// A person's headers, first to last; the rest follows in the order of the message.
constexpr std::array<std::string_view, 7> leading{"from",    "to",   "cc",        "bcc",
                                                  "subject", "date", "message_id"};
constexpr std::array<std::string_view, 3> recipients{"to", "cc", "bcc"};
// OMA-TS-MMS_ENC 6: those that may come several times.
constexpr std::array<std::string_view, 4> repeating{"mm_flags", "previously_sent_by",
                                                    "previously_sent_date", "attributes"};
constexpr std::array<std::string_view, 2> byte_counts{"message_size", "reply_charging_size"};

template <std::size_t count>
bool is_one_of(const std::array<std::string_view, count>& list, std::string_view key) {
    return std::find(list.begin(), list.end(), key) != list.end();
}

std::size_t rank(const HeaderFact& fact) {
    return static_cast<std::size_t>(
        std::distance(leading.begin(), std::find(leading.begin(), leading.end(), fact.json_key)));
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
    fact.value = std::string(field.pValue);
    if (field.iForm == MMS_VALUE_FLAG) fact.value = field.iNumber != 0;
    if (field.iForm == MMS_VALUE_DATE) fact.value = Date{field.iNumber};
    if (field.iForm == MMS_VALUE_PERIOD) fact.value = Period{field.iNumber};
    if (field.iForm == MMS_VALUE_NUMBER) fact.value = field.iNumber;
    if (fact.name.empty() || field.iCode == 0) return fact;  // not one of the standard's
    fact.json_key = json_key_of(fact.name);
    fact.repeats = is_one_of(repeating, fact.json_key);
    if (field.iForm == MMS_VALUE_NUMBER && is_one_of(byte_counts, fact.json_key))
        fact.value = ByteCount{field.iNumber};
    return fact;
}

std::vector<HeaderFact> header_facts(const tMMS_Anatomy& anatomy) {
    std::vector<HeaderFact> facts;
    std::array<std::size_t, recipients.size()> lists{};  // where in the facts, and 1
    for (uint32_t i = 0; i < anatomy.iHeaders; ++i) {
        // The relay is to insert the sender: there is none yet.
        const bool inserted =
            anatomy.pHeaders[i].iForm == MMS_VALUE_TOKEN && anatomy.pHeaders[i].iCode == from_code;
        if (inserted) continue;
        HeaderFact fact = header_fact(anatomy.pHeaders[i]);
        const auto kind = static_cast<std::size_t>(std::distance(
            recipients.begin(), std::find(recipients.begin(), recipients.end(), fact.json_key)));
        auto* address = std::get_if<std::string>(&fact.value);
        if (kind < lists.size() && address != nullptr) {
            if (lists[kind] != 0) {
                std::get<std::string>(facts[lists[kind] - 1].value) += ';' + *address;
                continue;
            }
            lists[kind] = facts.size() + 1;
        }
        facts.push_back(std::move(fact));
    }
    std::stable_sort(facts.begin(), facts.end(),
                     [](const HeaderFact& a, const HeaderFact& b) { return rank(a) < rank(b); });
    return facts;
}

}  // namespace mmskit_tool
