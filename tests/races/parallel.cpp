// The part of the OpenMP runtime that the compiler calls for parallel loops with a dynamic schedule, made of
// threads that the sanitizer sees start and end. One loop a parallel region, counted upwards.
#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

using Number = unsigned long long;

// A thread's view of the loop that its region shares.
struct Share {
    std::atomic<Number>* taken;  // pieces
    Number start, end, piece;

    template <class Index>
    bool Take(Index* from, Index* to) const {
        const Number at = start + taken->fetch_add(1) * piece;
        *from = static_cast<Index>(at);
        *to = static_cast<Index>(std::min(at + piece, end));
        return at < end;
    }
};
thread_local Share share;

}  // namespace

extern "C" {

// NOLINTBEGIN(readability-identifier-naming): the runtime's names
void GOMP_parallel(void (*body)(void*), void* data, unsigned threads, unsigned) {
    std::atomic<Number> taken = 0;
    const auto work = [&] {
        share.taken = &taken;
        body(data);
    };
    std::vector<std::jthread> others;
    for (unsigned i = 1; i < threads; ++i) others.emplace_back(work);
    work();
}

bool GOMP_loop_nonmonotonic_dynamic_start(long start, long end, long step, long chunk, long* from, long* to) {
    share = {share.taken, static_cast<Number>(start), static_cast<Number>(end),
             static_cast<Number>(step * chunk)};
    return share.Take(from, to);
}
bool GOMP_loop_nonmonotonic_dynamic_next(long* from, long* to) {
    return share.Take(from, to);
}
bool GOMP_loop_ull_nonmonotonic_dynamic_start(bool, Number start, Number end, Number step, Number chunk,
                                              Number* from, Number* to) {
    share = {share.taken, start, end, step * chunk};
    return share.Take(from, to);
}
bool GOMP_loop_ull_nonmonotonic_dynamic_next(Number* from, Number* to) {
    return share.Take(from, to);
}
void GOMP_loop_end_nowait() {}

int omp_get_max_threads() {
    return 4;
}
// NOLINTEND(readability-identifier-naming)
}
