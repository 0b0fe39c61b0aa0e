// mmskit show on every kind of message and push document: what it is called, its headers with
// readable values, and that damage is told and never crashes. Expected lines are what the public
// encoding means.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/tools/tool_runner.h"

namespace {

using nlohmann::json;
using namespace testing_support;

class ShowKinds : public ToolRunner {
  protected:
    // The command's own temporary folder is made in tmp/ and gone when it ends.
    Outcome show(const std::string& pdu, const std::string& options = "") {
        write("m", pdu);
        const Outcome outcome =
            run("show m " + options, "mkdir -p tmp && export TMPDIR=\"$PWD/tmp\"");
        EXPECT_TRUE(std::filesystem::is_empty(folder_ / "tmp")) << "temporary files are left";
        return outcome;
    }
};

const struct Kind {
    const char *name, *pdu, *headers;  // the headers in JSON, but for the message type
    int status = 0;
} kinds[] = {
    {"m-send-req",
     "8C 80 98 'T' 00 8D 92 85 04 65E07540 89 01 81 97 '+1/TYPE=PLMN' 00 97 'b@c' 00 81 '3' 00 96"
     "05 EA 7F C3A5 00 8A 80 87 03 81 01 3C 88 06 80 04 65E07540 8F 82 94 80 86 80 90 81",
     R"({"transaction_id":"T","mms_version":"1.2","date":{"seconds":1709208896,
         "iso":"2024-02-29T12:14:56Z"},"to":"+1;b@c","bcc":"3","subject":"å",
         "message_class":"personal","delivery_time":{"relative_seconds":60},
         "expiry":{"seconds":1709208896,"iso":"2024-02-29T12:14:56Z"},"priority":"high",
         "sender_visibility":"hide","delivery_report":true,"read_report":false})",
     3},  // its body is missing
    {"m-send-conf", "8C 81 98 'T' 00 8D 92 92 C3 93 05 EA 7F C3A5 00 8B 'm' 00",
     R"({"response_status":"error-transient-network-problem","response_text":"å",
         "message_id":"m","transaction_id":"T","mms_version":"1.2"})"},
    {"m-notification-ind",
     "8C 82 98 'T' 00 8D 92 89 03 80 '4' 00 8A 81 8E 02 1000 88 05 81 03 03F480 83 'http://x' 00",
     R"({"from":"4","content_location":"http://x","message_size":4096,
         "expiry":{"relative_seconds":259200},"transaction_id":"T",
         "message_class":"advertisement","mms_version":"1.2"})"},
    {"m-notifyresp-ind", "8C 83 98 'T' 00 8D 90 95 83 91 81",
     R"({"transaction_id":"T","mms_version":"1.0","status":"deferred","report_allowed":false})"},
    {"m-acknowledge-ind", "8C 85 98 'T' 00 91 80",
     R"({"transaction_id":"T","report_allowed":true})"},
    {"m-delivery-ind", "8C 86 8D 90 8B 'm' 00 97 '1' 00 85 01 05 95 85",
     R"({"to":"1","status":"indeterminate","message_id":"m","mms_version":"1.0",
         "date":{"seconds":5,"iso":"1970-01-01T00:00:05Z"}})"},
    {"m-read-rec-ind", "8C 87 8D 92 8B 'm' 00 97 '1' 00 89 01 81 9B 81",
     R"({"message_id":"m","to":"1","read_status":"deleted without being read",
         "mms_version":"1.2"})"},
    {"m-read-orig-ind", "8C 88 8B 'm' 00 89 03 80 '2' 00 97 '1' 00 9B 80",
     R"({"from":"2","to":"1","read_status":"read","message_id":"m"})", 3},  // its version
    {"m-forward-req",
     "8C 89 98 'T' 00 8D 92 89 01 81 97 '1' 00 82 '2' 00 82 '3' 00 83 'http://x' 00 A0 05 81 'a@b' "
     "00",
     R"({"transaction_id":"T","to":"1","cc":"2;3","content_location":"http://x",
         "mms_version":"1.2","previously_sent_by":["a@b"]})"},
    {"m-forward-conf", "8C 8A 98 'T' 00 8D 92 92 99",
     R"({"response_status":"0x99","transaction_id":"T","mms_version":"1.2"})"},
    {"m-mbox-descr", "8C 93 8B 'm' 00 A3 82 A4 02 80 'a' 00 A4 02 80 'b' 00 B3 8A C9 81",
     R"({"message_id":"m","limit":10,"mm_state":"new","mm_flags":["add: a","add: b"],
         "other":[{"code":"0xC9","value":"81"}]})",
     3},
    {"m-cancel-conf", "8C 97 98 'T' 00 8D 93 BF 80",
     R"({"transaction_id":"T","mms_version":"1.3","cancel_status":"cancel-request-successfully-received"})"},
    {"service indication",
     "02 05 04 00 45 C6 0C 03 'a' 00 11 03 'i' 00 08 0A C3 04 20 11 05 17 01 03 47 72 FC 00 01 01",
     R"({"text":"Grü","href":"http://a","si_id":"i","action":"signal-high",
         "created":"2011-05-17T00:00:00Z","charset":"ISO-8859-1"})"},
    {"service loading", "03 06 6A 00 85 07 01", R"({"action":"cache","charset":"UTF-8"})"},
    {"service indication",
     "'<?xml version=\"1.0\"?><!-- <sl --><si><indication si-expires=\"2011-05-17T10:20:30Z\">"
     "T</indication></si>'",
     R"({"text":"T","si_expires":"2011-05-17T10:20:30Z"})"},
    {"service loading", "0A '<x:sl xmlns:x=\"u\" href=\"b\" action=\"execute-low\"/>'",
     R"({"href":"b","action":"execute-low"})"},
};

