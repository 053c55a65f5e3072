#pragma once

#include "platform/Export.h"

#include <memory>
#include <vector>

namespace Kavrel {

/// A node in a weighted tree of tasks, by which a long operation tells how far it has come.
///
/// A node's fraction is the larger of what was reported on it and of what its children make up: each child contributes
/// its fraction times its weight, and the weights are shares of the parent (more than one in all is scaled down).
/// Fractions never fall. Whenever a node's fraction has grown, `progressChanged` is called on the node and then on its
/// ancestors as theirs grow too. An override may throw to cancel the operation: the tree is valid at every such call,
/// and the operation unwinds. A tree is used by one thread at a time.
class KVSHAPES_EXPORT Progress
{
public:
  /// \p share is the part of the parent's work; a negative or non-finite one counts as 0.
  explicit Progress(double share = 1.0);
  virtual ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Reports that \p percent of this node's own work is done; the value is clamped to 0 .. 100.
  virtual void setPerCentProgress(int percent);

  /// Reports this node as done, whatever its children say.
  virtual void setComplete();

  /// Puts \p child below this node, with what it has reported so far. Null is ignored. A child that has a parent
  /// already, or that has this node below it, raises `KvException`.
  virtual void addChild(std::shared_ptr<Progress> child);

  double getWeight() const { return weight; }

  /// Done part of this node, in [0, 1].
  double getFraction() const { return fraction; }

protected:
  /// Called after the fraction has grown to \p done. Does nothing here.
  virtual void progressChanged(double done);

  /// What the children make up together, in [0, 1].
  virtual double combineChildren() const;

  const std::vector<std::shared_ptr<Progress>>& getChildren() const { return children; }

private:
  void raiseTo(double done);
  void update();

  double weight;
  double fraction = 0.0;
  Progress* parent = nullptr;
  std::vector<std::shared_ptr<Progress>> children;
};

/// A task that reports its own percentage.
class KVSHAPES_EXPORT SimpleProgress : public Progress
{
public:
  using Progress::Progress;
};

/// A task made of subtasks: the weights of its children are relative to their sum.
class KVSHAPES_EXPORT ProgressList : public Progress
{
public:
  using Progress::Progress;

protected:
  double combineChildren() const override;
};

/// The older callback interface of long operations, which knows whole percentages only.
class KVSHAPES_EXPORT LegacyProgress
{
public:
  /// Forwards to \p progress, which may be null: then reports vanish.
  explicit LegacyProgress(std::shared_ptr<Progress> progress = nullptr);
  virtual ~LegacyProgress();

  /// Reports \p percent, clamped to 0 .. 100; 100 completes the target.
  virtual void setProgress(int percent);

private:
  std::shared_ptr<Progress> target;
};

} // namespace Kavrel
