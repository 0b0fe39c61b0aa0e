// The headers of a PDU (OMA-TS-MMS_ENC 7): every field of every version, in any order, under codes
// and under textual names.
#include <bitset>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/cursor.h"
#include "Anatomy/src/header_values.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/mms_fields.h"

namespace mmskit_anatomy {
namespace {

constexpr uint8_t code_retrieve_status = 0x99, code_transaction_id = 0x98, code_version = 0x8D;

bool is_token(std::string_view name) {
    constexpr std::string_view separators = "()<>@,;:\\\"/[]?={} \t";
    return !name.empty() && std::all_of(name.begin(), name.end(), [&](char c) {
        return c > ' ' && c < 0x7F && separators.find(c) == std::string_view::npos;
    });
}

// ---- The walk ----

class PduWalker {
  public:
    PduWalker(Tree& tree, const Place& place, uint32_t depth)
        : tree_(tree), cursor_(tree, place), depth_(depth) {
        cursor_.memo = &memo_;
    }

    void walk() {
        while (!cursor_.done())
            read_header();
        tell_what_is_missing();
        tree_.iMessageType = type_;
        const std::string_view kind = message_type_name(type_);
        tree_.pKind = tree_.arena.keep(kind.empty() ? "message of an unknown type" : kind);
    }

  private:
    void read_header() {
        start_ = cursor_.at;
        const uint8_t first = cursor_.peek();
        if (first < 0x80) return first > 0x20 ? read_textual() : pass_junk();
        cursor_.skip(1);
        const Field* const field = find_field(first);
        if (field != nullptr && field->kind == ValueKind::body) return read_body();
        const bool type = field != nullptr && field->kind == ValueKind::type;
        if (!type && tree_.full() && tree_.header_list.size() >= most_headers)
            return pass_header(first);
        if (field == nullptr) return read_unknown(first);
        if (cursor_.done()) return add_cut(*field);
        const uint32_t value_at = cursor_.at;
        Value value;
        read_value(cursor_, value, *field);
        add(*field, field->name, value, value_at, false);
    }

    // Of headers beyond what is shown and listed it counts that they are there.
    void pass_header(uint8_t code) {
        if (skip_value(cursor_)) seen_.set(code);
        tree_.add(MMS_NODE_HEADER, cursor_.since(start_), depth_, {});
    }

    void add_cut(const Field& field) {
        Value value;
        value.cut = true;
        add(field, field.name, value, cursor_.at, false);
    }

    void add(const Field& field, std::string_view name, const Value& value, uint32_t value_at,
             bool textual) {
        const uint32_t node = add_header(field.code, name, value, value_at, textual);
        if (!value.cut) seen_.set(field.code);
        if (field.kind == ValueKind::type && value.number >= 0x80)
            type_ = static_cast<uint8_t>(value.number);
        if (field.code == code_retrieve_status && value.number > 0x80)
            tree_.flaw(node, MMS_FLAW_LOST, "the message was not retrieved: " + value.text);
    }

    uint32_t add_header(uint8_t code, std::string_view name, const Value& value, uint32_t value_at,
                        bool textual) {
        const Place whole = cursor_.since(start_);
        const uint32_t node = tree_.add(MMS_NODE_HEADER, whole, depth_,
                                        name.empty() ? hex_octet(code) : name, value.text, code);
        if (has_flaw(value))
            tell_flaw(node, name.empty() ? "header " + hex_octet(code) : std::string(name), value);
        if (tree_.header_list.size() >= most_headers) {
            if (!too_many_) tree_.note(MMS_FLAW_LOST, whole, "too many headers");
            too_many_ = true;
            return node;
        }
        tMMS_HeaderField header{};
        header.iNode = node;
        header.iCode = code;
        header.pName = tree_.arena.keep_again(name);
        header.iForm = value.form;
        header.pValue = tree_.arena.keep_again(value.text);
        header.iNumber = value.number;
        tree_.header_list.push_back(header);
        tree_.header_details.push_back({whole,
                                        {cursor_.layer, value_at, cursor_.at - value_at},
                                        value.exact && !textual && !value.cut,
                                        textual});
        return node;
    }

