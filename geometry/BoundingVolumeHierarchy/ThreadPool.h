#pragma once

#include "platform/Export.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace Kavrel::BoundingVolumeHierarchy {

/// The worker threads for large builds: one pool a process, created at first use, joined at its exit. Between 1 and 16
/// workers, one per hardware thread. A failed thread start raises the system's error out of getInstance().
class KVSHAPES_EXPORT ThreadPool
{
public:
  using Task = std::function<void()>;

  static ThreadPool& getInstance();

  /// Whether a build may spread its work: outside of OpenMP parallel regions, with two OpenMP threads or more, and with
  /// an idle pool. OpenMP only gives the word; the work runs on the pool.
  static bool isAvailable();

  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  /// Whether a task runs or waits to run.
  bool isBusy();
  /// Appends a task and wakes one worker. An exception that leaves the task is dropped.
  void enqueue(Task task);
  /// Waits until no task runs or waits, those of other callers included. Not to be called from a task.
  void waitUntilIdle();

private:
  ThreadPool();
  ~ThreadPool();

  void work();
  bool hasWork() const { return numberOfActiveTasks > 0 || (!tasks.empty() && !stopping); }
  void stop();

  std::deque<Task> tasks;
  std::vector<std::thread> threads;
  std::mutex mutex;
  std::condition_variable wake;
  std::condition_variable idle;
  unsigned numberOfThreads;
  unsigned numberOfActiveTasks = 0;
  bool stopping = false;
};

} // namespace Kavrel::BoundingVolumeHierarchy
