#include "engine/ScanPool.h"

#include <utility>

namespace engine {

ScanPool::ScanPool(unsigned threads)
{
    threads_.reserve(threads);
    for (unsigned i = 0; i < threads; ++i)
        threads_.emplace_back([this] { Run(); });
}

ScanPool::~ScanPool()
{
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (auto& thread : threads_)
        thread.join();
}

void ScanPool::SubmitListing(Job job)
{
    {
        std::lock_guard lock(mutex_);
        listings_.push_back(std::move(job));
    }
    wake_.notify_one();
}

void ScanPool::SubmitUpdate(Job job)
{
    {
        std::lock_guard lock(mutex_);
        updates_.push_back(std::move(job));
    }
    wake_.notify_one();
}

void ScanPool::Run()
{
    DirectoryReader reader;
    for (;;) {
        Job job;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !updates_.empty() || !listings_.empty(); });
            if (stopping_)
                return;
            if (!updates_.empty()) {
                job = std::move(updates_.front());
                updates_.pop_front();
            } else {
                job = std::move(listings_.back());
                listings_.pop_back();
            }
        }
        job(reader);
    }
}

} // namespace engine
