// A program that includes only morvel.hpp and links the shared library can use every public class,
// free function, store and look-up helper and registry global.
#include "morvel/morvel.hpp"

#include <gmock/gmock.h>

#include <numbers>

namespace {

using namespace trova::foundation;
using namespace trova::geometry;
namespace nurbs = trova::foundation::nurbs;

class Umbrella : public testing::Test {
 protected:
  void TearDown() override {
    clear_all_curves();
    cleanup_all_surfaces();
    clear_all_points();
    trova_internal::g_curve_on_surfaces.clear();
  }
};

std::vector<Point3D> zigzag(int count) {
  std::vector<Point3D> points;
  for (int i = 0; i < count; ++i)
    points.emplace_back(i, i % 2, 0.5 * i);
  return points;
}

BSplineSurface::Net bumpyNet() {
  BSplineSurface::Net net(4, std::vector<Point3D>(5));
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 5; ++j)
      net[i][j] = Point3D(i, j, (i * j) % 3);
  return net;
}

TEST_F(Umbrella, FoundationValuesAndBasisFunctions) {
  ToleranceContext tolerance;
  tolerance.setAngularTolerance(1e-3);
  BoundingBox box(Point3D(0, 0, 0), Point3D(1, 2, 3));
  box.expand(1.0);
  const Vector3D turned =
      Transform3D::rotation(Vector3D::unitZ(), std::numbers::pi / 2).transform(Vector3D::unitX());
  EXPECT_NEAR(turned.angleTo(Vector3D::unitY()), 0.0, 1e-7);
  EXPECT_TRUE(box.contains(Point3D(-0.5, 0, 0), tolerance));
  EXPECT_DOUBLE_EQ(Point2D(3, 4).distanceTo(Point2D::origin()), 5.0);

  std::vector<double> knots = nurbs::generateUniformKnotVector(2, 5);
  EXPECT_TRUE(nurbs::validateKnotVector(knots, 2, 5));
  nurbs::normalizeKnotVector(knots);
  EXPECT_EQ(nurbs::getDomainFromKnotVector(knots), (std::pair{0.0, 1.0}));
  EXPECT_TRUE(nurbs::isWithinDomain(0.5, knots, 0.0));
  EXPECT_TRUE(nurbs::isAtDomainBoundary(1.0, knots, 1e-9));
  const int span = nurbs::findKnotSpan(2, 0.5, knots);
  std::vector<double> values;
  nurbs::evaluateAllBasisFunctions(2, 0.5, knots, span, values);
  std::vector<std::vector<double>> derivatives;
  nurbs::evaluateAllBasisDerivatives(2, 0.5, knots, span, 1, derivatives);
  EXPECT_NEAR(nurbs::evaluateBasisFunction(span, 2, 0.5, knots), values[2], 1e-15);
  EXPECT_NEAR(nurbs::evaluateBasisDerivative(span, 2, 0.5, knots, 1), derivatives[1][2], 1e-14);
  nurbs::BasisFunctionCache cache(2, knots);
  EXPECT_EQ(cache.getBasisValues(0.5), values);
  cache.clearCache();
  std::vector<double> bernstein;
  nurbs::evaluateAllBernsteinBasis(3, 0.5, bernstein);
  EXPECT_DOUBLE_EQ(nurbs::evaluateBernsteinBasis(1, 3, 0.5), bernstein[1]);
  EXPECT_NEAR(nurbs::deCasteljauEvaluation(zigzag(2), 0.5).x(), 0.5, 1e-15);
}

