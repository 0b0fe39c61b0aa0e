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

// Where a kind of document is put, and what its log lines call it.
struct TextFile {
    const char* path;
    const char* name;
    const char* open_failure_name;
};
constexpr TextFile si_file{"umb/tmp/xmlsic.xml", "xmlsic.xml", "xmlsic.xml"};
// The log line of a failed reading names the other file, as hosts that search their logs know it.
constexpr TextFile sl_file{"umb/tmp/xmlsl.xml", "xmlsl.xml", "xmlsic.xml"};

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

bool write_file(const TextFile& file, const char* text) {
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

OpenFile open_file(const TextFile& file) {
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

bool read_si_attribute(const XmlAttribute& attribute, tPush_SiContent& si) {
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

bool read_sl_attribute(const XmlAttribute& attribute, tPush_SlContent& sl) {
    if (xml_equals(attribute.name, "href")) return replace_with_value(attribute.value, sl.pHref);
    // QUIRK textual_sl_knows_execute_low_only: the other actions leave the record's as it is, and
    // no action stays 0.
    if (xml_equals(attribute.name, "action") && xml_equals(attribute.value, "execute-low"))
        sl.bAction = first_action;
    return true;
}

template <typename Record>
bool read_attributes(const XmlNode& element, bool (*read)(const XmlAttribute&, Record&),
                     Record& record) {
    XmlAttributes attributes;
    xml_attributes(element, attributes);
    for (uint32_t i = 0; i < attributes.count; ++i)
        if (!read(attributes.items[i], record)) return false;
    return true;
}

void log_parse_error() {
    log_line("XML BIT HAS ERROR,FREE MEMORY AND EXIT ");
}

// What became of a document; whether its temporary file is then deleted is part of the behavior.
enum class Reading { done, failed, failed_keeping_file };

Reading read_si_tree(const XmlNode& root, tPush_SiContent& si) {
    for (int32_t i = 0; i < root.children; ++i) {
        const XmlNode child = xml_child(root, i);
        if (child.kind == XmlKind::error) {
            log_parse_error();
            return Reading::failed_keeping_file;
        }
        if (!xml_equals(child.name, "indication")) continue;
        if (!read_only_text(child, si.pNotifyText) ||
            !read_attributes(child, read_si_attribute, si))
            return Reading::failed;
    }
    return root.children != 0 ? Reading::done : Reading::failed;
}

Reading read_sl_tree(const XmlNode& root, tPush_SlContent& sl) {
    if (root.children != 0) return Reading::failed_keeping_file;
    if (root.kind == XmlKind::error) {
        log_parse_error();
        return Reading::failed_keeping_file;
    }
    if (xml_equals(root.name, "sl") && !read_attributes(root, read_sl_attribute, sl))
        return Reading::failed;
    return Reading::done;
}

// One kind of document: its file, its tree, its record, and what running out of memory means.
struct SiText {
    using Record = tPush_SiContent;
    static constexpr TextFile file = si_file;
    static constexpr Reading no_memory = Reading::failed;
    static Reading read(const XmlNode& root, Record& si) { return read_si_tree(root, si); }
    void operator()(Record* si) const { fnMMSPush_FreeSic(si); }
};
struct SlText {
    using Record = tPush_SlContent;
    static constexpr TextFile file = sl_file;
    static constexpr Reading no_memory = Reading::failed_keeping_file;
    static Reading read(const XmlNode& root, Record& sl) { return read_sl_tree(root, sl); }
    void operator()(Record* sl) const { fnMMSPush_FreeSlc(sl); }
};

template <typename Kind, typename Record = typename Kind::Record>
Reading read_document(FILE* stream, Record* record) {
    XmlDocument document;
    XmlNode root;
    if (!document.open(stream) || !document.read(root)) return Reading::failed_keeping_file;
    return record != nullptr ? Kind::read(root, *record) : Kind::no_memory;
}

template <typename Kind, typename Record = typename Kind::Record>
Record* decode(char* text) {
    if (text == nullptr || !clean(text) || !write_file(Kind::file, text)) return nullptr;
    Owned<Record, Kind> record(new_record<Record>());
    OpenFile in = open_file(Kind::file);
    if (!in) return nullptr;
    const Reading reading = read_document<Kind>(in->stream, record.get());
    in.reset();
    if (reading != Reading::failed_keeping_file) fnSCFS_DeleteFile(Kind::file.path);
    if (reading != Reading::done) return nullptr;
    record->iCharset = xml_text_charset;
    return record.release();
}

}  // namespace
}  // namespace mmskit

extern "C" {

tPush_SiContent* fnMMSPush_DecodeXmlSic(char* pText, uint32_t) {
    return mmskit::decode<mmskit::SiText>(pText);
}

tPush_SlContent* fnMMSPush_DecodeXmlSl(char* pText, uint32_t) {
    return mmskit::decode<mmskit::SlText>(pText);
}

void fnMMSPush_ReleaseXml(void) {
    mmskit::xml_release();
}

}  // extern "C"
