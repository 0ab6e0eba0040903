// SPDX-License-Identifier: MIT
#include "forked.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <sys/mman.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace forked {
namespace {

constexpr unsigned int seconds_for_a_step = 20;
constexpr int most_crashes = 5; // of one piece of work; what is left of it would tell no more

bool has_leaks()
{
#if defined(__SANITIZE_ADDRESS__)
    return __lsan_do_recoverable_leak_check() != 0;
#else
    return false;
#endif
}

// How a child ended, empty for well.
std::string end_of(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        return std::string("ended by ") + strsignal(WTERMSIG(status));
    return WEXITSTATUS(status) == 0 ? "" : "ended with " + std::to_string(WEXITSTATUS(status));
}

} // namespace

void note(account &shared, const std::string &text)
{
    const std::size_t used = std::strlen(shared.texts);
    std::snprintf(shared.texts + used, sizeof shared.texts - used, "%s: %s\n", shared.name, text.c_str());
}

void begin_step(account &shared, std::size_t step, const std::string &name)
{
    shared.under_way = step;
    std::snprintf(shared.name, sizeof shared.name, "%s", name.c_str());
    alarm(seconds_for_a_step);
}

account run(const std::function<void(std::size_t begin, account &shared)> &work)
{
    void *const memory = mmap(nullptr, sizeof(account), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        std::abort();
    auto &shared = *new (memory) account;
    std::string end = "not begun";
    std::size_t begin = 0;
    for (int crashes = 0; !end.empty() && crashes < most_crashes; ++crashes) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            work(begin, shared);
            if (has_leaks()) {
                ++shared.failed;
                note(shared, "memory is lost by then");
            }
            std::fflush(nullptr);
            _exit(0);
        }
        end = end_of(child);
        if (!end.empty()) {
            ++shared.steps;
            ++shared.failed;
            note(shared, end);
        }
        begin = shared.under_way + 1;
    }
    const account result = shared;
    munmap(memory, sizeof(account));
    return result;
}

} // namespace forked