TEST_F(Umbrella, EveryCurveClass) {
  const double turn = 2 * std::numbers::pi;
  std::vector<std::unique_ptr<Curve>> curves;
  curves.push_back(std::make_unique<LineCurve>(Point3D(0, 0, 0), Point3D(1, 0, 0)));
  curves.push_back(std::make_unique<CircleCurve>(Point3D(), Vector3D::unitZ(), 2.0, 0.0, turn));
  curves.push_back(std::make_unique<EllipseCurve>(Point3D(), Vector3D::unitX(), Vector3D::unitZ(),
                                                  2.0, 1.0, 0.0, turn));
  curves.push_back(std::make_unique<BezierCurve>(zigzag(4)));
  curves.push_back(BSplineCurve::createClamped(zigzag(6), 3));
  curves.push_back(BSplineCurve::createUniform(zigzag(6), 3));
  curves.push_back(BSplineCurve::interpolatePoints(zigzag(6), 3));
  curves.push_back(std::make_unique<NurbsCurve>(zigzag(3), std::vector<double>{1, 2, 1},
                                                std::vector<double>{0, 0, 0, 1, 1, 1}, 2));
  curves.push_back(curves[4]->offset(0.1, Vector3D::unitZ()));
  curves.push_back(CurveFactory::createClampedBSpline(zigzag(5), 2));
  const std::shared_ptr<const Surface> base = BSplineSurface::createClamped(bumpyNet(), 2, 2);
  curves.push_back(std::make_unique<CurveOnSurface>(
      base, std::make_unique<LinearCurve2D>(Point2D(0.1, 0.1), Point2D(0.9, 0.7))));
  std::vector<std::string> names;
  for (const auto& curve : curves) {
    EXPECT_TRUE(curve->isValid()) << curve->getTypeIdentifier();
    const ParameterInterval interval = curve->getParameterInterval();
    EXPECT_LT(curve->evaluate(interval.start).distanceTo(curve->clone()->evaluate(interval.start)),
              1e-15);
    names.push_back(curve->getTypeIdentifier());
  }
  EXPECT_THAT(names, testing::IsSupersetOf({"LineCurve", "CircleCurve", "EllipseCurve",
                                            "BezierCurve", "BSplineCurve", "NurbsCurve",
                                            "OffsetCurve", "CurveOnSurface"}));
  EXPECT_EQ(dynamic_cast<const AnalyticCurve&>(*curves[1]).toNurbs()->getDegree(), 2);

  const CircularCurve2D round(Point2D(1, 1), 0.5, 0.0, turn);
  EXPECT_NEAR(round.evaluate(0.25).y(), 1.5, 1e-15);
  EXPECT_TRUE(IsoCurve2D(IsoDirection::ConstantU, 0.5).isValid());
  EXPECT_TRUE(BSplineCurve2D({{0, 0}, {1, 1}}, {0, 0, 1, 1}, 1).isValid());
}

