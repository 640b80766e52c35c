#include "engine/ScanPool.h"

#include <utility>

namespace engine {

ScanPool::ScanPool(unsigned threads)
{
    threads_.reserve(threads);
    for (unsigned i = 0; i < threads; ++i)
        threads_.emplace_back([this](std::stop_token stop) { Run(stop); });
}

ScanPool::~ScanPool()
{
    for (auto& thread : threads_)
        thread.request_stop();
    wake_.notify_all();
    threads_.clear();  // joins
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

void ScanPool::Run(std::stop_token stop)
{
    DirectoryReader reader;
    for (;;) {
        Job job;
        {
            std::unique_lock lock(mutex_);
            if (!wake_.wait(lock, stop, [this] { return !updates_.empty() || !listings_.empty(); }))
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
