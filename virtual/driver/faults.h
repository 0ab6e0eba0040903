// SPDX-License-Identifier: MIT
// The faults that one device has at the moment. They belong to the device and not to a handle: they hold across
// closing and opening, and its handles share them.
#ifndef PELSANE_VIRTUAL_FAULTS_H
#define PELSANE_VIRTUAL_FAULTS_H

#include "command.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace virtual_scanner {

// Whether a call with this answer has done what was asked.
bool is_success(int answer);

// Faults of each kind that a device keeps, whatever comes; then the oldest goes.
inline constexpr std::size_t most_faults = 1000;

// What a job has delivered, as the faults count it, and which of them it has met: each at most once.
struct job_progress {
    int pages = 0;           // that are through
    int sheets = 0;          // likewise
    long lines = 0;          // of the pages that were begun before the present one
    long page_lines = 0;     // of the present page
    bool from_glass = false; // nothing is fed
    std::set<int> met;

    void begin_page(int new_lines)
    {
        lines += page_lines;
        page_lines = new_lines;
    }
};

// The page that is being read.
struct page_progress {
    std::size_t bytes_per_line;
    std::size_t delivered; // bytes
};

// Safe from any thread.
class device_faults {
public:
    // Whether there is any fault, and with it whether any of the calls below has something to say. Takes no lock.
    [[nodiscard]] bool any() const noexcept { return any_.load(std::memory_order_relaxed); }

    // How often the device returned or all its faults were ended, which also ends a fault that takes its time.
    [[nodiscard]] int recoveries() const noexcept { return recoveries_.load(std::memory_order_relaxed); }

    // The device has vanished.
    [[nodiscard]] bool is_gone() const noexcept { return is_gone_.load(std::memory_order_relaxed); }

    // Sets or ends faults. An event is nothing to this place.
    void apply(const decltype(command::action) &action);

    // What the call is to answer, none when it is not touched. It counts as made. `option` and `number` are those of
    // the option (empty and negative without one), `page` as in call_answer.
    [[nodiscard]] std::optional<call_answer> take_answer(driver_call call, const std::string &option, int number,
                                                         int page);

    // What an opening is to answer, 0 when nothing is in its way; it counts as made. With the question for access it
    // stores true.
    [[nodiscard]] int answer_to_open(bool &need_auth);

    // What is to become of an option's text.
    [[nodiscard]] std::optional<text_fault_kind> take_text_fault(const std::string &option, int number);

    // The next fault that is due at a start: double feed, empty, cover open, slow start. The job has met it then.
    [[nodiscard]] std::optional<job_fault> take_start_fault(job_progress &job);

    // The next fault that is due in the page: jam, stall, vanish. The job has met it then. None when `room` bytes can
    // be delivered first, which becomes less where a fault comes earlier, but not 0.
    [[nodiscard]] std::optional<job_fault> take_page_fault(job_progress &job, const page_progress &page,
                                                           std::size_t &room);

private:
    template <typename Fault> struct counted {
        Fault fault;
        int number; // tells it from all others of the device
        int left;   // how many times more, or `always`
        int calls = 0;
    };

    template <typename Fault> void add(std::vector<counted<Fault>> &list, const Fault &fault);
    void set(const call_answer &fault) { add(answers_, fault); }
    void set(const text_fault &fault) { add(text_faults_, fault); }
    void set(const job_fault &fault);
    void set(remedy which);
    void set(const event_order &) {}
    void end(job_fault_kind kind);
    template <typename Fault> static void count_down(std::vector<counted<Fault>> &list, std::size_t index);
    template <typename Due> std::optional<job_fault> take_job_fault(job_progress &job, Due is_due);
    std::size_t room_before_fault(const job_progress &job, const page_progress &page, std::size_t room) const;
    void note();

    std::atomic<bool> any_{false};
    std::atomic<bool> is_gone_{false};
    std::atomic<int> recoveries_{0};
    mutable std::mutex lock_; // over the rest
    std::vector<counted<call_answer>> answers_;
    std::vector<counted<text_fault>> text_faults_;
    std::vector<counted<job_fault>> job_faults_;
    int last_number_ = 0;
};

} // namespace virtual_scanner

#endif
