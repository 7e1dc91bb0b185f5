// SPDX-License-Identifier: MIT
// Work in several threads on a sequence of jobs whose results are taken in the order of the jobs:
//
//   add        job 6                      waits while there are too many
//   threads    job 5, job 3, job 4 (done)
//   take       job 2                      in the order of add, one at a time
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "commands/remarks.h"

namespace orvelle {

template <class Job>
class OrderedJobs {
 public:
  using Work = std::function<void(Job&)>;

  // Starts a thread for each element of `work`, which does its jobs. `take` gets each job afterwards, in one of the
  // threads; also a job whose work threw, as far as it came: what was thrown then comes out of add or finish.
  OrderedJobs(std::vector<Work> work, Work take) : take_(std::move(take)), most_(Waiting_Jobs * work.size()) {
    try {
      for (Work& its_work : work)
        threads_.emplace_back([this, mine = std::move(its_work)](std::stop_token stop) { run(stop, mine); });
    } catch (const std::system_error& failure) {
      stop_threads();
      stop(std::string("can't start a thread: ") + failure.what());
    }
  }

  // Waits for the jobs that are under way and drops the others.
  ~OrderedJobs() { stop_threads(); }

  void add(Job job) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return failure_ || slots_.size() < most_; });
    if (failure_) std::rethrow_exception(failure_);
    slots_.push_back({std::move(job)});
    changed_.notify_all();
  }

  // Waits until all jobs are taken.
  void finish() {
    while (!finish_within(std::chrono::hours(1))) continue;
  }
  // The same, but not longer than that; returns whether they are.
  bool finish_within(std::chrono::steady_clock::duration time) {
    std::unique_lock lock(mutex_);
    const bool is_done = changed_.wait_for(lock, time, [this] { return failure_ || slots_.empty(); });
    if (failure_) std::rethrow_exception(failure_);
    return is_done;
  }

 private:
  static constexpr size_t Waiting_Jobs = 4;  // for each thread

  struct slot_t {
    Job job;
    bool is_done = false;
    std::exception_ptr failure = nullptr;
  };

  void run(const std::stop_token& stop, const Work& work) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return failure_ || begun_ < slots_.size(); }) &&
           !stop.stop_requested() && !failure_) {
      slot_t& slot = slots_[begun_++];
      lock.unlock();
      try {
        work(slot.job);
      } catch (...) {
        slot.failure = std::current_exception();
      }
      lock.lock();
      slot.is_done = true;
      take_done(lock, stop);
    }
  }

  void take_done(std::unique_lock<std::mutex>& lock, const std::stop_token& stop) {
    if (is_taking_) return;  // the thread that takes will come to this job
    is_taking_ = true;
    while (!slots_.empty() && slots_.front().is_done && !failure_ && !stop.stop_requested()) {
      slot_t& slot = slots_.front();
      lock.unlock();
      std::exception_ptr failure = slot.failure;
      try {
        take_(slot.job);
      } catch (...) {
        failure = std::current_exception();
      }
      lock.lock();
      failure_ = failure;
      slots_.pop_front();
      --begun_;
      changed_.notify_all();
    }
    is_taking_ = false;
  }

  void stop_threads() {
    for (std::jthread& thread : threads_) thread.request_stop();
    threads_.clear();
  }

  Work take_;
  size_t most_;
  std::mutex mutex_;  // of all below
  std::condition_variable_any changed_;
  std::deque<slot_t> slots_;  // jobs not taken yet; one stays where it is while others come and go
  size_t begun_ = 0;          // of them, those that a thread has
  bool is_taking_ = false;
  std::exception_ptr failure_;  // of the first job that failed
  std::vector<std::jthread> threads_;
};

}  // namespace orvelle
