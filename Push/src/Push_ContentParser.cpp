// Service Indication and Service Loading in WBXML (WAP-167 8, WAP-168 8): one forward pass, no
// tree. Two things bound it, and they are kept apart: the document's own count of bytes left, which
// by its rules may run ahead of or behind the cursor, decides where decoding stops; the reader
// decides what may be read.
#include <array>
#include <cstring>

#include "Push/src/push_internal.h"

namespace mmskit {
namespace {

constexpr uint8_t end_token = 0x01;
constexpr uint8_t inline_string = 0x03;
constexpr uint8_t table_reference = 0x83;
constexpr uint8_t opaque = 0xC3;

enum class Outcome { go_on, finished, failed };

// The document, and how many bytes of it are left by its own count.
struct Document {
    BoundedReader in;
    int64_t left = 0;
    uint32_t charset = 0;
    BoundedReader table;

    uint8_t token() {
        --left;
        return in.byte();
    }
    [[gnu::noinline]] uint32_t uintvar() {
        if (in.peek() < 0x80) return token();
        const uint64_t start = in.position();
        const uint32_t value = push_uintvar(in);
        left -= static_cast<int64_t>(in.position() - start);
        return value;
    }
};

enum class TableLength { declared, measured_for_utf8 };

// QUIRK utf8_table_is_its_first_string: the declared length of a UTF-8 table is not believed;
// senders count characters there.
[[gnu::cold, gnu::noinline]] uint64_t measured_table(BoundedReader table) {
    const uint64_t length = uint64_t{table.text().size} + 1;
    fnSCFS_printLog_param("Push_ContentParser.cpp", __LINE__);
    fnSCFS_printLog("string table of %u bytes", static_cast<uint32_t>(length));
    fnSCFS_printLog_param(nullptr, 0);  // the place of a log line is a block of its own
    return length;
}

// Version, public identifier, character set and string table (WAP-192 5.4). False when nothing of
// the document is left behind one of them.
bool read_header(Document& doc, TableLength rule) {
    constexpr uint32_t utf8 = 106;
    doc.token();
    doc.uintvar();
    if (doc.left < 1) return false;
    doc.charset = doc.uintvar();
    if (doc.left < 1) return false;
    uint64_t table_length = doc.uintvar();
    doc.table = BoundedReader(doc.in.here(), static_cast<size_t>(doc.in.remaining()));
    if (rule == TableLength::measured_for_utf8 && table_length != 0 && doc.charset == utf8)
        table_length = measured_table(doc.table);
    doc.left -= static_cast<int64_t>(table_length);
    doc.in.skip(table_length);
    return doc.left >= 1;
}

// Reads any root tag; one END for its attributes and one for its content close it.
int32_t open_root(Document& doc) {
    const uint8_t tag = doc.token();
    return ((tag & 0x80) != 0 ? 1 : 0) + ((tag & 0x40) != 0 ? 1 : 0);
}

// ---- Addresses ----------------------------------------------------------------------------------

struct HrefStart {
    char prefix[13];
    uint8_t prefix_size;
    int32_t counted_tokens;  // by which the count goes down beside the string's own size
};
// QUIRK https_counts_its_string_only: "https://" does not count its token and the string's, so a
// document that has it may go on two bytes longer.
constexpr std::array<HrefStart, 5> href_starts{{{"", 0, 2},
                                                {"http://", 7, 2},
                                                {"http://www.", 11, 2},
                                                {"https://", 8, 0},
                                                {"https://www.", 12, 2}}};

// The inline string behind an attribute start. False when memory is out and for a suffix alone,
// which ends the document whatever its count says of it.
bool replace_with_string(Document& doc, Slice prefix, char*& field) {
    doc.in.byte();
    const PushString string = push_string(doc.in);
    doc.left -= string.counted;
    if (string.suffix_left) return false;
    char* whole = string.copy(prefix);
    if (whole == nullptr) return false;
    if (field != nullptr) deallocate(field);
    field = whole;
    return true;
}

// An href start whose token is read over; without an inline string behind it only the token counts.
Outcome read_href(Document& doc, const HrefStart& start, char*& href) {
    if (doc.in.peek() != inline_string) {
        --doc.left;
        return Outcome::go_on;
    }
    doc.left -= start.counted_tokens;
    const Slice prefix{reinterpret_cast<const uint8_t*>(start.prefix), start.prefix_size};
    return replace_with_string(doc, prefix, href) ? Outcome::go_on : Outcome::failed;
}

// ---- Service Indication -------------------------------------------------------------------------

namespace si {

constexpr uint8_t empty_info = 0x07;
constexpr uint8_t indication_with_all = 0xC6;
constexpr uint8_t action_none = 0x05;
constexpr uint8_t action_delete = 0x09;
constexpr uint8_t created = 0x0A;
constexpr uint8_t first_href = 0x0B;
constexpr uint8_t last_href = 0x0F;
constexpr uint8_t expires = 0x10;
constexpr uint8_t si_id = 0x11;

struct Free {
    void operator()(tPush_SiContent* record) const { fnMMSPush_FreeSic(record); }
};
using Record = Owned<tPush_SiContent, Free>;

// The text of the indication grows by doubling: many short strings cost linear time.
struct NotifyText {
    char*& text;
    uint64_t size = 0;  // without terminator
    uint64_t room = 0;

