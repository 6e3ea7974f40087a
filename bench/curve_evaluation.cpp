// Points of a cubic B-spline curve, through the class and through the handle interface.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include <random>

namespace {

using trova::foundation::Point3D;
using trova::geometry::BSplineCurve;

constexpr int kParameterCount = 4096;

std::vector<Point3D> randomPoints(int count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> coordinate(-1.0, 1.0);
  std::vector<Point3D> points;
  for (int i = 0; i < count; ++i)
    points.emplace_back(coordinate(random), coordinate(random), coordinate(random));
  return points;
}

std::vector<double> randomParameters() {
  std::mt19937 random(2);
  std::uniform_real_distribution<double> parameter(0.0, 1.0);
  std::vector<double> parameters(kParameterCount);
  for (double& t : parameters)
    t = parameter(random);
  return parameters;
}

void evaluateByClass(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const auto curve = BSplineCurve::createClamped(randomPoints(count), 3);
  const std::vector<double> parameters = randomParameters();
  for (auto _ : state)
    for (const double t : parameters)
      benchmark::DoNotOptimize(curve->evaluate(t));
  state.SetItemsProcessed(state.iterations() * kParameterCount);
}
BENCHMARK(evaluateByClass)->Arg(10)->Arg(50)->Arg(1000);

void evaluateByHandle(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const std::vector<Point3D> points = randomPoints(count);
  const int curve = create_curve_bspline_clamped(points.front().eigen().data(), count, 3);
  const std::vector<double> parameters = randomParameters();
  double out[3];
  for (auto _ : state)
    for (const double t : parameters)
      benchmark::DoNotOptimize(evaluate_curve_at_parameter(curve, t, out));
  state.SetItemsProcessed(state.iterations() * kParameterCount);
  delete_curve(curve);
}
BENCHMARK(evaluateByHandle)->Arg(50);

}  // namespace
