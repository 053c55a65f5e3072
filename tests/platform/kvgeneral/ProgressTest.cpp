#include "platform/kvgeneral/Progress.h"
#include "platform/kverror/KvException.h"
#include "support/RandomGeometry.h"

#include <memory>

namespace Kavrel {
namespace {

// Keeps all reports and can cancel.
class Recorder : public Progress
{
public:
  using Progress::Progress;

  std::vector<double> reports;
  double cancelFrom = 2.0;

protected:
  void progressChanged(double done) override
  {
    reports.push_back(done);
    if (done >= cancelFrom) throw KvException("cancelled");
  }
};

TEST(ProgressTest, WeightsAreSharesOfTheParent)
{
  Recorder root;
  const auto list = std::make_shared<ProgressList>(0.5);
  const auto last = std::make_shared<SimpleProgress>(0.5);
  root.addChild(list);
  root.addChild(last);
  const auto a = std::make_shared<SimpleProgress>(1.0);
  const auto b = std::make_shared<SimpleProgress>(3.0);
  list->addChild(a);
  list->addChild(b);

  a->setPerCentProgress(50);
  b->setComplete();
  last->setPerCentProgress(20);
  list->setComplete();
  a->setComplete(); // its list is done already
  last->setComplete();
  EXPECT_EQ(root.reports, (std::vector<double>{0.0625, 0.4375, 0.5375, 0.6, 1.0}));
}

TEST(ProgressTest, FractionsNeverFallAndStayInRange)
{
  Testing::RandomGeometry random(51);
  Recorder root;
  std::vector<std::shared_ptr<Progress>> nodes;
  for (int i = 0; i < 2000; ++i) {
    if (nodes.size() < 40 && random.index(20) == 0) {
      const double weight = random.uniform(-0.2, 1);
      std::shared_ptr<Progress> node = std::make_shared<SimpleProgress>(weight);
      if (random.coin()) node = std::make_shared<ProgressList>(weight);
      if (random.coin()) node->setPerCentProgress(30);
      Progress* parent = nodes.empty() || random.coin() ? &root : nodes[random.index(nodes.size())].get();
      parent->addChild(node);
      nodes.push_back(node);
    } else if (!nodes.empty()) {
      nodes[random.index(nodes.size())]->setPerCentProgress(static_cast<int>(random.index(140)) - 20);
    }
  }
  for (std::size_t i = 1; i < root.reports.size(); ++i)
    EXPECT_GT(root.reports[i], root.reports[i - 1]);
  EXPECT_LE(root.getFraction(), 1.0);
}

TEST(ProgressTest, ThrowingReportLeavesTheTreeUsable)
{
  Recorder root;
  root.cancelFrom = 0.5;
  const auto child = std::make_shared<SimpleProgress>(1.0);
  root.addChild(child);
  child->setPerCentProgress(40);
  EXPECT_THROW(child->setPerCentProgress(60), KvException);
  EXPECT_DOUBLE_EQ(root.getFraction(), 0.6);
  child->setPerCentProgress(60); // no news, no report
  EXPECT_EQ(root.reports.size(), 2U);
}

TEST(ProgressTest, BadTreesAreRefused)
{
  const auto parent = std::make_shared<ProgressList>();
  const auto child = std::make_shared<ProgressList>();
  parent->addChild(nullptr);
  parent->addChild(child);
  EXPECT_THROW(parent->addChild(child), KvException);
  EXPECT_THROW(child->addChild(parent), KvException);
  EXPECT_THROW(parent->addChild(parent), KvException);
}

TEST(ProgressTest, ChildrenOutliveTheirParent)
{
  const auto child = std::make_shared<SimpleProgress>();
  std::make_unique<Recorder>()->addChild(child);
  child->setPerCentProgress(50);
  Recorder other;
  other.addChild(child);
  EXPECT_EQ(other.reports, std::vector<double>{0.5});
}

} // namespace
} // namespace Kavrel