    bool append(const PushString& more) {
        const uint64_t length = more.length();
        if (size + length + 1 > room) {
            const uint64_t wanted = text == nullptr ? length + 1 : 2 * (size + length + 1);
            auto* grown = static_cast<char*>(allocate_unfilled(wanted));
            if (grown == nullptr) return false;
            if (text != nullptr) std::memcpy(grown, text, static_cast<size_t>(size));
            replace_owned(text, grown);
            room = wanted;
        }
        more.put(text + size);
        size += length;
        return true;
    }
};

[[gnu::noinline]] Outcome read_date(Document& doc, tSCFS_DateTime& date) {
    if (doc.in.byte() != opaque) return Outcome::failed;
    doc.left -= 2;
    const uint32_t length = doc.uintvar();
    push_date(doc.in, length, &date);
    doc.left -= length;
    return Outcome::go_on;
}

Outcome read_attribute(Document& doc, uint8_t token, tPush_SiContent& si) {
    if (token >= action_none && token <= action_delete) {
        si.bAction = token;
        --doc.left;
        return Outcome::go_on;
    }
    if (token >= first_href && token <= last_href)
        return read_href(doc, href_starts[size_t{token} - first_href], si.pHref);
    if (token == created) return read_date(doc, si.tCreated);
    if (token == expires) return read_date(doc, si.tSiExpires);
    if (token != si_id) return Outcome::failed;
    // QUIRK si_id_without_inline_string_ends: what else the document says is not looked at.
    if (doc.in.peek() != inline_string) return Outcome::finished;
    doc.left -= 2;
    return replace_with_string(doc, {}, si.pSiId) ? Outcome::go_on : Outcome::failed;
}

Outcome read_attributes(Document& doc, tPush_SiContent& si) {
    while (doc.left > 0) {
        const uint8_t token = doc.in.byte();
        if (token == end_token) {
            --doc.left;
            return Outcome::go_on;
        }
        const Outcome outcome = read_attribute(doc, token, si);
        if (outcome != Outcome::go_on) return outcome;
    }
    return Outcome::go_on;
}

Outcome read_inline_text(Document& doc, NotifyText& notify) {
    const PushString string = push_string(doc.in);
    doc.left -= string.counted;
    return !string.suffix_left && notify.append(string) ? Outcome::go_on : Outcome::failed;
}

void read_table_text(Document& doc, NotifyText& notify) {
    const uint8_t index = doc.token();
    if (notify.text != nullptr) return;
    const auto limit = static_cast<uint64_t>(doc.left > 0 ? doc.left : 0);
    BoundedReader table = doc.table;
    char* text = push_table_string(table.child(limit), index);
    if (text == nullptr) return;  // left unset; the document goes on
    notify.text = text;
    notify.size = std::strlen(text);
    notify.room = notify.size + 1;
}

Outcome read_content(Document& doc, tPush_SiContent& si) {
    NotifyText notify{si.pNotifyText};
    // QUIRK indication_opens_no_level: its END closes the root's level, and what follows the
    // indication is not looked at.
    int32_t depth = open_root(doc);
    while (depth != 0 && doc.left >= 1) {
        Outcome outcome = Outcome::go_on;
        switch (doc.token()) {
            case end_token:
                --depth;
                break;
            case empty_info:
                break;
            case table_reference:
                read_table_text(doc, notify);
                break;
            case inline_string:
                outcome = read_inline_text(doc, notify);
                break;
            case indication_with_all:
                outcome = read_attributes(doc, si);
                break;
            default:
                outcome = Outcome::failed;
        }
        if (outcome != Outcome::go_on) return outcome;
    }
    return Outcome::finished;
}

}  // namespace si

// ---- Service Loading ----------------------------------------------------------------------------

namespace sl {

constexpr uint8_t action_execute_low = 0x05;
constexpr uint8_t action_cache = 0x07;
constexpr uint8_t first_href = 0x08;
constexpr uint8_t last_href = 0x0C;

struct Free {
    void operator()(tPush_SlContent* record) const { fnMMSPush_FreeSlc(record); }
};
using Record = Owned<tPush_SlContent, Free>;

// QUIRK sl_attributes_anywhere: whether the cursor is inside an attribute list is not kept track
// of.
Outcome read_tokens(Document& doc, tPush_SlContent& sl) {
    int32_t depth = open_root(doc);
    while (depth != 0 && doc.left > 0) {
        const uint8_t token = doc.in.byte();
        if (token == end_token) {
            --depth;
            --doc.left;
        } else if (token >= action_execute_low && token <= action_cache) {
            sl.bAction = token;
            --doc.left;
        } else if (token >= first_href && token <= last_href) {
            const auto& start = href_starts[size_t{token} - first_href];
            if (read_href(doc, start, sl.pHref) == Outcome::failed) return Outcome::failed;
        } else {
            return Outcome::failed;
        }
    }
    return Outcome::finished;
}

}  // namespace sl
}  // namespace
}  // namespace mmskit