TEST_F(Umbrella, EverySurfaceClassAndTheConversions) {
  const std::shared_ptr<const Curve> profile = BSplineCurve::createClamped(zigzag(5), 2);
  const std::shared_ptr<const Curve> other =
      profile->transform(Transform3D::translation(Vector3D(0, 3, 0)));
  const Point3D o;
  const Vector3D z = Vector3D::unitZ();
  std::vector<std::unique_ptr<Surface>> surfaces;
  surfaces.push_back(BSplineSurface::createClamped(bumpyNet(), 2, 2));
  surfaces.push_back(
      NurbsSurface::createBilinearPatch(o, Point3D(1, 0, 0), Point3D(0, 1, 0), Point3D(1, 1, 1)));
  surfaces.push_back(std::make_unique<BezierSurface>(bumpyNet()));
  surfaces.push_back(
      std::make_unique<PlaneSurface>(o, Vector3D::unitX(), Vector3D::unitY(), 1.0, 2.0));
  surfaces.push_back(std::make_unique<SphereSurface>(o, 1.0));
  surfaces.push_back(std::make_unique<CylinderSurface>(o, z, 1.0, 2.0));
  surfaces.push_back(std::make_unique<ConeSurface>(o, z, 1.0, 2.0));
  surfaces.push_back(std::make_unique<TorusSurface>(o, z, 2.0, 0.5));
  surfaces.push_back(std::make_unique<ExtrudeSurface>(profile, z, 2.0));
  surfaces.push_back(std::make_unique<RevolveSurface>(profile, Point3D(9, 9, 0), z, 0.0, 1.0));
  surfaces.push_back(std::make_unique<RuledSurface>(profile, other));
  surfaces.push_back(std::make_unique<LoftSurface>(std::vector{profile, other}, 1));
  surfaces.push_back(std::make_unique<PathGuidedSweepSurface>(other, profile));
  surfaces.push_back(std::make_unique<PipeSurface>(profile, 0.1));
  surfaces.push_back(SurfaceFactory::createSphere(o, 1.0));
  for (const auto& surface : surfaces) {
    EXPECT_TRUE(surface->isValid()) << surface->getTypeIdentifier();
    EXPECT_FALSE(surface->tessellateUniform(3, 3).isEmpty()) << surface->getTypeIdentifier();
  }
  EXPECT_EQ(dynamic_cast<const AnalyticSurface&>(*surfaces[4]).isExact(), true);
  EXPECT_NE(defaultToNurbsImplementation(*surfaces[4], {1e-4, 1e-4}, {8, 8}), nullptr);
  EXPECT_THROW(defaultToNurbsImplementation(SphereSurface(o, -1.0), {1e-4, 1e-4}, {8, 8}),
               ToNurbsInvalidSurfaceException);
  EXPECT_EQ(computeUniformBasisFunction(0, 2, 0.0, 5), 1.0);
  EXPECT_EQ(bernsteinBasis(0, 2, 0.0), 1.0);
}

TEST_F(Umbrella, StoresLookUpsAndGlobals) {
  namespace ti = trova_internal;
  const int curve = ti::storeCurve(BSplineCurve::createClamped(zigzag(5), 2));
  const int surface = ti::storeSurface(BSplineSurface::createClamped(bumpyNet(), 2, 2));
  const int onSurface = ti::storeCurveOnSurface(std::make_unique<CurveOnSurface>(
      g_surfaces.at(surface), std::make_unique<LinearCurve2D>(Point2D(0, 0), Point2D(1, 1))));
  const int point = create_point(1, 2, 3);
  EXPECT_TRUE(ti::isValidCurveId(curve) && ti::isValidSurfaceId(surface) &&
              ti::isValidCurveOnSurfaceId(onSurface) && ti::isValidPointId(point));
  EXPECT_NE(ti::getCurveAs<BSplineCurve>(curve), nullptr);
  EXPECT_EQ(ti::getCurveAs<NurbsCurve>(curve), nullptr);
  EXPECT_NE(ti::getSurfaceAs<ParametricSurface>(surface), nullptr);
  EXPECT_NE(ti::getCurveOnSurfaceAs<CurveOnSurface>(onSurface), nullptr);
  EXPECT_EQ(get_curve_pointer_from_handle(curve), g_curves.at(curve).get());
  EXPECT_EQ(get_curve_from_handle(curve).get(), g_curves.at(curve).get());
  EXPECT_EQ(get_surface_from_handle(surface).get(), get_surface_from_registry(surface));
  EXPECT_EQ(g_next_curve_id, curve + 1);
  EXPECT_EQ(ti::getNextSurfaceId(), g_next_surface_id);
  EXPECT_EQ(g_next_curve_on_surface_id, onSurface + 1);
  EXPECT_EQ(g_next_point_id, point + 1);
  ti::setLastError("told");
  EXPECT_EQ(g_last_error, "told");
  registerSurface(get_next_surface_handle(), g_surfaces.at(surface));
  EXPECT_EQ(g_surfaces.size(), 2u);
  EXPECT_TRUE(g_loft_params.empty() && g_sweep_params.empty() && g_revolve_params.empty() &&
              g_pipe_params.empty());
  EXPECT_EQ(g_kernel, nullptr);
  delete_surface(surface);
  EXPECT_TRUE(ti::getCurveOnSurfaceAs<Curve>(onSurface)->isValid());  // its base lives on
}

}  // namespace
