// mmskit store as a user meets it: settings kept, looked up, changed and taken out, and files that
// are no store left as they are. Each test works in a fresh folder.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/tools/tool_runner.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

class Store : public ToolRunner {};

std::string entry(const std::string& key, const std::string& value) {
    return key + '\0' + value + std::string("\0\n", 2);
}

TEST_F(Store, entries_are_set_shown_changed_and_unset) {
    const struct {
        const char* arguments;
        int code;
        std::string out, err, file;
    } steps[] = {
        {"store s get a", 1, "", "mmskit: s: No such file or directory\n", ""},
        {"store s unset a", 1, "", "mmskit: s: No such file or directory\n", ""},
        {"store s set a 1", 0, "", "", entry("a", "1")},
        {"store s set b 'two words'", 0, "", "", entry("a", "1") + entry("b", "two words")},
        {"store s set b -- -5", 0, "", "", entry("a", "1") + entry("b", "-5")},
        {"store s set -- -c -", 0, "", "", entry("a", "1") + entry("b", "-5") + entry("-c", "-")},
        {"store s get b", 0, "-5\n", "", ""},
        {"store s", 0, "a = 1\nb = -5\n-c = -\n", "", ""},
        {"store s unset a", 0, "", "", entry("b", "-5") + entry("-c", "-")},
        {"store s unset a", 1, "", "mmskit: s: no key a\n", entry("b", "-5") + entry("-c", "-")},
        {"store s set a \"$(printf '\\nx')\"", 1, "",
         "mmskit: s: a value that begins with a line feed cannot be kept\n",
         entry("b", "-5") + entry("-c", "-")},
        {"store s unset -- -c", 0, "", "", entry("b", "-5")},
        {"store s unset b", 0, "", "", ""},
        {"store s list", 0, "", "", ""},
        {"store s set '' v", 0, "", "", entry("", "v")},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.arguments);
        const Outcome outcome = run(step.arguments);
        EXPECT_EQ(outcome.code, step.code);
        EXPECT_EQ(outcome.out, step.out);
        EXPECT_EQ(outcome.err, step.err);
        if (!step.file.empty()) {
            EXPECT_EQ(hex(read("s")), hex(step.file));
        }
    }
}

TEST_F(Store, an_empty_file_is_a_new_store_and_unset_takes_every_entry_of_the_key) {
    write("empty", "");
    EXPECT_EQ(run("store empty list").code, 0);
    EXPECT_EQ(run("store empty set k v").code, 0);
    EXPECT_EQ(hex(read("empty")), hex(entry("k", "v")));
    write("twice", entry("a", "1") + entry("b", "2") + entry("a", "3"));
    EXPECT_EQ(run("store twice unset a").code, 0);
    EXPECT_EQ(hex(read("twice")), hex(entry("b", "2")));
}

TEST_F(Store, what_is_no_store_stays_as_it_is) {
    const std::string whole = entry("a", "1") + entry("b", "2");
    const std::pair<std::string, std::string> cases[] = {
        {bytes("8C 85 98 'T1' 00 8D 92 91 80"), "looks like a message (m-acknowledge-ind)"},
        {bytes("8C FF 00"), "looks like a message\n"},
        {bytes("84 A3 01 04 05 03 83 81 EA 'hello'"), "looks like a message (message body)"},
        {bytes("FF D8 FF E0 00 10 'JFIF' 00 01"), "looks like a picture (image/jpeg)"},
        {bytes("'#!AMR' 0A 00 00"), "looks like a sound (audio/amr)"},
        {bytes("00000014 'ftypmp42' 00000000"), "looks like a video (video/mp4)"},
        {"hello\n", "looks like a text\n"},
        {"a=1\nb=2\n", "looks like a text\n"},
        {"; mine\r\n [one] \r\na=1\r\n", "looks like an INI file with sections\n"},
        {"BEGIN:VCARD\n", "looks like a file (text/x-vCard)"},
        {bytes("01 02 00"), "looks like data of an unknown kind"},
        {bytes("'k' 00 'v' 00"), "looks like data of an unknown kind"},
        {whole + "c", "the store is damaged from byte 10 on"},
        {whole.substr(0, whole.size() - 1), "the store is damaged from byte 5 on"},
        {whole + entry("c", "\nx"), "the store is damaged from byte 10 on"},
    };
    for (const auto& [data, told] : cases) {
        SCOPED_TRACE(told);
        for (const char* action : {"set a 9", "unset a"}) {
            write("f", data);
            const Outcome outcome = run(std::string("store f ") + action);
            EXPECT_EQ(outcome.code, 1);
            EXPECT_NE(outcome.err.find(told), std::string::npos) << outcome.err;
            EXPECT_EQ(hex(read("f")), hex(data));
            EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 3) << "no file is left";
        }
        // The entries before a damage are shown.
        const bool damaged = told.find("damaged") != std::string::npos;
        const Outcome list = run("store f list");
        EXPECT_EQ(list.code, damaged ? 0 : 1);
        EXPECT_EQ(list.out.find("a = 1\n"), damaged ? 0 : std::string::npos);
        EXPECT_NE(list.err.find(told), std::string::npos) << list.err;
    }
}

// A save that was interrupted left its backup, which is then the store; what another program keeps
// under that name is not, and takes nothing's place.
TEST_F(Store, only_a_backup_of_a_store_is_put_back) {
    const std::string old = entry("a", "old");
    const std::string cut = entry("a", "new") + "b";
    const struct {
        std::string file, backup;
        int code;
        std::string listed;
    } cases[] = {
        {cut, old, 0, "a = old\n"},
        {"", old, 0, "a = old\n"},
        {entry("a", "new"), "my notes of yesterday", 1, ""},
        {"my notes", "my notes of yesterday", 1, ""},
        {"my notes", old, 1, ""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.file + " / " + test.backup);
        for (const char* action : {" list", " set b 1", " unset a"}) {
            write("notes", test.file);
            write("notes.bak", test.backup);
            const Outcome outcome = run(std::string("store notes") + action);
            EXPECT_EQ(outcome.code, test.code) << outcome.err;
            if (test.code == 0) continue;
            EXPECT_EQ(read("notes"), test.file);
            EXPECT_EQ(read("notes.bak"), test.backup);
        }
        write("notes", test.file);
        write("notes.bak", test.backup);
        EXPECT_EQ(run("store notes").out, test.listed);
    }
    fs::remove(folder_ / "notes");
    write("notes.bak", old);
    EXPECT_EQ(run("store notes get a").out, "old\n");
}

TEST_F(Store, failures_give_the_reason_of_the_system) {
    fs::create_directory(folder_ / "d");
    EXPECT_EQ(run("store d list").err, "mmskit: d: Is a directory\n");
    EXPECT_EQ(run("store d set k v").err, "mmskit: d: Is a directory\n");
    EXPECT_EQ(run("store no/s set k v").err,
              "mmskit: no/s: cannot be written: No such file or directory\n");
    write("s", entry("a", "1"));
    const std::string most(1500, 'v');
    EXPECT_EQ(run("store s set k " + most, "ulimit -f 1").err,
              "mmskit: s: cannot be written: File too large\n");
    EXPECT_EQ(hex(read("s")), hex(entry("a", "1")));
    EXPECT_EQ(run("store s/t list").err, "mmskit: s/t: Not a directory\n");
}

}  // namespace