    static bool has_flaw(const Value& value) {
        return value.cut || value.unknown || (!value.flaw.empty() && !value.exact);
    }

    void tell_flaw(uint32_t node, const std::string& name, const Value& value) {
        if (value.cut && value.declared > value.present) {
            tree_.flaw(node, MMS_FLAW_LOST,
                       name + ": " + std::to_string(value.present) + " of " +
                           std::to_string(value.declared) + " bytes");
        } else if (value.cut) {
            tree_.flaw(node, MMS_FLAW_LOST, name + ": its end is missing");
        } else if (value.unknown) {
            tree_.flaw(node, MMS_FLAW_UNKNOWN, name + ": a value of another form");
        } else {
            tree_.flaw(node, MMS_FLAW_REPAIRED, name + ": " + value.flaw);
        }
    }

    void read_unknown(uint8_t code) {
        const uint32_t value_at = cursor_.at;
        Value value;
        take_any(cursor_, value);
        value.cut = value.cut || cursor_.at == value_at;
        const uint32_t node = add_header(code, "", value, value_at, false);
        if (!value.cut)
            tree_.flaw(node, MMS_FLAW_UNKNOWN,
                       "header " + hex_octet(code) + " is not the standard's");
    }

    // Application-header (WAP-230 8.4.2.6): a name and a text.
    void read_textual() {
        bool ended = false;
        const std::string_view name = cursor_.text(ended);
        if (!is_token(name)) return add_junk(ended);
        Value value;
        const uint32_t value_at = cursor_.at;
        if (!ended || cursor_.done()) {
            value.cut = true;
            add_header(0, name, value, value_at, true);
            return;
        }
        const Field* const field = find_field(name);
        if (field != nullptr && field->kind != ValueKind::body) {
            read_value(cursor_, value, *field);
            return add(*field, field->name, value, value_at, true);
        }
        if (passes_plain_text()) return add_header(0, name, value, value_at, true), void();
        if (cursor_.peek() >= 0x80)
            take_text_or_octet(value);
        else if (cursor_.peek() > length_quote || cursor_.peek() == 0)
            take_encoded(cursor_, value);
        else
            take_any(cursor_, value);
        add_header(0, name, value, value_at, true);
    }

    // Of headers beyond what is shown and listed a value is read for its flaws alone: a plain text
    // has none.
    bool passes_plain_text() {
        if (!tree_.full() || tree_.header_list.size() < most_headers) return false;
        if (cursor_.peek() <= length_quote || cursor_.peek() >= 0x7F) return false;
        Cursor behind = cursor_;
        bool ended = false;
        const std::string_view text = behind.text(ended);
        if (!ended || !is_ascii(text) || text.find("=?") != text.npos) return false;
        cursor_ = behind;
        return true;
    }

    // A text of other letters without its quote, or one octet.
    void take_text_or_octet(Value& value) {
        Cursor text = cursor_;
        bool ended = false;
        const std::string_view raw = text.text(ended);
        if (raw.size() < 2 || !ended || !valid_utf8(raw)) return take_any(cursor_, value);
        take_encoded(cursor_, value);
    }

    void pass_junk() {
        while (!cursor_.done() && cursor_.peek() <= 0x20)
            cursor_.skip(1);
        add_junk(true);
    }

    void add_junk(bool whole) {
        const Place place = cursor_.since(start_);
        const uint32_t node =
            tree_.add(MMS_NODE_DATA, place, depth_, "bytes", hex_of(tree_.at(place)));
        tree_.flaw(node, MMS_FLAW_UNKNOWN,
                   std::to_string(place.length) + (whole ? " bytes" : " last bytes") +
                       " that are no header");
    }

    void read_body() {
        const auto node = static_cast<uint32_t>(tree_.nodes.size());
        const Place body{cursor_.layer, start_, cursor_.end - start_};
        dissect_body(tree_, body, depth_);
        seen_.set(code_content_type);
        cursor_.at = cursor_.end;
        if (tree_.header_list.size() >= most_headers || node >= tree_.nodes.size()) return;
        tMMS_HeaderField header{};
        header.iNode = node;
        header.iCode = code_content_type;
        header.pName = "Content-Type";
        header.iForm = MMS_VALUE_TEXT;
        header.pValue = tree_.arena.keep(tree_.top_type);
        tree_.header_list.push_back(header);
        tree_.header_details.push_back({tree_.body_type, tree_.body_type, tree_.body_exact, false});
    }

