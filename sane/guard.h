// SPDX-License-Identifier: MIT
// The one place where exceptions end: whatever calls into the backend is C.
#ifndef PELSANE_GUARD_H
#define PELSANE_GUARD_H

#include <cxxabi.h> // IWYU pragma: keep: for the type of forced unwinding, which it has from a header behind it
#include <new>

// What `work` returns; `no_memory` when memory ran out, `failed` after any other exception. A thread that its host
// cancels inside goes on unwinding; the handler's reference is null then, and a sanitizer need not say so.
template <typename Result, typename Work>
__attribute__((no_sanitize("null"))) Result guarded(Result no_memory, Result failed, Work work)
{
    try {
        return work();
    } catch (const std::bad_alloc &) {
        return no_memory;
    } catch (const abi::__forced_unwind &) {
        throw;
    } catch (...) {
        return failed;
    }
}

// Does work of which nobody wants to know whether it failed.
template <typename Work> void quietly(Work work)
{
    guarded(0, 0, [&] {
        work();
        return 0;
    });
}

#endif