TEST_F(ShowKinds, every_kind_is_shown_with_readable_values) {
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        const Outcome shown = show(bytes(kind.pdu), "--json");
        if (!MMSKIT_READS_XML && bytes(kind.pdu).ends_with('>')) {  // as text
            EXPECT_EQ(shown.code, 1);
            EXPECT_NE(shown.err.find("this build reads no push documents as XML text"),
                      std::string::npos)
                << shown.err;
            continue;
        }
        EXPECT_EQ(shown.code, kind.status) << shown.err << shown.out;
        const json document = json::parse(shown.out);
        EXPECT_EQ(document["kind"], kind.name);
        json headers = json::parse(kind.headers);
        if (document["kind"].get<std::string>().starts_with("m-"))
            headers["message_type"] = kind.name;
        EXPECT_EQ(document["headers"], headers);
    }
    const std::string body = bytes("84 A3 01") + part(bytes("03 83 81 EA"), "hello");
    write("m", bytes(kinds[0].pdu) + body);
    EXPECT_EQ(shown("m")["slides"][0]["text"]["text"], "hello");
    const Outcome text = show(bytes(kinds[0].pdu));
    for (const char* line : {"Bcc                    3\n", "X-Mms-Delivery-Time    in 1 minute\n",
                             "X-Mms-Sender-Visibility  hide\n"})
        EXPECT_NE(text.out.find(line), std::string::npos) << text.out;
    EXPECT_NE(show(bytes(kinds[2].pdu)).out.find("Size     4096 bytes\n"), std::string::npos);
    EXPECT_NE(show(bytes(kinds[10].pdu)).out.find("   10\n"), std::string::npos);
    const std::string unmarked = bytes("03 01 11 00 85 07 01");  // no public identifier
    EXPECT_EQ(show(unmarked, "--as sl").out.substr(0, 24), "service loading  7 bytes");
    EXPECT_EQ(show(unmarked, "--as mms").code, 2);
}

// A request cut anywhere is shown as far as it says, or refused in one line.
TEST_F(ShowKinds, cut_off_headers_are_told) {
    const std::string pdu = bytes(kinds[0].pdu);
    for (size_t length = 1; length < pdu.size(); ++length) {
        SCOPED_TRACE(length);
        const Outcome shown = show(pdu.substr(0, length));
        EXPECT_TRUE(shown.code == 3 ? shown.err.empty() : shown.code == 1 && shown.out.empty());
        EXPECT_EQ(shown.out.find("\n  lost  ") != std::string::npos, shown.code == 3);
        EXPECT_EQ(std::count(shown.err.begin(), shown.err.end(), '\n'), shown.code == 1 ? 1 : 0);
    }
    EXPECT_NE(show(bytes("8C 80 85 1E 01")).out.find("\n  lost      byte 2  "), std::string::npos);
    EXPECT_EQ(show(bytes("8C 87 85 1F FFFFFF7F 01")).code, 3);
    for (const char* bad : {"'<html/>'", "'<si><indication></si>'", "03 05 6A 00 45 FF"})
        EXPECT_EQ(show(bytes(bad)).code, 1) << bad;
}

}  // namespace