    // A message whose retrieval failed has no body, and needs none.
    [[nodiscard]] bool failed() const {
        for (const tMMS_HeaderField& header : tree_.header_list)
            if (header.iCode == code_retrieve_status && header.iNumber > 0x80) return true;
        return false;
    }

    [[nodiscard]] bool begun(uint8_t code) const {
        return std::any_of(tree_.header_list.begin(), tree_.header_list.end(),
                           [&](const tMMS_HeaderField& header) { return header.iCode == code; });
    }

    void tell_what_is_missing() {
        const Place here{cursor_.layer, cursor_.end, 0};
        if (type_ == 0) tree_.note(MMS_FLAW_LOST, here, "X-Mms-Message-Type is missing");
        if (failed()) return;
        bool missing = false;
        for (const uint8_t code : needed_fields(type_)) {
            if (seen_.test(code)) continue;
            missing = true;
            if (begun(code)) continue;  // its cut end is told already
            tree_.note(MMS_FLAW_LOST, here, std::string(find_field(code)->name) + " is missing");
        }
        if (!missing && !seen_.test(code_transaction_id) && !seen_.test(code_version))
            tree_.note(MMS_FLAW_LOST, here, "X-Mms-MMS-Version is missing");
    }

    Tree& tree_;
    Cursor cursor_;
    NulMemo memo_;
    uint32_t depth_;
    uint32_t start_ = 0;
    uint8_t type_ = 0;
    std::bitset<256> seen_;
    bool too_many_ = false;
};

// The value of a field has a form that the field can have.
bool skim_value(Cursor& cursor, const Field& field) {
    const uint8_t first = cursor.peek();
    switch (field.kind) {
        case ValueKind::from:
        case ValueKind::time:
        case ValueKind::sent_by:
        case ValueKind::sent_date:
        case ValueKind::flags:
        case ValueKind::total:
            return first <= length_quote && skip_value(cursor);
        case ValueKind::flag:
        case ValueKind::version:
        case ValueKind::type:
            return first >= 0x80 && skip_value(cursor);
        case ValueKind::number:
        case ValueKind::date:
            return (first >= 0x80 || first <= longest_short_length) && skip_value(cursor);
        default:
            return first != 0 && skip_value(cursor);
    }
}

}  // namespace

void dissect_pdu(Tree& tree, const Place& place, uint32_t depth) {
    tree.iMessage = MMS_MESSAGE_PDU;
    tree.iMessageLayer = place.layer;
    tree.iMessageOffset = place.offset;
    tree.iMessageLength = place.length;
    PduWalker(tree, place, depth).walk();
}

int looks_like_pdu(Bytes bytes) {
    constexpr int enough = 16;
    if (bytes.size() >= 2 && bytes[0] == code_message_type &&
        !message_type_name(bytes[1]).empty() && (bytes.size() == 2 || bytes[2] > 0x20))
        return 2;
    Cursor cursor(bytes, {0, 0, static_cast<uint32_t>(bytes.size())});
    int known = 0;
    for (int headers = 0; headers < enough && !cursor.done(); ++headers) {
        const uint8_t code = cursor.peek();
        bool ended = false;
        if (code > 0x20 && code < 0x80) {
            if (!is_token(cursor.text(ended)) || !ended || !skip_value(cursor)) break;
            continue;
        }
        cursor.skip(1);
        const Field* const field = find_field(code);
        if (field != nullptr && field->kind == ValueKind::type)
            return message_type_name(cursor.peek()).empty() ? 0
                   : known != 0 || headers == 0             ? 2
                                                            : 1;
        if (field != nullptr && field->kind == ValueKind::body) break;
        if (field == nullptr ? code < 0x80 || !skip_value(cursor) : !skim_value(cursor, *field))
            break;
        if (field != nullptr) ++known;
    }
    return known >= 2 ? 1 : 0;
}

}  // namespace mmskit_anatomy
