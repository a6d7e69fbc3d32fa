#pragma once

// Runs a job over a range of image rows on several threads, the calling thread among them.

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace veil {

/// Hardware threads minus one; the caller of parallelFor is the remaining thread.
int defaultWorkerCount();

/// Worker threads that sleep between jobs. One thread at a time may call parallelFor, and a job must not call
/// it on its own pool.
class WorkerPool {
  public:
    using Job = std::function<void(int first, int end)>;
    /// Makes the job of one thread, with whatever scratch it needs.
    using MakeJob = std::function<Job()>;

    /// What the calling thread does about the rows of other threads, where only it can reach the memory that
    /// they come from or go to. Either may be empty.
    struct Ferry {
        Job bring;               ///< before another thread works on these rows; in order from the top
        Job collect;             ///< after it; in any order
        bool bringsOwn = false;  ///< whether the calling thread brings its own rows too: then it brings all
                                 ///< rows before it works on any
    };

    /// Starts `workers` threads; a negative count acts as 0. Throws std::system_error if a thread can't be
    /// started or a lock can't be made, after those that run have been stopped.
    explicit WorkerPool(int workers);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    int workerCount() const { return static_cast<int>(threads.size()); }
    /// Most chunks of shareRows that are brought and not collected at once, if the caller does not bring its
    /// own.
    int mostUnderWay() const { return 3 * workerCount(); }

    /// Runs `job` over the rows from `start` up to, but not including, `end`, in contiguous slices of equal
    /// height; the caller takes the last. Returns when all are done. If slices throw, the caller's exception,
    /// or else the first of a worker's, leaves here, after every slice has ended.
    void parallelFor(int start, int end, const Job& job);

    /// Runs jobs over the same rows in chunks of `height`, the last one perhaps lower, each chunk as soon as
    /// a thread has time for it: the workers take the first ones, the caller the last ones and, between them,
    /// ferries. All jobs are made beforehand, on the calling thread. Exceptions leave as from parallelFor;
    /// no chunk begins after one, and what is finished may stay uncollected.
    void shareRows(int start, int end, int height, const MakeJob& makeJob, const Ferry& ferry);

  private:
    struct Chunks;

    void workerMain(std::size_t index);
    void runOnAll(const Job& workersJob, const std::function<void()>& callersPart);
    void takeChunks(Chunks& chunks, const Job& work);
    void giveChunks(Chunks& chunks, const Job& work, const Ferry& ferry);
    void stopAndJoin();
    template <class IsReady>
    void await(std::unique_lock<std::mutex>& lock, std::condition_variable& changed, IsReady isReady);
    // After a change of what others wait for. [with the lock]
    void tell(std::condition_variable& changed);

    std::vector<std::thread> threads;
    Job job;
    std::vector<std::pair<int, int>> ranges;  // entry i belongs to worker i, the last one to the caller
    std::mutex mutex;  // guards all that follows, and job, ranges and chunks as the workers see them
    std::condition_variable wake;
    std::condition_variable done;
    std::atomic<unsigned> changes = 0;  // of what the lock guards
    unsigned generation = 0;
    unsigned pending = 0;
    bool stopping = false;
    std::exception_ptr error;  // the first failure of a worker in this generation
};

/// Runs `job` over the rows from `start` to `end` on `pool`, or on the calling thread if it is null.
void runRows(WorkerPool* pool, int start, int end, const WorkerPool::Job& job);

/// The same in chunks by shareRows.
void runChunks(WorkerPool* pool, int start, int end, int height, const WorkerPool::MakeJob& makeJob,
               const WorkerPool::Ferry& ferry);

}  // namespace veil
