#include "engine/worker_pool.h"

#include <algorithm>

namespace veil {

int defaultWorkerCount() {
    const int hardware = static_cast<int>(std::thread::hardware_concurrency());
    return hardware >= 2 ? hardware - 1 : 0;
}

WorkerPool::WorkerPool(int workers) {
    const std::size_t n = workers > 0 ? static_cast<std::size_t>(workers) : 0;
    ranges.resize(n + 1);
    threads.reserve(n);
    // Some systems make a mutex at its first lock, which then can fail: let it fail here, where it can be
    // told, not in a worker.
    { const std::lock_guard lock(mutex); }
    try {
        for (std::size_t i = 0; i < n; ++i) threads.emplace_back(&WorkerPool::workerMain, this, i);
    } catch (...) {
        stopAndJoin();
        throw;
    }
}

WorkerPool::~WorkerPool() { stopAndJoin(); }

void WorkerPool::stopAndJoin() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
        ++generation;
    }
    wake.notify_all();
    for (std::thread& thread : threads) thread.join();
}

void WorkerPool::workerMain(std::size_t index) {
    std::unique_lock lock(mutex);
    unsigned seen = 0;
    for (;;) {
        wake.wait(lock, [&] { return generation != seen; });
        if (stopping) return;
        seen = generation;
        const auto [first, end] = ranges[index];
        std::exception_ptr failure;
        {
            Job own;
            try {
                own = job;
                lock.unlock();
                if (end > first) own(first, end);
            } catch (...) {
                failure = std::current_exception();
            }
            if (!lock.owns_lock()) lock.lock();
            if (failure && !error) error = std::move(failure);
            if (--pending == 0) done.notify_one();
        }
    }
}

void WorkerPool::parallelFor(int start, int end, const Job& work) {
    const int count = end - start;
    if (count < 1) return;
    const int workers = workerCount();
    const int total = workers + 1;
    if (total == 1 || count < total) {
        work(start, end);
        return;
    }
    const int chunk = (count + workers) / total;
    for (int i = 0; i < total; ++i) {
        const int first = std::min(i * chunk + start, end);
        ranges[static_cast<std::size_t>(i)] = {first, std::min(first + chunk, end)};
    }
    {
        const std::lock_guard lock(mutex);
        job = work;
        pending = static_cast<unsigned>(workers);
        ++generation;
    }
    wake.notify_all();

    std::exception_ptr failure;
    const auto [first, last] = ranges.back();
    try {
        if (last > first) work(first, last);
    } catch (...) {
        failure = std::current_exception();
    }
    {
        // Nothing may leave before the workers are done: the job's data lies on the caller's stack.
        std::unique_lock lock(mutex);
        done.wait(lock, [&] { return pending == 0; });
        if (!failure) failure = std::move(error);
        error = nullptr;
    }
    if (failure) std::rethrow_exception(failure);
}

void runRows(WorkerPool* pool, int start, int end, const WorkerPool::Job& job) {
    if (pool)
        pool->parallelFor(start, end, job);
    else
        job(start, end);
}

}  // namespace veil
