// SPDX-License-Identifier: MIT
// The driver's one thread, which reports events, notices changed folders, takes commands and keeps time.
#ifndef PELSANE_VIRTUAL_SERVICE_H
#define PELSANE_VIRTUAL_SERVICE_H

#include "control_socket.h"
#include "descriptor.h"
#include "events.h"
#include "folder_watch.h"
#include "kx_scanner.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <poll.h>

namespace virtual_scanner {

class service {
public:
    using clock = std::chrono::steady_clock;

    struct duties {
        kx_event_callback callback = nullptr; // asked first whether anyone listens; null: nobody does
        void *parameter = nullptr;
        std::unique_ptr<folder_watch> folders;   // null: none
        std::function<void()> look_at_folders;   // after a change
        std::unique_ptr<control_socket> control; // null: none
        bool keeps_time = false;                 // there may be something to do at a time
    };

    explicit service(events &reports) : reports_(reports) {}
    ~service();
    service(const service &) = delete;
    service &operator=(const service &) = delete;

    // Starts the thread. Without a duty there is none. What is called on it must not wait for a caller of `stop`.
    // Throws std::system_error.
    void start(duties wanted);

    // Ends the thread after what it is at, and its duties; what was not reported or done is dropped. Of several callers
    // each waits for this end. False, with nothing done, on the thread itself, which cannot. In a forked process, which
    // has no such thread, there is nothing to end.
    bool stop();

    // Does something on the thread at its time, if the thread runs. Does not wait. False when too much is to come.
    bool call_at(clock::time_point time, std::function<void()> action);

private:
    static void *run_thread(void *self);
    static void register_fork_handlers();
    void run();
    bool call_back(std::unique_lock<std::mutex> &working, const report &told);
    void report_events(std::unique_lock<std::mutex> &working, bool is_listened);
    void do_what_is_due();
    [[nodiscard]] std::optional<clock::time_point> next_time();
    void wait(std::unique_lock<std::mutex> &working);
    void serve();
    void prepare_fork();
    void release_after_fork();
    void give_up_in_child();

    events &reports_;
    std::mutex thread_lock_; // over the thread's start and end
    pthread_t thread_{};
    bool has_thread_ = false;
    std::atomic<bool> is_running_{false};
    descriptor wake_up_;
    // Held by the thread but for its waits and the frontend's function. Whoever forks the process takes it, so that
    // the copy has no lock that the thread held.
    std::mutex work_;
    duties duties_;
    bool have_folders_changed_ = false; // and were not looked at yet
    std::mutex times_lock_;             // over the next
    std::multimap<clock::time_point, std::function<void()>> times_;
};

} // namespace virtual_scanner

#endif
