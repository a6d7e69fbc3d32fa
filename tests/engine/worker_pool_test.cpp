#include "engine/worker_pool.h"

#include <dlfcn.h>
#include <doctest/doctest.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

using namespace veil;

namespace {

std::atomic<int> gRunningThreads = 0;
std::atomic<int> gStartsUntilRefusal = -1;  // 0: the next start is refused; negative: none is

using Run = void* (*)(void*);

struct ThreadStart {
    Run run;
    void* argument;
};

void* runCounted(void* start) {
    const std::unique_ptr<ThreadStart> owned(static_cast<ThreadStart*>(start));
    void* const result = owned->run(owned->argument);
    --gRunningThreads;
    return result;
}

}  // namespace

// Stands before the system's in this program, and before a sanitizer's, which it calls.
extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t* thread,
                                                             const pthread_attr_t* attributes, Run run,
                                                             void* argument) noexcept {
    static const auto next = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (gStartsUntilRefusal >= 0 && gStartsUntilRefusal-- == 0) return EAGAIN;
    auto start = std::make_unique<ThreadStart>(run, argument);
    const int result = next(thread, attributes, runCounted, start.get());
    if (result != 0) return result;
    static_cast<void>(start.release());  // the thread's by now
    ++gRunningThreads;
    return 0;
}

namespace {

struct Slice {
    int first, end;
    bool onCaller;
    bool operator==(const Slice&) const = default;
};

/// The calls that parallelFor makes, by row.
std::vector<Slice> slicesOf(WorkerPool& pool, int start, int end) {
    std::mutex mutex;
    std::vector<Slice> slices;
    const std::thread::id caller = std::this_thread::get_id();
    pool.parallelFor(start, end, [&](int first, int last) {
        const std::lock_guard lock(mutex);
        slices.push_back({first, last, std::this_thread::get_id() == caller});
    });
    std::sort(slices.begin(), slices.end(), [](const Slice& a, const Slice& b) { return a.first < b.first; });
    return slices;
}

}  // namespace

TEST_CASE("rows go to the threads in equal slices, the last to the caller, and few rows to it alone") {
    const struct {
        int workers, start, end;
        int height, count;  // `count` slices of `height` rows, the last one perhaps shorter
        bool callerHasLast;
    } table[] = {{7, 5, 5, 0, 0, false},    {7, 7, 5, 0, 0, false},  {0, 7, 5, 0, 0, false},
                 {0, 3, 9, 6, 1, true},     {-4, 3, 9, 6, 1, true},  {1, 0, 1, 1, 1, true},
                 {1, 0, 3, 2, 2, true},     {7, 0, 7, 7, 1, true},   {7, 0, 8, 1, 8, true},
                 {7, 0, 9, 2, 5, false},    {3, 10, 23, 4, 4, true}, {3, -6, 2, 2, 4, true},
                 {3, 100, 103, 3, 1, true}, {3, 10, 15, 2, 3, false}};
    for (const auto& t : table) {
        INFO("workers ", t.workers, ", rows ", t.start, " to ", t.end);
        std::vector<Slice> expected;
        for (int i = 0; i < t.count; ++i) {
            const int first = t.start + i * t.height;
            expected.push_back(
                {first, std::min(first + t.height, t.end), t.callerHasLast && i == t.count - 1});
        }
        WorkerPool pool(t.workers);
        CHECK(pool.workerCount() == std::max(0, t.workers));
        CHECK(slicesOf(pool, t.start, t.end) == expected);
    }
    std::vector<std::pair<int, int>> calls;
    runRows(nullptr, 4, 9, [&](int first, int end) { calls.emplace_back(first, end); });
    CHECK(calls == std::vector<std::pair<int, int>>{{4, 9}});
    CHECK(defaultWorkerCount() == std::max(0, static_cast<int>(std::thread::hardware_concurrency()) - 1));
}

TEST_CASE("no wake-up is lost over many short jobs") {
    WorkerPool pool(3);
    int rows[16] = {}, sum = 0;
    for (int round = 0; round < 3000; ++round) {
        pool.parallelFor(0, 16, [&](int first, int end) {
            for (int y = first; y < end; ++y) ++rows[y];
        });
    }
    for (const int n : rows) sum += n;
    CHECK(sum == 16 * 3000);
}

TEST_CASE("a failed slice reaches the caller only after all others have ended, and the pool works on") {
    constexpr int kWorkers = 3;
    for (const bool callerFails : {false, true}) {
        for (int failingWorkers = 0; failingWorkers <= kWorkers; ++failingWorkers) {
            INFO("caller fails ", callerFails, ", failing workers ", failingWorkers);
            WorkerPool pool(kWorkers);
            std::atomic<bool> callerPassed = false;
            int finished[kWorkers + 1] =
                {};  // not atomic: a slice that outlived the call would race with the checks
            std::string caught = "nothing";
            try {
                pool.parallelFor(0, kWorkers + 1, [&](int first, int) {
                    finished[first] = 1;
                    if (first == kWorkers) {
                        callerPassed = true;
                        if (callerFails) throw std::runtime_error("caller");
                        return;
                    }
                    while (!callerPassed) std::this_thread::yield();
                    std::this_thread::sleep_for(std::chrono::milliseconds(3));
                    finished[first] = 2;
                    if (first < failingWorkers) throw std::runtime_error("worker");
                });
            } catch (const std::runtime_error& e) {
                caught = e.what();
            }
            CHECK(caught == (callerFails ? "caller" : failingWorkers > 0 ? "worker" : "nothing"));
            CHECK(std::equal(finished, finished + kWorkers + 1, std::begin({2, 2, 2, 1})));
            CHECK(slicesOf(pool, 0, kWorkers + 1).size() == kWorkers + 1);
        }
    }
}

