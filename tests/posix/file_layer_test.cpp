// The POSIX file layer on a folder of its own: what it really does, what it does not follow, and
// that a failure leaves the old file, no temporary and no open descriptor.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "scfs/common/src/scfs_internal.h"
#include "tests/posix/saves.h"
#include "tests/support/faults.h"
#include "tests/support/push_facts.h"

namespace {

using namespace testing_support;
namespace fs = std::filesystem;

long entries(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

std::string told;

class FileLayer : public testing::Test {
  protected:
    FileLayer() {
        told.clear();
        fnSCFS_SetCardSynFileFunc([](const char* name, int32_t) { told += fs::path(name).stem(); });
        std::ofstream(old_) << "old";
    }
    ~FileLayer() override {
        fs::remove_all(folder_);
        mmskit::reset_services();
        EXPECT_EQ(entries("/proc/self/fd"), descriptors_) << "descriptors leaked";
    }
    std::string at(const std::string& name) const { return folder_ + "/" + name; }

    NoLeak check_;
    long descriptors_ = entries("/proc/self/fd");
    std::string pattern_ = testing::TempDir() + "mmskit_layer_XXXXXX";
    std::string folder_ = mkdtemp(pattern_.data()), old_ = at("old");
};

TEST_F(FileLayer, Files) {
    const std::string a = at("a"), b = at("b"), large(100000, 'x');
    char data[8] = {};
    EXPECT_EQ(fnSCFS_WriteToFile("one\0", 4, a.c_str()), 4);
    fs::permissions(a, fs::perms(0640));
    EXPECT_EQ(fnSCFS_AppendToFile("two", 3, a.c_str()), 3);
    EXPECT_EQ(told, "aa");
    EXPECT_EQ(fnSCFS_CopyFile(a.c_str(), b.c_str()), 1);
    EXPECT_EQ(fs::status(b).permissions(), fs::perms(0640));
    EXPECT_EQ(fnSCFS_WriteToFileAtPos("TW", 2, 4, b.c_str()), 2);
    EXPECT_EQ(fnSCFS_ReadFromFileAtPos(data, 8, 1, b.c_str()), 6);
    EXPECT_EQ(std::string(data, 6), bytes("'ne' 00 'TWo'"));
    EXPECT_EQ(fnSCFS_WriteToFile(large.data(), 100000, a.c_str()), 100000);
    EXPECT_EQ(fnSCFS_MoveFile(a.c_str(), b.c_str()), 1);
    EXPECT_EQ(fnSCFS_AppendToFile("new", 3, a.c_str()), 3) << "a missing file counts as empty";
    EXPECT_EQ(fnSCFS_CopyFile(b.c_str(), a.c_str()), 1);
    EXPECT_EQ(file_bytes(a), large);
    fs::remove(b);
    fs::create_hard_link(a, b);
    EXPECT_EQ(fnSCFS_MoveFile(b.c_str(), a.c_str()) + fnSCFS_MoveFile(a.c_str(), a.c_str()), 2);
    EXPECT_EQ(fs::exists(a) + 2 * fs::exists(b), 1) << "of two names of one file the target stays";
    EXPECT_EQ(fnSCFS_DeleteFile(b.c_str()) + fnSCFS_DeleteFile(b.c_str()), 2);
    EXPECT_EQ(entries(folder_), 2);
    fs::resize_file(a, 3ULL << 30);
    EXPECT_EQ(fnSCFS_getFileSize(a.c_str()), -1) << "more than a length can tell";
    tSCFS_FileBuffer buffer{reinterpret_cast<uint8_t*>(data), -1, 7};
    EXPECT_EQ(fnSCFS_Load_File_To_Buffer(a.c_str(), &buffer), 0);
}

TEST_F(FileLayer, NothingForeignIsFollowed) {
    for (const std::string kind : {"link", "hard link", "fifo"}) {
        for (const bool opened : {false, true}) {
            const std::string name = at("f"), trap = opened ? name : at("f.~new");
            if (kind == "fifo") mkfifo(trap.c_str(), 0666);
            if (kind == "link") fs::create_symlink(old_, trap);
            if (kind == "hard link") fs::create_hard_link(old_, trap);
            tSCFS_File* file = opened ? fnSCFS_File_Open(name.c_str(), 1) : nullptr;
            const int32_t done = opened ? fnSCFS_File_Write("text", 4, 1, file)
                                        : fnSCFS_WriteToFile("text", 4, name.c_str());
            EXPECT_EQ(done, opened ? 1 : 4) << kind;
            fnSCFS_File_Close(file);
            EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(name))) << kind;
            EXPECT_EQ(file_bytes(name) + file_bytes(old_), "textold") << kind;
            EXPECT_EQ(entries(folder_), 2) << kind;
            fs::remove(name);
        }
    }
}

