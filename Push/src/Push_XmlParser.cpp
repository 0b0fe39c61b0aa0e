// Service Indication and Service Loading as XML text: the text is cleaned, put into a temporary
// file and read by the XML parser, and the few attributes that matter are copied into the record.
// Relies on the file layer to create that file without following what someone else put in its
// place.
#include <array>
#include <cstring>

#include "Push/src/Push_XmlTree.h"
#include "Push/src/push_internal.h"
#include "scfs/common/src/scfs_internal.h"
#include "scshare/common/src/log.h"

namespace mmskit {
namespace {

constexpr uint8_t first_action = 5;  // signal-none, execute-low

// What became of a document; whether its temporary file is then deleted is part of the behavior.
enum class Reading { done, failed, failed_keeping_file };

// One kind of document: where it is put, what its log lines call that, its record, its tree, and
// what running out of memory for the record means.
struct TextKind {
    const char* path;
    const char* name;
    const char* open_failure_name;
    uint32_t record_size;
    Reading no_memory;
    Reading (*read)(const XmlNode& root, void* record);
    void (*free)(void* record);
};

struct FileClose {
    void operator()(tSCFS_File* file) const { fnSCFS_File_Close(file); }
};
using OpenFile = Owned<tSCFS_File, FileClose>;

// Declarations and comments out of the text; false when the parser may not see what is left.
bool clean(char* text) {
    uint32_t left = 0;
    getXmlEncodingCharset(text, static_cast<int32_t>(std::strlen(text)), &left);
    removeXmlUnusedTag(text, "<!DOCTYPE", ">", static_cast<int32_t>(std::strlen(text)));
    strip_comments(text);
    return xml_within_limits(text);
}

bool write_file(const TextKind& file, const char* text) {
    if (fnSCFS_isFileExisted(file.path) != 0 && fnSCFS_DeleteFile(file.path) == 0)
        log_line("remove si file failed!!!");
    const OpenFile out(fnSCFS_File_Open(file.path, 1));
    if (!out) {
        log_line("failed to write the file:%s", file.name);
        return false;
    }
    fnSCFS_File_Write(text, static_cast<uint32_t>(std::strlen(text)), 1, out.get());
    return true;
}

OpenFile open_file(const TextKind& file) {
    OpenFile in(fnSCFS_File_Open(file.path, 0));
    if (!in) log_line("failed to open the file:%s", file.open_failure_name);
    return in;
}

// A date of XML text; anything that is not 20 characters of ASCII digits and marks is no date.
void read_date(const uint16_t* value, tSCFS_DateTime& date) {
    constexpr size_t iso_date_length = 20;
    std::array<char, 3 * iso_date_length + 1> text{};
    if (xml_length(value) > iso_date_length) return;
    xml_put_utf8(text.data(), value);
    ParseCharTime(text.data(), &date);
}

bool replace_with_value(const uint16_t* value, char*& field) {
    char* copy = xml_copy_utf8(value);
    if (copy == nullptr) return false;
    replace_owned(field, copy);
    return true;
}

// The text of an element that holds nothing but text, which the parser may have split at entity
// references. False when memory is out.
bool read_only_text(const XmlNode& element, char*& field) {
    uint64_t units = 0;
    for (int32_t i = 0; i < element.children; ++i) {
        const XmlNode child = xml_child(element, i);
        if (child.kind != XmlKind::text) return true;
        units += xml_length(child.text);
    }
    if (element.children == 0) return true;
    OwnedText text(static_cast<char*>(allocate(3 * units + 1)));
    if (!text) return false;
    char* end = text.get();
    for (int32_t i = 0; i < element.children; ++i)
        end = xml_put_utf8(end, xml_child(element, i).text);
    replace_owned(field, text.release());
    return true;
}

bool read_si_attribute(const XmlAttribute& attribute, void* record) {
    auto& si = *static_cast<tPush_SiContent*>(record);
    if (xml_equals(attribute.name, "href")) return replace_with_value(attribute.value, si.pHref);
    if (xml_equals(attribute.name, "si-id")) return replace_with_value(attribute.value, si.pSiId);
    if (xml_equals(attribute.name, "created")) {
        read_date(attribute.value, si.tCreated);
    } else if (xml_equals(attribute.name, "si-expires")) {
        read_date(attribute.value, si.tSiExpires);
    } else if (xml_equals(attribute.name, "action") && xml_equals(attribute.value, "signal-none")) {
        // QUIRK textual_si_knows_signal_none_only: the other actions leave the record's as it is.
        si.bAction = first_action;
    }
    return true;
}

bool read_sl_attribute(const XmlAttribute& attribute, void* record) {
    auto& sl = *static_cast<tPush_SlContent*>(record);
    if (xml_equals(attribute.name, "href")) return replace_with_value(attribute.value, sl.pHref);
    // QUIRK textual_sl_knows_execute_low_only: the other actions leave the record's as it is, and
    // no action stays 0.
    if (xml_equals(attribute.name, "action") && xml_equals(attribute.value, "execute-low"))
        sl.bAction = first_action;
    return true;
}

bool read_attributes(const XmlNode& element, bool (*read)(const XmlAttribute&, void* record),
                     void* record) {
    XmlAttributes attributes;
    xml_attributes(element, attributes);
    for (uint32_t i = 0; i < attributes.count; ++i)
        if (!read(attributes.items[i], record)) return false;
    return true;
}

void log_parse_error() {
    log_line("XML BIT HAS ERROR,FREE MEMORY AND EXIT ");
}

Reading read_si_tree(const XmlNode& root, void* record) {
    auto& si = *static_cast<tPush_SiContent*>(record);
    si.iCharset = xml_text_charset;
    for (int32_t i = 0; i < root.children; ++i) {
        const XmlNode child = xml_child(root, i);
        if (child.kind == XmlKind::error) {  // unreachable: both parsers tell errors at the root
            log_parse_error();
            return Reading::failed_keeping_file;
        }
        if (!xml_equals(child.name, "indication")) continue;
        if (!read_only_text(child, si.pNotifyText) ||
            !read_attributes(child, read_si_attribute, record))
            return Reading::failed;
    }
    return root.children != 0 ? Reading::done : Reading::failed;
}

Reading read_sl_tree(const XmlNode& root, void* record) {
    static_cast<tPush_SlContent*>(record)->iCharset = xml_text_charset;
    if (root.children != 0) return Reading::failed_keeping_file;
    if (root.kind == XmlKind::error) {
        log_parse_error();
        return Reading::failed_keeping_file;
    }
    if (xml_equals(root.name, "sl") && !read_attributes(root, read_sl_attribute, record))
        return Reading::failed;
    return Reading::done;
}

constexpr TextKind si_text = {
    .path = "umb/tmp/xmlsic.xml",
    .name = "xmlsic.xml",
    .open_failure_name = "xmlsic.xml",
    .record_size = sizeof(tPush_SiContent),
    .no_memory = Reading::failed,
    .read = read_si_tree,
    .free = [](void* record) { fnMMSPush_FreeSic(static_cast<tPush_SiContent*>(record)); },
};
constexpr TextKind sl_text = {
    .path = "umb/tmp/xmlsl.xml",
    .name = "xmlsl.xml",
    // The log line of a failed reading names the other file, as hosts that search their logs know
    // it.
    .open_failure_name = "xmlsic.xml",
    .record_size = sizeof(tPush_SlContent),
    .no_memory = Reading::failed_keeping_file,
    .read = read_sl_tree,
    .free = [](void* record) { fnMMSPush_FreeSlc(static_cast<tPush_SlContent*>(record)); },
};

Reading read_document(const TextKind& kind, FILE* stream, void* record) {
    XmlDocument document;
    XmlNode root;
    if (!document.open(stream) || !document.read(root)) return Reading::failed_keeping_file;
    return record != nullptr ? kind.read(root, record) : kind.no_memory;
}

Reading read_file(const TextKind& kind, void* record) {
    OpenFile in = open_file(kind);
    if (!in) return Reading::failed_keeping_file;
    const Reading reading = read_document(kind, in->stream, record);
    in.reset();
    if (reading != Reading::failed_keeping_file) fnSCFS_DeleteFile(kind.path);
    return reading;
}

void* decode(const TextKind& kind, char* text) {
    if (text == nullptr || !clean(text) || !write_file(kind, text)) return nullptr;
    void* record = allocate(kind.record_size);
    if (read_file(kind, record) == Reading::done) return record;
    kind.free(record);
    return nullptr;
}

}  // namespace
}  // namespace mmskit

extern "C" {

tPush_SiContent* fnMMSPush_DecodeXmlSic(char* pText, uint32_t) {
    return static_cast<tPush_SiContent*>(mmskit::decode(mmskit::si_text, pText));
}

tPush_SlContent* fnMMSPush_DecodeXmlSl(char* pText, uint32_t) {
    return static_cast<tPush_SlContent*>(mmskit::decode(mmskit::sl_text, pText));
}

void fnMMSPush_ReleaseXml(void) {
    mmskit::xml_release();
}

}  // extern "C"
