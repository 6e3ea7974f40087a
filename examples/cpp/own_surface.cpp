// A surface of the program's own, a helicoid, takes part in all that works on surfaces: conversion,
// closest points, trimming, meshes. Nothing here is registered, and no handle is made.
#include <cmath>
#include <iostream>
#include <morvel/morvel.hpp>
#include <numbers>
#include <stdexcept>

using namespace trova::geometry;
using trova::projection::SurfaceSearch;

namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;

// A spiral staircase of one turn: u goes round and up, v from the axis outward.
class Helicoid : public Surface {
 public:
  Helicoid(double radius, double rise) : radius_(radius), rise_(rise) {}

  std::string getTypeIdentifier() const override { return "Helicoid"; }
  std::unique_ptr<Surface> clone() const override { return std::make_unique<Helicoid>(*this); }
  bool isValid() const override { return radius_ > 0.0; }
  Point3D evaluate(double u, double v) const override {
    return {radius_ * v * std::cos(kTurn * u), radius_ * v * std::sin(kTurn * u), rise_ * u};
  }
  SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const override {
    SurfaceEvaluation at;
    at.point = evaluate(u, v);
    if (order < 1) return at;
    const double c = radius_ * std::cos(kTurn * u), s = radius_ * std::sin(kTurn * u);
    at.Su = Vector3D(-kTurn * v * s, kTurn * v * c, rise_);
    at.Sv = Vector3D(c, s, 0.0);
    at.normal = at.Su.cross(at.Sv).normalized();
    if (order < 2) return at;
    at.Suu = Vector3D(-kTurn * kTurn * v * c, -kTurn * kTurn * v * s, 0.0);
    at.Suv = Vector3D(-kTurn * s, kTurn * c, 0.0);
    return at;
  }
  BoundingBox getBoundingBox() const override {
    BoundingBox box;
    box.addPoint(Point3D(-radius_, -radius_, 0.0));
    box.addPoint(Point3D(radius_, radius_, rise_));
    return box;
  }
  // What changes the surface is left to its spline, which knows how.
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override {
    return toNurbs()->transform(matrix);
  }
  std::unique_ptr<Surface> trim(double u0, double u1, double v0, double v1) const override {
    return toNurbs()->trim(u0, u1, v0, v1);
  }
  std::unique_ptr<Surface> reverseU() const override { return toNurbs()->reverseU(); }
  std::unique_ptr<Surface> reverseV() const override { return toNurbs()->reverseV(); }
  std::unique_ptr<Surface> swapUV() const override { return toNurbs()->swapUV(); }
  void applyTransformToGeometry(const Transform3D&) override {
    throw std::logic_error("a helicoid stays where it is");
  }

 private:
  double radius_;
  double rise_;
};

// Of a helicoid between two radii, over one turn.
double areaByHand(double from, double to, double rise) {
  const double pitch = rise / kTurn;
  const auto integral = [&](double r) {
    return (r * std::hypot(r, pitch) + pitch * pitch * std::asinh(r / pitch)) / 2.0;
  };
  return kTurn * (integral(to) - integral(from));
}

}  // namespace

int main() {
  const auto stairs = std::make_shared<Helicoid>(1.5, 3.0);

  const auto spline = stairs->toNurbs(1e-5);
  std::cout << "as a spline: " << spline->getUControlPointCount() << " x "
            << spline->getVControlPointCount() << " control points\n";

  const SurfaceEvaluation at = stairs->evaluateDerivatives(0.3, 0.6, 1);
  const SurfaceSearch search(*stairs);
  const auto foot =
      search.closest(Point3D(Eigen::Vector3d(at.point.eigen() + 0.2 * at.normal.eigen())));
  std::cout << "closest point found again at u " << foot.u << ", v " << foot.v << ", "
            << foot.distance << " away\n";

  // The newel takes the inner third away.
  using trova::geometry::trimmed_surface::TrimmedSurfaceFactory;
  const auto treads = TrimmedSurfaceFactory::createRectangular(stairs, 0.0, 1.0, 1.0 / 3.0, 1.0);
  const double expected = areaByHand(0.5, 1.5, 3.0);
  std::cout << "treads of area " << treads->computeArea() << ", by hand " << expected << ", in "
            << tessellateVisibleRegion(*treads, 41, 21).faces.size() << " triangles\n";
  return std::abs(treads->computeArea() - expected) < 1e-3 * expected ? 0 : 1;
}
