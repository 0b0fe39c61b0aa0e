// What the encoders of requests make, read by an independent decoder: Wireshark's MMSE dissector.
// Each row is a PDU and all the facts that the dissector must find in it, no more and no less. One
// tshark reads the rows of a test from one capture; without tshark the tests are skipped.

#include <gtest/gtest.h>
#include <mmskit/mmskit.h>
#include <stdlib.h>  // mkdtemp

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "tests/support/bytes.h"
#include "tests/support/made.h"

namespace {

using namespace testing_support;

// The dissector's field, without "mmse.", to its values in the PDU's order, joined with "|".
using Facts = std::map<std::string, std::string>;

struct Row {
    std::string pdu;
    Facts facts;
};

const std::string plmn = "/TYPE=PLMN", in_2021 = "Jan 14, 2021 08:25:36.000000000 UTC";
constexpr uint32_t in_2021_seconds = 0x60000000;
const std::string seconds = ".000000000", mixed = "application/vnd.wap.multipart.mixed",
                  related = "application/vnd.wap.multipart.related";

void add(std::string& fact, const std::string& value) {
    fact += (fact.empty() || value.empty() ? "" : "|") + value;
}

// ---- Making the rows --------------------------------------------------------------------------

// Facts from "field=value;field=value"; an empty value takes the fact away.
Facts changed(Facts facts, const std::string& changes) {
    std::istringstream in(changes);
    for (std::string field, value; std::getline(in, field, '=') && std::getline(in, value, ';');)
        facts[field] = value;
    std::erase_if(facts, [](const auto& fact) { return fact.second.empty(); });
    return facts;
}

const Facts new_send = changed({},
                               "message_type=0x80;transaction_id=T1;mms_version=1.2;"
                               "from=<insert address>;message_class.id=0x80;priority=0x81;"
                               "sender_visibility=0x81;delivery_report=0x81;read_report=0x81");
const Facts new_forward = changed(new_send,
                                  "message_type=0x89;message_class.id=;priority=;"
                                  "sender_visibility=;");

char* borrowed(const std::string& text) {
    return const_cast<char*>(text.c_str());
}
char* borrowed(std::string&&) = delete;

void put(char*& to, const std::string& text) {
    fnSC_Free(&to);
    to = fnSC_MEMSTRCOPY(text.c_str());
}

template <typename Record, auto encoder, typename Set>
Row request(uint8_t kind, const Facts& facts, Set set) {
    auto* record = static_cast<Record*>(fnMMS_AllocMessageMem(kind));
    put(record->pTransactionId, "T1");
    set(*record);
    Row row{made<encoder>(record), facts};
    fnMMS_FreeMessageMem(record, kind);
    return row;
}

template <typename Set>
Row send(const std::string& changes, Set set) {
    return request<tMMS_SendReq, fnMMS_MakeSendMessagePdu>(1, changed(new_send, changes), set);
}

struct Part {
    std::string type, name, data, charset_name = "";
    uint32_t charset = 0;
};

Row body(bool with_smil, const std::vector<Part>& parts) {
    const std::string smil = "<smil><body/></smil>", smil_type = "application/smil";
    const auto at = [](const std::string& s) { return reinterpret_cast<uint8_t*>(borrowed(s)); };
    Facts facts = changed(new_send, "content_type=" + mixed);
    if (with_smil)
        facts = changed(new_send, "content_type=" + related + "|" + smil_type + ";upart.type=" +
                                      smil_type + ";start=<AAAA>;name=mms.smil;charset=UTF-8" +
                                      ";content_id=\"<AAAA>\";data=" + smil);
    std::vector<tMMS_MediaData> list(parts.size());
    for (size_t i = 0; i < parts.size(); ++i) {
        const auto& [type, name, data, charset_name, charset] = parts[i];
        list[i].pContentLocation = borrowed(name);
        list[i].pContentType = borrowed(type);
        list[i].pData = at(data);
        list[i].iDataLen = static_cast<uint32_t>(data.size());
        list[i].bHasCharset = charset != 0;
        list[i].iCharset = charset;
        if (i != 0) list[i - 1].pNext = &list[i];
        for (const auto& [field, value] : Facts{{"content_type", type},
                                                {"name", name},
                                                {"charset", charset_name},
                                                {"content_id", "\"<" + name + ">\""},
                                                {"content_location", name},
                                                {"data", data}})
            add(facts[field], value);
    }
    tMMS_SmilPart smil_part{borrowed(smil_type), at(smil), static_cast<uint32_t>(smil.size())};
    const tMMS_ContentUnion content{with_smil ? &smil_part : nullptr,
                                    list.empty() ? nullptr : list.data()};
    Row row = send("", [&](tMMS_SendReq& r) {
        r.pContent = fnMMS_MakeContentBodyPdu(&content, &r.iContentLen);
    });
    row.facts = facts;
    return row;
}

// Every field of a request, with both values of every flag.
void add_full_requests(std::vector<Row>& rows, uint8_t value) {
    const bool flag = value == 1;
    const std::string relative = std::to_string(in_2021_seconds) + seconds;
    const std::string time = flag ? ".rel=" + relative : ".abs=" + in_2021;
    const std::string yes_no = flag ? "0x80" : "0x81", shown = flag ? "0x81" : "0x80";
    const std::string common = "date=" + in_2021 + ";to=111" + plmn + "|+2" + plmn + "|ab@c" +
                               ";cc=\u00FC@h;bcc=e@f;expiry" + time + ";delivery_report=" + yes_no +
                               ";read_report=" + yes_no;
    const auto set = [&](auto& r) {
        put(r.pTo, " 11 1 ; +2 ;a b@c");
        put(r.pCc, "\u00FC@h");
        put(r.pBcc, "e@f;;2");  // empty_receiver_ends_the_list
        r.iDate = r.iExpiry = r.iDeliveryTime = in_2021_seconds;
        r.bExpiryRelative = r.bDeliveryTimeRelative = r.bDeliveryReport = r.bReadReport = flag;
    };
    // delivery_time_token_is_always_relative
    rows.push_back(send(common + ";sender_visibility=" + shown + ";delivery_time.rel=" + relative +
                            ";message_class.id=0x8" + std::to_string(value + 1) + ";priority=0x8" +
                            std::to_string(value),
                        [&](auto& r) {
                            set(r);
                            r.bSenderVisible = flag;
                            r.bPriority = value;
                            r.bMessageClass = static_cast<uint8_t>(value + 1);
                        }));
    const std::string location = flag ? "\u00FC" : "http://x/" + std::string(300, 'l');
    rows.push_back(request<tMMS_ForwardReq, fnMMS_MakeFWDMessagePdu>(
        10,
        changed(new_forward, common + ";delivery_time" + time + ";content_location=" + location),
        [&](auto& r) {
            set(r);
            put(r.pContentLocation, location);
        }));
}

std::vector<Row> all_rows() {
    std::vector<Row> rows{send("", [](auto&) {})};
    for (uint8_t value = 0; value < 3; ++value)
        add_full_requests(rows, value);
    // The value-length is one octet up to 28 characters, and its uintvar has two from 126.
    for (const size_t length : {28U, 29U, 125U, 126U}) {
        const std::string from = std::string(length - 3, 'm') + "@\u00FC";  // from_is_never_quoted
        rows.push_back(send("from=" + from, [&](auto& r) { put(r.From, from); }));
    }
    for (const std::string& text :
         {std::string(), std::string(125, 's'), "\u00FC" + std::string(122, 'q')})
        rows.push_back(send("subject=" + (text.empty() ? "(empty)" : text),
                            [&](auto& r) { put(r.pSubject, text); }));
    rows.push_back(body(false, {}));
    rows.push_back(body(true, {{"image/jpeg", "a.jpg", std::string(127, 'j')},
                               {"text/plain", "t.txt", "Gr\u00FC\u00DFe", "UTF-8", 106},
                               {"audio/amr", std::string(200, 'n'), std::string(128, 'a')},
                               {"x/" + std::string(150, 'y'), "z", std::string(20000, 'b')}}));
    // charset_above_127_is_a_counted_uintvar: 0x8768, for 1000
    const std::string unknown = "<Unknown character set Identifier 34664>";
    rows.push_back(body(true, {{"text/plain", "t", "1", unknown, 1000}}));
    return rows;
}

// ---- Having them read -------------------------------------------------------------------------

// A capture of packets of a user-defined link type (147), each a connectionless WSP post of a PDU.
void write_capture(const std::string& path, const std::vector<Row>& rows) {
    std::ofstream out(path, std::ios::binary);
    const auto words = [&](const std::vector<uint32_t>& values) {
        out.write(reinterpret_cast<const char*>(values.data()), std::ssize(values) * 4);
    };
    words({0xA1B2C3D4, 0x00040002, 0, 0, 0x40000, 147});
    for (const Row& row : rows) {
        const std::string packet = bytes("01 60 01 01 '/' BE") + row.pdu;
        const auto size = static_cast<uint32_t>(packet.size());
        words({0, 0, size, size});
        out << packet;
    }
}

// An attribute of a line of the dissection, which is an XML element.
std::string attribute(const std::string& line, const std::string& name) {
    const size_t at = line.find(" " + name + "=\"");
    if (at == std::string::npos) return "";
    const size_t begin = at + name.size() + 3;
    std::string value = line.substr(begin, line.find('"', begin) - begin);
    for (const auto& [entity, c] :
         std::map<std::string, char>{{"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}})
        for (size_t found; (found = value.find(entity)) != std::string::npos;)
            value.replace(found, entity.size(), 1, c);
    return value;
}

// It shows a subject as if it were ASCII; the text is what it delimited, less charset and quote.
std::string subject_text(std::string field) {
    field.erase(0, field.find('\xEA') + 1);
    if (field.starts_with('\x7F')) field.erase(0, 1);
    field.resize(std::min(field.size(), field.find('\0')));
    return field.empty() ? "(empty)" : field;
}

std::vector<Row> read_dissection(std::ifstream in) {
    std::vector<Row> rows;
    std::string part;  // the line of the last one
    for (std::string line; std::getline(in, line);) {
        const std::string name = attribute(line, "name");
        const auto at = [](const std::string& element, const char* key) {
            return std::stoul(attribute(element, key));
        };
        if (line == "<packet>") rows.emplace_back();
        if (name == "mmse") rows.back().facts.clear();  // what carried it
        if (name == "wsp.multipart") part = line;
        if (name == "wsp.headers")  // a part's data follow its headers
            add(rows.back().facts["data"],
                bytes(attribute(part, "value"))
                    .substr(at(line, "pos") + at(line, "size") - at(part, "pos")));
        for (const std::string_view kind : {"mmse.", "wsp.parameter.", "wsp.header."})
            if (name.starts_with(kind) && name != "wsp.parameter.type" &&
                name != "wsp.header.name_value")
                add(rows.back().facts[name.substr(kind.size())],
                    name == "mmse.subject" ? subject_text(bytes(attribute(line, "value")))
                                           : attribute(line, "show"));
    }
    return rows;
}

}  // namespace

TEST(Peer, dissects_every_pdu_with_the_same_facts) {
    if (std::system("command -v tshark >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "tshark is not installed";
    const std::vector<Row> rows = all_rows();
    std::string folder = testing::TempDir() + "mmskit-peer-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    write_capture(folder + "/pcap", rows);
    std::ofstream(folder + "/user_dlts")
        << R"-("User 0 (DLT=147)","wsp-cl","0","","0","")-" << '\n';
    const std::string command = "cd '" + folder +
                                "' && HOME=. WIRESHARK_CONFIG_DIR=. TZ=UTC "
                                "tshark -n -r pcap -T pdml >pdml 2>/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    const std::vector<Row> found = read_dissection(std::ifstream(folder + "/pdml"));
    std::filesystem::remove_all(folder);
    ASSERT_EQ(found.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(testing::PrintToString(rows[i].pdu));
        EXPECT_EQ(found[i].facts, rows[i].facts);
    }
}
