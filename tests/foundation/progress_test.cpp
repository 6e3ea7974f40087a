#include "morvel/foundation/progress.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace trova::foundation::progress;
using testing::DoubleEq;
using testing::ElementsAre;
using testing::SizeIs;

// Listens while it lives, and cancels at one of the reports.
class Listener {
 public:
  explicit Listener(int cancelAt = -1) : cancelAt_(cancelAt) { setCallback(hear, this); }
  ~Listener() { setCallback(nullptr, nullptr); }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  std::vector<double> fractions;
  std::vector<std::string> stages;

 private:
  static int hear(double fraction, const char* stage, void* user) {
    auto& self = *static_cast<Listener*>(user);
    self.fractions.push_back(fraction);
    self.stages.emplace_back(stage);
    return int(self.fractions.size()) - 1 == self.cancelAt_;
  }

  int cancelAt_;
};

template <class Work>
std::string cancelledText(const Work& work) {
  try {
    work();
  } catch (const Cancelled& cancelled) {
    return cancelled.what();
  }
  return "not cancelled";
}

TEST(Progress, StagesLieInsideEachOtherAndTheEndIsSaidOnce) {
  Listener listener;
  Stage outer("outer");
  {
    const Stage middle("middle", 0.5, 0.9);
    Stage inner(nullptr, 0.25, 0.75);  // 0.6 .. 0.8
    inner.report(1.0, 2.0);
  }
  outer.report(0.1);  // behind what was said
  outer.report(1.0);
  outer.finish();
  EXPECT_THAT(listener.fractions, ElementsAre(0.0, 0.5, DoubleEq(0.6), DoubleEq(0.7), 0.999, 1.0));
  EXPECT_THAT(listener.stages,
              ElementsAre("outer", "middle", "middle", "middle", "outer", "outer"));
}

TEST(Progress, TheHostHearsOfEveryPercentOrOfEveryTwentyMilliseconds) {
  Listener listener;
  Stage stage(nullptr);
  for (int k = 0; k <= 10'000; ++k)
    stage.report(k, 10'000);
  EXPECT_THAT(listener.fractions, SizeIs(testing::Le(110u)));
  const std::size_t before = listener.fractions.size();
  std::this_thread::sleep_for(std::chrono::milliseconds(25));
  stage.report(0.0);
  EXPECT_THAT(listener.fractions, SizeIs(before + 1));
  EXPECT_EQ(listener.fractions.back(), listener.fractions[before - 1]);
  EXPECT_EQ(listener.stages.back(), "working");
}

TEST(Progress, WhatIsNoFractionIsNotTold) {
  Listener listener;
  Stage stage("odd");
  for (const double odd : {std::nan(""), HUGE_VAL, -HUGE_VAL})
    stage.report(odd);
  stage.report(0.0, 0.0);
  EXPECT_THAT(listener.fractions, ElementsAre(0.0));
  stage.report(-3.0);
  stage.report(7.0);
  EXPECT_THAT(listener.fractions, ElementsAre(0.0, 0.999));
}

TEST(Progress, CancellingHoldsForTheWholeOperationAndForNoOther) {
  Listener listener(1);
  EXPECT_EQ(cancelledText([] {
              Stage stage("outer");
              EXPECT_EQ(cancelledText([] { Stage("inner", 0.4); }),
                        "Cancelled in stage 'inner' at 40 %");
              EXPECT_NE(cancelledText([&] { stage.report(0.5); }), "not cancelled");
              EXPECT_NE(cancelledText([] { Stage("fallback"); }), "not cancelled");
              stage.finish();
            }),
            "Cancelled in stage 'inner' at 40 %");
  EXPECT_THAT(listener.fractions, SizeIs(2));
  Stage next("next");
  next.finish();
  EXPECT_THAT(listener.fractions, ElementsAre(0.0, 0.4, 0.0, 1.0));
}

TEST(Progress, TheFirstAndTheLastReportCancelToo) {
  for (const int at : {0, 1}) {
    Listener listener(at);
    EXPECT_EQ(cancelledText([] {
                Stage stage("work");
                stage.finish();
              }),
              at == 0 ? "Cancelled in stage 'work' at 0 %" : "Cancelled in stage 'work' at 100 %");
    EXPECT_FALSE(isUnderWay());
  }
}

// What is deleted inside the callback outlives the operation, which may be using it.
TEST(Progress, TheCallbackMayBeginNothingAndKillsNothing) {
  struct Watched {
    std::weak_ptr<int> object;
    bool wasRefused = false;
  } watched;
  setCallback(
      [](double, const char*, void* user) {
        auto& seen = *static_cast<Watched*>(user);
        EXPECT_TRUE(isCallingHost());
        try {
          requireOutsideCallback();
        } catch (const std::logic_error&) {
          seen.wasRefused = true;
        }
        Stage nested("nested");
        nested.report(0.5);
        nested.finish();
        const auto object = std::make_shared<int>(7);
        seen.object = object;
        keepUntilEnd(object);
        setCallback(nullptr, nullptr);
        return 0;
      },
      &watched);
  {
    Stage stage("outer");
    EXPECT_FALSE(watched.object.expired());
    stage.finish();
  }
  EXPECT_TRUE(watched.object.expired());
  EXPECT_TRUE(watched.wasRefused);
  EXPECT_FALSE(isCallingHost());
  EXPECT_NO_THROW(requireOutsideCallback());
  auto free = std::make_shared<int>(1);
  const std::weak_ptr<int> watchedFree = free;
  keepUntilEnd(std::move(free));
  EXPECT_TRUE(watchedFree.expired());
}

TEST(Progress, AnExceptionOfTheCallbackPassesAndCancels) {
  setCallback([](double, const char*, void*) -> int { throw std::runtime_error("host"); }, nullptr);
  try {
    Stage stage("work");
    FAIL();
  } catch (const std::runtime_error& fault) {
    EXPECT_STREQ(fault.what(), "host");
  }
  EXPECT_FALSE(isCallingHost());
  setCallback(nullptr, nullptr);
  EXPECT_NO_THROW(Stage("quiet").finish());
}

TEST(Progress, ThreadsHaveOperationsOfTheirOwn) {
  Listener listener;
  Stage stage("here");
  stage.report(0.6);
  std::thread([] { Stage("there").finish(); }).join();
  stage.report(0.8);
  EXPECT_THAT(listener.fractions, ElementsAre(0.0, 0.6, 0.0, 1.0, 0.8));
}

}  // namespace
