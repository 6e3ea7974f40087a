#pragma once

#include <cmath>
#include <random>
#include <vector>

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/spline_surface.h"
#include "tests/foundation/basis_oracle.h"
#include "tests/support/near.h"

// Spline surfaces for tests, and what they must evaluate to: the whole double sum of basis
// functions straight from their definition.

namespace morvel_test {

using trova::foundation::Point3D;
using trova::foundation::Vector3D;
using namespace trova::geometry;

/// Scattered about the grid points (i, j, 0) by up to 0.4.
inline ControlNet wildNet(int nU, int nV, unsigned seed = 7) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> offset(-0.4, 0.4);
  ControlNet net(nU, nV);
  for (int i = 0; i < nU; ++i) {
    for (int j = 0; j < nV; ++j) {
      const double x = offset(generator), y = offset(generator), z = offset(generator);
      net(i, j) = Point3D(i + x, j + y, z);
    }
  }
  return net;
}

/// Clamped over [-1, 3], unevenly spaced; the inner knot 1 is double where there is room.
inline Knots unevenKnots(int count, int degree) {
  Knots knots(degree + 1, -1.0);
  const int inner = count - degree - 1;
  for (int k = 1; k <= inner; ++k)
    knots.push_back(k <= 2 && inner > 2 ? 1.0 : 1.0 + 2.0 * std::pow(double(k) / (inner + 1), 2));
  knots.insert(knots.end(), degree + 1, 3.0);
  return knots;
}

inline BSplineSurface unevenSurface(int nU, int nV, int degreeU, int degreeV, unsigned seed = 7) {
  return {wildNet(nU, nV, seed), unevenKnots(nU, degreeU), unevenKnots(nV, degreeV), degreeU,
          degreeV};
}

/// p + 1 zeros, k / (n - p), p + 1 ones.
inline Knots uniformKnots(int count, int degree) {
  Knots knots(degree + 1, 0.0);
  for (int k = 1; k < count - degree; ++k)
    knots.push_back(double(k) / (count - degree));
  knots.insert(knots.end(), degree + 1, 1.0);
  return knots;
}

/// The (a, b)-th derivative of the double sum over the net; u and v below the last knots.
inline Vector3D oracleSum(const ControlNet& net, int p, int q, const Knots& U, const Knots& V,
                          double u, double v, int a = 0, int b = 0) {
  Vector3D sum;
  for (int i = 0; i < net.uCount(); ++i) {
    const double inU = double(oracleDerivative(i, p, u, U, a));
    for (int j = 0; j < net.vCount(); ++j)
      sum += (inU * double(oracleDerivative(j, q, v, V, b))) * (net(i, j) - Point3D::origin());
  }
  return sum;
}

/// What the surface is on its stored knots.
inline Point3D storedPoint(const SplineSurface& s, double u, double v) {
  return Point3D::origin() + oracleSum(s.controlNet(), s.getUDegree(), s.getVDegree(),
                                       s.getUKnotVector(), s.getVKnotVector(), u, v);
}

/// The largest difference of two surfaces on their stored knots over a window, its end excluded.
inline double storedGap(const SplineSurface& a, const SplineSurface& b, double u0, double u1,
                        double v0, double v1, int n = 9) {
  double largest = 0.0;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const double u = u0 + (u1 - u0) * (i + 0.01) / n, v = v0 + (v1 - v0) * (j + 0.01) / n;
      largest = std::max(largest, storedPoint(a, u, v).distanceTo(storedPoint(b, u, v)));
    }
  }
  return largest;
}

}  // namespace morvel_test