TEST_F(FileLayer, FailureLeavesTheOldFile) {
    const std::string fifo = at("fifo"), none = at("none/x");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    char data[8] = {};
    const char* const no_files[] = {fifo.c_str(), folder_.c_str(), none.c_str(), nullptr};
    for (const char* name : no_files) {
        EXPECT_EQ(fnSCFS_AppendToFile(data, 8, name), -1) << text(name);
        EXPECT_EQ(name == no_files[0] ? -1 : fnSCFS_WriteToFile(data, 8, name), -1) << text(name);
        EXPECT_EQ(fnSCFS_ReadFromFile(data, 8, name) + fnSCFS_getFileSize(name), -2) << text(name);
        EXPECT_EQ(fnSCFS_CopyFile(name, old_.c_str()), 0) << text(name);
        EXPECT_EQ(fnSCFS_File_Open(name, 0), nullptr) << text(name);
    }
    for (const auto& [length, position] : {std::pair(-1, 0), {1, -1}}) {
        EXPECT_EQ(fnSCFS_WriteToFileAtPos(data, length, position, old_.c_str()), -1);
        EXPECT_EQ(fnSCFS_ReadFromFileAtPos(data, length, position, old_.c_str()), -1);
    }
    EXPECT_EQ(fnSCFS_WriteToFile(data, -1, old_.c_str()), -1);
    EXPECT_EQ(fnSCFS_AppendToFile(data, -1, old_.c_str()), -1);
    EXPECT_EQ(fnSCFS_File_Open(old_.c_str(), 2), nullptr);
    EXPECT_EQ(fnSCFS_WriteToFile(data, 1, at(std::string(252, 'n')).c_str()), -1)
        << "its temporary's name is too long";
    EXPECT_EQ(fnSCFS_WriteToFile(data, 1, at(std::string(5000, '/') + "x").c_str()), -1);
    EXPECT_EQ(file_bytes(old_) + told, "old");
    EXPECT_EQ(entries(folder_), 2);
}

