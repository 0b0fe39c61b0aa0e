// Saves that break off. A child process saves while this one traces it: at each of its system calls
// in turn it is killed, or that call fails. From every state of the folder that this leaves, the
// next save, without a load in between, is broken off in the same ways, until no new state comes
// up. Whatever state it is, loading gives the list of before or the one that was saved, whole.
// Relies on ptrace, skipped where that is not permitted, and on the registers of x86-64.
#include <gtest/gtest.h>
#include <mmskit/storage.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/bytes.h"

#ifdef __x86_64__

namespace {

namespace fs = std::filesystem;

// A process with a sanitizer, which clang's build of the tests has, forks slowly: there only the
// first states are explored.
#if defined(__SANITIZE_ADDRESS__) || defined(__clang__)
constexpr size_t explored_states = 8;
#else
constexpr size_t explored_states = 1000;
#endif

using Folder = std::map<std::string, std::string>;  // contents by file name

class BrokenSaves : public testing::Test {
  protected:
    BrokenSaves() { restore({}); }
    ~BrokenSaves() override { fs::remove_all(folder_); }

    // All of a list. Two are saved in turn; the second takes two writes to copy.
    static std::string list_text(bool second) {
        const std::string value(second ? 7000 : 100, 'v');
        return "a" + value + "b" + value + "c" + value;
    }
    int32_t save(bool second) const {
        tSCList list{};
        const std::string all = list_text(second);
        for (size_t at = 0; at < all.size(); at += all.size() / 3)
            (void)fnSCFS_INI_WriteRAM(&list, all.substr(at, 1).c_str(),
                                      all.substr(at + 1, all.size() / 3 - 1).c_str());
        const int32_t result = fnSCFS_Write_INI_To_File(path_.c_str(), &list);
        fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
        return result;
    }
    std::string load() const {
        tSCList list{};
        fnSCFS_INI_List_Init(path_.c_str(), &list);
        std::string all;
        for (const tSCListNode* node = list.pHead; node != nullptr; node = node->pNext) {
            const auto* entry = static_cast<const tSCFS_INI_Entry*>(node->pData);
            all += std::string(entry->pKey) + entry->pValue;
        }
        fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
        return all;
    }

    Folder snapshot() const {
        Folder out;
        for (const auto& entry : fs::directory_iterator(folder_))
            out[entry.path().filename()] = testing_support::file_bytes(entry.path());
        return out;
    }
    void restore(const Folder& files) const {
        fs::remove_all(folder_);
        fs::create_directory(folder_);
        for (const auto& [name, content] : files)
            std::ofstream(folder_ + "/" + name, std::ios::binary) << content;
    }

    // Saves in a child process whose `at`-th system call, counted from 1, fails with the error, or
    // is where the process is killed when that is 0. The result of the save; -1 when killed.
    int broken_save(bool second, int at, int error, bool& reached) const {
        const pid_t child = fork();
        if (child == 0) {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(9);
            raise(SIGSTOP);
            _exit(save(second));
        }
        int status = 0;
        waitpid(child, &status, 0);
        reached = false;
        order_.clear();
        for (int stop = 0; WIFSTOPPED(status); ++stop) {  // once before and once after each call
            if (stop % 2 == 1) note_order(child);
            if (stop == 2 * at - 1) {
                reached = true;
                break_call(child, error);
            }
            ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
            waitpid(child, &status, 0);
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Before a call: kills the process, or has the call do nothing and return the error. Calls
    // without a part in the file system may not fail: memory and the process itself.
    static void break_call(pid_t child, int error) {
        constexpr unsigned long long files[] = {
            SYS_open,   SYS_openat,   SYS_close,     SYS_read,     SYS_write,    SYS_lseek,
            SYS_fsync,  SYS_rename,   SYS_unlink,    SYS_stat,     SYS_fstat,    SYS_newfstatat,
            SYS_fchmod, SYS_renameat, SYS_renameat2, SYS_unlinkat, SYS_fdatasync};
        user_regs_struct regs{};
        ptrace(PTRACE_GETREGS, child, nullptr, &regs);
        if (error == 0) kill(child, SIGKILL);
        if (error == 0 || std::count(std::begin(files), std::end(files), regs.orig_rax) == 0)
            return;
        regs.orig_rax = ~0ULL;
        ptrace(PTRACE_SETREGS, child, nullptr, &regs);
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        waitpid(child, nullptr, 0);
        regs.rax = static_cast<unsigned long long>(-error);
        ptrace(PTRACE_SETREGS, child, nullptr, &regs);
    }

    // Notes what a power cut may put out of order: writing, synchronizing, moving, unlinking.
    void note_order(pid_t child) const {
        user_regs_struct regs{};
        ptrace(PTRACE_GETREGS, child, nullptr, &regs);
        for (const auto& [call, sign] :
             {std::pair(SYS_write, 'w'), std::pair(SYS_fsync, 's'), std::pair(SYS_rename, 'm'),
              std::pair(SYS_renameat, 'm'), std::pair(SYS_unlinkat, 'u')}) {
            if (regs.orig_rax == static_cast<unsigned long long>(call)) order_ += sign;
        }
    }

    // Breaks the save off at each call, from one state, and collects the states that come of it.
    void break_each_call(const Folder& from, std::vector<Folder>& states) const {
        restore(from);
        const std::string before = load();
        const bool second = before != list_text(true);
        const std::string saved = list_text(second);
        for (const int error : {0, ENOSPC}) {
            bool reached = true;
            for (int at = 1; reached && !HasFailure(); ++at) {
                SCOPED_TRACE(testing::Message() << "call " << at << ", error " << error);
                restore(from);
                const int result = broken_save(second, at, error, reached);
                const Folder left = snapshot();
                const std::string after = load();
                ASSERT_TRUE(after == before || after == saved) << after;
                ASSERT_TRUE(result != 1 || after == saved) << after << " after success";
                ASSERT_TRUE(reached || result == 1) << "nothing failed";
                if (std::find(states.begin(), states.end(), left) == states.end())
                    states.push_back(left);
            }
        }
    }

    mutable std::string order_;  // of the calls of the last save
    std::string folder_ = testing::TempDir() + "mmskit-crash" + std::to_string(getpid());
    std::string path_ = folder_ + "/s.ini";
};

TEST_F(BrokenSaves, LeaveTheOldListOrTheNewOneWhole) {
    bool reached = false;
    if (broken_save(false, 0, 0, reached) != 1)
        GTEST_SKIP() << "this process may not trace a child";
    EXPECT_EQ(order_, "wsms") << "the content, then its name";
    EXPECT_EQ(broken_save(false, 0, 0, reached), 1);
    EXPECT_EQ(order_,
              "mss"
              "wsms"
              "wsms"
              "us")
        << "the backup's name, a copy, the content, no backup";
    std::vector<Folder> states{{}, snapshot()};
    for (size_t i = 0; i < std::min(states.size(), explored_states) && !HasFailure(); ++i) {
        ASSERT_LT(states.size(), 60U) << "files pile up";
        const Folder from = states[i];
        break_each_call(from, states);
        restore(from);
        EXPECT_EQ(save(true), 1);
        EXPECT_EQ(snapshot().size(), 1U) << "a save that works cleans up";
    }
}

}  // namespace

#endif