TEST_CASE("shared rows run once each, and those of workers are ferried by the caller before and after") {
    for (const int workers : {0, 1, 3}) {
        for (const auto& [start, end, height, bringsOwn] : {std::array{5, 5, 2, 0},
                                                            {7, 5, 2, 1},
                                                            {0, 1, 8, 0},
                                                            {0, 1, 8, 1},
                                                            {-3, 61, 4, 0},
                                                            {2, 64, 9, 1}}) {
            INFO("workers ", workers, ", rows ", start, " to ", end, " by ", height, ", brings own ",
                 bringsOwn);
            WorkerPool pool(workers);
            // Not atomic: what the ferry does not keep apart races.
            struct Row {
                int brought = 0, done = 0, collected = 0;
                bool byWorker = false;
            };
            std::vector<Row> rows(80);
            const auto at = [&](int y) -> Row& { return rows.at(static_cast<std::size_t>(y + 8)); };
            const std::thread::id caller = std::this_thread::get_id();
            std::atomic<int> misplaced = 0;
            int made = 0, broughtEnd = start, underWay = 0;
            const auto makeJob = [&]() -> WorkerPool::Job {
                ++made;
                return [&, running = 0](int first, int last) mutable {
                    misplaced += ++running != 1;
                    misplaced += workers > 0 &&
                                 ((first - start) % height != 0 || last != std::min(first + height, end));
                    for (int y = first; y < last; ++y) {
                        Row& row = at(y);
                        row.byWorker = std::this_thread::get_id() != caller;
                        misplaced += (row.byWorker || bringsOwn) && row.brought != 1;
                        ++row.done;
                    }
                    std::this_thread::sleep_for(std::chrono::microseconds(first % 3 * 100));
                    --running;
                };
            };
            const WorkerPool::Job bring = [&](int first, int last) {
                misplaced += std::this_thread::get_id() != caller;
                for (int y = first; y < last; ++y) misplaced += at(y).done + at(y).brought++;
                misplaced += first != broughtEnd;
                misplaced += ++underWay > pool.mostUnderWay() && !bringsOwn;
                broughtEnd = last;
            };
            const WorkerPool::Job collect = [&](int first, int last) {
                misplaced += std::this_thread::get_id() != caller;
                for (int y = first; y < last; ++y) misplaced += !at(y).byWorker || at(y).collected++ > 0;
                --underWay;
            };
            pool.shareRows(start, end, height, makeJob, {bring, collect, bringsOwn != 0});
            int wrong = 0;
            for (int y = -8; y < 72; ++y)
                wrong += at(y).done != (y >= start && y < end) || at(y).collected != at(y).byWorker;
            CHECK(wrong == 0);
            CHECK(misplaced == 0);
            CHECK(made == (start < end ? workers + 1 : 0));
        }
    }
}

TEST_CASE("whatever fails while rows are shared ends the job for all threads, and the pool works on") {
    enum Part { making, bringing, callersWork, workersWork, collecting };
    WorkerPool pool(2);
    const std::thread::id caller = std::this_thread::get_id();
    for (const Part failing : {making, bringing, callersWork, workersWork, collecting}) {
        for (int passes = 0; passes < 3; ++passes) {
            INFO("part ", failing, " after ", passes);
            std::atomic<int> untilFailure = passes, begun = 0;
            std::atomic<bool> failed = false;
            const auto part = [&](Part which) {
                if (which != failing || untilFailure-- > 0) return;
                failed = true;
                throw std::runtime_error("part");
            };
            const auto makeJob = [&]() -> WorkerPool::Job {
                part(making);
                return [&](int, int) {
                    ++begun;
                    std::this_thread::sleep_for(std::chrono::microseconds(100));
                    if (std::this_thread::get_id() != caller) return part(workersWork);
                    while (failing == workersWork && !failed) std::this_thread::yield();
                    part(callersWork);
                };
            };
            const WorkerPool::Ferry ferry{[&](int, int) { part(bringing); },
                                          [&](int, int) { part(collecting); }};
            CHECK_THROWS_AS(pool.shareRows(0, 3000, 1, makeJob, ferry), std::runtime_error);
            CHECK(begun < 3000);
            CHECK(slicesOf(pool, 0, 3).size() == 3);
        }
    }
}

TEST_CASE("a pool takes its threads along, also when one of them can't be started") {
    constexpr int kWorkers = 4;
    for (int started = 0; started < kWorkers; ++started) {
        INFO("started before: ", started);
        gStartsUntilRefusal = started;
        std::error_code code;
        try {
            const WorkerPool pool(kWorkers);
        } catch (const std::system_error& e) {
            code = e.code();
        }
        CHECK(code == std::errc::resource_unavailable_try_again);
        CHECK(gStartsUntilRefusal == -1);
        CHECK(gRunningThreads == 0);
    }
    for (const bool withJob : {false, true}) {
        {
            WorkerPool pool(kWorkers);
            CHECK(gRunningThreads == kWorkers);
            if (withJob) CHECK(slicesOf(pool, 0, 10).size() == 5);
        }
        CHECK(gRunningThreads == 0);
    }
}
