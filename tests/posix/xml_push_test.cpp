// Service Indication and Service Loading as XML text, on a file layer that really writes the
// temporary file: in a folder of the test's own, so that what is left there shows. Their
// WBXML form is compared with it here.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <utility>

#include "Push/src/Push_XmlTree.h"
#include "scshare/common/src/owned.h"
#include "tests/support/faults.h"
#include "tests/support/push_facts.h"

using namespace testing_support;
namespace fs = std::filesystem;

namespace {

constexpr char si_path[] = "umb/tmp/xmlsic.xml";
constexpr char sl_path[] = "umb/tmp/xmlsl.xml";

class PushXml : public testing::Test {
  protected:
    PushXml() {
        fs::create_directories(folder_ / "umb/tmp");
        fs::current_path(folder_);
    }
    ~PushXml() override {
        fnMMSPush_ReleaseXml();
        EXPECT_EQ(open_files(), open_before_);
        fs::current_path(before_);
        fs::remove_all(folder_);
    }

  private:
    static long open_files() {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    }
    testing_support::NoLeak check_;
    long open_before_ = open_files();
    fs::path before_ = fs::current_path();
    fs::path folder_ = testing::TempDir() + "mmskit-push" + std::to_string(getpid());
};

// The WBXML of a document, from an independent encoder; empty when that is not installed.
std::string encode_independently(const std::string& path) {
    const std::string command = "xml2wbxml -o wbxml '" + path + "' > /dev/null 2>&1";
    return std::system(command.c_str()) == 0 ? file_bytes("wbxml") : "";
}

// One document gives one record in both forms, but the charset is 106 in WBXML and 166 in text,
// which gives no action but the first of its kind. suffix_counts_two_more: in WBXML the count runs
// out before the action (6, 7) behind an address, and service loading without one is execute-low.
TEST_F(PushXml, same_record_as_wbxml_but_for_charset_and_action) {
    int si_action = 5;
    for (const std::string name :
         {"si-none", "si-low", "si-medium", "si-high", "si-delete", "sl-plain", "sl-http",
          "sl-http-www", "sl-https", "sl-https-www"}) {
        const std::string path = MMSKIT_SOURCE_DIR "/tests/Push/" + name + ".xml";
        const bool si = name[1] == 'i';
        const std::string facts = (si ? decode_xml_si : decode_xml_sl)(file_bytes(path));
        if (name == "si-low") {
            EXPECT_EQ(facts,
                      "href=http://mail.com/inbox?a=1&b=2 id=low@mail.example text=Grüße & Küsse "
                      "created=1999-6-25/15:23:15/0 expires=1999-6-30/0:0:0/0 166");
        }
        const std::string wbxml = encode_independently(path);
        if (wbxml.empty()) GTEST_SKIP() << "xml2wbxml (Debian: libwbxml2-utils) is not installed";
        EXPECT_EQ((si ? decode_si : decode_sl)(wbxml),
                  std::regex_replace(facts, std::regex("(action=5 )?(created.*)?166$"),
                                     print("action=%d $02106", si ? si_action++ : 5)));
    }
}

TEST_F(PushXml, rules) {
    const char* const cases[][4] = {
        // rule, text, facts for service indication and loading
        {"all of it, but a date of another length",
         "<si><indication href='h' si-id='i' action='signal-none' created='2011-05-17' "
         "si-expires='2011x05x17x10x20x-0x'>t</indication></si>",
         "href=h id=i text=t action=5 expires=2011-5-17/10:20:0/0 166"},
        {"textual_si_knows_signal_none_only", "<si><indication action='delete'/></si>", "166"},
        {"text joined over entities",
         "<si><indication href='a?b&amp;c'>x &amp; <![CDATA[<y>]]> &#233;</indication></si>",
         "href=a?b&c text=x & <y> é 166"},
        {"surrogates are joined", "<si><indication>\xF0\x9F\x8C\x85 &#x1F305;</indication></si>",
         "text=\xF0\x9F\x8C\x85 \xF0\x9F\x8C\x85 166"},
        {"a later indication replaces what it gives; an element among the text",
         "<si><indication href='a'>x</indication> <info/><indication "
         "href='b'>x<b/></indication></si>",
         "href=b text=x 166"},
        {"any root, local names", "<x:a xmlns:x='u'><x:indication>t</x:indication></x:a>",
         "text=t 166"},
        {"a left-over declaration and an instruction before the root",
         "<?xml version='1.0'?><?xml version='1.0' encoding='iso-8859-1'?>\n<?a b?>"
         "<si><indication>\xE4</indication></si>",
         "text=ä 166"},
        {"service loading", "<sl action='execute-low' href='h'/>", "null", "href=h action=5 166"},
        {"textual_sl_knows_execute_low_only", "<sl href='h' action='cache'/>", "null",
         "href=h 166"},
        {"another root without children", "<si href='h'/>", "null", "166"},
        {"service loading with content", "<sl href='h'> </sl>", "166"},
        {"malformed", "<si><indication>t</si>", "null"},
        {"empty", "", "null"},
        {"only an instruction", "<?a b?>", "null"},
        {"not the declared encoding", "<si><indication>\xE4</indication></si>", "null"},
    };
    for (const auto& [rule, text, si_facts, sl_facts] : cases) {
        EXPECT_EQ(decode_xml_si(text), si_facts) << rule;
        EXPECT_FALSE(fs::exists(si_path)) << rule;
        EXPECT_EQ(decode_xml_sl(text), sl_facts != nullptr ? sl_facts : "null") << rule;
        EXPECT_EQ(fs::exists(sl_path), sl_facts == nullptr) << rule;
    }
    const char unknown_encoding[] = "<?xml?><?xml version='1.0' encoding='x'?><sl/>";
    EXPECT_EQ(decode_xml_si(unknown_encoding) + decode_xml_sl(unknown_encoding), "nullnull");
    EXPECT_TRUE(fs::exists(si_path) && fs::exists(sl_path));
}

// The text of a document with a declaration, in characters that lie where ranges end. Both parsers
// are as forgiving as each other.
TEST_F(PushXml, declarations_characters_and_references) {
    const struct {
        const char *declaration, *text, *read;
    } cases[] = {
        {"<?xml version='1.0'?>", "a&#1;b\xC2\x85", "ab\xC2\x85"},
        {"<?xml version='1.09' ?>", "a&#1;b\xC2\x85", "ab\xC2\x85"},
        {"<?xml version='1.1'?>", "a&#1;b\xC2\x85|\xE2\x80\xA8|\r\n|\r|\r\xC2\x85|&#31;",
         "a\1b\n|\n|\n|\n|\n|\x1F"},
        {"<?xml version='1.1'?>", "&#0;&#xFDD0;\xEF\xB7\x90&#9;", "\xEF\xB7\x90\xEF\xB7\x90\t"},
        {"<?xml version='1.x'?>", "a&#1;b", "a\1b"},
        {"<?xml version='2.0'?>", "a&#1;b", "a\1b"},
        {"<?xml version='1.'?>", "a&#1;b", "a\1b"},
        {"<?xml\tencoding = \"utf-8\"\r\nversion ='1.0' standalone='yes' version=\"1.0\"?>", "t",
         "t"},
        {"<?xml version='1.0' standalone='no'?>", "t", "t"},
        {"\xEF\xBB\xBF", "t", "t"},
        {"", "&lt;&gt;&amp;&apos;&quot;&#65;&#x42;&#xfa;&#x10FFFF;&#xD7FF;",
         "<>&'\"ABú\xF4\x8F\xBF\xBF\xED\x9F\xBF"},
        {"", "a&#x110000;&#99999999999;&#0;&#xFFFE;&#xFFFF;&#x1F;b", "ab"},
        {"", "&none;&l;&ltt;", "&none;&l;&ltt;"},
        {"", "<![CDATA[]]>", ""},
        {"", "a<![CDATA[&amp;]]]]><![CDATA[>]]>", "a&amp;]]>"},
        {"",
         "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
         "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xF0\x90\x80\x80\xF4\x8F\xBF"
         "\xBF"},
    };
    const auto read_after = [](const std::string& declaration, const std::string& text) {
        return decode_xml_si("<?xml?>" + declaration + "<si><indication>" + text +
                             "</indication></si>");
    };
    for (const auto& [declaration, text, read] : cases)
        EXPECT_EQ(read_after(declaration, text), "text=" + std::string(read) + " 166")
            << declaration << text;
    for (const char* declaration :
         {"<?xml version='1.0' standalone='on'?>", "<?xml version='1.0' other='no'?>",
          "<?xml version='1.0' encoding=''?>", "<?xml version='1.0'encoding='utf-8'?>",
          "<?xml encoding='utf-8'?>", "<?xml version='1.0\"?>", "<?xml version='1 0'?>",
          "<?xml version=1.0?>", "<?xml version '1.0'?>", "<?xml version='1.0'>",
          "<?XML version='1.0'?>", "<?NSL a?>", "<?xml?>", "\1", "\xEF\xBB\xBF\xEF\xBB\xBF"})
        EXPECT_EQ(read_after(declaration, "t"), "null") << declaration;
    for (const char* text :
         {"& x", "<?a", "&#6A;", "&#xG;", "&#xg;", "&#x/;", "&#65", "&x", "\x80", "\xC1\xBF",
          "\xC3", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xEF\xBF\xBE", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82|"})
        EXPECT_EQ(read_after("", text), "null") << text;
    for (const char* text : {"\xC2\x86", "\xC2\x84"})
        EXPECT_EQ(read_after("<?xml version='1.1'?>", text), "null") << text;
    // One byte in each character set that has a meaning of its own for it.
    for (const auto& [sets, meaning] :
         {std::pair("ascii us-ascii iso-646 ISO-LATIN-1 iso-8859-1 "
                    "iso-latin-4 iso-8859-4 iso-8859-9 iso-8859-10 "
                    "iso-8859-14 iso-8859-15",
                    "æ"),
          std::pair("iso-latin-2 iso-8859-2", "ć"), std::pair("iso-latin-3 iso-8859-3", "ĉ"),
          std::pair("iso-8859-5", "ц"), std::pair("iso-8859-6", "ن"), std::pair("iso-8859-7", "ζ"),
          std::pair("iso-8859-8", "ז"), std::pair("iso-8859-11", "ๆ"),
          std::pair("iso-8859-13", "ę"), std::pair("iso-8859-12 iso-8859-16 utf-16 x", "")}) {
        std::istringstream words(sets);
        for (std::string set; words >> set;)
            EXPECT_EQ(decode_xml_si("<?xml?><?xml version='1.0' encoding='" + set +
                                    "'?><si><indication>\xE6</indication></si>"),
                      *meaning != '\0' ? "text=" + std::string(meaning) + " 166" : "null")
                << set;
    }
    const char* const names[][2] = {
        {"<é><é:indication ü='1' -='2'>t</é:indication></é>", "null"},
        {"<é><é:indication ü='1' ·href='2' href='&lt;&none;&#38;&#1;é'>t</é:indication></é>",
         "null"},
        {"<é><é·-:indication ü='1' href='&lt;&none;&#38;&#1;é'>t</é·-:indication></é>",
         "href=<&none;&é text=t 166"},
        {"<si><indication>t<?é· y?></indication></si>", "166"},
        {"<si><?xml-x <!-- ?><indication>t</indication></si>", "text=t 166"},
        {"<si><?x a <b & c?><indication>t</indication></si>", "text=t 166"},
        {"<si><? x?><indication>t</indication></si>", "null"},
        {"<si\xC2\x85><indication>t</indication></si>", "null"},
        {"<?xml?><?xml version='1.1'?><si\xC2\x85><indication>t</indication></si>\r", "text=t 166"},
        {"<si><indication href·='1' href='h'>t</indication></si>", "href=h text=t 166"},
        {"<?xml?><?xmlx?><si><indication>t</indication></si>", "text=t 166"},
        {"<?xml?><?xml version='1.0", "null"},
        {"<si><indication>t\xE2\x82", "null"},
        {"<si>&#xE9;<\xC3\x97/><indication>t</indication></si>", "null"},
    };
    for (const auto& [document, facts] : names)
        EXPECT_EQ(decode_xml_si(document), facts) << document;
    const char16_t lone[] = u"\xD83C|\xDF05\xE000";
    const mmskit::OwnedText copy(mmskit::xml_copy_utf8(reinterpret_cast<const uint16_t*>(lone)));
    EXPECT_STREQ(copy.get(), "\uFFFD|\uFFFD\uE000");
}

// Runs `work` in a process of its own; false when it needs a second of the processor, or 50
// megabytes, or waits.
template <typename Work>
bool within_limits(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        rusage before{}, after{};
        (void)getrusage(RUSAGE_SELF, &before);
        alarm(20);  // for a pipe or a host; a busy machine takes long too
        const bool right = work();
        (void)getrusage(RUSAGE_SELF, &after);
        _exit(right && after.ru_utime.tv_sec + after.ru_stime.tv_sec < 1 &&
                      after.ru_maxrss - before.ru_maxrss < 50 * 1024
                  ? 0
                  : 1);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

TEST_F(PushXml, bombs_are_refused_in_a_second_and_50_megabytes) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    std::string laughs = "<!DOCTYPE si [<!ENTITY a0 'ha'>";
    for (char n = '0'; n < '9'; ++n)
        laughs += print("<!ENTITY a%c '", n + 1) + repeated(print("&a%c;", n), 10) + "'>";
    const struct {
        const char* what;
        std::string text;
    } cases[] = {
        {"a file",
         "<!DOCTYPE si [<!ENTITY x SYSTEM 'pipe'>]><si><indication>&x;</indication></si>"},
        {"a host", "<!DOCTYPE a><!DOCTYPE si SYSTEM 'http://127.0.0.1:9/'><si>t</si>"},
        {"laughs", laughs + "]><si><indication>&a9;</indication></si>"},
        {"nested elements", repeated("<a>", 100'000)},
        {"a long attribute", "<si><indication a='" + std::string(10'000'000, 'x') + "'/></si>"},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(within_limits([&c] {
            return decode_xml_si(c.text) == "null" && decode_xml_sl(c.text) == "null";
        })) << c.what;
        EXPECT_FALSE(fs::exists(si_path)) << c.what;
    }
    // A document type declaration alone is taken out, its file never opened.
    EXPECT_TRUE(within_limits(
        [] { return decode_xml_sl("<!DOCTYPE sl SYSTEM 'pipe'><sl href='h'/>") == "href=h 166"; }));
}

// What the parser keeps between documents is as a malformed one found it, and comes anew once given
// back.
TEST_F(PushXml, a_document_leaves_nothing_to_the_next) {
    const std::string good = "<si><indication href='h'>t</indication></si>";
    for (const char* before : {"<si xmlns='u' xmlns:a='v'><a:indication a:href='x'/></si>",
                               "<si><indication href='h'", "<si><a></b></si>", "<si>&x;</si>",
                               "<si>\xE4</si>", "<?a b?>", "", "<sl href='h'> </sl>"}) {
        for (const bool released : {false, true}) {
            decode_xml_si(before);
            decode_xml_sl(before);
            if (released) fnMMSPush_ReleaseXml();
            EXPECT_EQ(decode_xml_si(good), "href=h text=t 166") << before << released;
            EXPECT_EQ(decode_xml_sl("<sl href='h'/>"), "href=h 166") << before << released;
        }
    }
    fnMMSPush_ReleaseXml();
    fnMMSPush_ReleaseXml();
}

TEST_F(PushXml, cuts_and_memory_that_runs_out_are_survived) {
    std::string many;
    for (int i = 0; i < 20; ++i)
        many += print(" a%d='&#xFa;'", i);
    const std::string si =
        "<si><indication" + many + " href='h&amp;i' si-id='j'>t<![CDATA[u]]></indication></si>";
    for (const std::string& document : {si, "<sl" + many + " href='h'/>"}) {
        for (size_t n = 0; n < document.size(); ++n)
            EXPECT_EQ(decode_xml_si(document.substr(0, n)), "null") << "cut to " << n;
        fail_each_allocation([&document] {
            const std::string facts = decode_xml_si(document) + decode_xml_sl(document);
            EXPECT_TRUE(facts == "href=h&i id=j text=tu 166null" || facts.ends_with("null") ||
                        facts == "166href=h 166" || facts == "nullhref=h 166")
                << facts;
        });
    }
}

}  // namespace
