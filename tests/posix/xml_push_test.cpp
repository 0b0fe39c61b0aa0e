// Service Indication and Service Loading as XML text, on a file layer that really writes the
// temporary file: in a folder of the test's own, so that what is left there shows.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/push_facts.h"

using namespace testing_support;

namespace {

constexpr char si_path[] = "umb/tmp/xmlsic.xml";
constexpr char sl_path[] = "umb/tmp/xmlsl.xml";

class PushXml : public testing::Test {
  protected:
    PushXml() : before_(std::filesystem::current_path()) {
        char name[] = "/tmp/mmskit-push-XXXXXX";
        if (mkdtemp(name) == nullptr) std::abort();
        folder_ = name;
        std::filesystem::create_directories(folder_ / "umb/tmp");
        std::filesystem::current_path(folder_);
    }
    ~PushXml() override {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(folder_);
    }

  private:
    std::filesystem::path before_, folder_;
};

std::string document(const std::string& name) {
    return file_bytes(MMSKIT_SOURCE_DIR "/tests/Push/" + name + ".xml");
}

size_t open_files() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

TEST_F(PushXml, si_rules) {
    const struct {
        const char* rule;
        const char* text;
        const char* facts;
    } cases[] = {
        {"all of it", "<si><indication href='h' si-id='i' action='signal-none'>t</indication></si>",
         "href=h id=i text=t action=5 166"},
        {"textual_si_knows_signal_none_only", "<si><indication action='delete'/></si>", "166"},
        {"text joined over entities",
         "<si><indication href='a?b&amp;c'>x &amp; <![CDATA[<y>]]> &#233;</indication></si>",
         "href=a?b&c text=x & <y> é 166"},
        {"surrogates are joined", "<si><indication>\xF0\x9F\x8C\x85 &#x1F305;</indication></si>",
         "text=\xF0\x9F\x8C\x85 \xF0\x9F\x8C\x85 166"},
        {"an element among the text", "<si><indication>x<b/></indication></si>", "166"},
        {"a single element is no text", "<si><indication><b>x</b></indication></si>", "166"},
        {"a later indication replaces what it gives",
         "<si><indication href='a'>x</indication> <info/><indication href='b'/></si>",
         "href=b text=x 166"},
        {"any root, local names", "<x:a xmlns:x='u'><x:indication>t</x:indication></x:a>",
         "text=t 166"},
        {"a date of another length is none",
         "<si><indication created='2011-05-17' "
         "si-expires='2011-05-17T10:20:30Z'/></si>",
         "expires=2011-5-17/10:20:30/0 166"},
        {"instructions before the root are read over",
         "<?xml version='1.0'?>\n<?a b?><si><indication>t</indication></si>", "text=t 166"},
        {"a left-over declaration",
         "<?xml version='1.0'?><?xml version='1.0' encoding='iso-8859-1'?>"
         "<si><indication>\xE4</indication></si>",
         "text=ä 166"},
        {"a comment ends at its first >", "<si><!-- a > b --><indication>t</indication></si>",
         "text=t 166"},
        {"a root without children", "<si/>", "null"},
        {"malformed", "<si><indication>t</si>", "null"},
        {"no markup", "x", "null"},
        {"empty", "", "null"},
        {"only an instruction", "<?a b?>", "null"},
        {"not the declared encoding", "<si><indication>\xE4</indication></si>", "null"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(decode_xml_si(c.text), c.facts) << c.rule;
        EXPECT_FALSE(std::filesystem::exists(si_path)) << c.rule;
    }
}

TEST_F(PushXml, sl_rules) {
    const struct {
        const char* rule;
        const char* text;
        const char* facts;
        bool file_stays;
    } cases[] = {
        {"all of it", "<sl action='execute-low' href='h'/>", "href=h action=5 166", false},
        {"textual_sl_knows_execute_low_only", "<sl href='h' action='cache'/>", "href=h 166", false},
        {"another root", "<si href='h'/>", "166", false},
        {"content", "<sl href='h'> </sl>", "null", true},
        {"malformed", "<sl href='h'", "null", true},
        {"only an instruction", "<?a b?>", "null", true},
        {"an unknown encoding", "<?xml?><?xml version='1.0' encoding='x'?><sl/>", "null", true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(decode_xml_sl(c.text), c.facts) << c.rule;
        EXPECT_EQ(std::filesystem::exists(sl_path), c.file_stays) << c.rule;
    }
}

// The two forms of one document give one record, but for these differences: the charset is 166
// instead of 106, and an action other than the first is not given (WBXML: suffix_counts_two_more
// loses actions too, and service loading without one is execute-low there).
TEST_F(PushXml, same_record_as_wbxml_but_for_charset_and_action) {
    if (encode_independently("sl-plain").empty())
        GTEST_SKIP() << "xml2wbxml (Debian: libwbxml2-utils) is not installed";
    for (const char* name : {"si-none", "si-low", "si-medium", "si-high", "si-delete"}) {
        std::string text = document(name);
        std::string binary = encode_independently(name);
        OwnedSi a(fnMMSPush_DecodeXmlSic(text.data(), static_cast<uint32_t>(text.size())),
                  fnMMSPush_FreeSic);
        OwnedSi b(fnMMSPush_DecodeSic(reinterpret_cast<const uint8_t*>(binary.data()),
                                      static_cast<uint32_t>(binary.size())),
                  fnMMSPush_FreeSic);
        ASSERT_TRUE(a && b) << name;
        EXPECT_EQ(a->iCharset, 166U);
        EXPECT_EQ(a->bAction, std::string(name) == "si-none" ? 5 : 0) << name;
        a->iCharset = b->iCharset;
        a->bAction = b->bAction;
        EXPECT_EQ(facts(std::move(a)), facts(std::move(b))) << name;
    }
    for (const char* name : {"sl-http", "sl-http-www", "sl-https", "sl-https-www"}) {
        const std::string binary = encode_independently(name);
        const std::string facts = decode_sl(binary.data(), binary.size());
        EXPECT_EQ(decode_xml_sl(document(name)), facts.substr(0, facts.find("action=5")) + "166");
    }
}

// Runs `work` in a process of its own under limits; false when it breaks them.
template <typename Work>
bool within(rlim_t seconds, rlim_t megabytes, Work work) {
    (void)std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const rlimit time = {seconds, seconds};
        (void)setrlimit(RLIMIT_CPU, &time);
        rusage before{}, after{};
        (void)getrusage(RUSAGE_SELF, &before);
        alarm(static_cast<unsigned>(seconds));  // waiting for a pipe or a host counts too
        const bool right = work();
        (void)getrusage(RUSAGE_SELF, &after);
        const auto grown = static_cast<rlim_t>(after.ru_maxrss - before.ru_maxrss);
        _exit(right && grown < megabytes * 1024 ? 0 : 1);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(PushXml, bombs_are_refused_in_a_second_and_50_megabytes) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    std::string laughs = "<!DOCTYPE si [<!ENTITY a0 'ha'>";
    for (int i = 1; i < 10; ++i) {
        laughs += "<!ENTITY a" + std::to_string(i) + " '";
        for (int n = 0; n < 10; ++n)
            laughs += "&a" + std::to_string(i - 1) + ";";
        laughs += "'>";
    }
    laughs += "]><si><indication>&a9;</indication></si>";
    std::string nested, attributes = "<si><indication";
    for (int i = 0; i < 100'000; ++i)
        nested += "<a>";
    for (int i = 0; i < 40'000; ++i)
        attributes += " a" + std::to_string(i) + "=''";
    const struct {
        const char* what;
        std::string text;
    } cases[] = {
        {"a file",
         "<!DOCTYPE si [<!ENTITY x SYSTEM 'pipe'>]><si><indication>&x;</indication></si>"},
        {"a host", "<!DOCTYPE a><!DOCTYPE si SYSTEM 'http://127.0.0.1:9/'><si>t</si>"},
        {"laughs", laughs},
        {"nested elements", nested},
        {"attributes", attributes + "/></si>"},
        {"a long attribute", "<si><indication a='" + std::string(10'000'000, 'x') + "'/></si>"},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(within(1, 50, [&c] {
            return decode_xml_si(c.text) == "null" && decode_xml_sl(c.text) == "null";
        })) << c.what;
        EXPECT_FALSE(std::filesystem::exists(si_path)) << c.what;
    }
    // A document type declaration alone is taken out, its file never opened.
    EXPECT_TRUE(within(1, 50, [] {
        return decode_xml_sl("<!DOCTYPE sl SYSTEM 'pipe'><sl href='h'/>") == "href=h 166";
    }));
}

TEST_F(PushXml, what_someone_put_in_place_of_the_file_is_not_followed) {
    const std::string text = "<si><indication>t</indication></si>";
    std::ofstream("target") << "mine";
    std::filesystem::create_symlink("../../target", si_path);
    EXPECT_EQ(decode_xml_si(text), "text=t 166");
    EXPECT_EQ(file_bytes("target"), "mine");
    ASSERT_EQ(mkfifo(si_path, 0600), 0);
    EXPECT_TRUE(within(1, 50, [&text] { return decode_xml_si(text) != "null"; }));
    std::filesystem::remove_all("umb");
    EXPECT_EQ(decode_xml_si(text), "null") << "no folder";
}

TEST_F(PushXml, survives_damage_and_lack_of_memory_and_holds_no_file) {
    const std::string si =
        "<si><indication href='h&amp;i' si-id='j'>t<![CDATA[u]]></indication></si>";
    const size_t files = open_files();
    damage_each_byte(si, [](const uint8_t* data, int32_t length) {
        decode_xml_si({reinterpret_cast<const char*>(data), static_cast<size_t>(length)});
    });
    damage_each_byte("<sl href='h'/>", [](const uint8_t* data, int32_t length) {
        decode_xml_sl({reinterpret_cast<const char*>(data), static_cast<size_t>(length)});
    });
    fail_each_allocation([&si] {
        decode_xml_si(si);
        decode_xml_sl("<sl href='h'/>");
    });
    EXPECT_EQ(open_files(), files);
    EXPECT_EQ(decode_xml_si(si), "href=h&i id=j text=tu 166");
}

}  // namespace
