// The threads that list folders for the size engine. Two kinds of work: the
// folders of a full scan, taken last in first out so that the queue stays as
// short as one path down the tree, and the changes of a watched folder, taken
// first and in order, so that a long first scan of one folder does not hold
// back the changes of another.
#pragma once

#include "engine/DirectoryTree.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace engine {

class ScanPool {
public:
    using Job = std::function<void(DirectoryReader&)>;

    explicit ScanPool(unsigned threads);
    // Jobs not started yet are dropped; running ones finish first.
    ~ScanPool();
    ScanPool(const ScanPool&) = delete;
    ScanPool& operator=(const ScanPool&) = delete;

    void SubmitListing(Job job);
    void SubmitUpdate(Job job);

private:
    void Run();

    std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::vector<Job> listings_;
    std::deque<Job> updates_;
    std::vector<std::thread> threads_;
};

} // namespace engine
