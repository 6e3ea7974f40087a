#pragma once

#include <cmath>
#include <vector>

// B-spline functions straight from their definition, in extended precision and exponential time:
// what the fast routes are compared with.

namespace morvel_test {

using Knots = std::vector<double>;

inline long double oracleBasis(int i, int p, long double u, const Knots& U) {
  if (p == 0) return U[i] <= u && u < U[i + 1] ? 1.0L : 0.0L;
  const long double a = U[i], b = U[i + p], c = U[i + 1], d = U[i + p + 1];
  const long double rising = b > a ? (u - a) / (b - a) * oracleBasis(i, p - 1, u, U) : 0.0L;
  const long double falling = d > c ? (d - u) / (d - c) * oracleBasis(i + 1, p - 1, u, U) : 0.0L;
  return rising + falling;
}

inline long double oracleDerivative(int i, int p, long double u, const Knots& U, int k) {
  if (k > p) return 0.0L;
  if (k == 0) return oracleBasis(i, p, u, U);
  const long double a = U[i], b = U[i + p], c = U[i + 1], d = U[i + p + 1];
  const long double rising = b > a ? p / (b - a) * oracleDerivative(i, p - 1, u, U, k - 1) : 0.0L;
  const long double falling =
      d > c ? p / (d - c) * oracleDerivative(i + 1, p - 1, u, U, k - 1) : 0.0L;
  return rising - falling;
}

/// Knot vectors of degree p: Bezier, clamped with uneven and repeated knots, unclamped.
inline std::vector<Knots> sampleKnots(int p) {
  const Knots bezier{-2, 3};
  const Knots uneven{0, 0.1, 0.35, 0.35, 0.5, 0.9, 1};
  std::vector<Knots> all;
  for (Knots inner : {bezier, uneven}) {
    inner.insert(inner.begin(), p, inner.front());
    inner.insert(inner.end(), p, inner.back());
    all.push_back(inner);
  }
  Knots floating;
  for (int j = 0; j < 3 * p + 4; ++j)
    floating.push_back(j + 0.3 * std::sin(j));
  all.push_back(floating);
  return all;
}

/// Parameters strictly inside [U[p], U[n]], knots and close neighbours of knots among them.
inline std::vector<double> sampleParameters(int p, const Knots& U) {
  const double start = U[p], end = U[U.size() - p - 1];
  std::vector<double> all;
  for (int step = 1; step < 20; ++step)
    all.push_back(start + (end - start) * step / 20.0);
  for (const double knot : U) {
    for (const double u : {std::nextafter(knot, -1e9), knot, knot + 1e-9})
      if (u > start + 1e-11 && u < end - 1e-11) all.push_back(u);
  }
  return all;
}

}  // namespace morvel_test