// Whichever call of the system fails, or is broken off by a signal: no descriptor stays open, and
// what says that it was done was done.
TEST_F(FileLayer, EachCallOfTheSystemMayFail) {
    const std::string a = at("a"), b = at("b"), folder = at("folder");
    const fs::path before = fs::current_path();
    fs::create_directories(at("umb/tmp"));
    fs::current_path(folder_);
    for (const int error : {ENOSPC, EINTR, ENOENT, EXDEV}) {
        int calls = 1;
        for (int failing = 1; failing <= calls && !HasFailure(); ++failing) {
            SCOPED_TRACE(print("call %d, error %d", failing, error));
            std::ofstream(a) << "a";
            std::ofstream(b) << "b";
            fs::create_directory(folder);
            std::ofstream(folder + "/inside") << "x";
            calls = 0;
            bool again = false, lost = false;  // made once more; what was written is lost
            int written = -1;
            on_file_call = [&](const FileCall& call) {
                const bool closes = call.kind == 'c' && call.fd == written;
                if (call.kind == 'w' || closes) written = closes ? -1 : call.fd;
                if (++calls != failing) return call.kind == 's' ? call_done : 0;
                again = error == EINTR && std::strchr("orws", call.kind) != nullptr;
                lost = closes;
                return error;
            };
            (void)decode_xml_sl("<sl>t</sl>");  // leaks nothing, and leaves its file
            const bool added = fnSCFS_AppendToFile("+", 1, a.c_str()) == 1;
            const bool put = fnSCFS_WriteToFileAtPos("*", 1, 0, a.c_str()) == 1;
            char read[2] = {};
            const int32_t got = fnSCFS_ReadFromFileAtPos(read, 1, 0, a.c_str());
            const bool moved = fnSCFS_MoveFile(a.c_str(), b.c_str()) == 1;
            const bool gone = fnSCFS_DeleteFile(old_.c_str()) == 1;
            const bool emptied = fnSCFS_DelAllFiles(folder.c_str()) == 1;
            const bool is_folder = fnSCFS_File_CreateDir(folder.c_str()) != nullptr;
            const int32_t size = fnSCFS_getFileSize(b.c_str());
            on_file_call = nullptr;
            const bool all = added && put && got == 1 && moved && gone && emptied && is_folder;
            EXPECT_TRUE(all || !again);
            EXPECT_FALSE(all && lost);
            EXPECT_TRUE(!added || !put || !moved || error == ENOENT || file_bytes(b) == "*+");
            EXPECT_TRUE(got != 1 || !put || *read == '*');
            EXPECT_FALSE(fs::exists(a) && moved);
            EXPECT_FALSE(fs::exists(old_) && gone && error != ENOENT);
            EXPECT_FALSE(fs::exists(folder + "/inside") && emptied && error != ENOENT);
            EXPECT_TRUE(size == -1 || static_cast<uintmax_t>(size) == fs::file_size(b));
        }
        EXPECT_GT(calls, 30);
    }
    fs::current_path(before);
    fnMMSPush_ReleaseXml();
}

TEST_F(FileLayer, Directories) {
    const std::string x = at("x"), deep = at("x/y//z/"), link = at("link");
    EXPECT_EQ(fnSCFS_File_CreateDir(deep.c_str()), deep.c_str());
    EXPECT_EQ(fnSCFS_File_CreateDir(std::string(5000, 'd').c_str()), nullptr);
    EXPECT_EQ(fnSCFS_MkDir(x.c_str()) + 2 * fnSCFS_MkDir(at("new").c_str()), 2);
    EXPECT_EQ(fnSCFS_RmDir(at("new").c_str()), 1);
    EXPECT_EQ(fnSCFS_File_CreateDir(old_.c_str()), nullptr);
    fs::copy_file(old_, at("x/file"));
    fs::create_symlink(x, link);
    EXPECT_EQ(fnSCFS_DelAllFiles(link.c_str()) + fnSCFS_RmDir(x.c_str()), 0);
    EXPECT_TRUE(fs::exists(at("x/file")));
    EXPECT_EQ(fnSCFS_DelAllFiles(x.c_str()), 1);
    for (const std::string& none : {std::string("/mmskit-none"), old_ + "/x", old_ + "/x/y"})
        EXPECT_EQ(fnSCFS_DeleteFile(none.c_str()) - fnSCFS_isFileExisted(none.c_str()), 1);
    EXPECT_EQ(entries(x), 1);
}

TEST_F(FileLayer, Timers) {
    const auto echo = [](uint32_t param) { return param; };
    fail_each_allocation([&] {
        const bool all = (fnSCFS_SetTimer(echo, 5, 7) & fnSCFS_SetTimer(echo, 6, 7)) == 1;
        fnSCFS_CancelTimer(8);
        fnSCFS_CancelTimer(7);
        EXPECT_EQ(all ? fnSCFS_TimerCallback(7) : 6U, 6U);
        fnSCFS_ReleaseTimerList();
    });
}

}  // namespace
