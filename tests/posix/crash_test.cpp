// Saves that break off. A child process saves while this one traces it: at each of its system calls
// in turn it is killed, or that call fails. From every state of the folder that this leaves, the
// next save, without a load in between, is broken off in the same ways, until no new state comes
// up. Whatever state it is, loading gives the list of before or the one that was saved, whole.
// Relies on ptrace, skipped where that is not permitted, and on the registers of x86-64.
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/posix/saves.h"

#ifdef __x86_64__

namespace {

using namespace testing_support;

// A process with a sanitizer, which clang's build of the tests has, forks slowly: there only the
// first states are explored.
#if defined(__SANITIZE_ADDRESS__) || defined(__clang__)
constexpr size_t explored_states = 8;
#else
constexpr size_t explored_states = 1000;
#endif

class BrokenSaves : public Saves {
  protected:
    // Two lists are saved in turn; the second takes two writes to copy.
    static size_t size_of(bool second) { return second ? 7000 : 100; }

    // Saves in a child process whose `at`-th system call, counted from 1, fails with the error, or
    // is where the process is killed when that is 0. The result of the save; -1 when killed.
    int broken_save(bool second, int at, int error, bool& reached) const {
        const pid_t child = fork();
        if (child == 0) {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(9);
            raise(SIGSTOP);
            _exit(save(size_of(second)));
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

    // Notes what a power cut may put out of order: writing, synchronizing, moving, unlinking. A
    // sanitizer writes into a pipe of its own to see what memory is there.
    void note_order(pid_t child) const {
        user_regs_struct regs{};
        ptrace(PTRACE_GETREGS, child, nullptr, &regs);
        std::error_code none;
        const std::string file = std::filesystem::read_symlink(
            "/proc/" + std::to_string(child) + "/fd/" + std::to_string(regs.rdi), none);
        if (regs.orig_rax == SYS_write &&
            !file.starts_with(std::filesystem::canonical(folder_).string()))
            return;
        for (const auto& [call, sign] :
             {std::pair(SYS_write, 'w'), std::pair(SYS_fsync, 's'), std::pair(SYS_rename, 'm'),
              std::pair(SYS_renameat, 'm'), std::pair(SYS_renameat2, 'm'),
              std::pair(SYS_unlinkat, 'u')}) {
            if (regs.orig_rax == static_cast<unsigned long long>(call)) order_ += sign;
        }
    }

    // Breaks the save off at each call, from one state, and collects the states that come of it.
    void break_each_call(const Folder& from, std::vector<Folder>& states) const {
        restore(from);
        const std::string before = load();
        const bool second = before != list_text(size_of(true));
        const std::string saved = list_text(size_of(second));
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
        EXPECT_EQ(save(size_of(true)), 1);
        EXPECT_EQ(snapshot().size(), 1U) << "a save that works cleans up";
    }
}

}  // namespace

#endif