using namespace mmskit;

extern "C" {

tPush_SiContent* fnMMSPush_DecodeSic(const uint8_t* pData, uint32_t iLen) {
    if (pData == nullptr || iLen == 0) return nullptr;
    Document doc{BoundedReader(pData, iLen), iLen, 0, {}};
    if (!read_header(doc, TableLength::measured_for_utf8)) return nullptr;
    si::Record record(new_record<tPush_SiContent>());
    if (!record) return nullptr;
    record->iCharset = doc.charset;
    return si::read_content(doc, *record) == Outcome::failed ? nullptr : record.release();
}

void fnMMSPush_FreeSic(tPush_SiContent* pSi) {
    if (pSi == nullptr) return;
    deallocate(pSi->pHref);
    deallocate(pSi->pNotifyText);
    deallocate(pSi->pSiId);
    deallocate(pSi);
}

tPush_SlContent* fnMMSPush_DecodeSlc(const uint8_t* pData, uint32_t iLen) {
    if (pData == nullptr || iLen == 0) return nullptr;
    Document doc{BoundedReader(pData, iLen), iLen, 0, {}};
    if (!read_header(doc, TableLength::declared)) return nullptr;
    sl::Record record(new_record<tPush_SlContent>());
    if (!record) return nullptr;
    record->iCharset = doc.charset;
    if (sl::read_tokens(doc, *record) == Outcome::failed) return nullptr;
    if (record->bAction == 0) record->bAction = sl::action_execute_low;
    return record.release();
}

void fnMMSPush_FreeSlc(tPush_SlContent* pSl) {
    if (pSl == nullptr) return;
    deallocate(pSl->pHref);
    deallocate(pSl);
}

}  // extern "C"
