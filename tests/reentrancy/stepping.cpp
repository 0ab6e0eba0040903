// SPDX-License-Identifier: MIT
// The tracer sends the child one signal, and the handler sends another one that is blocked as long as it runs: so the
// child stops next where it was, right before the instruction, whatever the handler has done. One step, and again.
#include "stepping.h"

#include "sane_pelsane.h"
#include "small_platform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace stepping {
namespace {

constexpr int cancelling_signal = SIGUSR2;
constexpr int returned_signal = SIGPROF;
constexpr int not_allowed = 77;
constexpr int failed = 1;

struct shared_state {
    volatile bool is_over = false; // the work
    long cancels = 0;
    small_platform::book book;
};
shared_state *shared = nullptr;

void send_to_myself(int signal)
{
    syscall(SYS_tgkill, getpid(), syscall(SYS_gettid), signal);
}

void cancel_all(int)
{
    const int kept = errno;
    send_to_myself(returned_signal); // comes when this handler is over
    small_platform::book &book = small_platform::the_book();
    book.is_in_handler = true;
    for (std::size_t nth = 0; nth <= book.opened; ++nth)
        sane_pelsane_cancel(small_platform::handle_of(nth));
    sane_pelsane_cancel(nullptr);
    shared->cancels += static_cast<long>(book.opened) + 2;
    book.is_in_handler = false;
    errno = kept;
}

void install_handler()
{
    struct sigaction action = {};
    action.sa_handler = cancel_all;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, returned_signal);
    sigaction(cancelling_signal, &action, nullptr);
}

[[noreturn]] void be_stepped_through(const scenario &steps)
{
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        _exit(not_allowed);
    install_handler();
    const bool is_prepared = steps.prepare();
    raise(SIGSTOP);
    const bool is_done = steps.work();
    shared->is_over = true;
    shared->book = small_platform::the_book();
    _exit(is_prepared && is_done ? 0 : failed);
}

class tracer {
public:
    explicit tracer(pid_t child) : child_(child) {}

    result run()
    {
        wait();
        result_.is_allowed = !WIFEXITED(status_) || WEXITSTATUS(status_) != not_allowed;
        while (is_stopped() && !shared->is_over && let_signal_in() && !shared->is_over)
            step();
        while (is_stopped())
            go_on(PTRACE_CONT, fatal_signal());
        tell_end();
        result_.cancels = shared->cancels;
        result_.book = shared->book;
        return result_;
    }

private:
    void wait() { waitpid(child_, &status_, 0); }
    [[nodiscard]] bool is_stopped() const { return WIFSTOPPED(status_); }
    [[nodiscard]] bool is_stopped_by(int signal) const { return is_stopped() && WSTOPSIG(status_) == signal; }

    void go_on(__ptrace_request how, int signal)
    {
        ptrace(how, child_, nullptr, signal);
        wait();
    }

    // Of what the child stopped by: that which ends it.
    [[nodiscard]] int fatal_signal() const
    {
        const int signal = WSTOPSIG(status_);
        return signal == SIGTRAP || signal == SIGSTOP || signal == returned_signal ? 0 : signal;
    }

    bool let_signal_in()
    {
        go_on(PTRACE_CONT, cancelling_signal);
        const bool is_back = is_stopped_by(returned_signal);
        result_.signals += is_back ? 1 : 0;
        return is_back;
    }

    void step()
    {
        go_on(PTRACE_SINGLESTEP, 0);
        result_.instructions += is_stopped_by(SIGTRAP) ? 1 : 0;
    }

    void tell_end()
    {
        if (WIFSIGNALED(status_))
            result_.end = std::string("ended by ") + strsignal(WTERMSIG(status_));
        else if (WEXITSTATUS(status_) != 0)
            result_.end = "a call failed";
    }

    pid_t child_;
    int status_ = 0;
    result result_;
};

} // namespace

result step_through(const scenario &steps)
{
    void *const memory = mmap(nullptr, sizeof(shared_state), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        std::abort();
    shared = new (memory) shared_state;
    const pid_t child = fork();
    if (child == 0)
        be_stepped_through(steps);
    const result seen = tracer(child).run();
    munmap(memory, sizeof(shared_state));
    return seen;
}

} // namespace stepping
