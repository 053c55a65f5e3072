#include "geometry/BoundingVolumeHierarchy/ThreadPool.h"

#include <algorithm>
#include <omp.h>
#include <utility>

namespace Kavrel::BoundingVolumeHierarchy {

namespace {

constexpr unsigned maximumThreads = 16;

} // namespace

ThreadPool& ThreadPool::getInstance()
{
  static ThreadPool pool;
  return pool;
}

bool ThreadPool::isAvailable()
{
  return omp_in_parallel() == 0 && omp_get_max_threads() >= 2 && !getInstance().isBusy();
}

ThreadPool::ThreadPool() : numberOfThreads(std::clamp(std::thread::hardware_concurrency(), 1U, maximumThreads))
{
  threads.reserve(numberOfThreads);
  try {
    for (unsigned i = 0; i < numberOfThreads; ++i)
      threads.emplace_back([this] { work(); });
  } catch (...) {
    stop();
    throw;
  }
}

ThreadPool::~ThreadPool() { stop(); }

void ThreadPool::stop()
{
  {
    const std::lock_guard lock(mutex);
    stopping = true;
    wake.notify_all();
    idle.notify_all();
  }
  for (std::thread& thread : threads)
    thread.join();
}

bool ThreadPool::isBusy()
{
  const std::lock_guard lock(mutex);
  return hasWork();
}

void ThreadPool::enqueue(Task task)
{
  {
    const std::lock_guard lock(mutex);
    tasks.push_back(std::move(task));
  }
  wake.notify_one();
}

void ThreadPool::waitUntilIdle()
{
  std::unique_lock lock(mutex);
  idle.wait(lock, [this] { return !hasWork(); });
}

void ThreadPool::work()
{
  std::unique_lock lock(mutex);
  while (true) {
    wake.wait(lock, [this] { return stopping || !tasks.empty(); });
    if (stopping) break;
    Task task = std::move(tasks.front());
    tasks.pop_front();
    ++numberOfActiveTasks;
    lock.unlock();
    try {
      task();
    } catch (...) {
      // The range of the task stays unsorted; the tree is right all the same, with looser volumes.
    }
    task = nullptr;
    lock.lock();
    --numberOfActiveTasks;
    if (!hasWork()) idle.notify_all();
  }
  if (numberOfActiveTasks == 0) idle.notify_all();
}

} // namespace Kavrel::BoundingVolumeHierarchy
