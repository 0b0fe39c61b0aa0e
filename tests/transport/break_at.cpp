// break_at N ERROR MARK PROGRAM ARGUMENTS...: runs a program and breaks its N-th system call,
// counted from the first that opens a file whose name ends in MARK. ERROR 0 kills the program
// before that call; another number makes the call do nothing and return that error, when it is one
// of files and sockets. Exits with 100 when the program was killed, 101 when it ended before its
// N-th call, else as it ended. Relies on ptrace and the registers of x86-64; 102 where there is
// none.
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

#ifdef __x86_64__
#include <sys/user.h>

#include <algorithm>
#include <iterator>

namespace {

enum : int { killed = 100, not_reached = 101, no_tracing = 102 };

bool opens(pid_t child, const user_regs_struct& regs, const std::string& mark) {
    if (regs.orig_rax != SYS_openat) return false;
    char name[512] = {};
    iovec here{name, sizeof name - 1};
    iovec there{reinterpret_cast<void*>(regs.rsi), sizeof name - 1};
    // A name near the end of a mapping: less is enough.
    for (; there.iov_len > 0; there.iov_len /= 2)
        if (process_vm_readv(child, &here, 1, &there, 1, 0) > 0) break;
    return std::string(name).ends_with(mark);
}

// Calls without a part in files or connections may not fail: memory, signals and time.
bool may_fail(const user_regs_struct& regs) {
    constexpr unsigned long long calls[] = {
        SYS_open,        SYS_openat,      SYS_close,   SYS_read,    SYS_write,      SYS_lseek,
        SYS_fsync,       SYS_rename,      SYS_unlink,  SYS_stat,    SYS_fstat,      SYS_newfstatat,
        SYS_ftruncate,   SYS_fcntl,       SYS_flock,   SYS_mkdir,   SYS_socket,     SYS_connect,
        SYS_sendto,      SYS_recvfrom,    SYS_sendmsg, SYS_recvmsg, SYS_setsockopt, SYS_getsockopt,
        SYS_getsockname, SYS_getpeername, SYS_poll,    SYS_pipe2,   SYS_socketpair, SYS_readlink};
    return std::count(std::begin(calls), std::end(calls), regs.orig_rax) != 0;
}

void break_call(pid_t child, user_regs_struct regs, int error) {
    if (error == 0) kill(child, SIGKILL);
    if (error == 0 || !may_fail(regs)) return;
    regs.orig_rax = ~0ULL;
    ptrace(PTRACE_SETREGS, child, nullptr, &regs);
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    waitpid(child, nullptr, 0);
    regs.rax = static_cast<unsigned long long>(-error);
    ptrace(PTRACE_SETREGS, child, nullptr, &regs);
}

int trace(pid_t child, int wanted, int error, const std::string& mark) {
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFSTOPPED(status)) return no_tracing;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    bool entry = true;  // each call stops before it and after it
    bool marked = false;
    bool reached = false;
    int calls = 0;
    for (int signal = 0;;) {
        ptrace(PTRACE_SYSCALL, child, nullptr, signal);
        waitpid(child, &status, 0);
        if (WIFEXITED(status)) return reached ? WEXITSTATUS(status) : not_reached;
        if (WIFSIGNALED(status)) return killed;
        signal = WSTOPSIG(status) == (SIGTRAP | 0x80) || WSTOPSIG(status) == SIGTRAP
                     ? 0
                     : WSTOPSIG(status);
        if (WSTOPSIG(status) != (SIGTRAP | 0x80)) continue;
        if (entry && !reached) {
            user_regs_struct regs{};
            ptrace(PTRACE_GETREGS, child, nullptr, &regs);
            marked = marked || opens(child, regs, mark);
            reached = marked && ++calls == wanted;
            if (reached) {
                break_call(child, regs, error);
                if (error != 0 && may_fail(regs)) continue;  // it has come back from the call
            }
        }
        entry = !entry;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) return 2;
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(no_tracing);
        execv(argv[4], argv + 4);
        _exit(127);
    }
    return trace(child, std::atoi(argv[1]), std::atoi(argv[2]), argv[3]);
}

#else

int main() {
    return 102;
}

#endif
