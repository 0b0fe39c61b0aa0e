// Saves that break off: at each system call of the file layer in turn the process ends, or that
// call fails, or a signal breaks it off. From every state of the folder that this leaves, the next
// save, without a load in between, is broken off in the same ways, until no new state comes up.
// Whatever state it is, loading gives the list of before or the one that was saved, whole.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tests/posix/saves.h"

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

    // Saves, and at the `at`-th call, counted from 1, that fails with the error, or the process
    // ends when that is 0. The result of the save; -1 when it ended.
    int broken_save(bool second, int at, int error, bool& reached) const {
        int calls = 0;
        order_.clear();
        on_file_call = [&](const FileCall& call) {
            if (std::strchr("wsmu", call.kind) != nullptr) order_ += call.kind;
            if (++calls == at && error == 0) _exit(ended);
            return calls == at ? error : 0;
        };
        int result = -1;
        const pid_t child = error == 0 && at != 0 ? fork() : 0;
        if (child == 0) result = save(size_of(second));
        if (child == 0 && error == 0 && at != 0) _exit(result);
        on_file_call = nullptr;
        reached = calls >= at;
        if (child == 0) return result;
        int status = 0;
        waitpid(child, &status, 0);
        reached = WEXITSTATUS(status) == ended;
        return reached ? -1 : WEXITSTATUS(status);
    }
    static constexpr int ended = 100;

    // Breaks the save off at each call, from one state, and collects the states that come of it.
    void break_each_call(const Folder& from, std::vector<Folder>& states) const {
        restore(from);
        const std::string before = load();
        const bool second = before != list_text(size_of(true));
        const std::string saved = list_text(size_of(second));
        for (const int error : {0, ENOSPC, EINTR}) {
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
    EXPECT_EQ(broken_save(false, 0, 0, reached), 1);
    EXPECT_EQ(order_, "wsms") << "the content, then its name";
    EXPECT_EQ(broken_save(false, 0, 0, reached), 1);
    EXPECT_EQ(order_, "msswsmswsmsus") << "the backup's name, a copy, the content, no backup";
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
