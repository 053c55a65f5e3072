#include "geometry/BoundingVolumeHierarchy/ThreadPool.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <omp.h>
#include <stdexcept>

using namespace Kavrel::BoundingVolumeHierarchy;

TEST(ThreadPool, WaitsForTasksOfTasksAndSurvivesTheirExceptions)
{
  ThreadPool& pool = ThreadPool::getInstance();
  for (int round = 0; round < 50; ++round) {
    std::atomic<int> done = 0;
    std::function<void(int)> split = [&](int depth) {
      if (depth > 0)
        for (int i = 0; i < 2; ++i)
          pool.enqueue([&split, depth] { split(depth - 1); });
      ++done;
      if (depth % 2 == 0) throw std::runtime_error("dropped");
    };
    pool.enqueue([&split] { split(6); });
    pool.waitUntilIdle();
    ASSERT_EQ(done, 127);
    ASSERT_FALSE(pool.isBusy());
  }
}

TEST(ThreadPool, IsNotAvailableWhereItMustNotBeUsed)
{
  ThreadPool& pool = ThreadPool::getInstance();
  omp_set_num_threads(2);
  EXPECT_TRUE(ThreadPool::isAvailable());

  std::atomic<bool> release = false;
  pool.enqueue([&release] {
    while (!release)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  EXPECT_FALSE(ThreadPool::isAvailable());
  release = true;
  pool.waitUntilIdle();
  EXPECT_TRUE(ThreadPool::isAvailable());

  omp_set_num_threads(1);
  EXPECT_FALSE(ThreadPool::isAvailable());
  omp_set_num_threads(2);
  std::atomic<int> available = 0;
#pragma omp parallel num_threads(2)
  {
    if (ThreadPool::isAvailable()) ++available;
  }
  EXPECT_EQ(available, 0);
}
