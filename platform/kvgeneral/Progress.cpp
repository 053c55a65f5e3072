#include "platform/kvgeneral/Progress.h"

#include "platform/kverror/KvException.h"

#include <algorithm>
#include <cmath>

namespace Kavrel {

namespace {

double sumOfWeights(const std::vector<std::shared_ptr<Progress>>& children)
{
  double sum = 0.0;
  for (const auto& child : children)
    sum += child->getWeight();
  return sum;
}

double weightedSum(const std::vector<std::shared_ptr<Progress>>& children)
{
  double sum = 0.0;
  for (const auto& child : children)
    sum += child->getWeight() * child->getFraction();
  return sum;
}

} // namespace

Progress::Progress(double share) : weight(std::isfinite(share) && share > 0.0 ? share : 0.0) {}

Progress::~Progress()
{
  for (const auto& child : children)
    child->parent = nullptr;
}

void Progress::setPerCentProgress(int percent) { raiseTo(std::clamp(percent, 0, 100) / 100.0); }

void Progress::setComplete() { raiseTo(1.0); }

void Progress::addChild(std::shared_ptr<Progress> child)
{
  if (!child) return;
  if (child->parent != nullptr) throw KvException("Progress: the child already has a parent.");
  for (const Progress* node = this; node != nullptr; node = node->parent)
    if (node == child.get()) throw KvException("Progress: a node can't stand below itself.");
  children.push_back(std::move(child));
  children.back()->parent = this;
  update();
}

void Progress::progressChanged(double) {}

double Progress::combineChildren() const { return weightedSum(children) / std::max(1.0, sumOfWeights(children)); }

void Progress::raiseTo(double done)
{
  if (!(done > fraction)) return;
  fraction = std::min(done, 1.0);
  progressChanged(fraction);
  if (parent != nullptr) parent->update();
}

void Progress::update() { raiseTo(combineChildren()); }

double ProgressList::combineChildren() const
{
  const double sum = sumOfWeights(getChildren());
  return sum > 0.0 ? weightedSum(getChildren()) / sum : 0.0;
}

LegacyProgress::LegacyProgress(std::shared_ptr<Progress> progress) : target(std::move(progress)) {}

LegacyProgress::~LegacyProgress() = default;

void LegacyProgress::setProgress(int percent)
{
  if (!target) return;
  if (percent >= 100)
    target->setComplete();
  else
    target->setPerCentProgress(percent);
}

} // namespace Kavrel
