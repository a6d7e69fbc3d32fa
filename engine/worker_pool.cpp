#include "engine/worker_pool.h"

#include <algorithm>

namespace veil {

namespace {

void pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

// The lock is held for an instant at a time, but a thread that sleeps for it wakes up many instants later.
void acquire(std::unique_lock<std::mutex>& lock) {
    constexpr int kTries = 200;
    for (int i = 0; i < kTries; ++i) {
        if (lock.try_lock()) return;
        pause();
    }
    lock.lock();
}

}  // namespace

// How far the chunks of one job are. Those before `taken` went to workers, those up to `brought` wait for
// one, those from `back` on are the caller's.
struct WorkerPool::Chunks {
    const int start, end, height;
    int brought = 0, taken = 0, back;
    std::vector<int> finished;  // by workers, and not collected
    bool isStopped = false;

    Chunks(int first, int last, int rows)
        : start(first), end(last), height(rows), back((last - first + rows - 1) / rows) {
        finished.reserve(static_cast<std::size_t>(back));
    }
    bool isGivenOut() const { return isStopped || taken == back; }
    void run(const Job& job, int chunk) const {
        const int first = start + chunk * height;
        if (job) job(first, std::min(first + height, end));
    }
};

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
        tell(wake);
    }
    for (std::thread& thread : threads) thread.join();
}

// A system's sleep and wake-up take longer than most waits between the passes of a tile, so a thread first
// looks for a while, about as long as they take, whether something changed.
template <class IsReady>
void WorkerPool::await(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                       IsReady isReady) {
    constexpr int kPauses = 2000;
    for (int pauses = 0; !isReady() && pauses < kPauses;) {
        const unsigned seen = changes.load(std::memory_order_relaxed);
        lock.unlock();
        for (; changes.load(std::memory_order_relaxed) == seen && pauses < kPauses; ++pauses) pause();
        acquire(lock);
    }
    changed.wait(lock, isReady);
}

void WorkerPool::tell(std::condition_variable& changed) {
    changes.fetch_add(1, std::memory_order_relaxed);
    changed.notify_all();
}

void WorkerPool::workerMain(std::size_t index) {
    std::unique_lock lock(mutex, std::defer_lock);
    acquire(lock);
    unsigned seen = 0;
    for (;;) {
        await(lock, wake, [&] { return generation != seen; });
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
            if (!lock.owns_lock()) acquire(lock);
            if (failure && !error) error = std::move(failure);
            if (--pending == 0) tell(done);
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
    runOnAll(work, [&] {
        const auto [first, last] = ranges.back();
        if (last > first) work(first, last);
    });
}

void WorkerPool::runOnAll(const Job& workersJob, const std::function<void()>& callersPart) {
    {
        std::unique_lock lock(mutex, std::defer_lock);
        acquire(lock);
        job = workersJob;
        pending = static_cast<unsigned>(workerCount());
        ++generation;
        tell(wake);
    }

    std::exception_ptr failure;
    try {
        callersPart();
    } catch (...) {
        failure = std::current_exception();
    }
    {
        // Nothing may leave before the workers are done: the job's data lies on the caller's stack.
        std::unique_lock lock(mutex, std::defer_lock);
        acquire(lock);
        await(lock, done, [&] { return pending == 0; });
        if (!failure) failure = std::move(error);
        error = nullptr;
    }
    if (failure) std::rethrow_exception(failure);
}

void WorkerPool::shareRows(int start, int end, int height, const MakeJob& makeJob, const Ferry& ferry) {
    if (end <= start) return;
    const int workers = workerCount();
    if (workers == 0) {
        runChunks(nullptr, start, end, height, makeJob, ferry);
        return;
    }
    std::vector<Job> jobs;
    for (int i = 0; i <= workers; ++i) {
        jobs.push_back(makeJob());
        ranges[static_cast<std::size_t>(i)] = {i, i + 1};
    }
    Chunks chunks(start, end, height);
    runOnAll([&](int worker, int) { takeChunks(chunks, jobs[static_cast<std::size_t>(worker)]); },
             [&] { giveChunks(chunks, jobs.back(), ferry); });
}

void WorkerPool::takeChunks(Chunks& chunks, const Job& work) {
    std::unique_lock lock(mutex, std::defer_lock);
    acquire(lock);
    for (;;) {
        await(lock, wake, [&] { return chunks.taken < chunks.brought || chunks.isGivenOut(); });
        if (chunks.isGivenOut()) return;
        const int chunk = chunks.taken++;
        lock.unlock();
        try {
            chunks.run(work, chunk);
        } catch (...) {
            acquire(lock);
            chunks.isStopped = true;
            tell(wake);
            tell(done);
            throw;
        }
        acquire(lock);
        chunks.finished.push_back(chunk);
        tell(done);
    }
}

// The caller sees to it first that no worker waits, then collects, since a finished chunk is still in the
// cache, and works itself where nothing else is to do. A chunk that no worker has taken yet stays its own.
void WorkerPool::giveChunks(Chunks& chunks, const Job& work, const Ferry& ferry) {
    // Chunks that lie ready, more than finish during one of the caller's; as every worker has one more at
    // most, mostUnderWay counts three a worker. Where the caller brings its own too, bringing comes first:
    // nobody else can do it, and what comes after it can be shared.
    const int ahead = ferry.bringsOwn ? chunks.back : 2 * workerCount();
    std::unique_lock lock(mutex, std::defer_lock);
    acquire(lock);
    const auto unlocked = [&](const Job& step, int chunk) {
        lock.unlock();
        try {
            chunks.run(step, chunk);
        } catch (...) {
            acquire(lock);
            chunks.isStopped = true;
            tell(wake);
            throw;
        }
        acquire(lock);
    };
    int collected = 0;
    while (!chunks.isStopped && (chunks.taken < chunks.back || collected < chunks.taken)) {
        const bool isMore = chunks.brought < chunks.back;
        const bool starves = chunks.brought == chunks.taken && chunks.brought - collected < mostUnderWay();
        if (!chunks.finished.empty() && !(isMore && starves)) {
            const int chunk = chunks.finished.back();
            chunks.finished.pop_back();
            ++collected;
            unlocked(ferry.collect, chunk);
        } else if (isMore && chunks.brought - chunks.taken < ahead) {
            unlocked(ferry.bring, chunks.brought);
            ++chunks.brought;
            tell(wake);
        } else if (chunks.taken < chunks.back) {
            const int own = --chunks.back;
            chunks.brought = std::min(chunks.brought, own);
            if (chunks.isGivenOut()) tell(wake);
            unlocked(work, own);
        } else {
            await(lock, done, [&] { return chunks.isStopped || !chunks.finished.empty(); });
        }
    }
}

void runRows(WorkerPool* pool, int start, int end, const WorkerPool::Job& job) {
    if (pool)
        pool->parallelFor(start, end, job);
    else
        job(start, end);
}

void runChunks(WorkerPool* pool, int start, int end, int height, const WorkerPool::MakeJob& makeJob,
               const WorkerPool::Ferry& ferry) {
    if (end <= start) return;
    if (pool && pool->workerCount() > 0) {
        pool->shareRows(start, end, height, makeJob, ferry);
        return;
    }
    const WorkerPool::Job job = makeJob();
    if (!ferry.bringsOwn) {
        job(start, end);
        return;
    }
    for (int first = start; first < end; first += height) {
        const int last = std::min(first + height, end);
        if (ferry.bring) ferry.bring(first, last);
        job(first, last);
    }
}

}  // namespace veil
