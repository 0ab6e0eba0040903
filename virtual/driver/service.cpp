// SPDX-License-Identifier: MIT
// One thread between start and stop waits for everything at once, so that reports never run on an application's thread
// and never hold a lock. A frontend's function that takes its time delays the rest.
//
// The application may fork. Its copy has our descriptors but not our thread, so it lets go of them and has no service.
// Tested by driver_lifecycle_test, events_test, hotplug_test, control_socket_test.
#include "service.h"

#include "commonlog.h"
#include "descriptor.h"
#include "events.h"
#include "kx_scanner.h"
#include "log.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <system_error>
#include <utility>
#include <vector>

namespace virtual_scanner {

namespace {

constexpr std::size_t most_times = 10000; // whatever is asked for
constexpr int rest_after_failure_ms = 100;

thread_local bool is_service_thread = false;

std::atomic<service *> forked_along{nullptr};

// An application's signal handlers are to run on its own threads.
class all_signals_blocked {
public:
    all_signals_blocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~all_signals_blocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    all_signals_blocked(const all_signals_blocked &) = delete;
    all_signals_blocked &operator=(const all_signals_blocked &) = delete;

private:
    sigset_t before_;
};

int milliseconds_until(std::optional<service::clock::time_point> time)
{
    using std::chrono::milliseconds;
    constexpr milliseconds longest{3600000}; // then it is asked again
    if (!time)
        return -1;
    const auto rest = std::chrono::ceil<milliseconds>(*time - service::clock::now());
    return static_cast<int>(std::clamp(rest, milliseconds(0), longest).count());
}

} // namespace

service::~service()
{
    stop();
    forked_along = nullptr;
}

void service::register_fork_handlers()
{
    const auto with_service = [](void (service::*step)()) {
        if (service *inherited = forked_along)
            (inherited->*step)();
    };
    static const auto with = with_service;
    static const int failure =
        pthread_atfork([] { with(&service::prepare_fork); }, [] { with(&service::release_after_fork); },
                       [] { with(&service::give_up_in_child); });
    if (failure != 0)
        throw std::system_error(failure, std::generic_category(), "fork handlers");
}

void service::start(duties wanted)
{
    const std::lock_guard<std::mutex> starting(thread_lock_);
    if (has_thread_ || (wanted.callback == nullptr && !wanted.folders && !wanted.control && !wanted.keeps_time))
        return;
    forked_along = this;
    register_fork_handlers();
    descriptor made(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!made)
        throw std::system_error(errno, std::generic_category(), "the event counter");
    const std::lock_guard<std::mutex> guard(work_);
    const all_signals_blocked blocked; // inherited by the thread
    if (const int failure = pthread_create(&thread_, nullptr, run_thread, this); failure != 0)
        throw std::system_error(failure, std::generic_category(), "the service thread");
    has_thread_ = true;
    is_running_ = true;
    wake_up_ = std::move(made);
    duties_ = std::move(wanted);
    have_folders_changed_ = false;
    reports_.begin(wake_up_.number());
}

bool service::stop()
{
    if (is_service_thread)
        return false;
    const std::lock_guard<std::mutex> stopping(thread_lock_);
    is_running_ = false;
    reports_.end();
    if (!has_thread_)
        return true;
    eventfd_write(wake_up_.number(), 1);
    pthread_join(thread_, nullptr);
    has_thread_ = false;
    duties_ = {};
    const std::lock_guard<std::mutex> guard(times_lock_);
    times_.clear();
    wake_up_.close();
    return true;
}

bool service::call_at(clock::time_point time, std::function<void()> action)
{
    const std::lock_guard<std::mutex> guard(times_lock_);
    if (!is_running_)
        return true;
    if (times_.size() >= most_times)
        return false;
    times_.emplace(time, std::move(action));
    eventfd_write(wake_up_.number(), 1);
    return true;
}

void *service::run_thread(void *self)
{
    is_service_thread = true;
    static_cast<service *>(self)->run();
    return nullptr;
}

void service::run()
{
    std::unique_lock<std::mutex> working(work_);
    const bool is_listened = duties_.callback != nullptr && call_back(working, {nullptr, KX_EVENT_IS_LISTENED, 0});
    while (is_running_) {
        try {
            do_what_is_due();
            report_events(working, is_listened);
            wait(working);
            serve();
        } catch (const std::exception &error) {
            CriticalLog(driver_log(), "Unexpected failure of the service thread: %s", error.what());
            // A want of memory would be met again at once. What is not done yet is tried again.
            if (working.owns_lock())
                working.unlock();
            poll(nullptr, 0, rest_after_failure_ms);
            working.lock();
        }
    }
}

void service::serve()
{
    have_folders_changed_ =
        (is_running_ && duties_.folders && duties_.folders->take_changes()) || have_folders_changed_;
    if (is_running_ && have_folders_changed_)
        duties_.look_at_folders();
    have_folders_changed_ = false;
    if (is_running_ && duties_.control)
        duties_.control->serve();
}

// Whether the answer is 0.
bool service::call_back(std::unique_lock<std::mutex> &working, const report &told)
{
    const kx_event_callback callback = duties_.callback;
    void *parameter = duties_.parameter;
    unsigned int button = told.button;
    unsigned int length = button != 0 ? sizeof button : 0;
    const bool is_question = told.event == KX_EVENT_IS_LISTENED;
    working.unlock();
    const int answer =
        callback(told.device, told.event, button != 0 ? &button : nullptr, is_question ? nullptr : &length, parameter);
    working.lock();
    return answer == SCANNER_ERR_OK;
}

void service::report_events(std::unique_lock<std::mutex> &working, bool is_listened)
{
    while (is_running_) {
        const std::optional<report> next = reports_.take();
        if (!next)
            return;
        if (is_listened)
            call_back(working, *next);
    }
}

// What becomes due meanwhile has its turn after the other duties.
void service::do_what_is_due()
{
    const auto now = clock::now();
    while (is_running_) {
        std::unique_lock<std::mutex> guard(times_lock_);
        if (times_.empty() || times_.begin()->first > now)
            return;
        const auto due = times_.extract(times_.begin());
        guard.unlock();
        due.mapped()();
    }
}

std::optional<service::clock::time_point> service::next_time()
{
    const std::lock_guard<std::mutex> guard(times_lock_);
    std::optional<clock::time_point> next;
    if (!times_.empty())
        next = times_.begin()->first;
    if (const auto rests_until = duties_.control ? duties_.control->rests_until() : std::nullopt)
        next = next ? std::min(*next, *rests_until) : *rests_until;
    return next;
}

void service::wait(std::unique_lock<std::mutex> &working)
{
    if (!is_running_)
        return;
    std::vector<pollfd> waited_for{{wake_up_.number(), POLLIN, 0}};
    if (duties_.folders)
        waited_for.push_back({duties_.folders->descriptor_to_poll(), POLLIN, 0});
    if (duties_.control)
        duties_.control->add_to(waited_for);
    const int time = have_folders_changed_ ? 0 : milliseconds_until(next_time());
    working.unlock();
    poll(waited_for.data(), waited_for.size(), time);
    working.lock();
    eventfd_t rings = 0;
    eventfd_read(wake_up_.number(), &rings);
}

void service::prepare_fork()
{
    work_.lock();
    times_lock_.lock();
    reports_.lock().lock();
}

void service::release_after_fork()
{
    reports_.lock().unlock();
    times_lock_.unlock();
    work_.unlock();
}

void service::give_up_in_child()
{
    is_running_ = false;
    has_thread_ = false;
    is_service_thread = false; // also when it was the one that forked
    release_after_fork();
    reports_.end();
    if (duties_.control)
        duties_.control->disown();
    duties_ = {};
    times_.clear();
    wake_up_.close();
}

} // namespace virtual_scanner
