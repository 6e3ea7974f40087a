// Wide and narrow registers give the same bits: every spline evaluation that is compiled twice, run
// both ways on a fixed set of calls.
#include "morvel/foundation/wide_registers.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <functional>

#include "morvel/curves/bspline_curve.h"
#include "morvel/surfaces/nurbs_surface.h"
#include "morvel/surfaces/surface_batch.h"
#include "tests/surfaces/spline_probes.h"

namespace morvel_test {
namespace {

using trova::foundation::usesWideRegisters;

/// The bytes of all numbers in turn, so that -0 and 0 differ.
std::vector<std::uint64_t> bitsOf(const std::vector<double>& values) {
  std::vector<std::uint64_t> bits(values.size());
  std::memcpy(bits.data(), values.data(), values.size() * sizeof(double));
  return bits;
}

class WideRegisters : public testing::Test {
 protected:
  ~WideRegisters() override { usesWideRegisters = hasThem_; }

  void expectSameBits(const char* what, const std::function<std::vector<double>()>& evaluate) {
    usesWideRegisters = false;
    const std::vector<double> narrow = evaluate();
    usesWideRegisters = true;
    EXPECT_EQ(bitsOf(evaluate()), bitsOf(narrow)) << what;
  }

  void SetUp() override {
    if (!hasThem_) GTEST_SKIP() << "this machine has no wide registers";
    std::mt19937 random(5);
    std::uniform_real_distribution<double> parameter(-0.05, 1.05);
    for (int k = 0; k < 203; ++k)
      t_.push_back(parameter(random));
    t_.insert(t_.end(), {0.0, -0.0, 1.0, 5e-13, 0.25, 0.5, 1 - 5e-13});
  }

  const bool hasThem_ = usesWideRegisters;
  std::vector<double> t_;
};

TEST_F(WideRegisters, CurvesHaveTheSameBitsEitherWay) {
  const std::vector<Point3D> points = wildNet(3, 7).points();
  const BSplineCurve even(points, uniformKnots(21, 3), 3), uneven(points, unevenKnots(21, 3), 3);
  for (const BSplineCurve* curve : {&even, &uneven}) {
    for (int order = 0; order <= 3; ++order) {
      const std::size_t width = 3 * (order + 1);
      const auto batch = [&] {
        std::vector<double> out(t_.size() * width);
        curve->evaluateBatch(t_, order, out.data());
        return out;
      };
      expectSameBits("curve", batch);
      const std::vector<double> all = batch();
      for (std::size_t k = 0; k < t_.size(); ++k) {
        std::vector<double> single;
        for (const Vector3D& vector : curve->evaluateDerivatives(t_[k], order))
          single.insert(single.end(), {vector.x(), vector.y(), vector.z()});
        EXPECT_EQ(bitsOf(single), bitsOf({&all[k * width], &all[k * width] + width})) << t_[k];
      }
    }
  }
}

TEST_F(WideRegisters, SurfacesHaveTheSameBitsEitherWay) {
  const BSplineSurface spline = unevenSurface(6, 9, 3, 3);
  // Parts of no extent, whose normals fall back.
  ControlNet flat = wildNet(5, 8);
  for (int i = 0; i < 5; ++i)
    for (int j = 0; j < 4; ++j)
      flat(i, j) = flat(0, 0);
  const BSplineSurface folded(flat, uniformKnots(5, 3), uniformKnots(8, 3), 3, 3);
  const NurbsSurface rational(wildNet(6, 7), std::vector(6, std::vector(7, 0.7)), unevenKnots(6, 3),
                              unevenKnots(7, 3), 3, 3);
  const std::vector<double> u(t_.begin(), t_.begin() + 19);
  for (const Surface* surface :
       {static_cast<const Surface*>(&spline), static_cast<const Surface*>(&folded),
        static_cast<const Surface*>(&rational)}) {
    for (int order = 0; order <= 2; ++order) {
      const auto filled = [&](std::size_t count, auto evaluate) {
        std::vector<double> out(count * batchWidth(order));
        evaluate(out.data());
        return out;
      };
      expectSameBits("batch", [&] {
        return filled(t_.size() / 2,
                      [&](double* out) { evaluateSurfaceBatch(*surface, t_, order, out); });
      });
      expectSameBits("exact batch", [&] {
        return filled(t_.size() / 2,
                      [&](double* out) { evaluateSurfaceExactBatch(*surface, t_, order, out); });
      });
      expectSameBits("grid", [&] {
        return filled(u.size() * t_.size(),
                      [&](double* out) { evaluateSurfaceGrid(*surface, u, t_, order, out); });
      });
    }
    expectSameBits("mesh", [&] {
      const SurfaceMesh mesh = surface->tessellateUniform(7, 10);
      std::vector<double> out;
      for (std::size_t k = 0; k < mesh.vertices.size(); ++k)
        for (int axis = 0; axis < 3; ++axis)
          out.insert(out.end(), {mesh.vertices[k][axis], mesh.normals[k][axis]});
      return out;
    });
    expectSameBits("single", [&] {
      std::vector<double> out;
      for (std::size_t k = 1; k < t_.size(); ++k) {
        const Point3D point = surface->evaluate(t_[k - 1], t_[k]);
        const Vector3D normal = surface->getNormal(t_[k - 1], t_[k]);
        for (int axis = 0; axis < 3; ++axis)
          out.insert(out.end(), {point[axis], normal[axis]});
      }
      return out;
    });
  }
}

}  // namespace
}  // namespace morvel_test
