// Jobs done by threads and taken back in the order in which they were given.
#pragma once

#include <signal.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace example {

// Each thread has a Worker of its own, whose `void Do(Job&)` does a job. Threads start as they are needed. With one
// thread there is none besides the caller's, which does a job when it is taken.
template <class Job, class Worker>
class OrderedWork {
 public:
  using MakeWorker = std::function<std::unique_ptr<Worker>()>;

  OrderedWork(unsigned threads, MakeWorker makeWorker) : threadLimit_(threads), makeWorker_(std::move(makeWorker)) {}
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;

  // Waits for the jobs that are being done, and drops the others.
  ~OrderedWork() {
    {
      const std::lock_guard lock(mutex_);
      ending_ = true;
    }
    workArrived_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }

  // The most jobs at a time. It is two a thread: one being done, and one that waits either for the thread or to be
  // taken.
  size_t limit() const { return threadLimit_ > 1 ? 2 * size_t{threadLimit_} : 1; }
  bool IsFull() const { return jobs_.size() >= limit(); }
  bool IsEmpty() const { return jobs_.empty(); }

  void Submit(std::unique_ptr<Job> job) {
    {
      const std::lock_guard lock(mutex_);
      jobs_.push_back(std::make_unique<Entry>(std::move(job)));
      ++waiting_;
    }
    if (threadLimit_ > 1) StartThreadIfNeeded();
    workArrived_.notify_one();
  }

  // The oldest job, done or not: what its worker does not change may be looked at.
  const Job& Oldest() const { return *jobs_.front()->job; }

  // Waits for the oldest job and gives it back. What its worker throws is thrown here.
  std::unique_ptr<Job> Take() {
    std::unique_lock lock(mutex_);
    if (threads_.empty()) {
      --waiting_;
      Do(*jobs_.front(), ownWorker_);
    } else {
      jobDone_.wait(lock, [this] { return jobs_.front()->done; });
    }
    const std::unique_ptr<Entry> entry = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    if (entry->error) std::rethrow_exception(entry->error);
    return std::move(entry->job);
  }

 private:
  struct Entry {
    explicit Entry(std::unique_ptr<Job> its) : job(std::move(its)) {}
    std::unique_ptr<Job> job;
    bool done = false;
    std::exception_ptr error;
  };

  void StartThreadIfNeeded() {
    {
      const std::lock_guard lock(mutex_);
      if (waiting_ <= idle_ || threads_.size() >= threadLimit_) return;
    }
    // Signals are for the thread that has the files in its hands.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
      threads_.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
      threadLimit_ = threads_.empty() ? 1 : static_cast<unsigned>(threads_.size());  // the system has no more
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
  }

  void Work() {
    std::unique_ptr<Worker> worker;
    std::unique_lock lock(mutex_);
    for (;;) {
      ++idle_;
      workArrived_.wait(lock, [this] { return ending_ || waiting_ > 0; });
      --idle_;
      if (ending_) return;
      Entry& entry = *jobs_[jobs_.size() - waiting_--];
      lock.unlock();
      Do(entry, worker);
      lock.lock();
      entry.done = true;
      jobDone_.notify_one();
    }
  }

  void Do(Entry& entry, std::unique_ptr<Worker>& worker) {
    try {
      if (!worker) worker = makeWorker_();
      worker->Do(*entry.job);
    } catch (...) {
      entry.error = std::current_exception();
    }
  }

  unsigned threadLimit_;
  MakeWorker makeWorker_;
  std::unique_ptr<Worker> ownWorker_;
  std::vector<std::thread> threads_;

  std::mutex mutex_;  // of what follows
  std::condition_variable workArrived_;
  std::condition_variable jobDone_;
  std::deque<std::unique_ptr<Entry>> jobs_;
  size_t waiting_ = 0;  // jobs at the end of the queue that no thread has begun
  size_t idle_ = 0;     // threads without a job
  bool ending_ = false;
};

}  // namespace example
